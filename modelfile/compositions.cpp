#include "modelfile/compositions.h"

#include <cmath>
#include <numbers>

namespace tavcompose {

namespace {

TavEnvI* envOf(TavNumExprArg x) { return x.getImpl()->getEnv(); }

/// A new node, as an argument.
template <class Node, class... Args>
TavNumExprArg make(TavEnvI* env, Args... args) {
  return TavNumExprArg(new (env) Node(env, args...));
}

TavNumExprArg squareRoot(TavNumExprArg x) { return TavPower(x, 0.5); }

TavNumExprArg choose(TavIntExprI* condition, TavNumExprArg whenTrue, TavNumExprArg whenFalse) {
  return make<TavConditionalNumExprI>(envOf(whenTrue), condition, whenTrue.getImpl(), whenFalse.getImpl(), 0.0, 0.0);
}

/// sgn x * rounded(|x| * 10^digits) / 10^digits
template <class Rounded>
TavNumExprArg byDigits(TavNumExprArg x, double digits, Rounded rounded) {
  const double power = std::pow(10.0, std::fabs(digits));
  const TavNumExprArg size = TavAbs(x);
  if (digits == 0.0) return TavSgn(x) * rounded(size);
  return digits > 0 ? TavSgn(x) * rounded(size * power) / power : TavSgn(x) * rounded(size / power) * power;
}

}  // namespace

TavNumExprArg tanh(TavNumExprArg x) { return 1.0 - 2.0 / (TavExponent(2.0 * x) + 1.0); }

TavNumExprArg sinh(TavNumExprArg x) { return TavExponent(x) * 0.5 + TavExponent(-x) * -0.5; }

TavNumExprArg cosh(TavNumExprArg x) { return TavExponent(x) * 0.5 + TavExponent(-x) * 0.5; }

TavNumExprArg asinh(TavNumExprArg x) {
  const TavNumExprArg radius = squareRoot(TavSquare(x) + 1.0);
  const TavNumExprArg left = TavLog(radius - x) * -1.0;
  return choose(positive(-x), left, TavLog(radius + x));
}

TavNumExprArg acosh(TavNumExprArg x) { return TavLog(squareRoot((x - 1.0) * (x + 1.0)) + x); }

TavNumExprArg atanh(TavNumExprArg x) { return TavLog((x + 1.0) / (1.0 - x)) * 0.5; }

TavNumExprArg atan2(TavNumExprArg y, TavNumExprArg x) {
  using std::numbers::pi;
  const TavNumExprArg right = TavArcTan(y / x);
  const TavNumExprArg across = TavArcTan(x / y);
  const TavNumExprArg onAxis = make<TavConditionalNumExprI>(envOf(x), positive(-x), (right + pi).getImpl(),
                                                            static_cast<TavNumExprI*>(nullptr), 0.0, 0.0);
  const TavNumExprArg below = choose(positive(-y), -pi / 2 - across, onAxis);
  const TavNumExprArg left = choose(positive(y), pi / 2 - across, below);
  return choose(positive(x), right, left);
}

TavNumExprArg remainder(TavNumExprArg a, TavNumExprArg b) { return a + (-b) * TavTrunc(a / b); }

TavNumExprArg round(TavNumExprArg x, double digits) {
  return byDigits(x, digits, [](TavNumExprArg size) { return TavFloor(size + 0.5); });
}

TavNumExprArg truncate(TavNumExprArg x, double digits) {
  if (digits == 0.0) return TavTrunc(x);
  return byDigits(x, digits, [](TavNumExprArg size) { return TavFloor(size); });
}

TavIntExprI* positive(TavNumExprArg x) { return TavMax(TavSgn(x), 0).getImpl(); }

TavIntExprI* nonZero(TavNumExprArg x) { return TavAbs(TavSgn(x)).getImpl(); }

TavIntExprI* negated(TavIntExprI* truth) { return (1 - TavIntExprArg(truth)).getImpl(); }

}  // namespace tavcompose
