#include "expression/special/modulo.h"

#include "expression/core/build.h"
#include "expression/tavexpression.h"

TavIntExprArg operator%(TavIntExprArg a, TavIntExprArg b) {
  return TavBuildOfTwo<TavIntModuloI>(
      a, b, "TavIntExprArg operator % const TavIntExprArg const TavIntExprArg: mixing mismatch Environments");
}

TavIntExprArg operator%(TavIntExprArg e, TavIntArg divisor) { return TavBuild<TavIntModuloCstI>(e, divisor.value); }

TavIntExprArg operator%(TavIntArg dividend, TavIntExprArg e) {
  return TavBuild<TavIntRecModuloCstI>(e, dividend.value);
}
