#pragma once
/// Class header for authors of algorithms: the third power.

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
