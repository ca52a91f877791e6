#include "expression/arithmetic/power.h"

#include "expression/core/check.h"

TavNumExprArg TavPower(TavNumExprArg x, TavNumExprArg y) {
  // by contract: "environments" in small letters, unlike in most other messages
  TavRequireSameEnv(x.getImpl(), y.getImpl(), "TavPower: mixing mismatch environments");
  TavEnvI* env = x.getImpl()->getEnv();
  return TavNumExprArg(new (env) TavNumPowerI(env, x.getImpl(), y.getImpl()));
}

TavNumExprArg TavPower(TavNumExprArg base, TavNumArg exponent) {
  TavEnvI* env = TavRequireEnv(base.getImpl());
  return TavNumExprArg(new (env) TavNumPowerCstI(env, base.getImpl(), exponent.value));
}

TavNumExprArg TavPower(TavNumArg base, TavNumExprArg exponent) {
  TavEnvI* env = TavRequireEnv(exponent.getImpl());
  return TavNumExprArg(new (env) TavNumRecPowerCstI(env, exponent.getImpl(), base.value));
}
