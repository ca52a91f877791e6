#pragma once
/// Operations on single numbers, by the C library and by the node classes.

#include "evaluator/program.h"

namespace taveval {

/// Sets `result` to op(a, b) and returns true, if it is arithmetic.
[[gnu::always_inline]] inline bool applyArithmetic(Op op, double a, double b, double& result) noexcept {
  switch (op) {
    case Op::Add:
      return result = a + b, true;
    case Op::Sub:
      return result = a - b, true;
    case Op::Mul:
      return result = a * b, true;
    case Op::Div:
      return result = a / b, true;
    case Op::Neg:
      return result = -a, true;
    case Op::Square:
      return result = a * a, true;
    default:
      return false;
  }
}

/// op(a, b, c). `tables` may be null for operations that read none.
double applyScalar(Op op, double a, double b, double c, const Tables* tables);

}  // namespace taveval
