#include "expression/constraints/conversion.h"

#include <algorithm>
#include <ostream>

#include "expression/core/array_family.h"
#include "expression/core/num_var.h"

namespace {

/// The conversion of a copy of the caller's array, in the array's environment.
template <class Array>
TavConversionI* conversionOf(Array variables, TavNumVar::Type type, TavNameArg name) {
  if (!variables.getImpl()) throw TavEmptyHandleException();
  const TavNumVarArray vars(TavCopyOfArray(variables).getImpl());
  return TavMakeArrayNode<TavConversionI>(vars.getImpl()->getEnv(), vars, type, name);
}

}  // namespace

TavConversionI::TavConversionI(TavEnvI* env, TavNumVar var, TavNumVar::Type type, TavNameArg name)
    : TavNode(env, name), _vars(TavEnv(env), TavInt{1}), _type(type) {
  _vars.set(0, var);
}

template <class IsDropped>
void TavConversionI::removeVars(IsDropped isDropped) {
  TavFirstFailure failure;
  // The minimum, because a listener may take variables out too.
  for (TavInt i = _vars.getSize() - 1; i >= 0; i = std::min(i, _vars.getSize()) - 1) {
    TavNumVarI* var = _vars[i].getImpl();
    if (!isDropped(var)) continue;
    _vars.remove(i);
    failure.attempt([&] { notify(TavConversionRemoveVar(var, this)); });
  }
  failure.rethrow();
}

void TavConversionI::removeVar(TavNumVar var) {
  removeVars([gone = var.getImpl()](const TavNumVarI* v) { return v == gone; });
}

void TavConversionI::atRemove(TavExtractableI* removed, void*) {
  removeVars([removed](const TavNumVarI* v) { return v && (v == removed || v->getEnv()->isRemoved(v)); });
}

void TavConversionI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->visitArray(this, _vars);
  visitor->endVisit(this);
}

TavExtractableI* TavConversionI::makeClone(TavEnvI* target) const {
  TavNumVarArray vars = _vars;
  vars.replaceByClone(target);  // redirects this handle alone
  return TavMakeArrayNode<TavConversionI>(target, vars, _type, static_cast<const char*>(nullptr));
}

void TavConversionI::display(std::ostream& os) const {
  os << "TavConversionI (";
  if (getName()) {
    os << getName();
  } else {
    os << getId();
  }
  os << ")\n  vars " << _vars << "\n  type " << static_cast<int>(_type) << "\n";
}

void TavConversionRemoveVar::visitChange(TavEnvI*, TavExtractableI*, TavChangeVisitor* visitor) const {
  visitor->visitChild(_conversion, _var);
}

// by contract: the three constructors ignore the environment
TavConversion::TavConversion(TavEnv, TavNumVar variable, TavNumVar::Type type, TavNameArg name) {
  TavEnvI* env = TavRequireEnv(variable.getImpl());
  *this = TavConversion(new (env) TavConversionI(env, variable, type, name));
}

TavConversion::TavConversion(TavEnv, TavNumVarArray variables, TavNumVar::Type type, TavNameArg name)
    : TavConversion(conversionOf(variables, type, name)) {}

TavConversion::TavConversion(TavEnv, TavIntVarArray variables, TavNumVar::Type type, TavNameArg name)
    : TavConversion(conversionOf(variables, type, name)) {}

void TavConversion::removeVar(TavNumVar variable) const {
  if (!_impl || !variable) throw TavEmptyHandleException();
  getImpl()->removeVar(variable);
}
