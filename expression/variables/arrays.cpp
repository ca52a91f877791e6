#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "expression/core/message.h"
#include "expression/core/num_var.h"
#include "expression/variables/bool_check.h"
#include "expression/variables/bulk.h"

namespace {

/// The ten messages of a family, one for each number of elements.
template <std::size_t... K>
consteval std::array<TavMessage, 10> countTexts(const char* array, std::index_sequence<K...>) {
  return {TavJoin(array, "::", array, ": n !=", K < 9 ? "" : "1", std::string_view("1234567890").substr(K, 1))...};
}
consteval std::array<TavMessage, 10> countTexts(const char* array) {
  return countTexts(array, std::make_index_sequence<10>());
}

/// Indexed by TavListOf.
constexpr auto kCountTexts = [] {
  std::array<std::array<TavMessage, 10>, 5> texts = {countTexts("TavNumVarArray"), countTexts("TavIntVarArray"),
                                                     countTexts("TavBoolVarArray"), countTexts("TavSemiContVarArray"),
                                                     countTexts("TavConstraintArray")};
  // by contract: the only text with a blank before the number
  texts[static_cast<int>(TavListOf::NumVar)][0] = TavJoin("TavNumVarArray::TavNumVarArray: n != 1");
  return texts;
}();

///@{
/// The i-th bound of an array, or the same bound for all.
double at(TavNumArray bounds, TavInt i) { return bounds.getImpl()->get<double>(i); }
double at(TavIntArray bounds, TavInt i) { return static_cast<double>(bounds.getImpl()->get<TavInt>(i)); }
double at(double bound, TavInt) { return bound; }
double at(TavIntArg bound, TavInt) { return static_cast<double>(bound.value); }
///@}

/// n new variables; the i-th one has the bounds at(lbs, i) and at(ubs, i) and the name nameOf(i).
template <class Array, class Lower, class Upper, class NameOf>
Array makeVars(TavEnv env, TavInt n, TavNumVar::Type type, Lower lbs, Upper ubs, NameOf nameOf) {
  using Var = std::decay_t<decltype(Array()[0])>;
  TavEnvI* home = env.getImpl();
  if constexpr (
      requires { lbs.getImpl(); } || requires { ubs.getImpl(); }) {
    return TavMakeVars<Array>(
        env, n, [&](TavInt i) { return Var(new (home) TavNumVarI(home, type, at(lbs, i), at(ubs, i), nameOf(i))); });
  } else {
    TavVarDomainI* domain = TavNumVarI::domainByType(home, type, at(lbs, 0), at(ubs, 0));
    return TavMakeVars<Array>(env, n, [&](TavInt i) { return Var(new (home) TavNumVarI(home, domain, nameOf(i))); });
  }
}

template <class Array, class Lower, class Upper>
Array makeVars(TavEnv env, TavInt n, TavNumVar::Type type, Lower lbs, Upper ubs) {
  return makeVars<Array>(env, n, type, lbs, ubs, [](TavInt) { return TavNameArg(); });
}

/// One new variable for each name.
template <class Array, class Lower, class Upper>
Array makeNamed(TavEnv env, std::initializer_list<TavNameArg> names, TavNumVar::Type type, Lower lb, Upper ub) {
  return makeVars<Array>(env, static_cast<TavInt>(names.size()), type, lb, ub,
                         [names](TavInt i) { return names.begin()[i]; });
}

/// A new array of `To`'s kind with the same elements.
template <class To>
To sameElements(TavExtractableArray array) {
  return To(array.getImpl()->makeCopy(array.getImpl()->getMemory()));
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

template <class Array>
void retainAll(const Array& array) noexcept {
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (TavNumExprI* node = array[i].getImpl()) node->retain();
  }
}

template <class Array>
void releaseAll(const Array& array) {
  TavEnvI* env = array.getImpl()->getEnv();  // not the element's: the element may be destroyed while env ends
  TavFirstFailure failure;
  for (TavInt i = 0; i < array.getSize(); ++i) {
    TavNumExprI* node = array[i].getImpl();
    if (node) failure.attempt([env, node] { env->release(node); });
  }
  failure.rethrow();
}

template <class Array>
void endAll(const Array& array) {
  TavFirstFailure failure;
  for (TavInt i = 0; i < array.getSize(); ++i) failure.attempt([&array, i] { array[i].getImpl()->end(); });
  failure.rethrow();
}

}  // namespace

TavArrayI* TavMakeList(TavListOf family, TavEnv env, TavInt n, const void* const* elements, TavInt k) {
  TavExtractableArray array(env, n == k ? k : 0);
  if (n != k)
    throw TavWrongUsage(kCountTexts[static_cast<int>(family)][k - 1].text, 0);  // by contract: the array stays
  for (TavInt i = 0; i < k; ++i) array.getImpl()->set(i, elements[i]);
  return array.getImpl();
}

void TavNumExprArray::lockExprs() const noexcept { retainAll(*this); }
void TavNumExprArray::releaseExprs() const { releaseAll(*this); }
void TavNumExprArray::endElements() const { endAll(*this); }

void TavNumExprArray::replaceByClone(TavEnvI* env) {
  TavNumExprArray copy(TavEnv(env), getSize());
  for (TavInt i = 0; i < getSize(); ++i) {
    copy.set(i, TavNumExprArg(TavNumExpr((*this)[i].getImpl()).getClone(TavEnv(env)).getImpl()));
  }
  *this = copy;
}

void TavIntExprArray::lockExprs() const noexcept { retainAll(*this); }
void TavIntExprArray::releaseExprs() const { releaseAll(*this); }
void TavIntExprArray::endElements() const { endAll(*this); }

TavIntExprArray TavIntExprArray::getClone(TavEnvI* env) const { return clones(*this, env); }

void TavIntExprArray::replaceByClone(TavEnvI* env) { *this = getClone(env); }

TavNumVarArray::TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, Type type)
    : TavNumVarArray(makeVars<TavNumVarArray>(env, n, type, lb, ub)) {}

TavNumVarArray::TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, TavNameArg name)
    : TavNumVarArray(env, n, lb, ub, TavNumVar::Float, name) {}

TavNumVarArray::TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, Type type, TavNameArg name)
    : TavNumVarArray(makeVars<TavNumVarArray>(env, n, type, lb, ub, TavNumberedNames(name))) {}

TavNumVarArray::TavNumVarArray(TavEnv env, std::initializer_list<TavNameArg> names, double lb, double ub, Type type)
    : TavNumVarArray(makeNamed<TavNumVarArray>(env, names, type, lb, ub)) {}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumArray lbs, TavNumArray ubs, Type type) {
  TavRequireArrays(lbs, ubs);
  *this = makeVars<TavNumVarArray>(env, lbs.getSize(), type, lbs, ubs);
}

TavNumVarArray::TavNumVarArray(TavEnv env, double lb, TavNumArray ubs, Type type) {
  TavRequireArrays(ubs);
  *this = makeVars<TavNumVarArray>(env, ubs.getSize(), type, lb, ubs);
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumArray lbs, double ub, Type type) {
  TavRequireArrays(lbs);
  *this = makeVars<TavNumVarArray>(env, lbs.getSize(), type, lbs, ub);
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

TavIntVarArray::TavIntVarArray(TavEnv env, TavInt n, TavIntArg lb, TavIntArg ub)
    : TavIntVarArray(makeVars<TavIntVarArray>(env, n, TavNumVar::Int, lb, ub)) {}

TavIntVarArray::TavIntVarArray(TavEnv env, TavInt n, TavIntArg lb, TavIntArg ub, TavNameArg name)
    : TavIntVarArray(makeVars<TavIntVarArray>(env, n, TavNumVar::Int, lb, ub, TavNumberedNames(name))) {}

TavIntVarArray::TavIntVarArray(TavEnv env, std::initializer_list<TavNameArg> names, TavIntArg lb, TavIntArg ub)
    : TavIntVarArray(makeNamed<TavIntVarArray>(env, names, TavNumVar::Int, lb, ub)) {}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArray ubs) {
  TavRequireArrays(lbs, ubs);
  *this = makeVars<TavIntVarArray>(env, lbs.getSize(), TavNumVar::Int, lbs, ubs);
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArg lb, TavIntArray ubs) {
  TavRequireArrays(ubs);
  *this = makeVars<TavIntVarArray>(env, ubs.getSize(), TavNumVar::Int, lb, ubs);
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArg ub) {
  TavRequireArrays(lbs);
  *this = makeVars<TavIntVarArray>(env, lbs.getSize(), TavNumVar::Int, lbs, ub);
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

TavNumVarArray TavSemiContVarArray::toNumVarArray() const { return sameElements<TavNumVarArray>(*this); }

TavNumExprArray TavSemiContVarArray::toNumExprArray() const { return sameElements<TavNumExprArray>(*this); }

TavIntVarArray TavIntVarArray::getClone(TavEnvI* env) const { return clones(*this, env); }

TavBoolVarArray::TavBoolVarArray(TavEnv env, std::initializer_list<TavBoolVar> elements)
    : TavIntVarArray(env, static_cast<TavInt>(elements.size())) {
  std::copy(elements.begin(), elements.end(), TavArrayIterator<TavExtractable>(_impl, 0));
}

TavBoolVarArray::TavBoolVarArray(TavEnv env, TavInt n, TavNameArg name)
    : TavBoolVarArray(makeVars<TavBoolVarArray>(env, n, TavNumVar::Int, 0, 1, TavNumberedNames(name)).getImpl()) {}

TavBoolVarArray::TavBoolVarArray(TavEnv env, std::initializer_list<TavNameArg> names)
    : TavBoolVarArray(makeNamed<TavBoolVarArray>(env, names, TavNumVar::Int, 0, 1).getImpl()) {}

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
