#pragma once
/// One sample of every class that is not abstract: how it is made, and for an expression both texts, the value and the
/// kind. The tests of the protocol run over the samples, and random programs compose them. A test fails for a class of
/// expression/classes.inc without a sample.

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "expression/nodes.h"

/// The operands of samples. Texts name them by these letters: "%x" is the text of x.
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

/// Thrown by a value function where there is no value: division of integers by zero, an empty array.
struct Undefined {};

/// Computes the value of a node from the values of its operands, followed by its constants.
struct Value {
  Value() = default;
  Value(double (*f)(double)) : of([f](const auto& v) { return f(v[0]); }) {}
  Value(double (*f)(double, double)) : of([f](const auto& v) { return f(v[0], v[1]); }) {}
  Value(double (*f)(const std::vector<double>&)) : of(f) {}
  /// Empty where the sample has no model of its value.
  std::function<double(const std::vector<double>&)> of;
};

/// A class of nodes.
struct NodeSample {
  const char* name;
  bool isInt;
  TavExtractableI* (*make)(const Operands&);
  /// Whether a numeric expression is integer when all operands and constants are.
  bool follows = false;
  /// Whether only an operator makes it, which may also make another class.
  bool folds = false;
  /// The texts in both syntaxes; the first one names all operands in the order of a visit. Null where a random program
  /// does not compose the class.
  const char* library = nullptr;
  const char* plain = nullptr;
  Value value = {};
};

/// A class of change records.
struct ChangeSample {
  const char* name;
  /// The name of the variable that visitChange shows, or "".
  const char* part;
  /// Sends one record of the class.
  void (*edit)(const Operands&);
};

const std::vector<NodeSample>& nodeSamples();
const std::vector<ChangeSample>& changeSamples();

/// The sub-objects that a visit shows. Throws unless they are shown between one begin and one end, as parts of the
/// object.
inline std::vector<TavExtractableI*> childrenOf(TavExtractableI* object) {
  struct Visitor final : TavExtractableVisitor {
    void beginVisit(TavExtractableI*) override { require(depth++ == 0); }
    void visitChild(TavExtractableI* shown, TavExtractableI* child) override {
      require(shown == parent && depth == 1);
      seen.push_back(child);
    }
    void endVisit(TavExtractableI*) override { require(--depth == 0); }
    static void require(bool holds) {
      if (!holds) throw std::logic_error("a visit is out of order");
    }
    std::vector<TavExtractableI*> seen;
    TavExtractableI* parent = nullptr;
    int depth = 0;
  } visitor;
  visitor.parent = object;
  object->visitSubExtractables(&visitor);
  return visitor.seen;
}
