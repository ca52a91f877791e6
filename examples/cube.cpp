// A class of nodes that a client adds: the third power. docs/add_a_node.md explains it.

#include <iostream>

#include "expression/core/check.h"
#include "expression/core/families.h"
#include "expression/tavexpression.h"

/// x * x * x.
class TavCubeI final : public TavUnaryI<TavCubeI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavCubeI";
  static constexpr TavTexts kTexts{{"TavCube(", "", ") "}, {"cube(", "", ")"}};
  static double apply(double x) { return x * x * x; }
  bool isInteger() const override { return TavIsInteger(getOperand()); }
};

static_assert(sizeof(TavCubeI) == 48);

/// x * x * x. Prints "TavCube(" x ") ", or "cube(" x ")".
inline TavNumExprArg TavCube(TavNumExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavNumExprArg(new (env) TavCubeI(env, x.getImpl()));
}

int main() {
  TavEnv env, target;
  const TavIntVar i(env, 0, 9, "i");
  const TavNumExpr cube = TavCube(i - 2);
  std::cout << cube << "\n";
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << cube << "\n" << (cube.isInteger() ? "integer" : "real") << ", ";
  env.getImpl()->getModelEvaluator().activate([](TavIntExprI*) { return TavInt{0}; });
  std::cout << cube.eval(TavAlgorithm()) << "\n";
  TavExtractableI* clone = TavClonePass(env.getImpl(), target.getImpl()).clone(cube.getImpl());
  std::cout << TavExtractable(clone) << "\n";
  try {
    TavCube(TavNumExprArg());
  } catch (const TavEmptyHandleException&) {
    std::cout << "an empty handle is refused\n";
  }
  target.end();
  env.end();
}
