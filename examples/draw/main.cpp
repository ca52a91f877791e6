// Draws one expression: example_draw | dot -Tsvg > expression.svg

#include <iostream>

#include "draw.h"

int main() {
  TavEnv env;
  const TavNumVar x(env, 0, 10, "x"), y(env, -5, 5, "y");
  const TavIntVar n(env, 0, 2, "n");
  TavNumArray prices(env);
  for (double price : {1.5, 2.25, 4.0}) prices.add(price);

  // 3x - 2y + sin(xy)^2 + max(sin(xy), 0.5) + prices[n] + 4, with one node for both sines
  const TavNumExprArg sine = TavSin(x * y);
  TavExpr sum = 3 * x - 2 * y + 4;
  sum += TavSquare(sine);
  sum += TavMax(sine, 0.5);
  sum += prices[n];

  drawGraph(std::cout, sum);
  env.end();
  return 0;
}
