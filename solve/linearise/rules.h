#pragma once
/// The rules of linearisation: how a form is built from those of the operands. Each is shared by the classes that name
/// it in class_table.cpp; docs/linearisation.md states the formulas.

#include "solve/linearise/builder.h"

namespace tavlinear {

/// What a rule gives of a node: its range, and its form.
struct Rule {
  Interval (*range)(const Reading&, Ranges&);
  LinearForm (*give)(Builder&, const Reading&, Demand);
};

extern const Rule kVariable;         ///< A variable by itself.
extern const Rule kSum;              ///< terms, operands and a constant
extern const Rule kMaximum;          ///< The greatest operand.
extern const Rule kMinimum;          ///< The least operand.
extern const Rule kAbsolute;         ///< |x|
extern const Rule kSign;             ///< sgn x
extern const Rule kCount;            ///< How many operands are `constant`.
extern const Rule kChoice;           ///< operands: condition, then, else
extern const Rule kProduct;          ///< a b
extern const Rule kQuotient;         ///< a / b
extern const Rule kSquare;           ///< x x
extern const Rule kFunction;         ///< Any function of one operand, which takes whole values.
extern const Rule kConstantElement;  ///< Of an array of numbers: `value` is the number at a position.
extern const Rule kElement;          ///< operands: index, elements
extern const Rule kPiecewise;        ///< A piecewise-linear function.
extern const Rule kFloor;            ///< Roundings.
extern const Rule kCeil;
extern const Rule kTrunc;
extern const Rule kNearest;
extern const Rule kFraction;
extern const Rule kDistance;
extern const Rule kWholeQuotient;   ///< a / b in whole numbers, cut toward zero.
extern const Rule kWholeRemainder;  ///< a - b (a / b), the quotient as above.
extern const Rule kPower;           ///< a^b
extern const Rule kIndicator;       ///< An indicator variable: the truth of its constraint.

// Parts that rules share.

/// The greatest of the operands.
LinearForm greatestOf(Builder& builder, const std::vector<Operand>& operands, Demand demand);
/// The operand of a sign; null for any other node.
const TavNumExprI* signOperand(const TavNumExprI* node);
/// 1 where the operand is above 0, else 0.
LinearForm positive(Builder& builder, const Operand& x, Demand demand);
/// 1 where the operand is not 0, else 0.
LinearForm notZero(Builder& builder, const Operand& x, Demand demand);
/// An operand with its form and range.
struct Choice {
  LinearForm form;
  Operand operand;
  Interval range;
};
/// chooser * a + (1 - chooser) * b, where the chooser is 0 or 1.
LinearForm choose(Builder& builder, const LinearForm& chooser, const Choice& a, const Choice& b, Demand demand);

/// A function that is linear between neighbouring points, and before the first and behind the last one.
struct Curve {
  struct Point {
    double x, y;
  };
  std::vector<Point> points;
  /// Slopes outside the points, which only unbounded ranges reach.
  double before = 0.0, after = 0.0;
  /// Two points have the same x: the form may be any number between their values there.
  bool jumps = false;
};
/// The curve over x, whose range its points cover where it is finite.
LinearForm follow(Builder& builder, const Operand& x, Curve curve, Demand demand);
/// The function by its values at whole numbers.
LinearForm tabulate(Builder& builder, const Operand& x, const std::function<double(double)>& function, Demand demand);
/// Most values that a table may have.
constexpr double kMostValues = 10000;
/// The values of the function at the whole numbers of the range, if those are few: nothing without a finite range.
Interval rangeOfTable(const Interval& x, const std::function<double(double)>& function);

/// The binary columns of Builder::selector, one for each value of the node.
LinearForm makeSelector(Builder& builder, const TavNumExprI* node);
/// The product of two forms, the first of which may be split into binary columns.
LinearForm multiply(Builder& builder, const Choice& a, const Choice& b, Demand demand);

}  // namespace tavlinear
