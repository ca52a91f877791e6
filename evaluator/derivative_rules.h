#pragma once
/// What an operation contributes to derivatives: its first and second partial derivatives by its operands. The rules
/// are templates over what formulas are made of: nodes of a graph, numbers at a point, or nothing but their structure.

#include "evaluator/operations.h"

namespace taveval {

/// The partial derivatives of one operation.
///
/// A Formula has number(double), of(Op) and with(Op, Formula), which give formulas of the same kind, and the operators
/// of FormulaOperators.
template <class Formula>
struct Rule {
  /// A condition lets a derivative through or replaces it by 0, so that an infinite or undefined derivative of what was
  /// not chosen does not show.
  enum class Kind { Factor, IfTrue, IfFalse };
  struct Partial {
    int operand = 0;  ///< 0 for a, 1 for b, 2 for c.
    Kind kind = Kind::Factor;
    Formula formula{};  ///< The factor, or the condition.
  };
  static constexpr int kFirst = 1, kMixed = 2, kSecond = 4;

  int count = 0;        ///< Number of partials.
  Partial first[2];     ///< By the operands that have derivatives.
  int seconds = 0;      ///< Those below that are not 0 everywhere: sum of kFirst, kMixed, kSecond.
  Formula second[3]{};  ///< By 00, 01 and 11.
};

/// The operators of a class of formulas, by its number, of and with.
template <class Formula>
struct FormulaOperators {
  friend Formula operator+(Formula x, Formula y) { return x.with(Op::Add, y); }
  friend Formula operator-(Formula x, Formula y) { return x.with(Op::Sub, y); }
  friend Formula operator*(Formula x, Formula y) { return x.with(Op::Mul, y); }
  friend Formula operator/(Formula x, Formula y) { return x.with(Op::Div, y); }
  friend Formula operator-(Formula x) { return x.of(Op::Neg); }
  friend Formula operator*(double x, Formula y) { return y.number(x) * y; }
  friend Formula operator/(double x, Formula y) { return y.number(x) / y; }
  friend Formula operator+(double x, Formula y) { return y.number(x) + y; }
  friend Formula operator-(double x, Formula y) { return y.number(x) - y; }
};

namespace rules {

template <class Formula>
Rule<Formula> unary(Formula first) {
  Rule<Formula> rule;
  rule.count = 1;
  rule.first[0].formula = first;
  return rule;
}

template <class Formula>
Rule<Formula> unary(Formula first, Formula second) {
  Rule<Formula> rule = unary(first);
  rule.seconds = rule.kFirst;
  rule.second[0] = second;
  return rule;
}

template <class Formula>
Rule<Formula> binary(Formula byA, Formula byB) {
  Rule<Formula> rule = unary(byA);
  rule.count = 2;
  rule.first[1].operand = 1;
  rule.first[1].formula = byB;
  return rule;
}

/// Of two operands, the first where the condition holds, else the second.
template <class Formula>
Rule<Formula> choice(int first, Formula condition) {
  Rule<Formula> rule = binary(condition, condition);
  rule.first[0].operand = first;
  rule.first[1].operand = first + 1;
  rule.first[0].kind = Rule<Formula>::Kind::IfTrue;
  rule.first[1].kind = Rule<Formula>::Kind::IfFalse;
  return rule;
}

template <class Formula>
Rule<Formula> power(Formula x, Formula y, bool isExponentFixed) {
  if (isExponentFixed) return unary(x.with(Op::PowerByBase, y), x.with(Op::PowerByBase2, y));
  Rule<Formula> rule = binary(x.with(Op::PowerByBase, y), x.with(Op::PowerByExp, y));
  rule.seconds = rule.kFirst | rule.kMixed | rule.kSecond;
  rule.second[0] = x.with(Op::PowerByBase2, y);
  rule.second[1] = x.with(Op::PowerByBaseExp, y);
  rule.second[2] = x.with(Op::PowerByExp2, y);
  return rule;
}

template <class Formula>
Rule<Formula> quotient(Formula y, Formula f, bool isDivisorFixed) {
  const Formula reciprocal = 1 / y;
  if (isDivisorFixed) return unary(reciprocal);
  Rule<Formula> rule = binary(reciprocal, -(f * reciprocal));
  rule.seconds = rule.kMixed | rule.kSecond;
  rule.second[1] = -(reciprocal * reciprocal);
  rule.second[2] = 2 * (f * (reciprocal * reciprocal));
  return rule;
}

template <class Formula>
Rule<Formula> product(Formula a, Formula b) {
  Rule<Formula> rule = binary(b, a);
  rule.seconds = rule.kMixed;
  rule.second[1] = a.number(1);
  return rule;
}

template <class Formula>
Rule<Formula> elementary(Op op, Formula x, Formula f) {
  switch (op) {
    case Op::Neg:
      return unary(x.number(-1));
    case Op::Abs:
      return unary(x.of(Op::Sign));
    case Op::Square:
      return unary(2 * x, x.number(2));
    case Op::Sin:
      return unary(x.of(Op::Cos), -f);
    case Op::Cos:
      return unary(-x.of(Op::Sin), -f);
    case Op::Tan: {
      const Formula first = 1 + f * f;
      return unary(first, 2 * (f * first));
    }
    case Op::ArcSin:
    case Op::ArcCos: {
      const Formula rest = (1 - x) * (1 + x);  // 1 - x^2, exact near 1
      const Formula first = 1 / rest.of(Op::Sqrt);
      const Formula second = x * (first / rest);
      return op == Op::ArcSin ? unary(first, second) : unary(-first, -second);
    }
    case Op::ArcTan: {
      const Formula first = 1 / (1 + x * x);
      return unary(first, -(2 * (x * (first * first))));
    }
    case Op::Log: {
      const Formula first = 1 / x;
      return unary(first, -(first * first));
    }
    case Op::Exp:
      return unary(f, f);
    case Op::Sqrt: {
      const Formula reciprocal = x.of(Op::SafeRecipSqrt);
      return unary(0.5 * reciprocal, -(0.25 * (reciprocal * (reciprocal * reciprocal))));
    }
    default:
      return {};
  }
}

}  // namespace rules

/// The rule of f = op(a, b, ...). An operation that is piecewise constant, or a leaf, has none. `isSecondFixed`: b does
/// not depend on variables.
template <class Formula>
Rule<Formula> ruleOf(Op op, Formula a, Formula b, Formula f, bool isSecondFixed) {
  switch (op) {
    case Op::Add:
      return rules::binary(a.number(1), a.number(1));
    case Op::Sub:
      return rules::binary(a.number(1), a.number(-1));
    case Op::Mul:
      return rules::product(a, b);
    case Op::Div:
      return rules::quotient(b, f, isSecondFixed);
    case Op::Power:
      return rules::power(a, b, isSecondFixed);
    case Op::Min:
      return rules::choice(0, a.with(Op::Less, b));
    case Op::Max:
      return rules::choice(0, b.with(Op::Less, a));
    case Op::Select:
      return rules::choice(1, a);
    case Op::Piecewise:
      return rules::unary(a.with(Op::PiecewiseSlope, b));
    default:
      return rules::elementary(op, a, f);
  }
}

}  // namespace taveval
