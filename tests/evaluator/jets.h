#pragma once
/// The independent oracle of derivatives: values with two directions of first derivatives and their mixed second one,
/// by the rules of calculus over the nodes of the random model. Each number carries a bound of its rounding error.

#include <cmath>
#include <vector>

#include "tests/support/random_model.h"

namespace jets {

/// A double and what rounding may have done to it, in units of 2^-53.
struct Number {
  double v = 0.0, e = 0.0;
  Number() = default;
  Number(double value) : v(value) {}
  Number(double value, double error) : v(value), e(value == 0.0 && error != error ? 0.0 : error) {}
};
/// Where numbers leave the range of full precision no bound holds.
inline double errorOf(double v, double e) {
  return v != 0.0 && !(std::fabs(v) > 1e-280 && std::fabs(v) < 1e280) ? HUGE_VAL : e;
}
inline Number rounded(double v, double e) { return {v, errorOf(v, e + std::fabs(v))}; }
inline Number operator+(Number x, Number y) { return rounded(x.v + y.v, x.e + y.e); }
inline Number operator-(Number x, Number y) { return rounded(x.v - y.v, x.e + y.e); }
inline Number operator*(Number x, Number y) {
  if (x.v == 0.0 && x.e == 0.0) return {};  // a factor 0 makes a term of a derivative 0, whatever stands beside it
  if (y.v == 0.0 && y.e == 0.0) return {};
  return rounded(x.v * y.v, std::fabs(x.v) * y.e + std::fabs(y.v) * x.e);
}

/// f, f along a direction, along another one, and along both.
struct Jet {
  Number f, a, b, ab;
  Jet() = default;
  Jet(double value) : f(value) {}
  Jet(Number value, Number da, Number db, Number dab) : f(value), a(da), b(db), ab(dab) {}
};

/// What cannot be compared: a value where a kink or jump is as near as rounding errors.
struct Fragile {};

Jet operator+(const Jet& x, const Jet& y);
Jet operator-(const Jet& x, const Jet& y);
Jet operator*(const Jet& x, const Jet& y);

/// The jet of a node; `jetOf` gives those of the variables. Throws Undefined where there is no value, or no derivative.
Jet evaluate(const model::Node& node, const std::function<Jet(const model::Node&)>& jetOf);

}  // namespace jets
