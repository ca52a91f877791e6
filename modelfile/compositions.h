#pragma once
/// Internal header of tavmodelfile: functions that the library has no class for, composed of those that it has.
///
/// Operands are expressions or variables of one environment. They may be uncounted and are used several times, so the
/// caller holds them. Results are uncounted.

#include "expression/nodes.h"

namespace tavcompose {

///@{
/// Hyperbolic functions: 1 - 2 / (exp(2 x) + 1), (exp x - exp(-x)) / 2, (exp x + exp(-x)) / 2. No intermediate value
/// overflows before the result does; near 0 tanh and sinh have an absolute error of about 2e-16.
TavNumExprArg tanh(TavNumExprArg x);
TavNumExprArg sinh(TavNumExprArg x);
TavNumExprArg cosh(TavNumExprArg x);
///@}

/// Returns log(x + r) with r = sqrt(x^2 + 1), and -log(r - x) where x < 0, so that nothing cancels. Up to 1e154.
TavNumExprArg asinh(TavNumExprArg x);
/// Returns log(x + sqrt((x - 1)(x + 1))). Up to 1e154.
TavNumExprArg acosh(TavNumExprArg x);
/// Returns log((1 + x) / (1 - x)) / 2.
TavNumExprArg atanh(TavNumExprArg x);
/// Returns the angle of the point (x, y): arc tangents of the quotient on whose side no division by 0 is. It does not
/// tell zeros by their sign.
TavNumExprArg atan2(TavNumExprArg y, TavNumExprArg x);
/// Returns a - b trunc(a / b), which has the sign of a.
TavNumExprArg remainder(TavNumExprArg a, TavNumExprArg b);
/// Returns x rounded to `digits` decimal places, halves away from zero.
TavNumExprArg round(TavNumExprArg x, double digits);
/// Returns x cut toward zero behind `digits` decimal places.
TavNumExprArg truncate(TavNumExprArg x, double digits);

/// Returns 1 where x > 0, else 0: max(sgn x, 0).
TavIntExprI* positive(TavNumExprArg x);
/// Returns 1 where x is not 0, else 0: |sgn x|. 0 for a not-a-number.
TavIntExprI* nonZero(TavNumExprArg x);
/// Returns 1 - truth.
TavIntExprI* negated(TavIntExprI* truth);

}  // namespace tavcompose
