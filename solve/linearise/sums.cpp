// Variables, sums and scaled expressions, which stay linear.

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

/// A sum of bounds, some of which may be infinite.
struct BoundSum {
  double finite = 0.0;
  int infinite = 0;

  void add(double bound) {
    if (std::isinf(bound)) {
      ++infinite;
    } else {
      finite += bound;
    }
  }
  /// The sum without one of its bounds, if that is finite; infinite otherwise.
  double without(double bound, double infinity) const {
    const bool isOut = std::isinf(bound);
    return infinite - (isOut ? 1 : 0) > 0 ? infinity : finite - (isOut ? 0.0 : bound);
  }
};

/// Sums are monotonic in their operands. Below the cap of the sum nobody looks, so neither below what the others leave.
class OperandDemands {
 public:
  OperandDemands(Builder& builder, const Reading& reading, Demand demand) : _builder(builder), _demand(demand) {
    if (demand.sense == Sense::Both) return;
    add(builder.rangeOfTerms());
    for (const Operand& operand : reading.operands) add(builder.range(operand));
  }
  Demand of(const Operand& operand) {
    if (_demand.sense == Sense::Both) return _demand;
    const Interval range = _builder.range(operand);
    if (_demand.sense == Sense::Over) return Demand::over(_demand.cap - _upper.without(range.hi, kInfinity));
    return Demand::under(_demand.cap - _lower.without(range.lo, -kInfinity));
  }

 private:
  void add(const Interval& range) {
    _lower.add(range.lo);
    _upper.add(range.hi);
  }

  Builder& _builder;
  Demand _demand;
  BoundSum _lower, _upper;
};

Interval sumRange(const Reading& reading, Ranges& ranges) {
  Interval range = ranges.ofTerms(reading);
  for (const Operand& operand : reading.operands) range = range + ranges.of(operand);
  return range;
}

LinearForm sumForm(Builder& builder, const Reading& reading, Demand demand) {
  OperandDemands demands(builder, reading, demand);
  for (const Operand& operand : reading.operands) builder.has(operand, demands.of(operand));
  if (builder.isWaiting()) return {};
  LinearForm sum;
  for (const Operand& operand : reading.operands) {
    LinearForm form = builder.take(operand, demands.of(operand));
    if (form.terms.size() > sum.terms.size()) std::swap(form, sum);
    sum.add(1.0, form);
  }
  sum.constant += reading.constant;
  for (const auto* term = reading.terms; term; term = term->next) {
    if (!isIndicator(term->var)) sum.addTerm(builder.columnOf(term->var), term->coef);
  }
  if (reading.node->getRefCount() > 1) sum.merge();
  return sum;
}

Interval variableRange(const Reading& reading, Ranges& ranges) {
  return ranges.ofVariable(static_cast<const TavNumVarI*>(reading.node));
}

}  // namespace

const Rule kSum = {sumRange, sumForm};
const Rule kVariable = {variableRange, [](Builder& builder, const Reading& reading, Demand) {
                          return LinearForm::column(builder.columnOf(static_cast<const TavNumVarI*>(reading.node)));
                        }};

}  // namespace tavlinear
