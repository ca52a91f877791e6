#include "fit.h"

#include "solve/engines/engines.h"

void fill(tavsolve::Model& model, const LeastSquares& problem) {
  for (const TavNumVar parameter : problem.parameters) model.addColumn(parameter);
  TavExpr sumOfSquares(model.getEnv());
  for (const TavNumExpr& residual : problem.residuals) sumOfSquares += TavSquare(residual);
  model.setObjective(sumOfSquares, false);
}

Fit fit(const tavsolve::Model& model, const LeastSquares& problem, const std::vector<double>& start) {
  const auto engine = tavsolve::chooseEngine(model, "ipopt").make(model);
  engine->extract();
  tavsolve::Controls controls;
  controls.start = start;
  controls.tolerance = 1e-11;
  const tavsolve::Answer answer = engine->solve(controls);
  if (!tavsolve::isSolved(answer.status)) return {false, answer.remark, {}, 0};
  Fit result{true, {}, {}, answer.objective};
  for (const TavNumVar parameter : problem.parameters)
    result.parameters.push_back(engine->getValue(parameter.getImpl()));
  return result;
}
