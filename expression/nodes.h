#pragma once
/// Class headers for authors of algorithms: everything needed to fill hooks, read operands and apply change records.

#include "expression/arithmetic/min_max.h"
#include "expression/arithmetic/power.h"
#include "expression/arithmetic/product.h"
#include "expression/arithmetic/square_abs_sgn.h"
#include "expression/constraints/constraint.h"
#include "expression/constraints/conversion.h"
#include "expression/core/any_expr.h"
#include "expression/core/array_family.h"
#include "expression/core/index.h"
#include "expression/core/int_expr.h"
#include "expression/core/int_linear.h"
#include "expression/core/nested.h"
#include "expression/core/node.h"
#include "expression/core/num_expr.h"
#include "expression/core/num_linear.h"
#include "expression/core/num_var.h"
#include "expression/special/conditional.h"
#include "expression/special/count_deviation.h"
#include "expression/special/element.h"
#include "expression/special/elementary.h"
#include "expression/special/modulo.h"
#include "expression/special/piecewise.h"
#include "expression/special/rounding.h"
#include "expression/special/sub_map.h"
#include "expression/tavexpression.h"
#include "expression/variables/indicator_var.h"
#include "expression/variables/semicont_var.h"

// Tokens, index slots and hooks of the library's classes are defined in the library only, so that all shared objects of
// a program use the same ones, whatever the order and the flags of loading.
/// A class of nodes; undefined again below.
#define TAV_NODE(Self, Base)                  \
  extern template class TavTyped<Self, Base>; \
  extern template class TavNode<Self, Base>;
/// A class of change records; undefined again below.
#define TAV_CHANGE(Self)                           \
  extern template class TavTyped<Self, TavChange>; \
  extern template class TavChangeRecord<Self>;
#include "expression/classes.inc"
#undef TAV_NODE
#undef TAV_CHANGE
