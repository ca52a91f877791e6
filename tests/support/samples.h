#pragma once
/// One sample of every class: how it is made, and for an expression both texts, the value and the kind. The tests of
/// the protocol run over the samples, the random programs compose them. A class that stands in a header of the library
/// and not here fails a test.

#include <functional>
#include <string>
#include <vector>

#include "expression/nodes.h"
#include "tests/support/children.h"

/// What a sample is made of. Texts name the operands by these letters: "%x" is the text of x.
struct Operands {
  explicit Operands(TavEnv home) : env(home), X(home), I(home), C(home), D(home), K(home) {}
  TavEnv env;
  TavNumExprArg x, y;
  TavIntExprArg i, j;
  TavNumExprArray X;
  TavIntExprArray I;
  double c = 0, d = 0;
  TavInt k = 0;
  TavNumArray C, D;
  TavIntArray K;
  TavNumVar v;
  TavIntVar w;
  TavConstraint truth;
};

/// Thrown by a value function where there is no value: a division of integers by zero, an array without elements.
struct Undefined {};

/// The value of a node from those of its operands, its constants behind them.
struct Value {
  Value() = default;
  Value(double (*f)(double)) : of([f](const auto& v) { return f(v[0]); }) {}
  Value(double (*f)(double, double)) : of([f](const auto& v) { return f(v[0], v[1]); }) {}
  Value(double (*f)(const std::vector<double>&)) : of(f) {}
  /// Empty where the sample has no model of its value.
  std::function<double(const std::vector<double>&)> of;
};

/// The static side of one class.
struct ClassFacts {
  const char* name;
  const char* base;
  TavInt size;
  TavTypeInfo (*token)();
  TavTypeInfo (*baseToken)();
  TavTypeInfo (*tokenOfBase)();
  TavInt (*index)();
  TavInt (*indexOfBase)();
  TavInt* slot;
  TavInt* slotOfBase;
};

template <class Class, class Base>
ClassFacts factsOf() {
  return {Class::GetRttiTypeName(), Base::kTypeName,    Class::GetExtractableSize(), &Class::GetTypeInfo,
          &Class::GetBaseTypeInfo,  &Base::GetTypeInfo, &Class::GetTypeIndex,        &Base::GetTypeIndex,
          &Class::_rttiIndex,       &Base::_rttiIndex};
}

struct NodeSample {
  ClassFacts facts;
  TavExtractHook* extract;
  TavObjectHook* unextract;
  TavObjectHook* modify;
  bool isInt;
  /// Empty for an abstract class.
  std::function<TavExtractableI*(const Operands&)> make;
  /// Whether a numeric expression is integer when all operands and constants are.
  bool follows = false;
  /// Whether only an operator makes it, which now and then makes something else.
  bool folds = false;
  /// The texts in both syntaxes; the first one names all operands in the order of a visit. Null where a random program
  /// does not compose the class.
  const char* library = nullptr;
  const char* plain = nullptr;
  Value value = {};
};

struct ChangeSample {
  ClassFacts facts;
  TavApplyHook* apply;
  /// Makes a record and hands it on.
  void (*with)(const Operands&, const std::function<void(const TavChange&)>& use);
  /// The name of the variable that visitChange shows, or "".
  const char* part;
};

const std::vector<NodeSample>& nodeSamples();
const std::vector<ChangeSample>& changeSamples();
/// The facts of the node classes, then of the change records.
std::vector<ClassFacts> allClasses();
