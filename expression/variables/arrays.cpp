#include <utility>

#include "expression/core/num_var.h"
#include "expression/variables/bool_check.h"

namespace {

template <class... Arrays>
void requireArrays(const Arrays&... arrays) {
  if ((!arrays.getImpl() || ...)) throw TavEmptyHandleException();
}

/// Adds `count` variables to `array`: make(i) gives the i-th. On failure those made before it are ended.
template <class Array, class Make>
Array bulk(TavEnv env, TavInt count, Make make) {
  Array array(env, 0);
  try {
    array.getImpl()->reserve(count);
    for (TavInt i = 0; i < count; ++i) array.add(make(i));
  } catch (...) {
    array.TavExtractableArray::endElements();
    array.end();
    throw;
  }
  return array;
}

/// Makes variables of given bounds, looking the shared domain up again only when the bounds change.
class DomainCache {
 public:
  using Find = TavVarDomainI* (*)(TavEnvI*, double, double, TavNumVar::Type);
  DomainCache(TavEnv env, TavNumVar::Type type, Find find) : _env(env.getImpl()), _type(type), _find(find) {}

  TavNumVarI* make(double lb, double ub) {
    if (!_domain || lb != _lb || ub != _ub) {  // a not-a-number is looked up each time
      _domain = _find(_env, lb, ub, _type);
      _lb = lb;
      _ub = ub;
    }
    return new (_env) TavNumVarI(_env, _domain, nullptr);
  }

 private:
  TavEnvI* _env;
  TavNumVar::Type _type;
  Find _find;
  TavVarDomainI* _domain = nullptr;
  double _lb = 0.0;
  double _ub = 0.0;
};

DomainCache byType(TavEnv env, TavNumVar::Type type) {
  return DomainCache(env, type, [](TavEnvI* e, double lb, double ub, TavNumVar::Type t) {
    return TavNumVarI::domainByType(e, t, lb, ub);
  });
}

DomainCache integers(TavEnv env) { return DomainCache(env, TavNumVar::Int, &TavNumVarI::domainByBounds); }

/// One variable per non-empty column.
template <class Array, class Make>
Array bulkByColumns(TavEnv env, TavNumColumnArray columns, Make make) {
  return bulk<Array>(env, columns.getSize(), [&](TavInt i) {
    const TavAddNumVar column = std::as_const(columns)[i];
    return column.getImpl() ? make(column, i) : decltype(make(column, i))();
  });
}

/// A new array of `To`'s kind with the same elements.
template <class To>
To sameElements(TavExtractableArray array) {
  To copy(array.getEnv(), 0);
  copy.getImpl()->addArray(array.getImpl());
  return copy;
}

template <class Array>
Array clones(const Array& array, TavEnvI* env) {
  Array copy(env ? TavEnv(env) : array.getEnv(), 0);
  for (TavInt i = 0; i < array.getSize(); ++i) {
    TavExtractableI* element = static_cast<const TavExtractableArray&>(array)[i].getImpl();
    TavExtractableI* clone = element ? (env ? env : element->getEnv())->getClone(element) : nullptr;
    copy.getImpl()->add(&clone);
  }
  return copy;
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
    "TavNumVarArray::TavNumVarArray: n != 1",  // kept: the only text with a blank before the number
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
  TavExtractableArray array(env, 0);
  if (n != k) throw TavWrongUsage(texts.text[k - 1], 0);  // kept: the array stays with the environment
  for (TavInt i = 0; i < k; ++i) array.getImpl()->add(&elements[i]);
  return array.getImpl();
}

}  // namespace tavdetail

// ---- expressions

void TavNumExprArray::lockExprs() const noexcept {
  forEachExpr(*this, [](TavNumExprI* node) { node->retain(); });
}

void TavNumExprArray::releaseExprs() const {
  TavEnvI* env = _impl->getEnv();  // not asked of the element: it may be gone when the environment ends
  forEachExpr(*this, [env](TavNumExprI* node) { env->release(node); });
}

void TavNumExprArray::endElements() const {
  for (TavInt i = 0; i < getSize(); ++i) (*this)[i].getImpl()->end();
}

void TavNumExprArray::replaceByClone(TavEnvI* env) {
  TavNumExprArray copy(TavEnv(env), 0);
  for (TavInt i = 0; i < getSize(); ++i) {
    copy.add(TavNumExprArg(TavNumExpr((*this)[i].getImpl()).getClone(TavEnv(env)).getImpl()));
  }
  *this = copy;
}

void TavIntExprArray::lockExprs() const noexcept {
  forEachExpr(*this, [](TavNumExprI* node) { node->retain(); });
}

void TavIntExprArray::releaseExprs() const {
  TavEnvI* env = _impl->getEnv();  // not asked of the element: it may be gone when the environment ends
  forEachExpr(*this, [env](TavNumExprI* node) { env->release(node); });
}

void TavIntExprArray::endElements() const {
  for (TavInt i = 0; i < getSize(); ++i) (*this)[i].getImpl()->end();
}

TavIntExprArray TavIntExprArray::getClone(TavEnvI* env) const { return clones(*this, env); }

void TavIntExprArray::replaceByClone(TavEnvI* env) { *this = getClone(env); }

// ---- numeric variables

TavNumVarArray::TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, Type type)
    : TavNumVarArray(bulk<TavNumVarArray>(
          env, n, [&, make = byType(env, type)](TavInt) mutable { return TavNumVar(make.make(lb, ub)); })) {}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumArray lbs, TavNumArray ubs, Type type) {
  requireArrays(lbs, ubs);
  *this = bulk<TavNumVarArray>(env, lbs.getSize(), [&, make = byType(env, type)](TavInt i) mutable {
    return TavNumVar(make.make(lbs[i], ubs[i]));
  });
}

TavNumVarArray::TavNumVarArray(TavEnv env, double lb, TavNumArray ubs, Type type) {
  requireArrays(ubs);
  *this = bulk<TavNumVarArray>(
      env, ubs.getSize(), [&, make = byType(env, type)](TavInt i) mutable { return TavNumVar(make.make(lb, ubs[i])); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumArray lbs, double ub, Type type) {
  requireArrays(lbs);
  *this = bulk<TavNumVarArray>(
      env, lbs.getSize(), [&, make = byType(env, type)](TavInt i) mutable { return TavNumVar(make.make(lbs[i], ub)); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumColumnArray columns, Type type) {
  requireArrays(columns);
  *this = bulkByColumns<TavNumVarArray>(
      env, columns, [&](const TavAddNumVar& column, TavInt) { return TavNumVar(column, 0.0, TavGetInfinity(), type); });
}

TavNumVarArray::TavNumVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs, Type type) {
  requireArrays(columns, lbs, ubs);
  *this = bulkByColumns<TavNumVarArray>(
      env, columns, [&](const TavAddNumVar& column, TavInt i) { return TavNumVar(column, lbs[i], ubs[i], type); });
}

TavNumExprArray TavNumVarArray::toNumExprArray() const { return sameElements<TavNumExprArray>(*this); }

TavIntExprArray TavNumVarArray::toIntExprArray() const { return toIntVarArray().toIntExprArray(); }

TavIntVarArray TavNumVarArray::toIntVarArray() const {
  for (TavInt i = 0; i < getSize(); ++i) {
    if ((*this)[i].getType() == TavNumVar::Float) throw TavBadConversion();
  }
  return sameElements<TavIntVarArray>(*this);
}

TavNumVarArray TavNumVarArray::getClone(TavEnvI* env) const { return clones(*this, env); }

void TavNumVarArray::setBounds(TavNumArray lbs, TavNumArray ubs) const {
  requireArrays(lbs, ubs);
  TavEnvI* env = nullptr;
  for (TavInt i = 0; i < getSize(); ++i) {
    TavNumVarI* var = (*this)[i].getImpl();
    if (!var) continue;
    if (TavVarDomainI* domain = var->getDomain()) {
      domain->setUB(ubs[i]);  // kept: no copy on write, a shared domain changes for all of its variables
      domain->setLB(lbs[i]);
    } else {
      var->makeDomain(lbs[i], ubs[i]);
    }
    if (!env) env = var->getEnv();
  }
  if (env) env->change(TavSetNumVarArrayBounds(_impl, lbs.getImpl(), ubs.getImpl()));
}

// ---- integer variables

TavIntVarArray::TavIntVarArray(TavEnv env, TavInt n, TavInt lb, TavInt ub)
    : TavIntVarArray(bulk<TavIntVarArray>(env, n, [&, make = integers(env)](TavInt) mutable {
        return TavIntVar(make.make(static_cast<double>(lb), static_cast<double>(ub)));
      })) {}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArray ubs) {
  requireArrays(lbs, ubs);
  *this = bulk<TavIntVarArray>(env, lbs.getSize(), [&, make = integers(env)](TavInt i) mutable {
    return TavIntVar(make.make(static_cast<double>(lbs[i]), static_cast<double>(ubs[i])));
  });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavInt lb, TavIntArray ubs) {
  requireArrays(ubs);
  *this = bulk<TavIntVarArray>(env, ubs.getSize(), [&, make = integers(env)](TavInt i) mutable {
    return TavIntVar(make.make(static_cast<double>(lb), static_cast<double>(ubs[i])));
  });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavIntArray lbs, TavInt ub) {
  requireArrays(lbs);
  *this = bulk<TavIntVarArray>(env, lbs.getSize(), [&, make = integers(env)](TavInt i) mutable {
    return TavIntVar(make.make(static_cast<double>(lbs[i]), static_cast<double>(ub)));
  });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavNumColumnArray columns) {
  requireArrays(columns);
  *this = bulkByColumns<TavIntVarArray>(
      env, columns, [&](const TavAddNumVar& column, TavInt) { return TavIntVar(column, 0, TavIntVar::kMaxInt); });
}

TavIntVarArray::TavIntVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs) {
  requireArrays(columns, lbs, ubs);
  *this = bulkByColumns<TavIntVarArray>(env, columns, [&](const TavAddNumVar& column, TavInt i) {
    return TavIntVar(column, TavTrunc(lbs[i]), TavTrunc(ubs[i]));
  });
}

TavIntExprArray TavIntVarArray::toIntExprArray() const { return sameElements<TavIntExprArray>(*this); }

TavNumVarArray TavIntVarArray::toNumVarArray() const { return sameElements<TavNumVarArray>(*this); }

TavIntVarArray TavIntVarArray::getClone(TavEnvI* env) const { return clones(*this, env); }

// ---- 0-1 variables

TavBoolVarArray::TavBoolVarArray(TavEnv env, TavNumColumnArray columns) {
  requireArrays(columns);
  *this = bulkByColumns<TavBoolVarArray>(env, columns, [&](const TavAddNumVar& column, TavInt) {
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
