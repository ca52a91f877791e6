#pragma once
/// Class header for authors of algorithms: condition ? then : else. A modelling-language layer makes these nodes.

#include <ostream>

#include "expression/core/int_expr.h"
#include "expression/core/nested.h"

#pragma GCC visibility push(default)

/// Base of both conditional nodes. A branch is an expression of Self's base, or null; then its constant is used.
template <class Self, class Base, class Constant>
class TavConditionalI : public TavNested<Self, Base> {
 public:
  /// A new node, which adds one reference to the condition and to each branch.
  TavConditionalI(TavEnvI* env, TavNumExprI* condition, Base* thenExpr, Base* elseExpr, Constant thenConstant,
                  Constant elseConstant)
      : TavNested<Self, Base>(env, nullptr),
        _condition(condition),
        _then(thenExpr),
        _else(elseExpr),
        _thenConstant(thenConstant),
        _elseConstant(elseConstant) {
    condition->retain();
    if (thenExpr) thenExpr->retain();
    if (elseExpr) elseExpr->retain();
  }
  ~TavConditionalI() override {
    // by contract: the condition is never released
    if (_then) this->getEnv()->release(_then);
    if (_else) this->getEnv()->release(_else);
  }

  /// The condition.
  TavNumExprI* getCondition() const noexcept { return _condition; }
  /// The branch for a condition of 1, or null.
  Base* getThen() const noexcept { return _then; }
  /// The branch for any other condition, or null.
  Base* getElse() const noexcept { return _else; }
  /// The value of a missing then branch.
  Constant getThenConstant() const noexcept { return _thenConstant; }
  /// The value of a missing else branch.
  Constant getElseConstant() const noexcept { return _elseConstant; }

  /// The body of eval. Only a condition of exactly 1 selects the then branch; the other branch is not evaluated.
  double value(TavAlgorithm algorithm) const {
    if (_condition->eval(algorithm) == 1.0) {
      return _then ? _then->eval(algorithm) : static_cast<double>(_thenConstant);
    }
    return _else ? _else->eval(algorithm) : static_cast<double>(_elseConstant);
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, _condition);
    if (_then) visitor->visitChild(this, _then);
    if (_else) visitor->visitChild(this, _else);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    TavNumExprI* condition = TavCloneOf(_condition, this->getEnv());
    Base* thenExpr = _then ? TavCloneOf(_then, this->getEnv()) : nullptr;
    Base* elseExpr = _else ? TavCloneOf(_else, this->getEnv()) : nullptr;
    return new (target) Self(target, condition, thenExpr, elseExpr, _thenConstant, _elseConstant);
  }
  /// The body of display: the same text in both syntaxes.
  void write(std::ostream& os) const {
    _condition->display(os);
    os << " ? ";
    if (_then) {
      _then->display(os);
      os << " : ";
      if (_else) {
        _else->display(os);
      } else {
        os << _elseConstant;
      }
    }
    // by contract: the then-constant is always written, and the else branch a second time, but never as a constant
    os << _thenConstant << " : ";
    if (_else) _else->display(os);
  }

 private:
  TavNumExprI* _condition;
  Base* _then;
  Base* _else;
  Constant _thenConstant;
  Constant _elseConstant;
};

/// A conditional of integer expressions.
class TavConditionalIntExprI final : public TavConditionalI<TavConditionalIntExprI, TavIntExprI, TavInt> {
 public:
  using TavConditionalI::TavConditionalI;
  static constexpr const char* kTypeName = "TavConditionalIntExprI";
  bool isInteger() const override { return true; }
};

/// A conditional of numeric expressions.
class TavConditionalNumExprI final : public TavConditionalI<TavConditionalNumExprI, TavNumExprI, double> {
 public:
  using TavConditionalI::TavConditionalI;
  static constexpr const char* kTypeName = "TavConditionalNumExprI";
  bool isInteger() const override { return false; }
};

static_assert(sizeof(TavConditionalIntExprI) == 80 && sizeof(TavConditionalNumExprI) == 80);

#pragma GCC visibility pop
