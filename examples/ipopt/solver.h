#pragma once
/// Ipopt over an evaluator: it asks for values and derivatives, and this passes them on.

#include <string>
#include <vector>

#include "evaluator/tavevaluator.h"
#include "examples/ipopt/range.h"

struct Solution {
  bool solved = false;
  std::string failure;  ///< what Ipopt said, when it has not solved the problem
  double objective = 0;
  std::vector<double> values;  ///< of the columns
  int iterations = 0;
  double seconds = 0, evaluatorSeconds = 0;
};

/// Minimises the objective from `start`, within the bounds of the variables and the limits of the constraints, to a
/// relative `tolerance`.
Solution solve(TavEvaluator& evaluator, const std::vector<Range>& limits, const std::vector<double>& start,
               double tolerance = 1e-8);
