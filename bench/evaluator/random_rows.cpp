// The work by hand for rows that have nothing in common: separate code for each row.

#include <cmath>

#include "bench/evaluator/by_hand.h"

namespace {

using Function = void (*)(const double* x, double lambda, double* out);

#include "random_rows.inc"

}  // namespace

ByHand<RandomRows>::ByHand(const RandomRows&)
    : _firstSlope(RandomRows::kRows + 1), _firstSecond(RandomRows::kRows + 1) {
  for (const auto& [row, column] : kSlopePlaces) {
    jacobianPlaces.emplace_back(row, column);
    _firstSlope[static_cast<std::size_t>(row) + 1] = jacobianPlaces.size();
  }
  for (const auto& [row, column, other] : kSecondPlaces) {
    hessianPlaces.emplace_back(column, other);
    _firstSecond[static_cast<std::size_t>(row) + 1] = hessianPlaces.size();
  }
  for (std::size_t row = 0; row < RandomRows::kRows; ++row) {
    _firstSecond[row + 1] = std::max(_firstSecond[row], _firstSecond[row + 1]);  // a row may have none
  }
}

void ByHand<RandomRows>::gradient(const double*, double* values) const {
  std::memset(values, 0, sizeof(double) * RandomRows::kColumns);
}

void ByHand<RandomRows>::constraints(const double* x, double* g) const {
  for (std::size_t row = 0; row < RandomRows::kRows; ++row) k_value[row](x, 1, g + row);
}

void ByHand<RandomRows>::jacobian(const double* x, double* values) const {
  for (std::size_t row = 0; row < RandomRows::kRows; ++row) k_slopes[row](x, 1, values + _firstSlope[row]);
}

void ByHand<RandomRows>::hessian(const double* x, double, const double* lambda, double* values) const {
  for (std::size_t row = 0; row < RandomRows::kRows; ++row) k_seconds[row](x, lambda[row], values + _firstSecond[row]);
}
