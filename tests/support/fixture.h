#pragma once
/// The fixture of the tests: an environment, an algorithm whose values are written down, a log of change records, and
/// texts in both syntaxes. Every test ends its environment with nothing left behind that it did not make on purpose.

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "expression/nodes.h"

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Answers from a table; throws TavAlgorithm::Exception for a variable that has no entry.
class ScriptedAlgorithm : public TavAlgorithmI {
 public:
  explicit ScriptedAlgorithm(TavEnv env) : TavAlgorithmI(env.getImpl()) {}

  void set(TavNumVar variable, double value) { _values[variable.getId()] = value; }
  double getValue(const TavNumVarI* variable) const override {
    ++calls;
    const auto found = _values.find(variable->getId());
    if (found == _values.end()) throw TavAlgorithm::Exception("no value", 0);
    return found->second;
  }
  double getValue(const TavIntExprI* expression) const override {
    return constraintValue ? *constraintValue : TavAlgorithmI::getValue(expression);
  }

  /// How often a variable's value was asked for.
  mutable int calls = 0;
  const double* constraintValue = nullptr;

 private:
  std::map<TavInt, double> _values;
};

/// A numeric leaf that evaluates to a fixed number and counts its evaluations; for values that no variable takes.
class LeafI : public TavNode<LeafI, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "LeafI";
  LeafI(TavEnvI* env, double value, bool integer = false) : TavNode(env, nullptr), _value(value), _integer(integer) {}
  double eval(TavAlgorithm) const override {
    ++evaluations;
    return _value;
  }
  bool isInteger() const override { return _integer; }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override { return new (target) LeafI(target, _value, _integer); }
  void display(std::ostream& os) const override { os << "leaf"; }
  mutable int evaluations = 0;

 private:
  double _value;
  bool _integer;
};

/// The same as an integer expression.
class IntLeafI : public TavNode<IntLeafI, TavIntExprI> {
 public:
  static constexpr const char* kTypeName = "IntLeafI";
  IntLeafI(TavEnvI* env, double value) : TavNode(env, nullptr), _value(value) {}
  double eval(TavAlgorithm) const override {
    ++evaluations;
    return _value;
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override { return new (target) IntLeafI(target, _value); }
  void display(std::ostream& os) const override { os << "ileaf"; }
  mutable int evaluations = 0;

 private:
  double _value;
};

class TavTest : public ::testing::Test {
 protected:
  TavTest() : algorithm(env) {}
  ~TavTest() override {
    env.end();
    other.end();
  }

  /// What a handle or an object prints, in the plain and in the library syntax.
  template <class T>
  std::string plain(const T& object) const {
    return print(object, false);
  }
  template <class T>
  std::string library(const T& object) const {
    return print(object, true);
  }
  static std::string text(const TavExtractableI* object) {
    std::ostringstream os;
    object->display(os);
    return os.str();
  }

  /// A named variable with bounds [0, 10] that has a value.
  TavNumVar num(const char* name, double value) {
    TavNumVar variable(env, 0.0, 10.0, TavNumVar::Float, name);
    algorithm.set(variable, value);
    return variable;
  }
  TavIntVar integer(const char* name, double value) {
    TavIntVar variable(env, 0, 10, name);
    algorithm.set(variable, value);
    return variable;
  }
  /// Leaves of a fixed value.
  TavNumExprArg leaf(double value, bool isInteger = false) {
    return TavNumExprArg(new (env.getImpl()) LeafI(env.getImpl(), value, isInteger));
  }
  TavIntExprArg intLeaf(double value) { return TavIntExprArg(new (env.getImpl()) IntLeafI(env.getImpl(), value)); }

  double eval(TavNumExprArg expression) { return expression.eval(TavAlgorithm(&algorithm)); }

  /// The sub-objects that a visit shows, between its begin and its end.
  static std::vector<TavExtractableI*> children(TavExtractableI* object) {
    struct Visitor final : TavExtractableVisitor {
      std::vector<TavExtractableI*> seen;
      int depth = 0;
      void beginVisit(TavExtractableI*) override { EXPECT_EQ(depth++, 0); }
      void visitChild(TavExtractableI*, TavExtractableI* child) override { seen.push_back(child); }
      void endVisit(TavExtractableI*) override { EXPECT_EQ(--depth, 0); }
    } visitor;
    object->visitSubExtractables(&visitor);
    return visitor.seen;
  }

  /// The type names of the change records that `edit` sends.
  std::vector<std::string> changesOf(const std::function<void()>& edit) {
    std::vector<std::string> names;
    env.getImpl()->setChangeListener([&names](const TavChange& change) { names.push_back(change.getRttiTypeName()); });
    edit();
    env.getImpl()->setChangeListener(nullptr);
    return names;
  }

  TavEnv env;
  TavEnv other;
  ScriptedAlgorithm algorithm;

 private:
  template <class T>
  std::string print(const T& object, bool librarySyntax) const {
    env.getImpl()->librarySyntaxDisplay = librarySyntax;
    std::ostringstream os;
    os << object;
    env.getImpl()->librarySyntaxDisplay = false;
    return os.str();
  }
};

/// The message of the exception of class E that `call` throws; fails when it throws none.
template <class E, class Call>
std::string messageOf(Call call) {
  try {
    call();
  } catch (const E& failure) {
    return failure.getMessage() ? failure.getMessage() : "";
  }
  ADD_FAILURE() << "nothing was thrown";
  return "";
}
