#include "expression/core/num_expr.h"

#include <memory>
#include <ostream>

#include "expression/core/check.h"
#include "expression/core/index.h"
#include "expression/core/num_linear.h"
#include "expression/core/sum_builder.h"

void TavNumExprI::end() {
  lower();
  if (_references >= kOne) return;  // by contract: the count may reach -1, that is how an uncounted node is ended
  TavEnvI* env = getEnv();
  if (env->deletionInterceptor) {
    env->deletionInterceptor->takeNode(this);
  } else if (env->removeFromAllOnDestroy) {
    env->removeFromAllAndDestroy(this, 0);
  } else {
    env->destroy(this, 0);
  }
}

void TavNumExprI::release() {
  if (!getEnv()->ending) end();
}

TavNumLinTermI* TavNumExprI::toNumLinTermI() {
  auto linear = TavMakeNode<TavNumLinTermI>(getEnv(), getEnv(), 0.0);
  linear->append(this);
  return linear.release();
}

bool TavMayHold(const TavEnvI* env, const TavNumExprI* operand) noexcept {
  return operand->getEnv() == env || (!operand->isRefCountedExpr() && !operand->isType(TavNumVarI::GetTypeInfo()));
}

TavEnv TavNumExprArg::getEnv() const { return TavEnv(TavRequireEnv(_impl)); }

bool TavNumExprArg::isConstant() const {
  TavRequireEnv(_impl);
  return TavIsConstant(_impl);
}

bool TavNumExprArg::isIndex() const {
  TavRequireEnv(_impl);
  return TavIsIndex(_impl);
}

double TavNumExprArg::getNumConstant() const {
  TavTestIsLinear(_impl);
  return _impl->getNumConstant();
}

bool TavNumExprArg::isInteger() const {
  TavRequireEnv(_impl);
  return _impl->isInteger();
}

double TavNumExprArg::eval(TavAlgorithm algorithm) const {
  TavRequireEnv(_impl);
  return _impl->eval(algorithm);
}

void TavNumExprArg::end() {
  if (_impl) {
    TavRequireEnv(_impl);
    _impl->end();
  }
  _impl = nullptr;
}

std::ostream& operator<<(std::ostream& os, TavNumExprArg expression) {
  return os << static_cast<TavExtractable>(expression);
}

void TavTestIsLinear(TavNumExprI* node) {
  TavRequireEnv(node);
  if (!TavIsLinearWithoutParts(node)) throw TavNumExpr::NonLinearExpression(node);
}

void TavNumExpr::NonLinearExpression::print(std::ostream& os) const {
  os << "Expression ";
  if (_expression) _expression->display(os);
  os << " is non linear, setting or querying the constant part is forbidden";
}
