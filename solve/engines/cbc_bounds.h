#pragma once
/// Bounds that the rows of a linear model imply for its columns.

#include <vector>

class CoinPackedMatrix;

namespace tavsolve {

struct ColumnBounds {
  std::vector<double> lower, upper;
};

/// Tightens `bounds` by each row and the bounds of the other columns in it, until nothing changes or for twenty rounds.
/// Bounds of 1e20 and more count as none. The matrix is ordered by rows. Each round is linear in its size.
void propagate(const CoinPackedMatrix& rows, const double* rowLower, const double* rowUpper, ColumnBounds& bounds);

}  // namespace tavsolve
