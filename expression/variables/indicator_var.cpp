#include "expression/variables/indicator_var.h"

#include "expression/core/check.h"

TavNumVar::TavNumVar(TavConstraint constraint) {
  TavEnvI* env = TavRequireEnv(static_cast<TavExtractable>(constraint).getImpl());
  *this = TavNumVar(new (env) TavConstraintIndVarI(env, constraint.getImpl()));
}

void TavConstraintIndVarI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->visitChild(this, _constraint);
  visitor->endVisit(this);
}

TavExtractableI* TavConstraintIndVarI::makeClone(TavEnvI* target) const {
  // by contract: from the target's registry, not from its own
  TavIntExprI* constraint = TavCloneOf(_constraint, target);
  return new (target) TavConstraintIndVarI(target, TavImplCast<TavConstraintI>(constraint));
}
