#include "expression/core/int_linear.h"

#include "expression/core/check.h"
#include "expression/core/num_linear.h"

static_assert(sizeof(TavIntLinTermI) == 80);

TavIntLinTermI::TavIntLinTermI(TavIntLinExprTerm term) : TavIntLinTermI(TavRequireEnv(TavVarOf(term.getImpl())), 0) {
  append(TavTakeCell(getEnv(), term.getImpl()));
}

void TavIntLinTermI::multiply(TavInt k) {
  const TavFirstFailure failure =
      replaceParts([env = getEnv(), k](TavIntExprI* part) { return TavTimes(env, part, k); });
  for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) cell->coef *= static_cast<double>(k);
  _constant = TavWrapMul(_constant, k);
  failure.rethrow();
}

TavNumLinTermI* TavIntLinTermI::toNumLinTermI() {
  auto numeric = TavMakeNode<TavNumLinTermI>(getEnv(), getEnv(), static_cast<double>(_constant));
  numeric->copyFrom(*this);
  return numeric.release();
}

TavIntLinTermI* TavIntLinTermI::copyLinear() const {
  auto fresh = TavMakeNode<TavIntLinTermI>(getEnv(), getEnv(), _constant);
  fresh->copyFrom(*this);
  return fresh.release();
}
