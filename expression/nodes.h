#pragma once
/// Class headers for authors of algorithms: everything needed to fill hooks, read operands and apply change records.

#include "expression/arithmetic/product.h"
#include "expression/constraints/constraint.h"
#include "expression/core/index.h"
#include "expression/core/int_expr.h"
#include "expression/core/int_linear.h"
#include "expression/core/node.h"
#include "expression/core/num_expr.h"
#include "expression/core/num_linear.h"
#include "expression/core/num_var.h"
#include "expression/special/modulo.h"
#include "expression/tavexpression.h"
