#include <iostream>
#include <vector>

#include "evaluator/tavevaluator.h"

int main() {
  TavEnv env;
  TavNumVar x(env, 0, 4, "x"), y(env, 0, 4, "y");
  TavNumExprArray constraints(env);
  constraints.add(x * y + TavSin(x));
  TavEvaluator evaluator(env, TavSquare(x - 1) + TavExponent(y), constraints);
  TavEvaluation at(evaluator);
  const std::vector<double> point{2.0, 0.5};
  std::vector<double> gradient(evaluator.getColumnCount()), jacobian(evaluator.getJacobianStructure().size());
  at.gradient(point, gradient);
  at.jacobian(point, jacobian);
  std::cout << "f = " << at.objective(point) << ", gradient (" << gradient[0] << ", " << gradient[1] << ")\n";
  for (std::size_t k = 0; k < jacobian.size(); ++k) {
    const auto [row, column] = evaluator.getJacobianStructure()[k];
    std::cout << "row " << row << ", column " << column << ": " << jacobian[k] << '\n';
  }
  env.end();
}
