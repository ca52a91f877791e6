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

/// Gives a clone the name of what it was cloned from.
inline TavExtractableI* keepName(TavExtractableI* clone, const TavExtractableI* source) {
  clone->setName(source->getName());
  return clone;
}

/// A leaf that evaluates to a fixed number and counts its evaluations; for values that no variable takes.
template <class Base>
class FixedI : public TavNode<FixedI<Base>, Base> {
 public:
  static constexpr bool kWhole = std::is_same_v<Base, TavIntExprI>;
  static constexpr const char* kTypeName = kWhole ? "IntLeafI" : "LeafI";
  FixedI(TavEnvI* env, double value, bool integer = kWhole)
      : TavNode<FixedI, Base>(env, nullptr), _value(value), _integer(integer) {}
  double eval(TavAlgorithm) const override {
    ++evaluations;
    return _value;
  }
  bool isInteger() const override { return _integer; }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    return keepName(new (target) FixedI(target, _value, _integer), this);
  }
  void display(std::ostream& os) const override {
    os << (this->getName() ? this->getName() : kWhole ? "ileaf" : "leaf");
  }
  mutable int evaluations = 0;

 private:
  double _value;
  bool _integer;
};
using LeafI = FixedI<TavNumExprI>;
using IntLeafI = FixedI<TavIntExprI>;

/// A column that remembers what was installed last.
struct TestColumn final : TavAddExtractable {
  explicit TestColumn(TavEnv home) : env(home.getImpl()) {}
  void install(TavExtractableI* variable) const override { installed = variable; }
  TavEnvI* getEnv() const override { return env; }
  TavEnvI* env;
  mutable TavExtractableI* installed = nullptr;
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

  /// What a linear node holds: "2x -1y <p> 5" stands for the terms, the parts and the constant; "#" before it marks the
  /// integer one. Any other node: its name, or its class and its plain text, "TavNumTimesCstI{p * 3}".
  static std::string shape(TavNumExprArg expression) {
    TavNumExprI* node = expression.getImpl();
    if (!node) return "empty";
    std::ostringstream os;
    const auto write = [&os](const auto* linear) {
      for (auto* cell = linear->getFirstTerm(); cell; cell = cell->next)
        os << cell->coef << cell->var->getName() << " ";
      for (auto* part = linear->getFirstPart(); part; part = part->next) {
        os << "<" << shape(TavNumExprArg(part->expr)) << "> ";
      }
      os << linear->getConstant();
    };
    if (node->getTypeInfo() == TavNumLinTermI::GetTypeInfo()) {
      write(static_cast<TavNumLinTermI*>(node));
    } else if (node->getTypeInfo() == TavIntLinTermI::GetTypeInfo()) {
      os << "#";
      write(static_cast<TavIntLinTermI*>(node));
    } else if (node->getName()) {
      os << node->getName();
    } else {
      os << node->getRttiTypeName() << "{" << text(node) << "}";
    }
    return os.str();
  }

  struct Term {
    double coef;
    TavNumVar variable;
  };
  /// A new uncounted linear node of these terms, parts and constant.
  template <class Linear = TavNumLinTermI>
  Linear* linear(std::initializer_list<Term> terms, std::initializer_list<TavIntExprArg> parts = {}, int constant = 0) {
    auto* node = new (env.getImpl()) Linear(env.getImpl(), constant);
    for (const Term& term : terms) node->append(env.getImpl()->newTerm(term.variable.getImpl(), term.coef));
    for (TavIntExprArg part : parts) node->append(part.getImpl());
    return node;
  }
  /// A leaf that prints its name.
  TavNumExprArg namedLeaf(const char* name, double value = 1.0) {
    TavNumExprArg node = leaf(value);
    node.getImpl()->setName(name);
    return node;
  }
  TavIntExprArg namedIntLeaf(const char* name, double value = 1.0) {
    TavIntExprArg node = intLeaf(value);
    node.getImpl()->setName(name);
    return node;
  }

  double eval(TavNumExprArg expression) { return expression.eval(TavAlgorithm(&algorithm)); }

  /// The sub-objects that a visit shows, between its begin and its end.
  static std::vector<TavExtractableI*> children(TavExtractableI* object) {
    struct Visitor final : TavExtractableVisitor {
      std::vector<TavExtractableI*> seen;
      TavExtractableI* parent = nullptr;
      int depth = 0;
      void beginVisit(TavExtractableI*) override { EXPECT_EQ(depth++, 0); }
      void visitChild(TavExtractableI* shown, TavExtractableI* child) override {
        EXPECT_EQ(shown, parent);
        seen.push_back(child);
      }
      void endVisit(TavExtractableI*) override { EXPECT_EQ(--depth, 0); }
    } visitor;
    visitor.parent = object;
    object->visitSubExtractables(&visitor);
    EXPECT_EQ(visitor.depth, 0);
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
