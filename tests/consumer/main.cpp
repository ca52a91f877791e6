// Uses the installed library from outside: composes a model, prints and evaluates it.
#include <iostream>
#include <sstream>

#include "expression/nodes.h"
#include "expression/tavexpression.h"

int main() {
  const TavScopedEnv env;
  const TavNumVar x(env, 0.0, 10.0, "x"), y(env, 0.0, 10.0, "y");
  TavExpr sum = x + 2.0 * y;
  sum += 3.0;
  std::ostringstream text;
  text << sum << sum.eval(TavValues(env, {{x, 5.0}, {y, 0.5}})) << sum.getImpl()->isType(TavNumLinTermI::GetTypeInfo())
       << TavNumArray(env, 2) << TavIntArray(env, 1) << TavAnyArray(env) << TavNumVarArray(env, 2, x, y)
       << TavNumColumnArray(env).getSize();
  const bool right = text.str() == "x  + 2 * y  + 3 91[0, 0][0][][x[0 .. 10] , y[0 .. 10] ]0" &&
                     TavGetVersion() == TAV_VERSION && TAV_VERSION == WANTED;
  if (!right) std::cerr << "version " << TavGetVersion() << " says " << text.str() << "\n";
  return !right;
}
