#include <vector>

#include "expression/core/num_var.h"
#include "expression/variables/bool_check.h"
#include "expression/variables/bulk.h"

namespace {

TavNumVarI* makeVar(TavEnv env, double lb, double ub, TavNumVar::Type type) {
  return new (env.getImpl()) TavNumVarI(env.getImpl(), type, lb, ub, nullptr);
}

/// A new array of `count` variables with the same bounds.
template <class Array>
Array makeVars(TavEnv env, TavInt count, double lb, double ub, TavNumVar::Type type) {
  TavVarDomainI* domain = TavNumVarI::domainByType(env.getImpl(), type, lb, ub);
  return TavMakeVars<Array>(env, count, [env, domain](TavInt) {
    return std::decay_t<decltype(Array()[0])>(new (env.getImpl()) TavNumVarI(env.getImpl(), domain, nullptr));
  });
}

/// A new array of `To`'s kind with the same elements.
template <class To>
To sameElements(TavExtractableArray array) {
  TavGenAlloc* memory = array.getImpl()->getMemory();
  return To(new (memory) TavArrayI(memory, array.getImpl()));
}

/// The same for variables none of which is continuous.
template <class To>
To sameIntegers(const TavNumVarArray& array) {
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (array[i].getType() == TavNumVar::Float) throw TavBadConversion();
  }
  return sameElements<To>(array);
}

template <class Array>
Array clones(const Array& array, TavEnvI* env) {
  Array copy(env ? TavEnv(env) : array.getEnv(), array.getSize());
  for (TavInt i = 0; i < array.getSize(); ++i) {
    TavExtractableI* element = static_cast<const TavExtractableArray&>(array)[i].getImpl();
    TavExtractableI* clone = element ? (env ? env : element->getEnv())->getClone(element) : nullptr;
    copy.getImpl()->set(i, clone);
  }
  return copy;
}

/// Gives the variables without a domain one of their own, all of them or none.
void makeMissingDomains(const TavNumVarArray& variables) {
  std::vector<TavNumVarI*> changed;
  try {
    for (TavInt i = 0; i < variables.getSize(); ++i) {
      TavNumVarI* var = variables[i].getImpl();
      if (!var || var->getDomain()) continue;
      changed.push_back(var);
      var->makeDomain(0.0, TavGetInfinity());
    }
  } catch (...) {
    for (TavNumVarI* var : changed) var->dropDomain();
    throw;
  }
}

template <class Array, class Do>
void forEachExpr(const Array& array, Do apply) {
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (TavNumExprI* node = array[i].getImpl()) apply(node);
  }
}

}  // namespace

// ---- arrays that are written out

namespace tavdetail {

const CountTexts kNumVarArrayTexts = {{
    "TavNumVarArray::TavNumVarArray: n != 1",  // by contract: the only text with a blank before the number
    "TavNumVarArray::TavNumVarArray: n !=2",
    "TavNumVarArray::TavNumVarArray: n !=3",
    "TavNumVarArray::TavNumVarArray: n !=4",
    "TavNumVarArray::TavNumVarArray: n !=5",
    "TavNumVarArray::TavNumVarArray: n !=6",
    "TavNumVarArray::TavNumVarArray: n !=7",
    "TavNumVarArray::TavNumVarArray: n !=8",
    "TavNumVarArray::TavNumVarArray: n !=9",
    "TavNumVarArray::TavNumVarArray: n !=10",
}};

const CountTexts kIntVarArrayTexts = {{
    "TavIntVarArray::TavIntVarArray: n !=1",
    "TavIntVarArray::TavIntVarArray: n !=2",
    "TavIntVarArray::TavIntVarArray: n !=3",
    "TavIntVarArray::TavIntVarArray: n !=4",
    "TavIntVarArray::TavIntVarArray: n !=5",
    "TavIntVarArray::TavIntVarArray: n !=6",
    "TavIntVarArray::TavIntVarArray: n !=7",
    "TavIntVarArray::TavIntVarArray: n !=8",
    "TavIntVarArray::TavIntVarArray: n !=9",
    "TavIntVarArray::TavIntVarArray: n !=10",
}};

const CountTexts kBoolVarArrayTexts = {{
    "TavBoolVarArray::TavBoolVarArray: n !=1",
    "TavBoolVarArray::TavBoolVarArray: n !=2",
    "TavBoolVarArray::TavBoolVarArray: n !=3",
    "TavBoolVarArray::TavBoolVarArray: n !=4",
    "TavBoolVarArray::TavBoolVarArray: n !=5",
    "TavBoolVarArray::TavBoolVarArray: n !=6",
    "TavBoolVarArray::TavBoolVarArray: n !=7",
    "TavBoolVarArray::TavBoolVarArray: n !=8",
    "TavBoolVarArray::TavBoolVarArray: n !=9",
    "TavBoolVarArray::TavBoolVarArray: n !=10",
}};

TavArrayI* makeList(TavEnv env, TavInt n, const void* const* elements, TavInt k, const CountTexts& texts) {
  TavExtractableArray array(env, n == k ? k : 0);
  if (n != k) throw TavWrongUsage(texts.text[k - 1], 0);  // by contract: the array stays with the environment
  for (TavInt i = 0; i < k; ++i) array.getImpl()->set(i, elements[i]);
  return array.getImpl();
}

}  // namespace tavdetail

// ---- expressions

void TavNumExprArray::lockExprs() const noexcept {
  forEachExpr(*this, [](TavNumExprI* node) { node->retain(); });
}

void TavNumExprArray::releaseExprs() const {
  TavEnvI* env = _impl->getEnv();  // not asked of the element: it may be gone when the environment ends
  TavFirstFailure failure;
  forEachExpr(*this, [&](TavNumExprI* node) { failure.attempt([&] { env->release(node); }); });
  failure.rethrow();
}

void TavNumExprArray::endElements() const {
  TavFirstFailure failure;
  for (TavInt i = 0; i < getSize(); ++i) failure.attempt([&] { (*this)[i].getImpl()->end(); });
  failure.rethrow();
}

void TavNumExprArray::replaceByClone(TavEnvI* env) {
  TavNumExprArray copy(TavEnv(env), getSize());
  for (TavInt i = 0; i < getSize(); ++i) {
    copy.set(i, TavNumExprArg(TavNumExpr((*this)[i].getImpl()).getClone(TavEnv(env)).getImpl()));
  }
  *this = copy;
}

void TavIntExprArray::lockExprs() const noexcept {
  forEachExpr(*this, [](TavNumExprI* node) { node->retain(); });
}

void TavIntExprArray::releaseExprs() const {
  TavEnvI* env = _impl->getEnv();  // not asked of the element: it may be gone when the environment ends
  TavFirstFailure failure;
  forEachExpr(*this, [&](TavNumExprI* node) { failure.attempt([&] { env->release(node); }); });
  failure.rethrow();
}

void TavIntExprArray::endElements() const {
  TavFirstFailure failure;
  for (TavInt i = 0; i < getSize(); ++i) failure.attempt([&] { (*this)[i].getImpl()->end(); });
  failure.rethrow();
}

TavIntExprArray TavIntExprArray::getClone(TavEnvI* env) const { return clones(*this, env); }

void TavIntExprArray::replaceByClone(TavEnvI* env) { *this = getClone(env); }

// ---- numeric variables

TavNumVarArray::TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, Type type)
    : TavNumVarArray(makeVars<TavNumVarArray>(env, n, lb, ub, type)) {}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumArray lbs, TavNumArray ubs, Type type) {
  TavRequireArrays(lbs, ubs);
  *this = TavMakeVars<TavNumVarArray>(env, lbs.getSize(),
                                      [&](TavInt i) { return TavNumVar(makeVar(env, lbs[i], ubs[i], type)); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, double lb, TavNumArray ubs, Type type) {
  TavRequireArrays(ubs);
  *this = TavMakeVars<TavNumVarArray>(env, ubs.getSize(),
                                      [&](TavInt i) { return TavNumVar(makeVar(env, lb, ubs[i], type)); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumArray lbs, double ub, Type type) {
  TavRequireArrays(lbs);
  *this = TavMakeVars<TavNumVarArray>(env, lbs.getSize(),
                                      [&](TavInt i) { return TavNumVar(makeVar(env, lbs[i], ub, type)); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumColumnArray columns, Type type) {
  TavRequireArrays(columns);
  *this = TavMakeVarsByColumns<TavNumVarArray>(
      env, columns, [&](const TavAddNumVar& column, TavInt) { return TavNumVar(column, 0.0, TavGetInfinity(), type); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs, Type type) {
  TavRequireArrays(columns, lbs, ubs);
  *this = TavMakeVarsByColumns<TavNumVarArray>(
      env, columns, [&](const TavAddNumVar& column, TavInt i) { return TavNumVar(column, lbs[i], ubs[i], type); });
}

TavNumExprArray TavNumVarArray::toNumExprArray() const { return sameElements<TavNumExprArray>(*this); }

TavIntExprArray TavNumVarArray::toIntExprArray() const { return sameIntegers<TavIntExprArray>(*this); }

TavIntVarArray TavNumVarArray::toIntVarArray() const { return sameIntegers<TavIntVarArray>(*this); }

TavNumVarArray TavNumVarArray::getClone(TavEnvI* env) const { return clones(*this, env); }

void TavNumVarArray::setBounds(TavNumArray lbs, TavNumArray ubs) const {
  TavRequireArrays(lbs, ubs);
  makeMissingDomains(*this);
  TavEnvI* env = nullptr;
  for (TavInt i = 0; i < getSize(); ++i) {
    TavNumVarI* var = (*this)[i].getImpl();
    if (!var) continue;
    var->getDomain()->setUB(ubs[i]);  // by contract: no copy on write, a shared domain changes for all of its variables
    var->getDomain()->setLB(lbs[i]);
    if (!env) env = var->getEnv();
  }
  if (env) env->change(TavSetNumVarArrayBounds(_impl, lbs.getImpl(), ubs.getImpl()));
}

// ---- integer variables

TavIntVarArray::TavIntVarArray(TavEnv env, TavInt n, TavInt lb, TavInt ub)
    : TavIntVarArray(
          makeVars<TavIntVarArray>(env, n, static_cast<double>(lb), static_cast<double>(ub), TavNumVar::Int)) {}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArray ubs) {
  TavRequireArrays(lbs, ubs);
  *this = TavMakeVars<TavIntVarArray>(env, lbs.getSize(), [&](TavInt i) {
    return TavIntVar(makeVar(env, static_cast<double>(lbs[i]), static_cast<double>(ubs[i]), TavNumVar::Int));
  });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavInt lb, TavIntArray ubs) {
  TavRequireArrays(ubs);
  *this = TavMakeVars<TavIntVarArray>(env, ubs.getSize(), [&](TavInt i) {
    return TavIntVar(makeVar(env, static_cast<double>(lb), static_cast<double>(ubs[i]), TavNumVar::Int));
  });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArray lbs, TavInt ub) {
  TavRequireArrays(lbs);
  *this = TavMakeVars<TavIntVarArray>(env, lbs.getSize(), [&](TavInt i) {
    return TavIntVar(makeVar(env, static_cast<double>(lbs[i]), static_cast<double>(ub), TavNumVar::Int));
  });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavNumColumnArray columns) {
  TavRequireArrays(columns);
  *this = TavMakeVarsByColumns<TavIntVarArray>(
      env, columns, [&](const TavAddNumVar& column, TavInt) { return TavIntVar(column, 0, TavIntVar::kMaxInt); });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs) {
  TavRequireArrays(columns, lbs, ubs);
  *this = TavMakeVarsByColumns<TavIntVarArray>(env, columns, [&](const TavAddNumVar& column, TavInt i) {
    return TavIntVar(column, TavTrunc(lbs[i]), TavTrunc(ubs[i]));
  });
}

TavIntExprArray TavIntVarArray::toIntExprArray() const { return sameElements<TavIntExprArray>(*this); }

TavNumVarArray TavIntVarArray::toNumVarArray() const { return sameElements<TavNumVarArray>(*this); }

TavIntVarArray TavIntVarArray::getClone(TavEnvI* env) const { return clones(*this, env); }

// ---- 0-1 variables

TavBoolVarArray::TavBoolVarArray(TavEnv env, TavNumColumnArray columns) {
  TavRequireArrays(columns);
  *this = TavMakeVarsByColumns<TavBoolVarArray>(env, columns, [&](const TavAddNumVar& column, TavInt) {
    return TavBoolVar(TavNumVar(column, 0.0, 1.0, TavNumVar::Bool));
  });
}

TavBoolVarArray::TavBoolVarArray(const TavIntVarArray& variables) : TavIntVarArray(variables.getImpl()) {
  for (TavInt i = 0; i < getSize(); ++i) {
    if (!(*this)[i]) throw TavWrongUsage("Using empty variable", 0);
    TavCheckBool((*this)[i]);
  }
}

TavBoolVarArray TavBoolVarArray::getClone(TavEnvI* env) const { return clones(*this, env); }
