// Roundings, whole quotients and remainders.

#include <algorithm>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

constexpr const char* kOpen = "the rounding of a continuous expression has no closed form on this side";

using Function = double (*)(double);

double roundToEven(double x) { return TavVurRound(x); }
double cut(double x) { return std::trunc(x); }
double floorOf(double x) { return std::floor(x); }
double ceilOf(double x) { return std::ceil(x); }

template <Function round>
Interval roundedRange(const Reading& reading, Ranges& ranges) {
  const Interval x = ranges.of(reading.operands[0]);
  return {round(x.lo), round(x.hi), true};
}

/// A whole column that is not above the form.
LinearForm wholeBelow(Builder& builder, const LinearForm& form, const Interval& range) {
  const int whole = builder.addColumn({std::floor(range.lo), std::floor(range.hi), true}, true);
  builder.addRow(0.0, LinearForm(form).addTerm(whole, -1.0), kInfinity);
  return LinearForm::column(whole);
}

LinearForm floorForm(Builder& builder, const Operand& x, Demand demand) {
  const Interval range = builder.range(x);
  if (range.whole) return builder.of(x, demand);
  if (range.isPoint()) return LinearForm(std::floor(range.lo));
  if (demand.needsOver()) builder.refuse(kOpen);
  const LinearForm form = builder.of(x, demand.everywhere());
  return builder.isWaiting() ? LinearForm() : wholeBelow(builder, form, range);
}

LinearForm ceilForm(Builder& builder, const Operand& x, Demand demand) {
  return -1.0 * floorForm(builder, -x, demand.flipped());
}

LinearForm truncForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  const Interval range = builder.range(x);
  if (range.lo >= 0.0 || range.whole) return floorForm(builder, x, demand);
  if (range.hi > 0.0) builder.refuse(kOpen);
  return ceilForm(builder, x, demand);
}

LinearForm nearestForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  const Interval range = builder.range(x);
  if (!range.whole && range.isPoint()) return LinearForm(roundToEven(range.lo));
  if (!range.whole) builder.refuse(kOpen);
  return builder.of(x, demand);
}

Interval fractionRange(const Reading& reading, Ranges& ranges) {
  const Interval x = ranges.of(reading.operands[0]);
  if (x.whole) return Interval::point(0.0);
  return {x.lo < 0.0 ? -1.0 : 0.0, x.hi > 0.0 ? 1.0 : 0.0, false};
}

LinearForm fractionForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  const Interval range = builder.range(x);
  if (range.isPoint()) return LinearForm(range.lo - cut(range.lo));
  if (range.lo >= 0.0 && !demand.needsUnder()) {
    LinearForm form = builder.of(x, Demand::both());
    return builder.isWaiting() ? LinearForm() : form.add(-1.0, wholeBelow(builder, form, range));
  }
  if (range.hi > 0.0 || demand.needsOver()) builder.refuse(kOpen);
  LinearForm form = builder.of(-x, Demand::both());
  if (builder.isWaiting()) return {};
  return -1.0 * form.add(-1.0, wholeBelow(builder, form, -range));
}

Interval distanceRange(const Reading& reading, Ranges& ranges) {
  return ranges.of(reading.operands[0]).whole ? Interval::point(0.0) : Interval{0.0, 0.5};
}

LinearForm distanceForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  const Interval range = builder.finiteRange(x, builder.range(x));
  if (2.0 * (range.hi - range.lo) > kMostValues) builder.refuse("its operand passes more than 5000 whole numbers");
  Curve curve;
  const auto add = [&](double at) { curve.points.push_back({at, std::abs(TavRound(at) - at)}); };
  add(range.lo);
  for (double at = std::floor(2.0 * range.lo + 1.0) / 2.0; at < range.hi; at += 0.5) add(at);
  if (range.hi > range.lo) add(range.hi);
  return follow(builder, x, std::move(curve), demand);
}

// Whole quotients and remainders by a number.

/// What the divisor leaves: trunc(x / c), or the remainder.
double wholeValue(double x, double divisor, bool isRemainder) {
  const double quotient = std::trunc(x / divisor);
  return isRemainder ? x - divisor * quotient : quotient;
}

/// trunc(x / divisor) for x >= 0 and a divisor > 0.
LinearForm quotientOf(Builder& builder, const LinearForm& x, const Interval& range, double divisor, Demand demand) {
  const Interval values = {std::floor(range.lo / divisor), std::floor(range.hi / divisor), true};
  LinearForm quotient = LinearForm::column(builder.addColumn(values, true));
  const LinearForm left = LinearForm(x).add(-divisor, quotient);
  builder.addRow(demand.needsUnder() ? 0.0 : -kInfinity, left, demand.needsOver() ? divisor - 1.0 : kInfinity);
  return quotient;
}

LinearForm wholeForm(Builder& builder, Operand x, double divisor, bool isRemainder, Demand demand) {
  builder.requireWhole(x, "its operands take other values than whole ones");
  if (divisor == 0.0 || std::floor(divisor) != divisor) builder.refuse("its divisor is 0 or not whole");
  const double sign = divisor < 0.0 && !isRemainder ? -1.0 : 1.0;
  divisor = std::abs(divisor);
  Interval range = builder.range(x);
  if (range.lo < 0.0 && range.hi > 0.0) {
    return tabulate(
        builder, x, [&](double at) { return sign * wholeValue(at, divisor, isRemainder); }, demand);
  }
  // Both are odd functions of x.
  const double turned = range.hi <= 0.0 ? -1.0 : 1.0;
  const double factor = sign * turned;
  if (turned < 0.0) {
    x = -x;
    range = -range;
  }
  const Demand own = demand.everywhere().through(factor, 0.0);
  LinearForm form = builder.of(x, isRemainder ? Demand::both() : own);
  if (builder.isWaiting()) return {};
  const LinearForm quotient = quotientOf(builder, form, range, divisor, isRemainder ? own.flipped() : own);
  return isRemainder ? factor * form.add(-divisor, quotient) : factor * quotient;
}

/// The range of the quotient or remainder of whole numbers.
Interval wholeRange(const Interval& x, const Interval& divisor, bool isRemainder) {
  if (divisor.contains(0.0) || !x.whole || !divisor.whole) return kUnknown;
  const Interval size = magnitude(divisor);
  const double most = isRemainder ? size.hi - 1.0 : kInfinity;
  const double least = isRemainder ? 1.0 : size.lo;
  const double lo = x.lo < 0.0 ? std::max(std::trunc(x.lo / least), -most) : 0.0;
  const double hi = x.hi > 0.0 ? std::min(std::trunc(x.hi / least), most) : 0.0;
  const Interval range = {lo, hi, true};
  return !isRemainder && divisor.lo < 0.0 ? hull(range, -range) : range;
}

template <bool isRemainder>
Interval pairRange(const Reading& reading, Ranges& ranges) {
  return wholeRange(ranges.of(reading.operands[0]), ranges.of(reading.operands[1]), isRemainder);
}

template <bool isRemainder>
LinearForm pairForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand &a = reading.operands[0], &b = reading.operands[1];
  const Interval dividend = builder.range(a), divisor = builder.range(b);
  if (divisor.contains(0.0)) builder.refuse("its divisor can be 0");
  if (divisor.isPoint()) return wholeForm(builder, a, divisor.lo, isRemainder, demand);
  builder.requireWhole(b, "its operands take other values than whole ones");
  builder.requireWhole(a, "its operands take other values than whole ones");
  if (!dividend.isPoint()) builder.refuse("neither operand is a number");
  return tabulate(
      builder, b, [&](double at) { return wholeValue(dividend.lo, at, isRemainder); }, demand);
}

}  // namespace

const Rule kFloor = {roundedRange<floorOf>, [](Builder& builder, const Reading& reading, Demand demand) {
                       return floorForm(builder, reading.operands[0], demand);
                     }};
const Rule kCeil = {roundedRange<ceilOf>, [](Builder& builder, const Reading& reading, Demand demand) {
                      return ceilForm(builder, reading.operands[0], demand);
                    }};
const Rule kTrunc = {roundedRange<cut>, truncForm};
const Rule kNearest = {roundedRange<roundToEven>, nearestForm};
const Rule kFraction = {fractionRange, fractionForm};
const Rule kDistance = {distanceRange, distanceForm};
const Rule kWholeQuotient = {pairRange<false>, pairForm<false>};
const Rule kWholeRemainder = {pairRange<true>, pairForm<true>};

}  // namespace tavlinear
