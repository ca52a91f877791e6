// Elements of arrays at a variable position.

#include <algorithm>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

constexpr const char* kNotWhole = "its index takes other values than whole ones";
constexpr const char* kOutside = "its index lies outside its array";

/// The positions of the array that the index reaches; crossed bounds if it reaches none.
Interval positionsOf(Interval index, double size) {
  return {std::max(index.lo, 0.0), std::min(index.hi, size - 1.0), true};
}

/// Keeps the index within its array. Returns the positions.
Interval restrict(Builder& builder, const Operand& index, double size) {
  builder.requireWhole(index, kNotWhole);
  const Interval range = builder.range(index), positions = positionsOf(range, size);
  if (positions.lo > positions.hi) builder.refuse(kOutside);
  builder.finiteRange(index, range);
  if (positions.lo == range.lo && positions.hi == range.hi) return positions;
  const LinearForm form = builder.of(index, Demand::both());
  if (!builder.isWaiting()) builder.addRow(positions.lo, form, positions.hi);
  return positions;
}

double sizeOf(const Reading& reading) { return reading.constant; }

/// The number at a position; outside, which the index does not reach, that of the next one inside.
double numberAt(const Reading& reading, const Interval& positions, double at) {
  return reading.row->value(reading.node, std::clamp(at, positions.lo, positions.hi));
}

Interval constantRange(const Reading& reading, Ranges& ranges) {
  const Interval positions = positionsOf(ranges.of(reading.operands[0]), sizeOf(reading));
  if (positions.lo > positions.hi) return kUnknown;
  return rangeOfTable(positions, [&](double at) { return numberAt(reading, positions, at); });
}

LinearForm constantForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& index = reading.operands[0];
  const Interval positions = restrict(builder, index, sizeOf(reading));
  return tabulate(
      builder, index, [&](double at) { return numberAt(reading, positions, at); }, demand);
}

/// The element at a position; operand 0 is the index.
const Operand& elementAt(const Reading& reading, double position) {
  return reading.operands[1 + static_cast<std::size_t>(position)];
}

Interval elementRange(const Reading& reading, Ranges& ranges) {
  const Interval positions =
      positionsOf(ranges.of(reading.operands[0]), static_cast<double>(reading.operands.size() - 1));
  if (positions.lo > positions.hi) return kUnknown;
  Interval range = ranges.of(elementAt(reading, positions.lo));
  for (double at = positions.lo + 1.0; at <= positions.hi; at += 1.0) {
    range = hull(range, ranges.of(elementAt(reading, at)));
  }
  return range;
}

LinearForm elementForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& index = reading.operands[0];
  const Interval positions = restrict(builder, index, static_cast<double>(reading.operands.size() - 1));
  if (positions.isPoint()) return builder.of(elementAt(reading, positions.lo), demand);
  const std::vector<int> chosen = builder.selector(index.node);
  std::vector<LinearForm> forms;
  for (double at = positions.lo; at <= positions.hi; at += 1.0) {
    forms.push_back(builder.of(elementAt(reading, at), demand));
  }
  if (builder.isWaiting()) return {};
  const auto first = static_cast<std::size_t>(positions.lo - builder.range(index).lo);
  Interval all = {kInfinity, -kInfinity};
  const Operand *least = nullptr, *most = nullptr;
  for (double at = positions.lo; at <= positions.hi; at += 1.0) {
    const Operand& element = elementAt(reading, at);
    const Interval range = builder.range(element);
    if (range.lo < all.lo) least = &element;
    if (range.hi > all.hi) most = &element;
    all = {std::min(all.lo, range.lo), std::max(all.hi, range.hi)};
  }
  all = demand.clip(all);
  LinearForm value = LinearForm::column(builder.addColumn(all, false));
  for (std::size_t i = 0; i < forms.size(); ++i) {
    const Operand& element = elementAt(reading, positions.lo + static_cast<double>(i));
    const Interval range = builder.range(element);
    const LinearForm unchosen = LinearForm(1.0).addTerm(chosen[first + i], -1.0);
    if (demand.needsOver()) {
      const double room = builder.finiteUpper(element, range.hi) - builder.finiteLower(*least, all.lo);
      builder.addRow(0.0, (value - forms[i]).add(std::max(room, 0.0), unchosen), kInfinity);
    }
    if (demand.needsUnder()) {
      const double room = builder.finiteUpper(*most, all.hi) - builder.finiteLower(element, range.lo);
      builder.addRow(-kInfinity, (value - forms[i]).add(-std::max(room, 0.0), unchosen), 0.0);
    }
  }
  return value;
}

}  // namespace

const Rule kConstantElement = {constantRange, constantForm};
const Rule kElement = {elementRange, elementForm};

}  // namespace tavlinear
