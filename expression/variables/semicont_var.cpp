#include "expression/variables/semicont_var.h"

#include <ostream>

#include "expression/core/check.h"
#include "expression/variables/bulk.h"

void TavSemiContVarI::setBd(double threshold) {
  if (threshold == _threshold) return;
  const double old = _threshold;
  _threshold = threshold;
  notify(TavSetSemiContBound(this, old, threshold));
}

TavExtractableI* TavSemiContVarI::makeClone(TavEnvI* target) const {
  return new (target) TavSemiContVarI(target, _threshold, nullptr);  // by contract: no domain, no name
}

void TavSemiContVarI::display(std::ostream& os) const {
  os << "TavSemiContI (";
  if (getName()) {
    os << getName();
  } else {
    os << getId();
  }
  os << ")\n";
  TavNumVarI::display(os);
  os << "  _threshold " << _threshold << "\n";
}

TavSemiContVar::TavSemiContVar(TavEnv env, double sclb, double ub, Type type, TavNameArg name)
    : TavSemiContVar(new (env.getImpl()) TavSemiContVarI(env.getImpl(), type, 0.0, ub, sclb, name)) {}

TavSemiContVar::TavSemiContVar(const TavAddNumVar& column, double sclb, double ub, Type type, TavNameArg name)
    : TavSemiContVar(TavEnv(column.getEnv()), sclb, ub, type, name) {
  TavInstall(column, getImpl());
}

double TavSemiContVar::getSemiContinuousLb() const { return getImpl()->getThreshold(); }
void TavSemiContVar::setSemiContinuousLb(double sclb) const { getImpl()->setBd(sclb); }

TavSemiContVar TavSemiContVar::getClone() const { return getClone(getEnv()); }

TavSemiContVar TavSemiContVar::getClone(TavEnv env) const {
  return TavSemiContVar(static_cast<TavSemiContVarI*>(env.getImpl()->getClone(getImpl())));
}

void TavSemiContVar::setClone(TavSemiContVar clone) const { setClone(clone, getEnv()); }

void TavSemiContVar::setClone(TavSemiContVar clone, TavEnv env) const {
  TavRequireEnv(getImpl());
  env.getImpl()->setClone(getImpl(), clone.getImpl());
}

TavSemiContVarArray::TavSemiContVarArray(TavEnv env, TavInt n, double sclb, double ub, Type type)
    : TavSemiContVarArray(env, n, sclb, ub, type, nullptr) {}

TavSemiContVarArray::TavSemiContVarArray(TavEnv env, TavInt n, double sclb, double ub, Type type, TavNameArg name) {
  TavVarDomainI* domain = TavNumVarI::domainByType(env.getImpl(), type, 0.0, ub);
  *this = TavMakeVars<TavSemiContVarArray>(env, n, [&, names = TavNumberedNames(name)](TavInt i) mutable {
    return TavSemiContVar(new (env.getImpl()) TavSemiContVarI(env.getImpl(), domain, sclb, names(i)));
  });
}

TavSemiContVarArray::TavSemiContVarArray(TavEnv env, TavNumArray sclbs, TavNumArray ubs, Type type) {
  TavRequireArrays(sclbs, ubs);
  *this = TavMakeVars<TavSemiContVarArray>(env, sclbs.getSize(), [&](TavInt i) {
    TavVarDomainI* domain = TavNumVarI::domainByType(env.getImpl(), type, 0.0, ubs[i]);
    return TavSemiContVar(new (env.getImpl()) TavSemiContVarI(env.getImpl(), domain, sclbs[i], nullptr));
  });
}

TavSemiContVarArray::TavSemiContVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray sclbs, TavNumArray ubs,
                                         Type type) {
  TavRequireArrays(columns, sclbs, ubs);
  *this = TavMakeVarsByColumns<TavSemiContVarArray>(env, columns, [&](const TavAddNumVar& column, TavInt i) {
    return TavSemiContVar(column, sclbs[i], ubs[i], type);
  });
}
