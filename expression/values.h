#pragma once
/// A table of values, to evaluate expressions by.

#include <unordered_map>
#include <utility>

#include "expression/arrays.h"

#pragma GCC visibility push(default)

/// An algorithm that knows the values that it is given:
/// `TavValues at(env, {{x, 2.0}}); at[y] = 3.0; e.eval(at);`. A variable that is destroyed leaves the table. It ignores
/// modifications of the model. It must not be copied, and may outlive its environment.
class TavValues final : public TavAlgorithmI {
 public:
  /// An empty table.
  explicit TavValues(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  /// A table of these values. Throws TavEmptyHandleException for an empty handle.
  TavValues(TavEnv env, std::initializer_list<std::pair<TavNumVar, double>> values);

  /// The variable's value, for reading and writing; 0 when it had none. The reference is valid until the variable
  /// is erased or destroyed. Throws TavEmptyHandleException.
  double& operator[](TavNumVar variable);
  /// Gives each variable the number at its position; `numbers` is at least as long. Throws TavEmptyHandleException.
  void set(TavNumVarArray variables, TavNumArray numbers);
  /// Whether the variable has a value.
  bool contains(TavNumVar variable) const { return hasExtracted(static_cast<TavExtractable>(variable).getImpl()); }
  /// Takes the variable's value away.
  void erase(TavNumVar variable) { forget(static_cast<TavExtractable>(variable).getImpl()); }

  using TavAlgorithmI::getValue;
  /// The variable's value. Throws TavModelEvaluator::Unbound when it has none.
  double getValue(const TavNumVarI* variable) const override;
  /// Whether the object is a variable with a value.
  bool hasExtracted(const TavExtractableI* object) const override { return _values.contains(object); }
  /// Does nothing.
  void change(const TavChange&) override {}
  /// Takes a destroyed variable's value away.
  void forget(TavExtractableI* object) override { _values.erase(object); }

  /// A handle on this table, to be passed to eval.
  operator TavAlgorithm() noexcept { return TavAlgorithm(this); }

 private:
  std::unordered_map<const TavExtractableI*, double> _values;
};

#pragma GCC visibility pop
