#pragma once
/// Class header for authors of algorithms: how arrays of new variables are made.

#include <utility>

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// Throws TavEmptyHandleException unless every array handle names an array.
template <class... Arrays>
void TavRequireArrays(const Arrays&... arrays) {
  if ((!arrays.getImpl() || ...)) throw TavEmptyHandleException();
}

/// A new array of `count` variables, the i-th being make(i). On failure those made before it are ended.
template <class Array, class Make>
Array TavMakeVars(TavEnv env, TavInt count, Make make) {
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

/// A new array of one variable per column, make(column, i), and of an empty element per empty column.
template <class Array, class Make>
Array TavMakeVarsByColumns(TavEnv env, TavNumColumnArray columns, Make make) {
  return TavMakeVars<Array>(env, columns.getSize(), [&](TavInt i) {
    const TavAddNumVar column = std::as_const(columns)[i];
    return column.getImpl() ? make(column, i) : decltype(make(column, i))();
  });
}

/// Shared domains by bounds, looked up again only when the bounds change.
class TavDomainCache {
 public:
  /// Boolean bounds are truncated first: see TavNumVarI::domainByType.
  TavDomainCache(TavEnv env, TavNumVar::Type type) : _env(env.getImpl()), _type(type) {}

  /// The shared domain of these bounds.
  TavVarDomainI* find(double lb, double ub) {
    if (!_domain || lb != _lb || ub != _ub) {  // a not-a-number is looked up each time
      _domain = TavNumVarI::domainByType(_env, _type, lb, ub);
      _lb = lb;
      _ub = ub;
    }
    return _domain;
  }

 private:
  TavEnvI* _env;
  TavNumVar::Type _type;
  TavVarDomainI* _domain = nullptr;
  double _lb = 0.0;
  double _ub = 0.0;
};

#pragma GCC visibility pop
