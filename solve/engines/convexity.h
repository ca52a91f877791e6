#pragma once
/// Convexity of linear and quadratic rows.

#include <cstddef>

#include "evaluator/tavevaluator.h"

namespace tavsolve {

/// Whether sign * row is known to be convex: it is linear, or quadratic with a positive semidefinite Hessian, to a
/// relative 1e-9. A non-linear row is not, and neither is one in which more than 500 columns hang together by products.
bool isConvexRow(const TavEvaluator& evaluator, std::size_t row, double sign);

}  // namespace tavsolve
