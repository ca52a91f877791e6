#pragma once
/// Linear models in arrays that CLP takes over without a copy.

#include <ClpSimplex.hpp>
#include <CoinPackedMatrix.hpp>
#include <OsiClpSolverInterface.hpp>
#include <memory>
#include <vector>

#include "expression/tavexpression.h"

namespace tavsolve {

/// A bound as CLP has it; whole bounds end where doubles stop counting.
inline double clpBound(double bound, bool whole = false) {
  const double last = whole ? static_cast<double>(TavIntVar::kMaxInt) : TavGetInfinity();
  if (bound >= last) return COIN_DBL_MAX;
  return bound <= -last ? -COIN_DBL_MAX : bound;
}

/// Coefficients that come row by row, sorted by column. All are counted, in any order, then put.
class ColumnMatrix {
 public:
  explicit ColumnMatrix(std::size_t columns);

  /// One more coefficient in this column.
  void count(int column) { ++_start[static_cast<std::size_t>(column) + 2]; }
  /// All are counted. Throws InputError when they are more than CLP can number.
  void reserve();
  /// Within a column the rows stay in the order in which they are put.
  void put(std::size_t row, int column, double value) {
    const auto k = static_cast<std::size_t>(_start[static_cast<std::size_t>(column) + 1]++);
    _rows[k] = static_cast<int>(row);
    _values[k] = value;
  }
  /// All are put: the matrix, which owns the arrays from now on.
  std::unique_ptr<CoinPackedMatrix> take(std::size_t rows);

 private:
  std::size_t _columns;
  /// _start[j + 1] says where column j goes on, in the end where it ended.
  std::unique_ptr<CoinBigIndex[]> _start;
  std::unique_ptr<int[]> _rows;
  std::unique_ptr<double[]> _values;
};

/// CLP's model with room for so many rows and columns, whose bounds and costs are to be written in place.
std::unique_ptr<ClpSimplex> clpWithRoom(std::size_t rows, std::size_t columns);
/// Gives memory back where they hold nothing but zeros, once they are written: most lower bounds are 0, and the
/// solution that CLP has from the beginning is, which nothing writes to before the first solve.
void returnZeros(ClpSimplex& simplex);
/// A solver over that model, once it has all but these.
std::unique_ptr<OsiClpSolverInterface> solverOver(std::unique_ptr<ClpSimplex> simplex,
                                                  std::unique_ptr<CoinPackedMatrix> matrix, double objectiveConstant,
                                                  const std::vector<int>& integers);

}  // namespace tavsolve
