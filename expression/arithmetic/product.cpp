#include "expression/arithmetic/product.h"

#include "expression/core/check.h"
#include "expression/core/draft.h"

// ---- terms

TavNumLinExprTerm tavdetail::times(TavNumVar x, double factor) {
  return TavNumLinExprTerm(TavLooseCell(TavRequireEnv(x.getImpl()), x.getImpl(), factor));
}

TavIntLinExprTerm tavdetail::times(TavIntVar x, TavInt factor) {
  return TavIntLinExprTerm(TavLooseCell(TavRequireEnv(x.getImpl()), x.getImpl(), static_cast<double>(factor)));
}

// ---- products

TavNumExprArg tavdetail::times(TavNumExprArg e, double factor) {
  TavNumExprI* node = e.getImpl();
  TavEnvI* env = TavRequireEnv(node);
  const TavTypeInfo type = node->getTypeInfo();
  const TavKind kind = TavKindOf(node, type);
  if (kind == TavKind::Variable) {
    auto draft = TavNewDraft<TavNumLinTermI>(env, 0.0);
    draft->append(env->newTerm(static_cast<TavNumVarI*>(node), factor));
    return TavNumExprArg(draft.release());
  }
  if (kind != TavKind::Other) {
    auto draft = TavDraftOf<TavNumLinTermI>(node, kind);
    draft->multiply(factor);
    return TavNumExprArg(draft.release());
  }
  if (type == TavNumTimesCstI::GetTypeInfo()) {
    const auto* product = static_cast<TavNumTimesCstI*>(node);
    return TavDeep([=] { return times(TavNumExprArg(product->getOperand()), product->getConstant() * factor); });
  }
  if (type == TavIntTimesCstI::GetTypeInfo()) {
    const auto* product = static_cast<TavIntTimesCstI*>(node);
    return TavDeep([=] {
      return times(TavNumExprArg(product->getOperand()), static_cast<double>(product->getConstant()) * factor);
    });
  }
  return TavNumExprArg(new (env) TavNumTimesCstI(env, node, factor));
}

TavIntExprArg tavdetail::times(TavIntExprArg e, TavInt factor) {
  TavIntExprI* node = e.getImpl();
  TavEnvI* env = TavRequireEnv(node);
  const TavTypeInfo type = node->getTypeInfo();
  const TavKind kind = TavKindOf(node, type);
  if (kind == TavKind::Variable) {
    auto draft = TavNewDraft<TavIntLinTermI>(env, TavInt{0});
    draft->append(env->newTerm(static_cast<TavNumVarI*>(node), static_cast<double>(factor)));
    return TavIntExprArg(draft.release());
  }
  if (kind == TavKind::IntLinear) {
    auto draft = TavDraftOf<TavIntLinTermI>(node, kind);
    draft->multiply(factor);
    return TavIntExprArg(draft.release());
  }
  if (type == TavIntTimesCstI::GetTypeInfo()) {
    const auto* product = static_cast<TavIntTimesCstI*>(static_cast<TavNumExprI*>(node));
    return TavDeep([=] {
      return times(TavIntExprArg(static_cast<TavIntExprI*>(product->getOperand())),
                   TavWrapMul(product->getConstant(), factor));
    });
  }
  return TavIntExprArg(new (env) TavIntTimesCstI(env, node, factor));
}

TavNumExprArg operator*(TavNumExprArg a, TavNumExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavNumExprArg operator * const TavNumExprArg const TavNumExprArg: mixing mismatch Environments");
  if (TavIsConstant(a.getImpl())) return tavdetail::times(b, a.getImpl()->getNumConstant());
  if (TavIsConstant(b.getImpl())) return tavdetail::times(a, b.getImpl()->getNumConstant());
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

// ---- quotients

TavNumExprArg tavdetail::over(TavNumExprArg e, double divisor) {
  TavNumExprI* node = e.getImpl();
  TavEnvI* env = TavRequireEnv(node);
  const TavKind kind = TavKindOf(node);
  if (kind == TavKind::Variable) return times(e, 1.0 / divisor);
  if (kind != TavKind::Other) {
    auto draft = TavDraftOf<TavNumLinTermI>(node, kind);
    draft->divide(divisor);
    return TavNumExprArg(draft.release());
  }
  return TavNumExprArg(new (env) TavNumDivCstI(env, node, divisor));
}

TavNumExprArg tavdetail::over(double dividend, TavNumExprArg e) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavNumExprArg(new (env) TavNumRecDivCstI(env, e.getImpl(), dividend));
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

TavIntExprArg tavdetail::div(TavIntExprArg e, TavInt divisor) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavIntExprArg(new (env) TavIntDivCstI(env, e.getImpl(), divisor));
}

TavIntExprArg tavdetail::div(TavInt dividend, TavIntExprArg e) {
  TavEnvI* env = TavRequireEnv(e.getImpl());
  return TavIntExprArg(new (env) TavIntRecDivCstI(env, e.getImpl(), dividend));
}
