#include "expression/arithmetic/square_abs_sgn.h"

#include "expression/core/build.h"
#include "expression/tavexpression.h"

TavNumExprArg TavSquare(TavNumExprArg x) { return TavBuild<TavNumSquareI>(x); }

TavIntExprArg TavSquare(TavIntExprArg x) { return TavBuild<TavIntSquareI>(x); }

TavNumExprArg TavAbs(TavNumExprArg x) { return TavBuild<TavNumAbsI>(x); }

TavIntExprArg TavAbs(TavIntExprArg x) { return TavBuild<TavIntAbsI>(x); }

TavIntExprArg TavSgn(TavNumExprArg x) { return TavBuild<TavSgnI>(x); }
