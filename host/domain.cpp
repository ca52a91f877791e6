#include "host/domain.h"

#include <algorithm>
#include <ostream>

#include "host/environment.h"

namespace {

template <class Array>
bool holds(Array values, double value) {
  for (TavInt i = 0; i < values.getSize(); ++i) {
    if (static_cast<double>(values[i]) == value) return true;
  }
  return false;
}

template <class Array>
Array copyInto(TavEnvI* env, Array values) {
  return Array(values.getImpl()->makeCopy(env->getMemory()));
}

template <class Array>
void displayValues(std::ostream& os, Array values) {
  os << "{";
  for (TavInt i = 0; i < values.getSize(); ++i) os << (i > 0 ? ", " : "") << values[i];
  os << "} ";
}

/// Replaces a value list and gives the old one back.
template <class Array>
void takeValues(Array& list, Array values) {
  if (list.getImpl() != values.getImpl()) list.end();
  list = values;
}

}  // namespace

void* TavVarDomainI::operator new(std::size_t bytes, TavEnvI* env) { return env->getMemory()->alloc(bytes); }

void TavVarDomainI::operator delete(void* block, TavEnvI* env) noexcept {
  env->getMemory()->dealloc(block, TavMemory::sizeOf(block));
}

template <class Array>
void TavBoundedDomainI::setBoundsBy(Array values) noexcept {
  _lb = _ub = values.getSize() > 0 ? static_cast<double>(values[0]) : 0.0;
  for (TavInt i = 1; i < values.getSize(); ++i) {
    _lb = std::min(_lb, static_cast<double>(values[i]));
    _ub = std::max(_ub, static_cast<double>(values[i]));
  }
}

void TavBoundedDomainI::end(TavEnvI*) {
  getNumValues().end();
  getIntValues().end();
  TavVarDomainI::end();
}

void TavBoundedDomainI::display(std::ostream& os) const {
  if (getNumValues().getImpl()) return displayValues(os, getNumValues());
  if (getIntValues().getImpl()) return displayValues(os, getIntValues());
  os << "[" << getLB() << " .. " << getUB() << "] ";
}

bool TavNumVarDomainI::contains(double value) const {
  return value >= getLB() && value <= getUB() && (!_values.getImpl() || holds(_values, value));
}

void TavNumVarDomainI::setNumValues(TavNumArray values) {
  takeValues(_values, values);
  setBoundsBy(values);
}

void TavNumVarDomainI::setIntValues(TavIntArray values) {
  setNumValues(values.toNumArray());
  values.end();
}

TavVarDomainI* TavNumVarDomainI::makeCopy(TavEnvI* env) const {
  if (!_values.getImpl()) return new (env) TavNumVarDomainI(getLB(), getUB());
  auto* copy = new (env) TavNumVarDomainI(copyInto(env, _values));
  copy->setLB(getLB());
  copy->setUB(getUB());
  return copy;
}

bool TavIntVarDomainI::contains(double value) const {
  if (value < getLB() || value > getUB()) return false;
  return _values.getImpl() ? holds(_values, value) : std::trunc(value) == value;
}

TavInt TavIntVarDomainI::getSize() const {
  if (_values.getImpl()) return _values.getSize();
  return std::isfinite(getLB()) && std::isfinite(getUB()) ? std::max<TavInt>(0, TavTrunc(getUB() - getLB()) + 1) : -1;
}

void TavIntVarDomainI::setNumValues(TavNumArray values) {
  TavIntArray whole(values.getEnv(), values.getSize());
  for (TavInt i = 0; i < values.getSize(); ++i) whole.set(i, TavTrunc(values[i]));
  setIntValues(whole);
  values.end();
}

void TavIntVarDomainI::setIntValues(TavIntArray values) {
  takeValues(_values, values);
  setBoundsBy(values);
}

TavVarDomainI* TavIntVarDomainI::makeCopy(TavEnvI* env) const {
  auto* copy = _values.getImpl() ? new (env) TavIntVarDomainI(copyInto(env, _values), _any)
                                 : new (env) TavIntVarDomainI(0, 0, _any);
  copy->setLB(getLB());
  copy->setUB(getUB());
  return copy;
}

TavVarDomainI* TavBoolVarDomainI::makeCopy(TavEnvI* env) const {
  auto* copy = new (env) TavBoolVarDomainI(0, 0);
  copy->setLB(getLB());
  copy->setUB(getUB());
  try {
    if (getIntValues().getImpl()) copy->setIntValues(copyInto(env, getIntValues()));
  } catch (...) {
    copy->end(env);
    throw;
  }
  return copy;
}

TavNumRange::TavNumRange(TavEnv env, double lb, double ub) {
  TavGenAlloc* memory = env.getImpl()->getMemory();
  _impl = new (memory) TavNumRangeI(memory, lb, ub);
}

TavIntRange::TavIntRange(TavEnv env, TavInt lb, TavInt ub) {
  TavGenAlloc* memory = env.getImpl()->getMemory();
  _impl = new (memory) TavIntRangeI(memory, lb, ub);
}
