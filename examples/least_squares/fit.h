#pragma once
/// Non-linear least squares over expressions, by Ipopt.

#include <string>
#include <vector>

#include "solve/model/model.h"

/// Expressions over the parameters, whose sum of squares is minimised.
struct LeastSquares {
  std::vector<TavNumVar> parameters;
  std::vector<TavNumExpr> residuals;
};

struct Fit {
  bool converged = false;
  /// The solver's message when it did not converge.
  std::string failure;
  std::vector<double> parameters;
  double sumOfSquares = 0;
};

/// Makes the sum of squares the objective of an empty model, whose environment contains the problem.
void fill(tavsolve::Model& model, const LeastSquares& problem);

/// Minimises from `start`, with the evaluator's derivatives.
Fit fit(const tavsolve::Model& model, const LeastSquares& problem, const std::vector<double>& start);
