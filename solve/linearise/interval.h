#pragma once
/// Interval arithmetic: what values an expression can take.

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavlinear {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// All numbers from lo to hi, or the whole numbers among them. Bounds are never NaN.
struct Interval {
  double lo = -kInfinity;
  double hi = kInfinity;
  bool whole = false;

  static Interval point(double value) { return {value, value, std::floor(value) == value}; }

  bool isPoint() const noexcept { return lo == hi; }
  bool isFinite() const noexcept { return std::isfinite(lo) && std::isfinite(hi); }
  bool contains(double value) const noexcept { return lo <= value && value <= hi; }
  /// Two neighbouring whole numbers.
  bool isBinary() const noexcept { return whole && hi == lo + 1.0; }
  /// How many whole numbers it has, which it does if it is whole and finite.
  double count() const noexcept { return hi - lo + 1.0; }

  friend bool operator==(const Interval&, const Interval&) = default;
  friend Interval operator+(Interval a, Interval b) { return {a.lo + b.lo, a.hi + b.hi, a.whole && b.whole}; }
  friend Interval operator-(Interval a) { return {-a.hi, -a.lo, a.whole}; }
  friend Interval operator-(const Interval& a, const Interval& b) { return a + -b; }
};

/// 0 times an infinite bound is 0: the bound stands for any number, however great.
inline double productOfBounds(double a, double b) { return a == 0.0 || b == 0.0 ? 0.0 : a * b; }

inline Interval operator*(double factor, Interval x) {
  const double a = productOfBounds(factor, x.lo), b = productOfBounds(factor, x.hi);
  return {std::min(a, b), std::max(a, b), x.whole && std::floor(factor) == factor};
}

inline Interval operator*(Interval a, Interval b) {
  const Interval x = {productOfBounds(a.lo, b.lo), productOfBounds(a.lo, b.hi)};
  const Interval y = {productOfBounds(a.hi, b.lo), productOfBounds(a.hi, b.hi)};
  return {std::min({x.lo, x.hi, y.lo, y.hi}), std::max({x.lo, x.hi, y.lo, y.hi}), a.whole && b.whole};
}

/// The least interval with both.
inline Interval hull(Interval a, Interval b) {
  return {std::min(a.lo, b.lo), std::max(a.hi, b.hi), a.whole && b.whole};
}

/// What both allow. Bounds that cross by rounding alone meet.
inline Interval meet(Interval a, Interval b) {
  const Interval both = {std::max(a.lo, b.lo), std::min(a.hi, b.hi), a.whole || b.whole};
  return both.lo <= both.hi ? both : a;
}

/// The greater of a value in a and one in b.
inline Interval greatest(Interval a, Interval b) {
  return {std::max(a.lo, b.lo), std::max(a.hi, b.hi), a.whole && b.whole};
}

/// |x|
inline Interval magnitude(Interval x) {
  const double greatestBound = std::max(-x.lo, x.hi);
  return {x.contains(0.0) ? 0.0 : std::min(std::abs(x.lo), std::abs(x.hi)), greatestBound, x.whole};
}

}  // namespace tavlinear
