// Uses the other installed libraries from outside: reads a model file, compiles its objective and evaluates it.
#include <cmath>
#include <iostream>
#include <vector>

#include "evaluator/tavevaluator.h"
#include "modelfile/build.h"

int main(int, char** arguments) {
  const TavScopedEnv env;
  const TavModelContents model = TavBuildModel(env, TavReadModel(arguments[1]));
  TavEvaluator evaluator(env, model.objectives[0].expression, TavNumExprArray(env));
  const std::vector<double> ones(evaluator.getColumnCount(), 1.0);
  const double value = TavEvaluation(evaluator).objective(ones);
  const bool right = ones.size() == 6 && std::fabs(value - 1.053) < 1e-12;
  if (!right) std::cerr << ones.size() << " columns, objective " << value << "\n";
  return !right;
}
