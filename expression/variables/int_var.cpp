#include "expression/variables/bool_check.h"
#include "expression/variables/bulk.h"

TavIntVar::TavIntVar(TavEnv env, TavNameArg name) : TavIntVar(env, 0, kMaxInt, name) {}

TavIntVar::TavIntVar(TavEnv env, TavIntArg lb, TavIntArg ub, TavNameArg name)
    : TavIntVar(new (env.getImpl()) TavNumVarI(env.getImpl(), static_cast<double>(lb.value),
                                               static_cast<double>(ub.value), TavNumVar::Int, name)) {}

TavIntVar::TavIntVar(TavIntRange range, TavNameArg name)
    : TavIntVar(new (range.getImpl()->getEnv()) TavNumVarI(range.getImpl(), name)) {}

TavIntVar::TavIntVar(TavEnv env, TavIntArray values, TavNameArg name) {
  if (!values.getImpl()) throw TavEmptyHandleException();
  *this = TavIntVar(new (env.getImpl()) TavNumVarI(env.getImpl(), values, TavNumVar::Int, name));
}

TavIntVar::TavIntVar(const TavAddNumVar& column, TavIntArg lb, TavIntArg ub, TavNameArg name)
    : TavIntVar(TavEnv(column.getEnv()), lb, ub, name) {
  TavInstall(column, getImpl());
}

TavIntVar::TavIntVar(const TavAddNumVar& column, TavIntArray values, TavNameArg name)
    : TavIntVar(TavEnv(column.getEnv()), values, name) {
  TavInstall(column, getImpl());
}

TavIntVar::TavIntVar(TavNumVar variable) : TavIntVar(variable.getImpl()) {
  if (variable.getType() == TavNumVar::Float) throw TavBadConversion();
}

void TavIntVar::setMin(TavIntArg lb) const {
  if (!_impl) throw TavWrongUsage("Using empty TavIntVar handle.", 0);
  getImpl()->setLB(static_cast<double>(lb.value));
}

void TavIntVar::setMax(TavIntArg ub) const {
  if (!_impl) throw TavWrongUsage("Using empty TavIntVar handle.", 0);
  getImpl()->setUB(static_cast<double>(ub.value));
}

void TavIntVar::setBounds(TavIntArg lb, TavIntArg ub) const {
  if (!_impl) throw TavWrongUsage("Using empty handle TavIntVar", 0);  // by contract: another wording than setMin's
  getImpl()->setBounds(static_cast<double>(lb.value), static_cast<double>(ub.value));
}

TavNumVar::Type TavIntVar::getType() const {
  if (!_impl) throw TavWrongUsage("Using empty handle TavIntVar::getType", 0);
  return getImpl()->getType();
}

void TavIntVar::getPossibleValues(TavIntArray out) const {
  if (!_impl) throw TavWrongUsage("Using empty handle TavIntVar", 0);
  if (!out.getImpl()) throw TavWrongUsage("Using empty TavIntArray handle.", 0);
  const TavIntArray values = getImpl()->getIntValues();
  if (values.getImpl()) out.getImpl()->addArray(values.getImpl());
}

void TavIntVar::setPossibleValues(TavIntArray values) const {
  if (!_impl) throw TavWrongUsage("Using empty TavIntVar handle.", 0);
  if (!values.getImpl()) throw TavWrongUsage("Using empty TavIntArray handle.", 0);
  getImpl()->setPossibleValues(values);
}

TavBoolVar::TavBoolVar(TavEnv env, TavNameArg name) : TavBoolVar(env, 0, 1, name) {}

TavBoolVar::TavBoolVar(TavEnv env, TavIntArg lb, TavIntArg ub, TavNameArg name)
    : TavBoolVar(new (env.getImpl())
                     TavNumVarI(env.getImpl(), env.getImpl()->getOrMakeSharedDomain(lb.value, ub.value), name)) {}

TavBoolVar::TavBoolVar(const TavAddNumVar& column, TavNameArg name) {
  TavEnvI* env = column.getEnv();
  TavVarDomainI* domain = new (env) TavBoolVarDomainI(0, 1);
  try {
    _impl = new (env) TavNumVarI(env, domain, name);
  } catch (...) {
    domain->end(env);
    throw;
  }
  TavInstall(column, getImpl());
}

TavBoolVar::TavBoolVar(TavNumVar variable) : TavBoolVar(variable.getImpl()) { TavCheckBool(variable); }

// by contract: the bounds must lie in a range here, and be exact in the constructor above
TavBoolVar::TavBoolVar(TavIntVar variable) : TavBoolVar(variable.getImpl()) {
  const double lb = TavNumVar(variable).getLB();
  const double ub = TavNumVar(variable).getUB();
  if (lb < 0.0 || lb > 1.0 || ub < 0.0 || ub > 1.0) throw TavBadConversion();
}
