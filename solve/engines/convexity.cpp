#include "solve/engines/convexity.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <vector>

namespace tavsolve {

namespace {

/// A symmetric matrix with the columns that it has numbered from 0.
struct Matrix {
  struct Entry {
    std::size_t row, column;
    double value;
  };
  std::size_t size = 0;
  std::vector<Entry> entries{};
};

Matrix hessianOf(const TavEvaluator& evaluator, std::size_t row, double sign) {
  Matrix matrix;
  std::map<std::int32_t, std::size_t> numbers;
  const auto number = [&](std::int32_t column) { return numbers.emplace(column, numbers.size()).first->second; };
  for (const TavEvaluator::HessianEntry& entry : evaluator.getConstantHessian(row)) {
    matrix.entries.push_back({number(entry.position.row), number(entry.position.column), sign * entry.value});
  }
  matrix.size = numbers.size();
  return matrix;
}

/// The blocks into which the matrix falls apart: one representative for each number.
std::vector<std::size_t> blocksOf(const Matrix& matrix) {
  std::vector<std::size_t> parent(matrix.size);
  std::iota(parent.begin(), parent.end(), std::size_t{0});
  const auto root = [&parent](std::size_t i) {
    while (parent[i] != i) i = parent[i] = parent[parent[i]];
    return i;
  };
  for (const Matrix::Entry& entry : matrix.entries) parent[root(entry.row)] = root(entry.column);
  for (std::size_t i = 0; i < parent.size(); ++i) parent[i] = root(i);
  return parent;
}

/// Cholesky's factorisation of a dense matrix, in place in its lower triangle; false where a pivot is not positive.
bool factorise(std::vector<double>& a, std::size_t n) {
  for (std::size_t k = 0; k < n; ++k) {
    for (std::size_t j = 0; j < k; ++j) a[k * n + k] -= a[k * n + j] * a[k * n + j];
    if (!(a[k * n + k] > 0.0)) return false;
    a[k * n + k] = std::sqrt(a[k * n + k]);
    for (std::size_t i = k + 1; i < n; ++i) {
      for (std::size_t j = 0; j < k; ++j) a[i * n + k] -= a[i * n + j] * a[k * n + j];
      a[i * n + k] /= a[k * n + k];
    }
  }
  return true;
}

}  // namespace

bool isConvexRow(const TavEvaluator& evaluator, std::size_t row, double sign) {
  constexpr std::size_t kLargest = 500;
  constexpr double kShift = 1e-9;
  if (evaluator.getKind(row) == TavEvaluator::Kind::Linear) return true;
  if (evaluator.getKind(row) == TavEvaluator::Kind::NonLinear) return false;
  const Matrix matrix = hessianOf(evaluator, row, sign);
  const std::vector<std::size_t> blockOf = blocksOf(matrix);
  std::map<std::size_t, std::vector<Matrix::Entry>> blocks;
  for (const Matrix::Entry& entry : matrix.entries) blocks[blockOf[entry.row]].push_back(entry);
  std::vector<std::size_t> place(matrix.size), count(matrix.size);
  for (std::size_t i = 0; i < matrix.size; ++i) place[i] = count[blockOf[i]]++;
  for (const auto& [block, entries] : blocks) {
    const std::size_t n = count[block];
    if (n > kLargest) return false;
    std::vector<double> dense(n * n);
    double greatest = 0.0;
    for (const auto& [i, j, value] : entries) {
      dense[std::max(place[i], place[j]) * n + std::min(place[i], place[j])] += value;
      greatest = std::max(greatest, std::abs(value));
    }
    for (std::size_t i = 0; i < n; ++i) dense[i * n + i] += kShift * greatest;
    if (greatest > 0.0 && !factorise(dense, n)) return false;
  }
  return true;
}

}  // namespace tavsolve
