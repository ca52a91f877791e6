#include "solve/engines/cbc_bounds.h"

#include <CoinPackedMatrix.hpp>
#include <cmath>
#include <cstddef>

namespace tavsolve {

namespace {

constexpr double kInfinite = 1e20;
constexpr int kRounds = 20;

/// The least value of a sum of terms, of which some may have none.
struct LeastSum {
  double finite = 0.0;
  int infinite = 0;

  void add(double share) { std::abs(share) < kInfinite ? finite += share : ++infinite; }
  /// The least value of the others; -infinity when there is none.
  double without(double share) const {
    if (std::abs(share) >= kInfinite) return infinite == 1 ? finite : -HUGE_VAL;
    return infinite == 0 ? finite - share : -HUGE_VAL;
  }
};

class Row {
 public:
  Row(const CoinPackedMatrix& rows, int row, ColumnBounds& bounds)
      : _first(rows.getVectorFirst(row)), _last(rows.getVectorLast(row)), _rows(rows), _bounds(bounds) {}

  /// sign * row <= limit; returns whether a bound has become tighter.
  bool atMost(double sign, double limit) {
    if (std::abs(limit) >= kInfinite) return false;
    LeastSum least;
    for (auto k = _first; k < _last; ++k) least.add(shareOf(k, sign));
    bool tighter = false;
    for (auto k = _first; k < _last; ++k) {
      const double coef = sign * _rows.getElements()[k];
      const double rest = least.without(shareOf(k, sign));
      if (coef != 0.0 && rest > -kInfinite) tighter = bound(k, coef, (limit - rest) / coef) || tighter;
    }
    return tighter;
  }

 private:
  std::size_t column(CoinBigIndex k) const { return static_cast<std::size_t>(_rows.getIndices()[k]); }
  double shareOf(CoinBigIndex k, double sign) const {
    const double coef = sign * _rows.getElements()[k];
    if (coef == 0.0) return 0.0;
    return coef * (coef > 0 ? _bounds.lower[column(k)] : _bounds.upper[column(k)]);
  }
  bool bound(CoinBigIndex k, double coef, double value) {
    double& old = coef > 0 ? _bounds.upper[column(k)] : _bounds.lower[column(k)];
    const bool tighter = (coef > 0 ? value < old : value > old) &&
                         (std::abs(old) >= kInfinite || std::abs(value - old) > 1e-3 * std::abs(old));
    if (tighter) old = value;
    return tighter;
  }

  CoinBigIndex _first, _last;
  const CoinPackedMatrix& _rows;
  ColumnBounds& _bounds;
};

}  // namespace

void propagate(const CoinPackedMatrix& rows, const double* rowLower, const double* rowUpper, ColumnBounds& bounds) {
  bool changed = true;
  for (int round = 0; changed && round < kRounds; ++round) {
    changed = false;
    for (int i = 0; i < rows.getNumRows(); ++i) {
      Row row(rows, i, bounds);
      changed = row.atMost(1.0, rowUpper[i]) || changed;
      changed = row.atMost(-1.0, -rowLower[i]) || changed;
    }
  }
}

}  // namespace tavsolve
