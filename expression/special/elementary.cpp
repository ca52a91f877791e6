#include "expression/special/elementary.h"

#include "expression/core/build.h"
#include "expression/tavexpression.h"

TavNumExprArg TavSin(TavNumExprArg x) { return TavBuild<TavSinI>(x); }
TavNumExprArg TavCos(TavNumExprArg x) { return TavBuild<TavCosI>(x); }
TavNumExprArg TavTan(TavNumExprArg x) { return TavBuild<TavTanI>(x); }
TavNumExprArg TavArcSin(TavNumExprArg x) { return TavBuild<TavArcSinI>(x); }
TavNumExprArg TavArcCos(TavNumExprArg x) { return TavBuild<TavArcCosI>(x); }
TavNumExprArg TavArcTan(TavNumExprArg x) { return TavBuild<TavArcTanI>(x); }
TavNumExprArg TavLog(TavNumExprArg x) { return TavBuild<TavLogI>(x); }
TavNumExprArg TavExponent(TavNumExprArg x) { return TavBuild<TavExponentI>(x); }

TavNumExprArg TavLog2(TavNumExprArg x) {
  const double divisor = std::log(2.0);
  return TavLog(x) / divisor;
}

TavNumExprArg TavLog10(TavNumExprArg x) {
  const double divisor = std::log(10.0);
  return TavLog(x) / divisor;
}
