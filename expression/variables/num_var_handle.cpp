#include "expression/core/check.h"
#include "expression/core/num_var.h"
#include "expression/variables/bulk.h"

TavNumVar::TavNumVar(TavEnv env, double lb, double ub, Type type, TavNameArg name)
    : TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), lb, ub, type, name)) {}

TavNumVar::TavNumVar(TavEnv env, double lb, double ub, TavNameArg name) : TavNumVar(env, lb, ub, Float, name) {}

TavNumVar::TavNumVar(const TavAddNumVar& column, double lb, double ub, Type type, TavNameArg name)
    : TavNumVar(new (column.getEnv()) TavNumVarI(column.getEnv(), type, lb, ub, name)) {
  TavInstall(column, getImpl());
}

TavNumVar::TavNumVar(const TavAddNumVar& column, TavNumArray values, Type type, TavNameArg name)
    : TavNumVar(TavEnv(column.getEnv()), values, type, name) {
  TavInstall(column, getImpl());
}

TavNumVar::TavNumVar(TavNumRange range, TavNameArg name)
    : TavNumVar(new (range.getImpl()->getEnv()) TavNumVarI(range.getImpl(), name)) {}

TavNumVar::TavNumVar(TavEnv env, TavNumArray values, Type type, TavNameArg name)
    : TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), values, type, name)) {}

TavInt TavNumVar::getId() const { return getImpl()->getId(); }
const char* TavNumVar::getName() const { return getImpl()->getName(); }
void TavNumVar::setName(TavNameArg name) const { getImpl()->setName(name); }
double TavNumVar::getLB() const { return getImpl()->getLB(); }
double TavNumVar::getUB() const { return getImpl()->getUB(); }
void TavNumVar::setLB(double lb) const { getImpl()->setLB(lb); }
void TavNumVar::setUB(double ub) const { getImpl()->setUB(ub); }
void TavNumVar::setBounds(double lb, double ub) const { getImpl()->setBounds(lb, ub); }

TavNumVar::Type TavNumVar::getType() const {
  if (!_impl) throw TavWrongUsage("Using empty handle TavNumVar::getType", 0);
  return getImpl()->getType();
}

void TavNumVar::getPossibleValues(TavNumArray out) const {
  if (!_impl) throw TavWrongUsage("Using empty handle TavNumVar", 0);
  if (!out.getImpl()) throw TavWrongUsage("Using empty TavNumArray handle.", 0);
  const TavNumArray values = getImpl()->getNumValues();
  if (values.getImpl()) out.getImpl()->addArray(values.getImpl());
}

void TavNumVar::setPossibleValues(TavNumArray values) const {
  if (!_impl) throw TavWrongUsage("Using empty TavNumVar handle.", 0);
  if (!values.getImpl()) throw TavWrongUsage("Using empty TavNumArray handle.", 0);
  getImpl()->setPossibleValues(values);
}
