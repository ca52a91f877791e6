#pragma once
/// The public header of the expression library: handles, operators and functions from which models are composed.
///
/// ```
/// TavScopedEnv env;                                    // owns all that is made in it
/// TavNumVar x(env, 0.0, 10.0, "x"), y(env, 0.0, 10.0, "y");
/// TavExpr cost = x + 2 * y + 1;                        // one linear node, held by a counted handle
/// cost += 3 * x;                                       // in place
/// TavNumExpr gap = TavAbs(x - y) + TavSquare(cost);    // nodes over nodes
/// TavValues at(env, {{x, 1.0}, {y, 2.0}});
/// std::cout << gap << "= " << gap.eval(at) << "\n";
/// ```
///
/// | header | contents |
/// |---|---|
/// | expr_args.h | argument handles: any expression as a parameter or a result |
/// | variables.h | TavNumVar, TavIntVar, TavBoolVar, TavSemiContVar |
/// | handles.h | terms, the counted handles TavNumExpr, TavExpr and TavIntExpr; clones, text, keys of maps |
/// | operators.h | + - * / %, TavDiv |
/// | arrays.h | arrays of variables and of expressions |
/// | functions.h | TavMin, TavSum, TavScalProd, TavPower, TavSin and all others |
/// | constraints.h | constraints of any kind, conversions of variables |
/// | number_text.h | TavNumIsInteger, convertTavNum |
/// | values.h | TavValues, a table of values to evaluate by |
///
/// A handle is one pointer and a plain value: copying, assigning or dropping it changes nothing in the model. Objects
/// live in their environment until their last holder gives them back, or until the environment ends.
///
/// - Argument handles (TavNumExprArg, TavIntExprArg, the term handles) do not count. They are parameters and results;
///   the node that they name must be taken by a counted handle or another expression, or it stays until the environment
///   ends.
/// - Counted handles (TavNumExpr, TavExpr, TavIntExpr) add one reference when they are built from an argument handle, a
///   term or a constant. `end()` gives it back; going out of scope does not.
/// - Variables are not counted: they live until `end()`.
///
/// Failures derive from TavException. A failing call leaves its operands unchanged. Evaluation tests no arithmetic
/// domain: IEEE values pass through. Every expression prints in two syntaxes, chosen by the environment's
/// `librarySyntaxDisplay`: the library's call syntax ("TavSin(" x ") ") and the plain one ("sin(" x ")"); numbers print
/// as the stream prints them.

#include "expression/arrays.h"
#include "expression/constraints.h"
#include "expression/expr_args.h"
#include "expression/functions.h"
#include "expression/handles.h"
#include "expression/number_text.h"
#include "expression/operators.h"
#include "expression/values.h"
#include "expression/variables.h"
