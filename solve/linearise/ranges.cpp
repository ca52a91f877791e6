#include "solve/linearise/ranges.h"

namespace tavlinear {

Demand Demand::through(double factor, double constant) const {
  if (sense == Sense::Both) return *this;
  const bool turned = factor < 0.0;
  const double limit = (cap - constant) / factor;
  return (sense == Sense::Over) != turned ? over(limit) : under(limit);
}

Demand Demand::everywhere() const {
  if (sense == Sense::Both) return *this;
  return sense == Sense::Over ? over() : under();
}

Interval Demand::clip(Interval range) const {
  if (sense == Sense::Over) range = {std::max(range.lo, cap), std::max(range.hi, cap), range.whole};
  if (sense == Sense::Under) range = {std::min(range.lo, cap), std::min(range.hi, cap), range.whole};
  return range;
}

Demand Demand::onOperand(int direction) const {
  if (direction == 0) return both();
  return direction > 0 ? everywhere() : everywhere().flipped();
}

Interval rangeOfVariable(const TavNumVarI* variable) {
  constexpr double kGreatest = static_cast<double>(TavIntVar::kMaxInt);
  Interval range = {variable->getLB(), variable->getUB()};
  if (!(range.lo <= range.hi)) range = {};  // no value is allowed, which the variable's own bounds say
  range.whole = variable->isInteger();
  if (!range.whole) return range;
  range.lo = range.lo <= -kGreatest ? -kInfinity : std::ceil(range.lo);
  range.hi = range.hi >= kGreatest ? kInfinity : std::floor(range.hi);
  return range;
}

Interval Ranges::ofVariable(const TavNumVarI* variable) const {
  const Interval own = rangeOfVariable(variable);
  const auto known = implied.find(variable);
  return known == implied.end() ? own : meet(own, known->second);
}

Interval Ranges::ofTerms(const Reading& reading) const {
  Interval sum = Interval::point(reading.constant);
  for (const auto* term = reading.terms; term; term = term->next) {
    if (!isIndicator(term->var)) sum = sum + term->coef * ofVariable(term->var);
  }
  return sum;
}

Interval Ranges::of(const Operand& operand) {
  if (!operand.node) return Interval::point(operand.constant);
  return operand.factor * of(operand.node) + Interval::point(operand.constant);
}

Interval Ranges::of(const TavNumExprI* node) { return find(node).range; }

bool Ranges::isSure(const TavNumExprI* node) { return find(node).isSure; }

const Ranges::Known& Ranges::find(const TavNumExprI* node) {
  if (const auto known = _known.find(node); known != _known.end()) return known->second;
  std::vector<const TavNumExprI*> open = {node};
  while (!open.empty()) {
    Reading reading;
    reading.node = open.back();
    reading.row = findClass(reading.node->getTypeInfo());
    if (reading.row) reading.row->read(reading.node, reading);
    const std::size_t size = open.size();
    for (const Operand& operand : reading.operands) {
      if (operand.node && !_known.contains(operand.node)) open.push_back(operand.node);
    }
    if (open.size() > size) continue;
    open.pop_back();
    if (!_known.contains(reading.node)) add(reading);
  }
  return _known.at(node);
}

/// Adds a node whose operands are known.
void Ranges::add(const Reading& reading) {
  Known known = {{}, false};
  if (reading.row) {
    const Interval range = reading.row->range(reading, *this);
    known.isSure = range.lo <= range.hi;
    if (known.isSure) known.range = range;
    for (const Operand& operand : reading.operands) {
      if (operand.node && !_known.at(operand.node).isSure) known.isSure = false;
    }
  }
  _known.emplace(reading.node, known);
}

namespace {

bool isOpen(const Interval& range, bool above) { return above ? range.hi == kInfinity : range.lo == -kInfinity; }

}  // namespace

const TavNumVarI* Ranges::unbounded(const Operand& operand, bool above) {
  Operand at = operand;
  while (at.node) {
    if (at.factor < 0.0) above = !above;
    Reading reading;
    reading.node = at.node;
    reading.row = findClass(at.node->getTypeInfo());
    if (at.node->isType(TavNumVarI::GetTypeInfo())) {
      const auto* variable = static_cast<const TavNumVarI*>(at.node);
      return isOpen(ofVariable(variable), above) ? variable : nullptr;
    }
    if (!reading.row) return nullptr;
    reading.row->read(at.node, reading);
    for (const auto* term = reading.terms; term; term = term->next) {
      if (term->coef != 0.0 && isOpen(ofVariable(term->var), above == (term->coef > 0.0))) return term->var;
    }
    // The value may rise or fall with an operand; the side that the node lacks is tried first.
    const Operand* next = nullptr;
    for (const bool side : {above, !above}) {
      for (const Operand& part : reading.operands) {
        if (next || !isOpen(of(part), side)) continue;
        next = &part;
        above = side;
      }
    }
    if (!next) return nullptr;
    at = *next;
  }
  return nullptr;
}

}  // namespace tavlinear
