#pragma once
/// Bounds that linear rows imply for their columns.

#include <cstddef>
#include <vector>

namespace tavlinear {

/// Linear rows, one after the other.
struct LinearRows {
  /// The terms of row i begin at first[i] and end at first[i + 1].
  std::vector<std::size_t> first{0};
  std::vector<int> columns{};
  std::vector<double> coefs{};
  std::vector<double> lower{}, upper{};

  void addTerm(int column, double coef) {
    columns.push_back(column);
    coefs.push_back(coef);
  }
  /// Ends a row, whose terms have been added.
  void endRow(double lb, double ub) {
    first.push_back(columns.size());
    lower.push_back(lb);
    upper.push_back(ub);
  }
};

struct ColumnBounds {
  std::vector<double> lower{}, upper{};
  std::vector<bool> whole{};

  void add(double lb, double ub, bool isWhole) {
    lower.push_back(lb);
    upper.push_back(ub);
    whole.push_back(isWhole);
  }
};

/// Bounds of this size and beyond count as none.
constexpr double kNoBound = 1e20;

/// Tightens `bounds` by each row and the bounds of the other columns in it, until nothing changes or for twenty rounds.
/// Whole columns get whole bounds. Where no point satisfies all rows, bounds may cross.   Cost: each round is linear in
/// the terms.
void propagate(const LinearRows& rows, ColumnBounds& bounds);

}  // namespace tavlinear
