#pragma once
/// What linearisation knows of each class of expressions: one row of a table.

#include <vector>

#include "solve/linearise/linear_form.h"

namespace tavlinear {

/// factor * node + constant; the constant alone if there is no node.
struct Operand {
  const TavNumExprI* node = nullptr;
  double factor = 1.0;
  double constant = 0.0;

  static Operand number(double value) { return {nullptr, 0.0, value}; }
  Operand operator-() const { return {node, -factor, -constant}; }
  Operand plus(double value) const { return {node, factor, constant + value}; }
};

enum class Sense {
  Over,   ///< The form may be any number that is not below the value.
  Under,  ///< The form may be any number that is not above the value.
  Both    ///< The form is the value.
};

/// What the user of an expression needs of its form.
struct Demand {
  Sense sense = Sense::Both;
  /// Over: lower values make no difference to the user, so max(value, cap) will do. Under: the same of higher values
  /// and min(value, cap). Both: not used.
  double cap = 0.0;

  static Demand over(double cap = -kInfinity) { return {Sense::Over, cap}; }
  static Demand under(double cap = kInfinity) { return {Sense::Under, cap}; }
  static Demand both() { return {}; }

  bool needsOver() const { return sense != Sense::Under; }
  bool needsUnder() const { return sense != Sense::Over; }
  /// What is demanded of the node so that factor * node + constant meets this demand.
  Demand through(double factor, double constant) const;
  /// The demand on -value.
  Demand flipped() const { return through(-1.0, 0.0); }
  /// The same sense, all values.
  Demand everywhere() const;
  /// The part of the range that makes a difference.
  Interval clip(Interval range) const;
  /// Demand on an operand in which the value does not decrease (direction 1), does not increase (-1), or neither (0).
  Demand onOperand(int direction) const;
};

struct ClassRow;
class Builder;
class Ranges;

/// A node with its operands.
struct Reading {
  const TavNumExprI* node = nullptr;
  const ClassRow* row = nullptr;
  std::vector<Operand> operands;
  /// Of sums: the terms. Those of indicator variables are among the operands.
  const TavNumLinExprTermI* terms = nullptr;
  /// Of sums, and of functions of an operand and a number.
  double constant = 0.0;
};

/// What linearisation knows of a class.
struct ClassRow {
  TavTypeInfo token;
  const char* name;
  void (*read)(const TavNumExprI*, Reading&);
  Interval (*range)(const Reading&, Ranges&);
  /// Asks the builder for the forms of the operands and returns that of the node. While the builder waits for operands
  /// it returns at once; it is then called again.
  LinearForm (*give)(Builder&, const Reading&, Demand);
  /// Of functions of one operand: the value.
  double (*value)(const TavNumExprI*, double) = nullptr;
};

/// The row of a class, or null.
const ClassRow* findClass(TavTypeInfo token);

/// Whether the node is a variable that stands for the truth of a constraint.
bool isIndicator(const TavNumExprI* node);

}  // namespace tavlinear
