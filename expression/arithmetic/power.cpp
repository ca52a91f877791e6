#include "expression/arithmetic/power.h"

#include "expression/core/build.h"

TavNumExprArg TavPower(TavNumExprArg x, TavNumExprArg y) {
  // by contract: "environments" in small letters, unlike in most other messages
  TavRequireSameEnv(x.getImpl(), y.getImpl(), "TavPower: mixing mismatch environments");
  TavEnvI* env = x.getImpl()->getEnv();
  return TavNumExprArg(new (env) TavNumPowerI(env, x.getImpl(), y.getImpl()));
}

TavNumExprArg TavPower(TavNumExprArg base, TavNumArg exponent) {
  return TavBuild<TavNumPowerCstI>(base, exponent.value);
}

TavNumExprArg TavPower(TavNumArg base, TavNumExprArg exponent) {
  return TavBuild<TavNumRecPowerCstI>(exponent, base.value);
}
