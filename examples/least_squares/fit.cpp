#include "fit.h"

#include "examples/ipopt/solver.h"

Fit fit(TavEnv env, const LeastSquares& problem, const std::vector<double>& start) {
  TavExpr sumOfSquares(env);
  for (const TavNumExpr& residual : problem.residuals) sumOfSquares += TavSquare(residual);
  TavNumVarArray parameters(env);
  for (const TavNumVar parameter : problem.parameters) parameters.add(parameter);
  TavEvaluator evaluator(env, sumOfSquares, TavNumExprArray(env), parameters, {});
  const Solution solution = solve(evaluator, {}, start, 1e-11);
  return {solution.solved, solution.failure, solution.values, solution.objective};
}
