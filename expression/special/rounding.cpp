#include "expression/special/rounding.h"

#include "expression/core/build.h"

TavNumExprArg TavCeil(TavNumExprArg x) { return TavBuild<TavNumCeilI>(x); }
TavNumExprArg TavFloor(TavNumExprArg x) { return TavBuild<TavNumFloorI>(x); }
TavNumExprArg TavTrunc(TavNumExprArg x) { return TavBuild<TavNumTruncI>(x); }
TavNumExprArg TavDistToInt(TavNumExprArg x) { return TavBuild<TavDistToIntI>(x); }
TavNumExprArg TavFract(TavNumExprArg x) { return TavBuild<TavNumFractI>(x); }
TavNumExprArg TavVurRound(TavNumExprArg x) { return TavBuild<TavNumRoundI>(x); }
TavIntExprArg TavNumToInt(TavNumExprArg x) { return TavBuild<TavNumToIntI>(x); }
