#include "solve/linearise/implied_bounds.h"

#include <cmath>

namespace tavlinear {

namespace {

constexpr int kRounds = 20;

/// The least value of a sum of terms, of which some may have none.
struct LeastSum {
  double finite = 0.0;
  int infinite = 0;

  void add(double share) { std::abs(share) < kNoBound ? finite += share : ++infinite; }
  /// The least value of the others; -infinity when there is none.
  double without(double share) const {
    if (std::abs(share) >= kNoBound) return infinite == 1 ? finite : -HUGE_VAL;
    return infinite == 0 ? finite - share : -HUGE_VAL;
  }
};

class RowReader {
 public:
  RowReader(const LinearRows& rows, std::size_t row, ColumnBounds& bounds)
      : _first(rows.first[row]), _last(rows.first[row + 1]), _rows(rows), _bounds(bounds) {}

  /// sign * row <= limit; returns whether a bound has become tighter.
  bool atMost(double sign, double limit) {
    if (std::abs(limit) >= kNoBound) return false;
    LeastSum least;
    for (auto k = _first; k < _last; ++k) least.add(shareOf(k, sign));
    bool tighter = false;
    for (auto k = _first; k < _last; ++k) {
      const double coef = sign * _rows.coefs[k];
      const double rest = least.without(shareOf(k, sign));
      if (coef != 0.0 && rest > -kNoBound) tighter = bound(k, coef > 0, (limit - rest) / coef) || tighter;
    }
    return tighter;
  }

 private:
  std::size_t column(std::size_t k) const { return static_cast<std::size_t>(_rows.columns[k]); }
  double shareOf(std::size_t k, double sign) const {
    const double coef = sign * _rows.coefs[k];
    if (coef == 0.0) return 0.0;
    return coef * (coef > 0 ? _bounds.lower[column(k)] : _bounds.upper[column(k)]);
  }
  bool bound(std::size_t k, bool above, double value) {
    constexpr double kRounding = 1e-6;
    if (_bounds.whole[column(k)]) value = above ? std::floor(value + kRounding) : std::ceil(value - kRounding);
    double& old = above ? _bounds.upper[column(k)] : _bounds.lower[column(k)];
    const bool tighter = (above ? value < old : value > old) &&
                         (std::abs(old) >= kNoBound || std::abs(value - old) > 1e-3 * std::abs(old));
    if (tighter) old = value;
    return tighter;
  }

  std::size_t _first, _last;
  const LinearRows& _rows;
  ColumnBounds& _bounds;
};

}  // namespace

void propagate(const LinearRows& rows, ColumnBounds& bounds) {
  bool changed = true;
  for (int round = 0; changed && round < kRounds; ++round) {
    changed = false;
    for (std::size_t i = 0; i < rows.lower.size(); ++i) {
      RowReader row(rows, i, bounds);
      changed = row.atMost(1.0, rows.upper[i]) || changed;
      changed = row.atMost(-1.0, -rows.lower[i]) || changed;
    }
  }
}

}  // namespace tavlinear
