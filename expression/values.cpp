#include "expression/values.h"

TavValues::TavValues(TavEnv env, std::initializer_list<std::pair<TavNumVar, double>> values) : TavValues(env) {
  for (const auto& [variable, value] : values) (*this)[variable] = value;
}

double& TavValues::operator[](TavNumVar variable) {
  if (!variable) throw TavEmptyHandleException();
  return _values[static_cast<TavExtractable>(variable).getImpl()];
}

void TavValues::set(TavNumVarArray variables, TavNumArray numbers) {
  if (!variables.getImpl() || !numbers.getImpl()) throw TavEmptyHandleException();
  for (TavInt i = 0; i < variables.getSize(); ++i) (*this)[variables[i]] = numbers.getImpl()->get<double>(i);
}

double TavValues::getValue(const TavNumVarI* variable) const {
  const auto found = _values.find(TavImplCast<const TavExtractableI>(variable));
  if (found == _values.end()) throw TavModelEvaluator::Unbound();
  return found->second;
}
