// Minimum, maximum and absolute value.

#include <algorithm>
#include <array>
#include <utility>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

/// One operand of a maximum, with its range and form.
struct Candidate {
  Operand operand;
  Interval range;
  LinearForm form;
};

/// The operands that can be the greatest one; at least one of them.
std::vector<Candidate> candidatesOf(Builder& builder, const std::vector<Operand>& operands) {
  std::vector<Candidate> all;
  std::size_t best = 0;
  for (const Operand& operand : operands) {
    all.push_back({operand, builder.range(operand), {}});
    if (all.back().range.lo > all[best].range.lo) best = all.size() - 1;
  }
  std::vector<Candidate> kept;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (i == best || all[i].range.hi > all[best].range.lo) kept.push_back(std::move(all[i]));
  }
  return kept;
}

/// The two candidates with the highest upper bounds.
std::array<const Candidate*, 2> highestTwo(const std::vector<Candidate>& all) {
  std::array<const Candidate*, 2> highest = {&all[0], &all[1]};
  if (highest[1]->range.hi > highest[0]->range.hi) std::swap(highest[0], highest[1]);
  for (std::size_t i = 2; i < all.size(); ++i) {
    if (all[i].range.hi > highest[1]->range.hi) highest[1] = &all[i];
    if (highest[1]->range.hi > highest[0]->range.hi) std::swap(highest[0], highest[1]);
  }
  return highest;
}

/// maximum <= form + M (1 - chosen) for each candidate, one of which is chosen. M makes room for the greatest value of
/// the others, or for the cap.
void choose(Builder& builder, const LinearForm& maximum, const std::vector<Candidate>& all, double cap) {
  const std::array<const Candidate*, 2> highest = highestTwo(all);
  LinearForm sum;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Candidate& one = all[i];
    const Candidate& other = *highest[&one == highest[0] ? 1 : 0];
    const double upper = cap < other.range.hi ? builder.finiteUpper(one.operand, cap)
                                              : builder.finiteUpper(other.operand, other.range.hi);
    const double bigM = upper - builder.finiteLower(one.operand, one.range.lo);
    LinearForm unchosen(1.0);
    if (i == 1 && all.size() == 2) {
      unchosen = sum;  // there are two: the first one's column says it
    } else {
      const int chosen = builder.addBinary();
      unchosen.addTerm(chosen, -1.0);
      sum.addTerm(chosen, 1.0);
    }
    LinearForm row = maximum - one.form;
    builder.addRow(-kInfinity, std::move(row.add(-bigM, unchosen)), 0.0);
  }
  if (all.size() > 2) builder.addRow(1.0, sum, 1.0);
}

/// Candidates with the same two values, as the operands of a disjunction.
bool areLogical(const std::vector<Candidate>& all) {
  return std::all_of(all.begin(), all.end(),
                     [&](const Candidate& one) { return one.range.isBinary() && one.range.lo == all[0].range.lo; });
}

Interval maximumRange(const Reading& reading, Ranges& ranges) {
  if (reading.operands.empty()) return kUnknown;
  Interval range = ranges.of(reading.operands[0]);
  for (const Operand& operand : reading.operands) range = greatest(range, ranges.of(operand));
  return range;
}

std::vector<Operand> negated(std::vector<Operand> operands) {
  for (Operand& operand : operands) operand = -operand;
  return operands;
}

/// The operand of a sign that is cut at 0 on one side, as comparisons are: 1 where it is above 0 (or below it), else 0.
const TavNumExprI* cutSign(const Reading& reading) {
  if (reading.operands.size() != 2 || reading.operands[1].node || reading.operands[1].constant != 0.0) return nullptr;
  return signOperand(reading.operands[0].node);
}

Interval minimumRange(const Reading& reading, Ranges& ranges) {
  Reading turned = reading;
  turned.operands = negated(reading.operands);
  return -maximumRange(turned, ranges);
}

LinearForm maximumForm(Builder& builder, const Reading& reading, Demand demand) {
  if (reading.operands.empty()) builder.refuse("it has no operand");
  if (const TavNumExprI* x = cutSign(reading)) return positive(builder, {x}, demand);
  return greatestOf(builder, reading.operands, demand);
}

LinearForm minimumForm(Builder& builder, const Reading& reading, Demand demand) {
  if (reading.operands.empty()) builder.refuse("it has no operand");
  const TavNumExprI* x = cutSign(reading);
  return -1.0 * (x ? positive(builder, {x, -1.0}, demand.flipped())
                   : greatestOf(builder, negated(reading.operands), demand.flipped()));
}

Interval absoluteRange(const Reading& reading, Ranges& ranges) { return magnitude(ranges.of(reading.operands[0])); }

LinearForm absoluteForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  if (const TavNumExprI* signedOne = signOperand(x.node)) return notZero(builder, {signedOne}, demand);
  const Interval range = builder.range(x);
  if (range.lo >= 0.0) return builder.of(x, demand);
  if (range.hi <= 0.0) return builder.of(-x, demand);
  return greatestOf(builder, {x, -x}, demand);
}

}  // namespace

LinearForm greatestOf(Builder& builder, const std::vector<Operand>& operands, Demand demand) {
  std::vector<Candidate> all = candidatesOf(builder, operands);
  for (Candidate& one : all) one.form = builder.of(one.operand, demand);
  if (builder.isWaiting()) return {};
  if (all.size() == 1) return all[0].form;
  Interval range = all[0].range;
  for (const Candidate& one : all) range = greatest(range, one.range);
  LinearForm maximum = LinearForm::column(builder.addColumn(demand.clip(range), false));
  if (demand.needsOver()) {
    for (const Candidate& one : all) builder.addRow(0.0, maximum - one.form, kInfinity);
  }
  if (!demand.needsUnder()) return maximum;
  if (!areLogical(all)) {
    choose(builder, maximum, all, demand.sense == Sense::Under ? demand.cap : kInfinity);
    return maximum;
  }
  LinearForm row = maximum;  // at most as many above the lower value as there are operands above it
  row.constant += static_cast<double>(all.size() - 1) * all[0].range.lo;
  for (const Candidate& one : all) row.add(-1.0, one.form);
  builder.addRow(-kInfinity, row, 0.0);
  return maximum;
}

const Rule kMaximum = {maximumRange, maximumForm};
const Rule kMinimum = {minimumRange, minimumForm};
const Rule kAbsolute = {absoluteRange, absoluteForm};

}  // namespace tavlinear
