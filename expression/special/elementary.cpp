#include "expression/special/elementary.h"

#include "expression/core/check.h"
#include "expression/tavexpression.h"

namespace {

template <class Node>
TavNumExprArg apply(TavNumExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavNumExprArg(new (env) Node(env, x.getImpl()));
}

}  // namespace

TavNumExprArg TavSin(TavNumExprArg x) { return apply<TavSinI>(x); }
TavNumExprArg TavCos(TavNumExprArg x) { return apply<TavCosI>(x); }
TavNumExprArg TavTan(TavNumExprArg x) { return apply<TavTanI>(x); }
TavNumExprArg TavArcSin(TavNumExprArg x) { return apply<TavArcSinI>(x); }
TavNumExprArg TavArcCos(TavNumExprArg x) { return apply<TavArcCosI>(x); }
TavNumExprArg TavArcTan(TavNumExprArg x) { return apply<TavArcTanI>(x); }
TavNumExprArg TavLog(TavNumExprArg x) { return apply<TavLogI>(x); }
TavNumExprArg TavExponent(TavNumExprArg x) { return apply<TavExponentI>(x); }

TavNumExprArg TavLog2(TavNumExprArg x) {
  const double divisor = std::log(2.0);
  return TavLog(x) / divisor;
}

TavNumExprArg TavLog10(TavNumExprArg x) {
  const double divisor = std::log(10.0);
  return TavLog(x) / divisor;
}
