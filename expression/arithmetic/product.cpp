#include "expression/arithmetic/product.h"

#include "expression/core/check.h"
#include "expression/core/draft.h"

TavNumLinExprTerm operator*(TavNumVar x, TavNumArg factor) {
  return TavNumLinExprTerm(TavRequireEnv(x.getImpl())->newTerm(x.getImpl(), factor.value));
}

TavIntLinExprTerm operator*(TavIntVar x, TavIntArg factor) {
  return TavIntLinExprTerm(TavRequireEnv(x.getImpl())->newTerm(x.getImpl(), static_cast<double>(factor.value)));
}

TavNumExprI* TavTimes(TavEnvI* env, TavNumExprI* node, double factor) {
  const TavTypeInfo type = node->getTypeInfo();
  const TavKind kind = TavKindOf(node, type);
  if (kind == TavKind::Variable) {
    auto draft = TavNewDraft<TavNumLinTermI>(env, 0.0);
    draft->append(env->newTerm(static_cast<TavNumVarI*>(node), factor));
    return draft.release();
  }
  if (kind != TavKind::Other) {
    auto draft = TavDraftOf<TavNumLinTermI>(node, kind);
    draft->multiply(factor);
    return draft.release();
  }
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
  const TavTypeInfo type = node->getTypeInfo();
  const TavKind kind = TavKindOf(node, type);
  if (kind == TavKind::Variable) {
    auto draft = TavNewDraft<TavIntLinTermI>(env, TavInt{0});
    draft->append(env->newTerm(static_cast<TavNumVarI*>(static_cast<TavNumExprI*>(node)), static_cast<double>(factor)));
    return draft.release();
  }
  if (kind == TavKind::IntLinear) {
    auto draft = TavDraftOf<TavIntLinTermI>(node, kind);
    draft->multiply(factor);
    return draft.release();
  }
  if (type == TavIntTimesCstI::GetTypeInfo()) {
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
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavIntExprArg operator * const TavIntExprArg const TavIntExprArg: mixing mismatch Environments");
  TavEnvI* env = a.getImpl()->getEnv();
  // by contract: constants do not fold here
  return TavIntExprArg(new (env) TavIntTimesI(env, a.getImpl(), b.getImpl()));
}

TavNumExprI* TavOver(TavEnvI* env, TavNumExprI* node, double divisor) {
  const TavKind kind = TavKindOf(node);
  if (kind == TavKind::Variable) return TavTimes(env, node, 1.0 / divisor);
  if (kind != TavKind::Other) {
    auto draft = TavDraftOf<TavNumLinTermI>(node, kind);
    draft->divide(divisor);
    return draft.release();
  }
  return new (env) TavNumDivCstI(env, node, divisor);
}

TavNumExprArg operator/(TavNumExprArg e, TavNumArg divisor) {
  return TavNumExprArg(TavOver(TavRequireEnv(e.getImpl()), e.getImpl(), divisor.value));
}

TavNumExprArg operator/(TavNumArg dividend, TavNumExprArg e) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavNumExprArg(new (env) TavNumRecDivCstI(env, e.getImpl(), dividend.value));
}

TavNumExprArg operator/(TavNumExprArg a, TavNumExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavNumExprArg operator / const TavNumExprArg const TavNumExprArg: mixing mismatch Environments");
  TavEnvI* env = a.getImpl()->getEnv();
  return TavNumExprArg(new (env) TavNumDivI(env, a.getImpl(), b.getImpl()));
}

TavIntExprArg TavDiv(TavIntExprArg a, TavIntExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(), "TavDiv: mixing mismatch Environments");
  TavEnvI* env = a.getImpl()->getEnv();
  return TavIntExprArg(new (env) TavIntDivI(env, a.getImpl(), b.getImpl()));
}

TavIntExprArg TavDiv(TavIntExprArg e, TavIntArg divisor) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavIntExprArg(new (env) TavIntDivCstI(env, e.getImpl(), divisor.value));
}

TavIntExprArg TavDiv(TavIntArg dividend, TavIntExprArg e) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavIntExprArg(new (env) TavIntRecDivCstI(env, e.getImpl(), dividend.value));
}
