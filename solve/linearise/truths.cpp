// Signs, comparisons, counts and choices: what is true is a binary column.

#include <algorithm>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

constexpr const char* kStrict =
    "it must tell whether a continuous expression is above a number, and strict inequalities have no closed form";
constexpr const char* kEqual =
    "it must tell whether a continuous expression differs from a number, which has no closed form";

/// 1 where the operand, whose range contains values below, at and above 0, is not 0.
LinearForm eitherSide(Builder& builder, const Operand& x, const LinearForm& form, Interval range, Demand demand) {
  range = builder.finiteRange(x, range);
  const int above = builder.addBinary(), below = builder.addBinary();
  LinearForm truth = LinearForm::column(above).addTerm(below, 1.0);
  builder.addRow(0.0, truth, 1.0);
  if (demand.needsOver()) {
    builder.addRow(-kInfinity, LinearForm(form).addTerm(above, -range.hi), 0.0);
    builder.addRow(0.0, LinearForm(form).addTerm(below, -range.lo), kInfinity);
  }
  if (demand.needsUnder()) {
    builder.addRow(range.lo, LinearForm(form).addTerm(above, range.lo - 1.0), kInfinity);
    builder.addRow(-kInfinity, LinearForm(form).addTerm(below, range.hi + 1.0), range.hi);
  }
  return truth;
}

/// 1 where the operand has this value, else 0.
LinearForm equals(Builder& builder, const Operand& x, double value, Demand demand) {
  const Interval range = builder.range(x);
  if (!range.contains(value) || (range.whole && std::floor(value) != value)) return {};
  if (range.isPoint()) return LinearForm(1.0);
  const Operand difference = x.plus(-value);
  LinearForm form(1.0);
  if (const TavNumExprI* signedOne = x.factor == 1.0 && x.constant == 0.0 ? signOperand(x.node) : nullptr) {
    if (value == 0.0) return form.add(-1.0, notZero(builder, {signedOne}, demand.flipped()));
    return positive(builder, {signedOne, value}, demand);
  }
  return form.add(-1.0, notZero(builder, difference, demand.flipped()));
}

Interval signRange(const Reading& reading, Ranges& ranges) {
  const Interval x = ranges.of(reading.operands[0]);
  const auto sign = [](double value) { return value > 0.0 ? 1.0 : value < 0.0 ? -1.0 : 0.0; };
  return {sign(x.lo), sign(x.hi), true};
}

LinearForm signForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  LinearForm form = positive(builder, x, demand.everywhere());
  return form.add(-1.0, positive(builder, -x, demand.everywhere().flipped()));
}

Interval countRange(const Reading& reading, Ranges& ranges) {
  Interval range = {0.0, 0.0, true};
  for (const Operand& operand : reading.operands) {
    const Interval x = ranges.of(operand);
    if (!x.contains(reading.constant)) continue;
    range.hi += 1.0;
    if (x.isPoint()) range.lo += 1.0;
  }
  return range;
}

LinearForm countForm(Builder& builder, const Reading& reading, Demand demand) {
  if (reading.operands.empty()) builder.refuse("it has no operand");
  LinearForm sum;
  for (const Operand& operand : reading.operands) {
    sum.add(1.0, equals(builder, operand, reading.constant, demand.everywhere()));
  }
  return sum;
}

// Choices.

Interval choiceRange(const Reading& reading, Ranges& ranges) {
  const Interval condition = ranges.of(reading.operands[0]);
  const Interval yes = ranges.of(reading.operands[1]), no = ranges.of(reading.operands[2]);
  if (!condition.contains(1.0)) return no;
  return condition.isPoint() ? yes : hull(yes, no);
}

LinearForm choiceForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand &condition = reading.operands[0], &yes = reading.operands[1], &no = reading.operands[2];
  const Interval range = builder.range(condition), yesRange = builder.range(yes), noRange = builder.range(no);
  if (!range.contains(1.0)) return builder.of(no, demand);
  if (range.isPoint()) return builder.of(yes, demand);
  const int direction = yesRange.lo >= noRange.hi ? 1 : yesRange.hi <= noRange.lo ? -1 : 0;
  const Demand ofChooser = demand.onOperand(direction);
  const bool isTruth = range.whole && range.lo == 0.0 && range.hi == 1.0;
  const LinearForm chooser = isTruth ? builder.of(condition, ofChooser) : equals(builder, condition, 1.0, ofChooser);
  const Choice a = {builder.of(yes, demand), yes, yesRange};
  const Choice b = {builder.of(no, demand), no, noRange};
  if (builder.isWaiting()) return {};
  return choose(builder, chooser, a, b, demand);
}

// Indicator variables.

LinearForm indicatorForm(Builder& builder, const Reading& reading, Demand demand) {
  const auto* variable = static_cast<const TavConstraintIndVarI*>(static_cast<const TavNumVarI*>(reading.node));
  const Linearisation::Statement statement = builder.statementOf(variable->getConstraint());
  if (!statement.expression) builder.refuse("its constraint is of a class that is not known");
  const Operand x = {statement.expression};
  const Demand demanded = demand.everywhere();
  if (statement.lb == statement.ub) return equals(builder, x, statement.lb, demanded);
  LinearForm truth(1.0);
  if (std::isfinite(statement.ub)) truth.add(-1.0, positive(builder, x.plus(-statement.ub), demanded.flipped()));
  if (std::isfinite(statement.lb)) truth.add(-1.0, positive(builder, (-x).plus(statement.lb), demanded.flipped()));
  return truth;
}

}  // namespace

const TavNumExprI* signOperand(const TavNumExprI* node) {
  if (!node || node->getTypeInfo() != TavSgnI::GetTypeInfo()) return nullptr;
  return static_cast<const TavSgnI*>(node)->getOperand();
}

bool isIndicator(const TavNumExprI* node) { return node->getTypeInfo() == TavConstraintIndVarI::GetTypeInfo(); }

LinearForm positive(Builder& builder, const Operand& x, Demand demand) {
  Interval range = builder.range(x);
  if (range.lo > 0.0) return LinearForm(1.0);
  if (range.hi <= 0.0) return {};
  if (range.whole && range.lo == 0.0 && range.hi == 1.0) return builder.of(x, demand);
  if (demand.needsUnder() && !range.whole) builder.refuse(kStrict);
  const LinearForm form =
      builder.of(x, demand.needsUnder() ? demand.needsOver() ? Demand::both() : Demand::under(1.0) : Demand::over(0.0));
  if (builder.isWaiting()) return {};
  const int truth = builder.addBinary();
  if (demand.needsOver()) {
    const double upper = builder.finiteUpper(x, range.hi);
    builder.addRow(-kInfinity, LinearForm(form).addTerm(truth, -upper), 0.0);
  }
  if (demand.needsUnder()) {
    const double lower = builder.finiteLower(x, range.lo);
    builder.addRow(lower, LinearForm(form).addTerm(truth, lower - 1.0), kInfinity);
  }
  return LinearForm::column(truth);
}

LinearForm notZero(Builder& builder, const Operand& x, Demand demand) {
  const Interval range = builder.range(x);
  if (!range.contains(0.0)) return LinearForm(1.0);
  if (range.isPoint()) return {};
  if (demand.needsUnder() && !range.whole) builder.refuse(kEqual);
  if (range.lo == 0.0) return positive(builder, x, demand);
  if (range.hi == 0.0) return positive(builder, -x, demand);
  const LinearForm form = builder.of(x, Demand::both());
  if (builder.isWaiting()) return {};
  return eitherSide(builder, x, form, range, demand);
}

LinearForm choose(Builder& builder, const LinearForm& chooser, const Choice& a, const Choice& b, Demand demand) {
  if (a.form.isConstant() && b.form.isConstant()) {
    return LinearForm(b.form.constant).add(a.form.constant - b.form.constant, chooser);
  }
  LinearForm chosen = LinearForm::column(builder.addColumn(demand.clip(hull(a.range, b.range)), false));
  // Each branch bounds the result where it is chosen; elsewhere M makes room for every value of the other one.
  const auto bind = [&](const Choice& branch, const Choice& other, const LinearForm& unchosen) {
    const Interval values = demand.clip(other.range);
    if (demand.needsOver()) {
      const double room =
          builder.finiteUpper(branch.operand, branch.range.hi) - builder.finiteLower(other.operand, values.lo);
      builder.addRow(0.0, (chosen - branch.form).add(std::max(room, 0.0), unchosen), kInfinity);
    }
    if (demand.needsUnder()) {
      const double room =
          builder.finiteUpper(other.operand, values.hi) - builder.finiteLower(branch.operand, branch.range.lo);
      builder.addRow(-kInfinity, (chosen - branch.form).add(-std::max(room, 0.0), unchosen), 0.0);
    }
  };
  bind(a, b, LinearForm(1.0) - chooser);
  bind(b, a, chooser);
  return chosen;
}

const Rule kSign = {signRange, signForm};
const Rule kCount = {countRange, countForm};
const Rule kChoice = {choiceRange, choiceForm};
// The bounds of an indicator variable say what its constraint must be: they are rows over its form.
const Rule kIndicator = {[](const Reading&, Ranges&) { return Interval{0.0, 1.0, true}; }, indicatorForm};

}  // namespace tavlinear
