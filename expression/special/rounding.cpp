#include "expression/special/rounding.h"

#include "expression/core/check.h"

namespace {

template <class Node>
Node* make(TavNumExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return new (env) Node(env, x.getImpl());
}

}  // namespace

TavNumExprArg TavCeil(TavNumExprArg x) { return TavNumExprArg(make<TavNumCeilI>(x)); }
TavNumExprArg TavFloor(TavNumExprArg x) { return TavNumExprArg(make<TavNumFloorI>(x)); }
TavNumExprArg TavTrunc(TavNumExprArg x) { return TavNumExprArg(make<TavNumTruncI>(x)); }
TavNumExprArg TavDistToInt(TavNumExprArg x) { return TavNumExprArg(make<TavDistToIntI>(x)); }
TavNumExprArg TavFract(TavNumExprArg x) { return TavNumExprArg(make<TavNumFractI>(x)); }
TavNumExprArg TavVurRound(TavNumExprArg x) { return TavNumExprArg(make<TavNumRoundI>(x)); }
TavIntExprArg TavNumToInt(TavNumExprArg x) { return TavIntExprArg(make<TavNumToIntI>(x)); }
