// Uses the installed library as a stranger would: composes a model, prints and evaluates it by an algorithm of its own.
#include <iostream>
#include <sstream>

#include "expression/nodes.h"
#include "expression/tavexpression.h"

namespace {

class Values final : public TavAlgorithmI {
 public:
  using TavAlgorithmI::getValue;
  using TavAlgorithmI::TavAlgorithmI;
  double getValue(const TavNumVarI* variable) const override { return variable->getName()[0] == 'x' ? 5.0 : 0.5; }
};

int faults = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  std::cerr << "wrong: " << what << "\n";
  ++faults;
}

}  // namespace

int main() {
  TavEnv env;
  const TavNumVar x(env, 0.0, 10.0, "x"), y(env, 0.0, 10.0, "y");
  TavExpr sum = x + 2.0 * y;
  sum += 3.0;
  std::ostringstream text;
  text << sum;
  Values values(env.getImpl());
  expect(text.str() == "x  + 2 * y  + 3 ", "the text of a sum");
  expect(sum.eval(&values) == 9.0, "the value of a sum");
  expect(sum.getImpl()->isType(TavNumLinTermI::GetTypeInfo()), "the class of its node");
  expect(TavGetVersion() == TAV_VERSION && TAV_VERSION == WANTED, "the version");
  std::ostringstream arrays;
  arrays << TavNumArray(env, 2) << TavIntArray(env, 1) << TavAnyArray(env) << TavNumVarArray(env, 2, x, y)
         << TavNumColumnArray(env).getSize();
  expect(arrays.str() == "[0, 0][0][][x[0 .. 10] , y[0 .. 10] ]0", "the text of arrays");
  env.end();
  return faults;
}
