// The program whose variables the debugger's printers print.

#include "expression/tavexpression.h"

void stop() {}

int main() {
  TavEnv env;
  const TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y");
  [[maybe_unused]] const TavNumVar unnamed(env, 0, 1);
  const TavExpr e = 3 * x - 2 * y + 1;
  [[maybe_unused]] const TavNumExpr f = TavMax(TavSin(x), e);
  [[maybe_unused]] const TavIntExpr none;
  [[maybe_unused]] const TavNumLinExprTerm term = 4 * x;
  TavNumVarArray xs(env, 2, x, y);
  TavNumArray numbers(env);
  for (double number : {1.5, 2.5, 4.0}) numbers.add(number);
  stop();
  env.end();
}
