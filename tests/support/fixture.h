#pragma once
/// The fixture of the tests: an environment, an algorithm whose values are written down, change records as text, and
/// texts in both syntaxes.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "expression/nodes.h"
#include "tests/support/children.h"

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr TavInt kMaxInt = std::numeric_limits<TavInt>::max();

/// Answers from a table; throws TavAlgorithm::Exception for a variable that has no entry.
class ScriptedAlgorithm : public TavAlgorithmI {
 public:
  using TavAlgorithmI::TavAlgorithmI;
  void set(TavNumVar variable, double value) { _values[variable.getId()] = value; }
  double getValue(const TavNumVarI* variable) const override {
    const auto found = _values.find(variable->getId());
    return found != _values.end() ? found->second : throw TavAlgorithm::Exception("no value", 0);
  }
  double getValue(const TavIntExprI* expression) const override {
    return constraintValue ? *constraintValue : TavAlgorithmI::getValue(expression);
  }
  const double* constraintValue = nullptr;

 private:
  std::map<TavInt, double> _values;
};

/// The names of the leaves that were evaluated.
inline std::string evaluatedLeaves;

/// A leaf that evaluates to a fixed number and notes its evaluations; for values that no variable takes.
template <class Base>
class FixedI : public TavNode<FixedI<Base>, Base> {
 public:
  static constexpr const char* kTypeName = std::is_same_v<Base, TavIntExprI> ? "IntLeafI" : "LeafI";
  FixedI(TavEnvI* env, double value, const char* name) : TavNode<FixedI, Base>(env, name), _value(value) {}
  double eval(TavAlgorithm) const override {
    evaluatedLeaves += this->getName();
    return _value;
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    return new (target) FixedI(target, _value, this->getName());
  }
  void display(std::ostream& os) const override { os << this->getName(); }

 private:
  double _value;
};
using LeafI = FixedI<TavNumExprI>;
using IntLeafI = FixedI<TavIntExprI>;

/// A column that remembers what was installed last.
struct TestColumn : TavAddExtractable {
  explicit TestColumn(TavEnv home) : env(home.getImpl()) {}
  void install(TavExtractableI* variable) const override { installed = variable; }
  TavEnvI* getEnv() const override { return env; }
  TavEnvI* env;
  mutable TavExtractableI* installed = nullptr;
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

class TavTest : public ::testing::Test {
 protected:
  ~TavTest() override {
    env.end();
    other.end();
  }

  /// What a handle or an object prints, in the plain and in the library syntax.
  template <class T>
  std::string plain(const T& object) const {
    std::ostringstream os;
    if constexpr (std::is_pointer_v<T>) {
      object->display(os);
    } else {
      os << object;
    }
    return os.str();
  }
  template <class T>
  std::string library(const T& object) const {
    env.getImpl()->librarySyntaxDisplay = true;
    const std::string text = plain(object);
    env.getImpl()->librarySyntaxDisplay = false;
    return text;
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
  /// Leaves of a fixed value that print their name.
  TavNumExprArg leaf(double value, const char* name = "leaf") {
    return TavNumExprArg(new (env.getImpl()) LeafI(env.getImpl(), value, name));
  }
  TavIntExprArg intLeaf(double value, const char* name = "ileaf") {
    return TavIntExprArg(new (env.getImpl()) IntLeafI(env.getImpl(), value, name));
  }
  template <class Array, class T>
  Array arrayOf(std::initializer_list<T> elements) {
    Array array(env);
    for (T element : elements) array.add(element);
    return array;
  }
  TavNumArray nums(std::initializer_list<double> values) { return arrayOf<TavNumArray>(values); }
  TavIntArray ints(std::initializer_list<TavInt> values) { return arrayOf<TavIntArray>(values); }
  TavNumExprArray exprs(std::initializer_list<TavNumExprArg> nodes) { return arrayOf<TavNumExprArray>(nodes); }
  TavIntExprArray intExprs(std::initializer_list<TavIntExprArg> nodes) { return arrayOf<TavIntExprArray>(nodes); }

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

  /// What a linear node holds: "2x -1y <p> 5" stands for the terms, the parts and the constant; "#" before it marks the
  /// integer one. Any other node: its name, or its class and its plain text, "TavNumTimesCstI{p * 3}".
  std::string shape(TavNumExprArg expression) const { return shape(expression.getImpl()); }
  std::string shape(TavNumExprI* node) const {
    std::ostringstream os;
    const auto write = [&](const auto* linear) {
      for (auto* cell = linear->getFirstTerm(); cell; cell = cell->next)
        os << cell->coef << cell->var->getName() << " ";
      for (auto* part = linear->getFirstPart(); part; part = part->next) os << "<" << shape(part->expr) << "> ";
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
      os << node->getRttiTypeName() << "{" << plain(node) << "}";
    }
    return os.str();
  }

  double eval(TavNumExprArg expression) { return expression.eval(TavAlgorithm(&algorithm)); }
  /// Bit for bit, but any not-a-number for another.
  void expectValue(TavNumExprArg expression, double expected) {
    const double value = eval(expression);
    EXPECT_TRUE((value != value && expected != expected) ||
                std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(expected))
        << plain(expression) << " is " << value << " instead of " << expected;
  }

  using Calls = std::initializer_list<std::function<void()>>;
  /// Each call throws an E with this message, "" for none, and makes no object and no term.
  template <class E>
  void refuses(const std::string& message, Calls calls) {
    int at = 0;
    for (const auto& call : calls) {
      SCOPED_TRACE(message + " " + std::to_string(at++));
      const auto balance = [&] {
        return env.getImpl()->liveObjectCount() + env.getImpl()->liveTermCount() + other.getImpl()->liveObjectCount();
      };
      const TavInt before = balance();
      EXPECT_EQ(messageOf<E>(call), message);
      EXPECT_EQ(balance(), before);
    }
  }
  void refusesEmpty(Calls calls) { refuses<TavEmptyHandleException>("", calls); }

  /// What the change records say that `edit` sends: "AddVar x; ", "bounds x 2 10; ", ...
  std::string records(const std::function<void()>& edit) {
    std::ostringstream log;
    env.getImpl()->setChangeListener([&](const TavChange& change) { write(log, change); });
    edit();
    env.getImpl()->setChangeListener(nullptr);
    return log.str();
  }

  TavEnv env;
  TavEnv other;
  ScriptedAlgorithm algorithm{env.getImpl()};

 private:
  template <class Record>
  static const Record* as(const TavChange& change) {
    return change.isType(Record::GetTypeInfo()) ? static_cast<const Record*>(&change) : nullptr;
  }
  static void write(std::ostream& os, const TavChange& change) {
    const auto word = [&](const char* text, const TavNumVarI* var, const TavExtractableI* owner) {
      os << text << var->getName();
      EXPECT_EQ(owner, change.getChangedExtractable());
    };
    if (const auto* r = as<TavNumLinTermAddVar>(change)) word("AddVar ", r->getVar(), r->getLinear());
    if (const auto* r = as<TavNumLinTermRemoveVar>(change)) word("RemoveVar ", r->getVar(), r->getLinear());
    if (const auto* r = as<TavIntLinTermRemoveVar>(change)) word("#RemoveVar ", r->getVar(), r->getLinear());
    if (const auto* r = as<TavSetNumVarBounds>(change)) {
      word("bounds ", r->getVar(), r->getVar());
      os << " " << r->getLB() << " " << r->getUB();
      EXPECT_EQ(r->getVar()->getLB(), r->getLB());  // the change is made when the record goes out
    }
    if (const auto* r = as<TavSetNumVarArrayBounds>(change)) {
      os << "array " << r->getVars().getSize() << " " << r->getLBs() << " " << r->getUBs();
      EXPECT_EQ(change.getChangedExtractableArray(), r->getVars().getImpl());
    }
    if (const auto* r = as<TavSetNumVarPossibleValues>(change)) {
      word("values ", r->getVar(), r->getVar());
      if (r->getNumValues().getImpl()) os << " num " << r->getNumValues();
      if (r->getIntValues().getImpl()) os << " int " << r->getIntValues();
    }
    if (const auto* r = as<TavSetSemiContBound>(change)) {
      EXPECT_EQ(r->getVar(), change.getChangedExtractable());
      os << "threshold " << r->getOldThreshold() << " " << r->getNewThreshold();
    }
    if (const auto* r = as<TavConversionRemoveVar>(change)) {
      word("", r->getVar(), r->getConversion());
      os << " leaves " << r->getConversion()->getVars().getSize();
    }
    os << "; ";
  }
};
