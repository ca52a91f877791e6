#include "solve/engines/cbc_load.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>

#include "expression/tavexpression.h"
#include "host/large_block.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

/// CLP frees its arrays by delete[].
template <class Number>
std::unique_ptr<Number[]> numbers(std::size_t count) {
  auto result = std::make_unique_for_overwrite<Number[]>(count);
  TavWantHugePages(result.get(), count * sizeof(Number));
  return result;
}

/// Gives the whole pages of memory from the heap that hold zeros back to the system; they hold zeros all the same.
void returnZeroPages([[maybe_unused]] double* values, [[maybe_unused]] std::size_t count) {
#ifdef __linux__
  constexpr std::size_t kPages = std::size_t{1} << 16;  // a multiple of every usual size of pages
  const std::size_t bytes = count * sizeof(double), front = -reinterpret_cast<std::uintptr_t>(values) % kPages;
  if (bytes < front) return;
  char* at = reinterpret_cast<char*>(values) + front;
  char* const end = at + (bytes - front) / kPages * kPages;
  const auto isZero = [](const char* page) { return *page == 0 && std::memcmp(page, page + 1, kPages - 1) == 0; };
  while (at != end) {
    char* const begin = at;
    while (at != end && isZero(at)) at += kPages;
    if (at != begin) ::madvise(begin, static_cast<std::size_t>(at - begin), MADV_DONTNEED);
    if (at != end) at += kPages;
  }
#endif
}

}  // namespace

ColumnMatrix::ColumnMatrix(std::size_t columns) : _columns(columns), _start(numbers<CoinBigIndex>(columns + 2)) {
  std::fill_n(_start.get(), columns + 2, 0);
}

void ColumnMatrix::reserve() {
  constexpr std::int64_t kMost = std::numeric_limits<CoinBigIndex>::max();
  if (std::accumulate(_start.get(), _start.get() + _columns + 2, std::int64_t{0}) > kMost) {
    throw InputError("the model has more than " + std::to_string(kMost) + " non-zeros, the most that CLP can take");
  }
  std::partial_sum(_start.get(), _start.get() + _columns + 2, _start.get());
  const auto count = static_cast<std::size_t>(_start[_columns + 1]);
  _rows = numbers<int>(count);
  _values = numbers<double>(count);
}

std::unique_ptr<CoinPackedMatrix> ColumnMatrix::take(std::size_t rows) {
  auto matrix = std::make_unique<CoinPackedMatrix>();
  const CoinBigIndex count = _start[_columns];
  double* values = _values.release();
  int* indices = _rows.release();
  CoinBigIndex* start = _start.release();
  int* lengths = nullptr;
  matrix->assignMatrix(true, static_cast<int>(rows), static_cast<int>(_columns), count, values, indices, start,
                       lengths);
  return matrix;
}

std::unique_ptr<ClpSimplex> clpWithRoom(std::size_t rows, std::size_t columns) {
  auto simplex = std::make_unique<ClpSimplex>();
  simplex->setLogLevel(0);
  simplex->resize(static_cast<int>(rows), static_cast<int>(columns));
  return simplex;
}

void returnZeros(ClpSimplex& simplex) {
  const auto rows = static_cast<std::size_t>(simplex.numberRows());
  const auto columns = static_cast<std::size_t>(simplex.numberColumns());
  for (double* values : {simplex.primalRowSolution(), simplex.dualRowSolution(), simplex.rowLower()}) {
    returnZeroPages(values, rows);
  }
  for (double* values : {simplex.primalColumnSolution(), simplex.dualColumnSolution(), simplex.columnLower()}) {
    returnZeroPages(values, columns);
  }
}

std::unique_ptr<OsiClpSolverInterface> solverOver(std::unique_ptr<ClpSimplex> simplex,
                                                  std::unique_ptr<CoinPackedMatrix> matrix, double objectiveConstant,
                                                  const std::vector<int>& integers) {
  simplex->replaceMatrix(matrix.release(), true);
  auto solver = std::make_unique<OsiClpSolverInterface>(simplex.release(), true);
  solver->messageHandler()->setLogLevel(0);
  if (!integers.empty()) solver->setInteger(integers.data(), static_cast<int>(integers.size()));
  solver->setDblParam(OsiObjOffset, -objectiveConstant);
  return solver;
}

}  // namespace tavsolve
