#include "expression/core/num_var.h"

// The host's operations that need expression classes.

void TavEnvI::release(TavNumExprI* node) {
  if (!ending) node->release();  // while the environment ends, the node may be destroyed already
}

double TavAlgorithm::getValue(TavNumVar variable) const {
  if (!_impl || !variable) throw TavEmptyHandleException();
  return _impl->getValue(variable.getImpl());
}

double TavAlgorithm::getValue(TavIntExprArg expression) const {
  if (!_impl || !expression) throw TavEmptyHandleException();
  const TavIntExprI* node = expression.getImpl();
  if (node->isType(TavNumVarI::GetTypeInfo())) return _impl->getValue(static_cast<const TavNumVarI*>(node));
  return _impl->getValue(node);
}

TavInt TavModelEvaluator::evaluate(TavIntExprArg expression) const {
  if (!isActive()) throw Unbound();
  return (*_source)(expression.getImpl());
}
