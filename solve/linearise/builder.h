#pragma once
/// What a rule uses to build the form of one expression.

#include "solve/linearise/linearisation.h"

namespace tavlinear {

/// Builds one item. Rules ask for the forms of all operands first. A form that does not exist yet is noted and an empty
/// one is returned; the rule then sees isWaiting(), returns, and is called again when the operands are there.
class Builder {
 public:
  Builder(Linearisation& all, const Reading& reading, const std::string& root)
      : _all(all), _reading(reading), _root(root) {}

  /// The operand's range; all numbers if it may have no value, so that no rule does without its form.
  Interval range(const Operand& operand) {
    const bool isSure = !operand.node || _all._ranges.isSure(operand.node);
    return isSure ? _all._ranges.of(operand) : Interval();
  }
  /// Of the node's terms and constant.
  Interval rangeOfTerms() const { return _all._ranges.ofTerms(_reading); }
  LinearForm of(const Operand& operand, Demand demand);
  /// Whether the operand's form is there; otherwise it is noted.
  bool has(const Operand& operand, Demand demand);
  /// The form of a sum's operand, which may be moved from its item: asked for once, when all operands are there.
  LinearForm take(const Operand& operand, Demand demand);
  /// Binary columns, one for each value of the operand, which is whole and finite: 1 for the value that it has.
  std::vector<int> selector(const TavNumExprI* node);
  /// What the constraint states; nothing if that is not known.
  Linearisation::Statement statementOf(const TavConstraintI* constraint) const {
    return _all.statementOf ? _all.statementOf(constraint) : Linearisation::Statement();
  }
  bool isWaiting() const noexcept { return !_missing.empty(); }

  int columnOf(const TavNumVarI* variable) { return _all.columnOf(variable); }
  int addColumn(Interval range, bool whole);
  int addBinary() { return addColumn({0.0, 1.0, true}, true); }
  /// The row lb <= form <= ub.
  void addRow(double lb, LinearForm form, double ub);
  void addSet(std::vector<int> columns);
  /// The range of the form by the bounds of its columns, met with the one of its operand.
  Interval rangeOf(const LinearForm& form, Interval known) const;
  const Column& column(int number) const { return _all._columns[number]; }
  Interval rangeOfColumn(int number) const;

  /// The bound, for a big-M number. Throws Refusal, naming a variable, if it is infinite or too great to be exact.
  double finiteLower(const Operand& operand, double bound) { return finite(operand, bound, false); }
  double finiteUpper(const Operand& operand, double bound) { return finite(operand, bound, true); }
  Interval finiteRange(const Operand& operand, Interval range);
  /// Throws Refusal: the row, the expression, and why.
  [[noreturn]] void refuse(const std::string& why) const;
  /// Throws Refusal unless the operand takes whole values only.
  void requireWhole(const Operand& operand, const std::string& why);

  /// Greater numbers are not used in place of missing bounds: a solver's tolerance times them would be felt.
  static constexpr double kGreatestBound = 1e9;

 private:
  friend class Linearisation;

  double finite(const Operand& operand, double bound, bool above);
  int item(const Linearisation::Key& key);

  Linearisation& _all;
  const Reading& _reading;
  const std::string& _root;
  Linearisation::Item _made;
  std::vector<Linearisation::Key> _missing;
};

}  // namespace tavlinear
