#pragma once
/// Operations on single numbers, by the C library and by the node classes.

#include "evaluator/program.h"

namespace taveval {

/// op(a, b, c). `tables` may be null for operations that read none.
double applyScalar(Op op, double a, double b, double c, const Tables* tables);

}  // namespace taveval
