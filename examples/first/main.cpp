#include <iostream>

#include "expression/tavexpression.h"

struct Threes : TavAlgorithmI {  // where values come from: here every variable is 3
  using TavAlgorithmI::getValue, TavAlgorithmI::TavAlgorithmI;
  double getValue(const TavNumVarI*) const override { return 3.0; }
};

int main() {
  TavEnv env;
  TavNumVar x(env, 0.0, 10.0, "x"), y(env, 0.0, 10.0, "y");
  TavExpr cost = x + 2 * y;
  cost += 6 * x;
  cost.normalize();
  TavNumExpr gap = TavAbs(x - y - 1);
  Threes threes(env.getImpl());
  std::cout << cost << "= " << cost.eval(&threes) << "\n" << gap << " = " << gap.eval(&threes) << "\n";
  env.end();
}
