#include "expression/constraints/constraint.h"

#include <ostream>

#include "expression/tavexpression.h"

static_assert(sizeof(TavConstConstraintI) == 48);

TavConstraintHook TavConstraintI::_addToCP = nullptr;
TavConstraintHook TavConstraintI::_removeFromCP = nullptr;

double TavConstraintI::eval(TavAlgorithm algorithm) const {
  const TavIntExprArg self(const_cast<TavConstraintI*>(this));
  const TavModelEvaluator evaluator = getEnv()->getModelEvaluator();
  if (evaluator.isActive()) {
    try {
      return static_cast<double>(evaluator.evaluate(self));
    } catch (const TavModelEvaluator::Unbound&) {
      throw;
    } catch (...) {  // after any other exception the algorithm gives the value
    }
  }
  return algorithm.getValue(self);
}

void TavConstraintI::whenAddedToCP(TavAlgorithm algorithm, void* data) const {
  if (!_addToCP) throw TavAlgorithm::ExtractFailure(nullptr, 0);
  _addToCP(algorithm, this, data);
}

void TavConstraintI::whenRemovedFromCP(TavAlgorithm algorithm, void* data) const {
  if (!_removeFromCP) throw TavAlgorithm::ExtractFailure(nullptr, 0);  // by contract: not the removal's failure
  _removeFromCP(algorithm, this, data);
}

void TavConstConstraintI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->endVisit(this);
}

TavExtractableI* TavConstConstraintI::makeClone(TavEnvI*) const {
  return new (getEnv()) TavConstConstraintI(getEnv(), nullptr, _truth);  // by contract: neither target nor name is used
}

void TavConstConstraintI::display(std::ostream& os) const { os << (isTrue() ? "TrueConstraint " : "FalseConstraint "); }
