#include "expression/variables/bool_check.h"
#include "expression/variables/bulk.h"

// ---- TavIntVar

TavIntVar::TavIntVar(TavEnv env, const char* name) : TavIntVar(env, 0, kMaxInt, name) {}

TavIntVar::TavIntVar(TavEnv env, TavInt lb, TavInt ub, const char* name)
    : TavIntVar(new (env.getImpl())
                    TavNumVarI(env.getImpl(), static_cast<double>(lb), static_cast<double>(ub), TavNumVar::Int, name)) {
}

TavIntVar::TavIntVar(TavIntRange range, const char* name)
    : TavIntVar(new (range.getImpl()->getEnv()) TavNumVarI(range.getImpl(), name)) {}

TavIntVar::TavIntVar(TavEnv env, TavIntArray values, const char* name) {
  if (!values.getImpl()) throw TavEmptyHandleException();
  *this = TavIntVar(new (env.getImpl()) TavNumVarI(env.getImpl(), values, TavNumVar::Int, name));
}

TavIntVar::TavIntVar(const TavAddNumVar& column, TavInt lb, TavInt ub, const char* name)
    : TavIntVar(TavEnv(column.getEnv()), lb, ub, name) {
  TavInstall(column, getImpl());
}

TavIntVar::TavIntVar(const TavAddNumVar& column, TavIntArray values, const char* name)
    : TavIntVar(TavEnv(column.getEnv()), values, name) {
  TavInstall(column, getImpl());
}

TavIntVar::TavIntVar(TavNumVar variable) : TavIntVar(variable.getImpl()) {
  if (variable.getType() == TavNumVar::Float) throw TavBadConversion();
}

void TavIntVar::setMin(TavInt lb) const {
  if (!_impl) throw TavWrongUsage("Using empty TavIntVar handle.", 0);
  getImpl()->setLB(static_cast<double>(lb));
}

void TavIntVar::setMax(TavInt ub) const {
  if (!_impl) throw TavWrongUsage("Using empty TavIntVar handle.", 0);
  getImpl()->setUB(static_cast<double>(ub));
}

void TavIntVar::setBounds(TavInt lb, TavInt ub) const {
  if (!_impl) throw TavWrongUsage("Using empty handle TavIntVar", 0);  // by contract: another wording than setMin's
  getImpl()->setBounds(static_cast<double>(lb), static_cast<double>(ub));
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

// ---- TavBoolVar

TavBoolVar::TavBoolVar(TavEnv env, const char* name) : TavBoolVar(env, 0, 1, name) {}

TavBoolVar::TavBoolVar(TavEnv env, TavInt lb, TavInt ub, const char* name)
    : TavBoolVar(new (env.getImpl()) TavNumVarI(env.getImpl(), env.getImpl()->getOrMakeSharedDomain(lb, ub), name)) {}

TavBoolVar::TavBoolVar(const TavAddNumVar& column, const char* name) {
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

// by contract: a range is asked for here, exact bounds in the form above
TavBoolVar::TavBoolVar(TavIntVar variable) : TavBoolVar(variable.getImpl()) {
  const double lb = TavNumVar(variable).getLB();
  const double ub = TavNumVar(variable).getUB();
  if (lb < 0.0 || lb > 1.0 || ub < 0.0 || ub > 1.0) throw TavBadConversion();
}
