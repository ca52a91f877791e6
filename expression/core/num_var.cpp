#include "expression/core/num_var.h"

#include <cmath>
#include <ostream>

#include "expression/core/array_family.h"
#include "expression/core/int_linear.h"
#include "expression/core/num_linear.h"

static_assert(sizeof(TavNumExprI) == 40 && sizeof(TavNumVarI) == 56);

namespace {

TavInt roundUp(double bound) { return TavTrunc(std::ceil(bound)); }

/// Boolean bounds compared as doubles; the upper bound's threshold is 0, not 1.
TavInt boolLower(double lb) { return lb < 0 ? 0 : lb > 1.0 ? 1 : TavTrunc(lb); }
TavInt boolUpper(double ub) { return ub < 0 ? 0 : ub > 0.0 ? 1 : TavTrunc(ub); }  // by contract: 0.5 gives 1

/// A private domain that takes `values` over.
template <class Domain, class Array, class... Flag>
TavVarDomainI* domainOver(TavEnvI* env, Array values, Flag... flag) {
  TavGuard<TavArrayI> guard(values.getImpl());
  auto* domain = new (env) Domain(values, flag...);
  guard.release();
  return domain;
}

TavVarDomainI* privateNumDomain(TavEnvI* env, TavNumArray values, TavNumVar::Type type) {
  if (type == TavNumVar::Float) return domainOver<TavNumVarDomainI>(env, TavCopyOfArray(values));
  throw TavNotSupportedOperation(type == TavNumVar::Int
                                     ? "You cannot create a integer variable by giving it an array of double"
                                     : "You cannot create a boolean variable by giving it an array of values");
}

TavVarDomainI* privateIntDomain(TavEnvI* env, TavIntArray values, TavNumVar::Type type) {
  if (type == TavNumVar::Float) return domainOver<TavNumVarDomainI>(env, values.toNumArray());
  if (type == TavNumVar::Int) return domainOver<TavIntVarDomainI>(env, TavCopyOfArray(values), TavInt{0});
  // by contract: the numeric form says the same by another class
  throw TavNotImplemented("You cannot create a boolean variable by giving it an array of values");
}

}  // namespace

TavVarDomainI* TavNumVarI::domainByBounds(TavEnvI* env, double lb, double ub, Type type) {
  if (type == TavNumVar::Float) return env->getOrMakeSharedDomain(lb, ub);
  // by contract: both rounded up
  if (type == TavNumVar::Int) return env->getOrMakeSharedDomain(roundUp(lb), roundUp(ub));
  return env->getOrMakeSharedDomain(boolLower(lb), boolUpper(ub));
}

TavVarDomainI* TavNumVarI::domainByType(TavEnvI* env, Type type, double lb, double ub) {
  if (type == TavNumVar::Float || type == TavNumVar::Int) return domainByBounds(env, lb, ub, type);
  // by contract: truncation comes first here, so that an upper bound of 0.5 gives 0
  const TavInt lower = TavTrunc(lb);
  const TavInt upper = TavTrunc(ub);
  return env->getOrMakeSharedDomain(TavInt{lower >= 1}, TavInt{upper > 0});
}

TavNumVarI::TavNumVarI(TavEnvI* env, TavNumArray values, Type type, TavNameArg name) : TavNumVarI(env, name) {
  _domain = privateNumDomain(env, values, type);
}

TavNumVarI::TavNumVarI(TavEnvI* env, TavIntArray values, Type type, TavNameArg name) : TavNumVarI(env, name) {
  _domain = privateIntDomain(env, values, type);
}

TavNumVarI::TavNumVarI(TavEnvI* env, TavAnyArray values, TavNameArg name) : TavNumVarI(env, name) {
  _domain = domainOver<TavIntVarDomainI>(env, TavIntArray(TavCopyOfArray(values).getImpl()), TavInt{1});
}

TavNumVarI::~TavNumVarI() { dropDomain(); }

void TavNumVarI::copyOnWrite() {
  if (_domain && _domain->isShared()) _domain = _domain->makeCopy(getEnv());
}

void TavNumVarI::setLB(double lb) {
  if (_domain) {
    copyOnWrite();
    _domain->setLB(lb);
  } else {
    _domain = getEnv()->getOrMakeSharedDomain(lb, TavGetInfinity());
  }
  notify(TavSetNumVarBounds(this, lb, getUB()));
}

void TavNumVarI::setUB(double ub) {
  if (_domain) {
    copyOnWrite();
    _domain->setUB(ub);
  } else {
    _domain = getEnv()->getOrMakeSharedDomain(0.0, ub);
  }
  notify(TavSetNumVarBounds(this, getLB(), ub));
}

void TavNumVarI::setBounds(double lb, double ub) {
  if (_domain) {
    copyOnWrite();
    _domain->setLB(lb);
    _domain->setUB(ub);
  } else {
    _domain = getEnv()->getOrMakeSharedDomain(lb, ub);
  }
  notify(TavSetNumVarBounds(this, lb, ub));
}

void TavNumVarI::makeDomain(double lb, double ub) {
  const Type type = getType();
  if (type == TavNumVar::Float) {
    _domain = new (getEnv()) TavNumVarDomainI(lb, ub);
  } else if (type == TavNumVar::Int) {
    _domain = new (getEnv()) TavIntVarDomainI(-TavIntVar::kMaxInt, TavIntVar::kMaxInt, 0);
    _domain->setLB(lb);
    _domain->setUB(ub);
  } else {
    _domain = new (getEnv()) TavBoolVarDomainI(boolLower(lb), boolUpper(ub));
  }
}

void TavNumVarI::dropDomain() noexcept {
  if (_domain && !_domain->isShared()) _domain->end(getEnv());
  _domain = nullptr;
}

void TavNumVarI::setPossibleValues(TavNumArray values) {
  if (getType() != TavNumVar::Float) {
    throw TavNotSupportedOperation(
        "You cannot change the domain of an integer variable by giving it a floating point variable");
  }
  if (_domain && values.getImpl() == _domain->getNumValues().getImpl()) {
    _domain->setNumValues(values);  // its own list, which the caller may have edited: the bounds follow it
  } else if (_domain) {
    const TavNumArray copy = TavCopyOfArray(values);
    TavGuard<TavArrayI> guard(copy.getImpl());
    copyOnWrite();
    _domain->setNumValues(copy);
    guard.release();
  } else {
    _domain = domainOver<TavNumVarDomainI>(getEnv(), TavCopyOfArray(values));
  }
  // by contract: the caller's own array is reported
  notify(TavSetNumVarPossibleValues(this, values.getImpl(), nullptr));
}

void TavNumVarI::setPossibleValues(TavIntArray values) {
  if (getType() == TavNumVar::Float) {
    TavNumArray numbers = values.toNumArray();
    TavGuard<TavArrayI> guard(numbers.getImpl());
    if (_domain) {
      copyOnWrite();
      _domain->setNumValues(numbers);
    } else {
      _domain = new (getEnv()) TavNumVarDomainI(numbers);
    }
    guard.release();
    notify(TavSetNumVarPossibleValues(this, numbers.getImpl(), nullptr));
    return;
  }
  if (values.getImpl() == _domain->getIntValues().getImpl()) {
    _domain->setIntValues(values);  // its own list, as above
  } else {
    const TavIntArray copy = TavCopyOfArray(values);
    TavGuard<TavArrayI> guard(copy.getImpl());
    copyOnWrite();
    _domain->setIntValues(copy);
    guard.release();
  }
  notify(TavSetNumVarPossibleValues(this, nullptr, values.getImpl()));
}

double TavNumVarI::evalByEither(const TavAlgorithmI* values) const {
  try {
    if (!values) throw TavEmptyHandleException();
    return values->getValue(this);
  } catch (...) {
    return evalByModel();
  }
}

/// The model evaluator's value, called while an exception is being handled. Rethrows that exception if the evaluator
/// has none: the rethrow is outside the inner handler, which would rethrow the evaluator's exception.
double TavNumVarI::evalByModel() const {
  const TavModelEvaluator evaluator = getEnv()->getModelEvaluator();
  if (evaluator.isActive()) {
    try {
      return static_cast<double>(evaluator.evaluate(TavIntExprArg(const_cast<TavNumVarI*>(this))));
    } catch (...) {
    }
  }
  throw;
}

TavNumLinTermI* TavNumVarI::toNumLinTermI() {
  auto linear = TavMakeNode<TavNumLinTermI>(getEnv(), getEnv(), 0.0);
  linear->append(getEnv()->newTerm(this, 1.0));
  return linear.release();
}

TavIntLinTermI* TavNumVarI::toIntLinTermI() {
  auto linear = TavMakeNode<TavIntLinTermI>(getEnv(), getEnv(), 0);
  linear->append(getEnv()->newTerm(this, 1.0));
  return linear.release();
}

void TavNumVarI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->endVisit(this);
}

TavExtractableI* TavNumVarI::makeClone(TavEnvI* target) const {
  if (!_domain) return new (target) TavNumVarI(target, getName());
  TavVarDomainI* domain = _domain->makeCopy(target);
  try {
    return new (target) TavNumVarI(target, domain, getName());
  } catch (...) {
    domain->end(target);
    throw;
  }
}

void TavNumVarI::display(std::ostream& os) const {
  displayLabel(os);
  if (_domain) {
    _domain->display(os);
  } else {
    os << "[0 .. " << TavGetInfinity() << "] ";
  }
}

/// The name, or the kind with the identifier.
void TavNumVarI::displayLabel(std::ostream& os) const {
  if (getName()) {
    os << getName();
    return;
  }
  const bool isFloat = getType() == TavNumVar::Float;
  os << (isFloat ? "TavNumVar(" : _domain->isAnyDomain() ? "TavAnyVar(" : "TavIntVar(") << getId() << ")";
}
