#include "expression/arithmetic/product.h"

#include "expression/core/build.h"
#include "expression/core/sum_builder.h"

TavNumLinExprTerm operator*(TavNumVar x, TavNumArg factor) {
  return TavNumLinExprTerm(TavRequireEnv(x.getImpl())->newTerm(x.getImpl(), factor.value));
}

TavIntLinExprTerm operator*(TavIntVar x, TavIntArg factor) {
  return TavIntLinExprTerm(TavRequireEnv(x.getImpl())->newTerm(x.getImpl(), static_cast<double>(factor.value)));
}

TavNumExprI* TavTimes(TavEnvI* env, TavNumExprI* node, double factor) {
  if (node->kind() == TavKind::Variable) {
    auto sum = TavStartSum<TavNumLinTermI>(env, 0.0);
    sum->append(env->newTerm(static_cast<TavNumVarI*>(node), factor));
    return sum.release();
  }
  if (node->kind() != TavKind::Other) {
    auto sum = TavStartSum<TavNumLinTermI>(node);
    sum->multiply(factor);
    return sum.release();
  }
  const TavTypeInfo type = node->getTypeInfo();
  if (type == TavNumTimesCstI::GetTypeInfo()) {
    const auto* product = static_cast<TavNumTimesCstI*>(node);
    return TavDeep([=] { return TavTimes(env, product->getOperand(), product->getConstant() * factor); });
  }
  if (type == TavIntTimesCstI::GetTypeInfo()) {
    const auto* product = static_cast<TavIntTimesCstI*>(node);
    return TavDeep(
        [=] { return TavTimes(env, product->getOperand(), static_cast<double>(product->getConstant()) * factor); });
  }
  return new (env) TavNumTimesCstI(env, node, factor);
}

TavIntExprI* TavTimes(TavEnvI* env, TavIntExprI* node, TavInt factor) {
  if (node->kind() == TavKind::Variable) {
    auto sum = TavStartSum<TavIntLinTermI>(env, TavInt{0});
    sum->append(env->newTerm(static_cast<TavNumVarI*>(static_cast<TavNumExprI*>(node)), static_cast<double>(factor)));
    return sum.release();
  }
  if (node->kind() == TavKind::IntLinear) {
    auto sum = TavStartSum<TavIntLinTermI>(node);
    sum->multiply(factor);
    return sum.release();
  }
  if (node->getTypeInfo() == TavIntTimesCstI::GetTypeInfo()) {
    const auto* product = static_cast<TavIntTimesCstI*>(static_cast<TavNumExprI*>(node));
    return TavDeep([=] {
      return TavTimes(env, static_cast<TavIntExprI*>(product->getOperand()),
                      TavWrapMul(product->getConstant(), factor));
    });
  }
  return new (env) TavIntTimesCstI(env, node, factor);
}

TavNumExprArg operator*(TavNumExprArg e, TavNumArg factor) {
  return TavNumExprArg(TavTimes(TavRequireEnv(e.getImpl()), e.getImpl(), factor.value));
}

TavIntExprArg operator*(TavIntExprArg e, TavIntArg factor) {
  return TavIntExprArg(TavTimes(TavRequireEnv(e.getImpl()), e.getImpl(), factor.value));
}

TavNumExprArg operator*(TavNumExprArg a, TavNumExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavNumExprArg operator * const TavNumExprArg const TavNumExprArg: mixing mismatch Environments");
  if (TavIsConstant(a.getImpl())) return b * a.getImpl()->getNumConstant();
  if (TavIsConstant(b.getImpl())) return a * b.getImpl()->getNumConstant();
  TavEnvI* env = a.getImpl()->getEnv();
  return TavNumExprArg(new (env) TavNumTimesI(env, a.getImpl(), b.getImpl()));
}

TavIntExprArg operator*(TavIntExprArg a, TavIntExprArg b) {
  // by contract: constants do not fold here
  return TavBuildOfTwo<TavIntTimesI>(
      a, b, "TavIntExprArg operator * const TavIntExprArg const TavIntExprArg: mixing mismatch Environments");
}

TavNumExprI* TavOver(TavEnvI* env, TavNumExprI* node, double divisor) {
  if (node->kind() == TavKind::Variable) return TavTimes(env, node, 1.0 / divisor);
  if (node->kind() != TavKind::Other) {
    auto sum = TavStartSum<TavNumLinTermI>(node);
    sum->divide(divisor);
    return sum.release();
  }
  return new (env) TavNumDivCstI(env, node, divisor);
}

TavNumExprArg operator/(TavNumExprArg e, TavNumArg divisor) {
  return TavNumExprArg(TavOver(TavRequireEnv(e.getImpl()), e.getImpl(), divisor.value));
}

TavNumExprArg operator/(TavNumArg dividend, TavNumExprArg e) { return TavBuild<TavNumRecDivCstI>(e, dividend.value); }

TavNumExprArg operator/(TavNumExprArg a, TavNumExprArg b) {
  return TavBuildOfTwo<TavNumDivI>(
      a, b, "TavNumExprArg operator / const TavNumExprArg const TavNumExprArg: mixing mismatch Environments");
}

TavIntExprArg TavDiv(TavIntExprArg a, TavIntExprArg b) {
  return TavBuildOfTwo<TavIntDivI>(a, b, "TavDiv: mixing mismatch Environments");
}

TavIntExprArg TavDiv(TavIntExprArg e, TavIntArg divisor) { return TavBuild<TavIntDivCstI>(e, divisor.value); }

TavIntExprArg TavDiv(TavIntArg dividend, TavIntExprArg e) { return TavBuild<TavIntRecDivCstI>(e, dividend.value); }
