#pragma once
/// Class header for authors of algorithms: how arrays of new variables are made.

#include <charconv>
#include <string>
#include <utility>
#include <vector>

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// Throws TavEmptyHandleException unless every array handle names an array.
template <class... Arrays>
void TavRequireArrays(const Arrays&... arrays) {
  if ((!arrays.getImpl() || ...)) throw TavEmptyHandleException();
}

/// A new array of `count` variables, the i-th being make(i). On failure calls undo(array) with those
/// made so far.
template <class Array, class Make, class Undo>
Array TavMakeVars(TavEnv env, TavInt count, Make make, Undo undo) {
  Array array(env, 0);
  try {
    array.getImpl()->reserve(count);
    for (TavInt i = 0; i < count; ++i) array.add(make(i));
  } catch (...) {
    undo(array);
    array.end();
    throw;
  }
  return array;
}

/// The same; on failure those made so far are destroyed. No other object refers to them yet.
template <class Array, class Make>
Array TavMakeVars(TavEnv env, TavInt count, Make make) {
  return TavMakeVars<Array>(env, count, make, [env](Array made) {
    for (TavInt i = 0; i < made.getSize(); ++i) env.getImpl()->destroy(made[i].getImpl(), 0);
  });
}

/// A new array of one variable per column, make(column, i), and of an empty element per empty column. On failure
/// those made so far are removed, because columns refer to them.
template <class Array, class Make>
Array TavMakeVarsByColumns(TavEnv env, TavNumColumnArray columns, Make make) {
  std::vector<TavExtractableI*> made;
  made.reserve(static_cast<std::size_t>(columns.getSize()));
  const auto makeOne = [&](TavInt i) {
    const TavAddNumVar column = std::as_const(columns)[i];
    if (!column.getImpl()) return decltype(make(column, i))();
    const auto variable = make(column, i);
    made.push_back(variable.getImpl());
    return variable;
  };
  return TavMakeVars<Array>(env, columns.getSize(), makeOne, [&](Array) {
    TavFirstFailure ignored;
    ignored.attempt([&] { TavEnvI::removeAcrossEnvs(made.data(), made.data() + made.size()); });
  });
}

/// Installs a new variable into its column; ends the variable if the column throws.
inline void TavInstall(const TavAddNumVar& column, TavNumVarI* variable) {
  try {
    column.install(variable);
  } catch (...) {
    TavFirstFailure ignored;
    ignored.attempt([variable] { variable->end(); });
    throw;
  }
}

/// The names "x_0", "x_1" and so on of the elements of an array with the name "x"; no names for no name.
class TavNumberedNames {
 public:
  /// Names that start with `name`.
  explicit TavNumberedNames(TavNameArg name)
      : _named(name), _name(std::string(name.text()) + '_'), _stem(_name.size()) {}

  /// The i-th name; it is valid until the next call.
  TavNameArg operator()(TavInt i) {
    if (!_named) return nullptr;
    char digits[24];
    char* end = std::to_chars(digits, digits + sizeof digits, i).ptr;
    _name.resize(_stem);
    _name.append(digits, end);
    return _name;
  }

 private:
  bool _named;
  std::string _name;
  std::size_t _stem;
};

#pragma GCC visibility pop
