#include "expression/arithmetic/square_abs_sgn.h"

#include "expression/core/check.h"
#include "expression/tavexpression.h"

TavNumExprArg TavSquare(TavNumExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavNumExprArg(new (env) TavNumSquareI(env, x.getImpl()));
}

TavIntExprArg TavSquare(TavIntExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavIntExprArg(new (env) TavIntSquareI(env, x.getImpl()));
}

TavNumExprArg TavAbs(TavNumExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavNumExprArg(new (env) TavNumAbsI(env, x.getImpl()));
}

TavIntExprArg TavAbs(TavIntExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavIntExprArg(new (env) TavIntAbsI(env, x.getImpl()));
}

TavIntExprArg TavSgn(TavNumExprArg x) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavIntExprArg(new (env) TavSgnI(env, x.getImpl()));
}
