#include "expression/special/modulo.h"

#include "expression/core/check.h"
#include "expression/tavexpression.h"

TavIntExprArg operator%(TavIntExprArg a, TavIntExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavIntExprArg operator % const TavIntExprArg const TavIntExprArg: mixing mismatch Environments");
  TavEnvI* env = a.getImpl()->getEnv();
  return TavIntExprArg(new (env) TavIntModuloI(env, a.getImpl(), b.getImpl()));
}

TavIntExprArg operator%(TavIntExprArg e, TavIntArg divisor) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavIntExprArg(new (env) TavIntModuloCstI(env, e.getImpl(), divisor.value));
}

TavIntExprArg operator%(TavIntArg dividend, TavIntExprArg e) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavIntExprArg(new (env) TavIntRecModuloCstI(env, e.getImpl(), dividend.value));
}
