#pragma once
/// The fixture of the tests: two environments, a table of values, change records as text, and texts in both syntaxes.

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
#include "tests/support/samples.h"

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr TavInt kMaxInt = std::numeric_limits<TavInt>::max();

/// The names of the leaves that were evaluated.
inline std::string evaluatedLeaves;

/// A leaf of a fixed value that records its evaluations.
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

/// A column that records the variable installed last.
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

  /// The text of a handle or an object in the plain syntax, and in the library syntax.
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
    algorithm[variable] = value;
    return variable;
  }
  TavIntVar integer(const char* name, double value) {
    TavIntVar variable(env, 0, 10, name);
    algorithm[variable] = value;
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

  /// The content of a linear node: "2x -1y <p> 5" are its terms, parts and constant; "#" stands before an integer node.
  /// For any other node its name, or its class and plain text: "TavNumTimesCstI{p * 3}".
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

  using Calls = std::initializer_list<std::function<void()>>;
  /// Expects each call to throw an E with this message ("" for none) and to leave no new object or term.
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

  /// The change records that `edit` sends: "NumLinTermAddVar x; ", "SetNumVarBounds x 2 10; ", ...
  std::string records(const std::function<void()>& edit) {
    std::ostringstream log;
    env.getImpl()->setChangeListener([&](const TavChange& change) {
#define TAV_NODE(Class, Base)
#define TAV_CHANGE(Class) write<Class>(log, change);
#include "expression/classes.inc"
#undef TAV_NODE
#undef TAV_CHANGE
    });
    edit();
    env.getImpl()->setChangeListener(nullptr);
    return log.str();
  }

  TavEnv env;
  TavEnv other;
  TavValues algorithm{env};

 private:
  /// A record of this class: its name, its variable and its numbers.
  template <class Record>
  static void write(std::ostream& os, const TavChange& change) {
    if (change.getTypeInfo() != Record::GetTypeInfo()) return;
    const auto& r = static_cast<const Record&>(change);
    const TavExtractableI* owner = change.getChangedExtractable();
    os << std::string(Record::kTypeName).substr(3);
    if constexpr (requires { r.getVar(); }) os << " " << r.getVar()->getName();
    if constexpr (requires { r.getLinear(); }) {
      EXPECT_EQ(r.getLinear(), owner);
    } else if constexpr (requires { r.getConversion(); }) {
      EXPECT_EQ(r.getConversion(), owner);
      os << " leaves " << r.getConversion()->getVars().getSize();
    } else if constexpr (requires { r.getVars(); }) {
      EXPECT_EQ(r.getVars().getImpl(), change.getChangedExtractableArray());
      os << " of " << r.getVars().getSize() << " " << r.getLBs() << " " << r.getUBs();
    } else {
      EXPECT_EQ(r.getVar(), owner);
    }
    if constexpr (requires { r.getLB(); }) {
      os << " " << r.getLB() << " " << r.getUB();
      EXPECT_EQ(r.getVar()->getLB(), r.getLB());  // the change is made when the record is sent
    }
    if constexpr (requires { r.getOldThreshold(); }) os << " " << r.getOldThreshold() << " " << r.getNewThreshold();
    if constexpr (requires { r.getNumValues(); }) {
      if (r.getNumValues().getImpl()) os << " real " << r.getNumValues();
      if (r.getIntValues().getImpl()) os << " whole " << r.getIntValues();
    }
    os << "; ";
  }
};
