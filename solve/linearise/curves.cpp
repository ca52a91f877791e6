// Functions of one expression: piecewise-linear ones, and tables over whole numbers.

#include <algorithm>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

using Point = Curve::Point;

double slopeOf(const Point& a, const Point& b) { return (b.y - a.y) / (b.x - a.x); }

/// Drops points that stand on the line between their neighbours, to rounding.
void simplify(std::vector<Point>& points) {
  std::vector<Point> kept;
  for (const Point& point : points) {
    while (kept.size() > 1) {
      const Point &first = kept[kept.size() - 2], &middle = kept.back();
      if (first.x == middle.x || middle.x == point.x) break;
      const double onLine = first.y + slopeOf(first, point) * (middle.x - first.x);
      if (std::abs(onLine - middle.y) > 1e-13 * std::max(std::abs(first.y), std::abs(point.y))) break;
      kept.pop_back();
    }
    kept.push_back(point);
  }
  points = std::move(kept);
}

/// Slopes in their order, with those of the rays that the range reaches.
std::vector<double> slopesOf(const Curve& curve, const Interval& range) {
  std::vector<double> slopes;
  if (range.lo == -kInfinity) slopes.push_back(curve.before);
  for (std::size_t i = 1; i < curve.points.size(); ++i) slopes.push_back(slopeOf(curve.points[i - 1], curve.points[i]));
  if (range.hi == kInfinity) slopes.push_back(curve.after);
  return slopes;
}

/// 1 where no slope is negative, -1 where none is positive, else 0.
int directionOf(const Curve& curve, const std::vector<double>& slopes) {
  if (curve.jumps) return 0;
  if (std::all_of(slopes.begin(), slopes.end(), [](double slope) { return slope >= 0.0; })) return 1;
  return std::all_of(slopes.begin(), slopes.end(), [](double slope) { return slope <= 0.0; }) ? -1 : 0;
}

/// Whether lines alone bound the form as demanded: convex from below, concave from above, or one line.
bool isByLines(const Curve& curve, const std::vector<double>& slopes, Demand demand) {
  if (curve.jumps) return false;
  if (slopes.size() == 1) return true;
  if (demand.sense == Sense::Over) return std::is_sorted(slopes.begin(), slopes.end());
  return demand.sense == Sense::Under && std::is_sorted(slopes.rbegin(), slopes.rend());
}

LinearForm line(const LinearForm& x, const Point& through, double slope) {
  return LinearForm(through.y - slope * through.x).add(slope, x);
}

/// The form bounded by the lines of all slopes.
LinearForm byLines(Builder& builder, const LinearForm& x, const Curve& curve, const std::vector<double>& slopes,
                   bool startsWithRay, Demand demand) {
  const auto lineAt = [&](std::size_t i) {
    const std::size_t point = i == 0 || !startsWithRay ? i : i - 1;
    return line(x, curve.points[std::min(point, curve.points.size() - 1)], slopes[i]);
  };
  if (slopes.size() == 1) return lineAt(0);
  LinearForm value = LinearForm::column(builder.addColumn({}, false));
  for (std::size_t i = 0; i < slopes.size(); ++i) {
    if (demand.sense == Sense::Over) builder.addRow(0.0, value - lineAt(i), kInfinity);
    if (demand.sense == Sense::Under) builder.addRow(-kInfinity, value - lineAt(i), 0.0);
  }
  return value;
}

/// A weight for each point; the weights add up to 1, and only two neighbours are not 0.
LinearForm byWeights(Builder& builder, const LinearForm& x, const std::vector<Point>& points) {
  LinearForm all, position, value;
  std::vector<int> weights;
  for (const Point& point : points) {
    weights.push_back(builder.addColumn({0.0, 1.0}, false));
    all.addTerm(weights.back(), 1.0);
    position.addTerm(weights.back(), point.x);
    value.addTerm(weights.back(), point.y);
  }
  builder.addRow(1.0, all, 1.0);
  builder.addRow(0.0, position - x, 0.0);
  builder.addSet(std::move(weights));
  return value;
}

bool isTable(const Interval& x) { return (x.whole && x.isFinite() && x.count() <= kMostValues) || x.isPoint(); }

double valueAt(const Reading& reading, double x) { return reading.row->value(reading.node, x); }

Interval functionRange(const Reading& reading, Ranges& ranges) {
  return rangeOfTable(ranges.of(reading.operands[0]), [&](double x) { return valueAt(reading, x); });
}

LinearForm functionForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  builder.requireWhole(x, "it is not piecewise linear, and its operand takes other values than whole ones");
  return tabulate(
      builder, x, [&](double at) { return valueAt(reading, at); }, demand);
}

// Piecewise-linear functions.

const TavExprPiecewiseLinearI* piecewise(const Reading& reading) {
  return static_cast<const TavExprPiecewiseLinearI*>(reading.node);
}

/// The height of the jump at the breakpoint; `next` becomes the breakpoint behind it.
double jumpAt(const TavExprPiecewiseLinearI* function, TavInt& next) {
  const TavNumArray breakpoints = function->getBreakpoints(), slopes = function->getSlopesOrValues();
  double height = 0.0;
  const double at = breakpoints[next];
  for (++next; next < breakpoints.getSize() && breakpoints[next] == at; ++next) height += slopes[next];
  return height;
}

/// Points at the breakpoints within the range and at its ends. A jump has two points where the operand is continuous;
/// a whole operand does not see it.
Curve curveOf(const TavExprPiecewiseLinearI* function, const Interval& range) {
  Curve curve;
  const TavNumArray breakpoints = function->getBreakpoints();
  const TavInt size = function->getForm() == TavExprPiecewiseLinearI::kBySlopes ? breakpoints.getSize() : 0;
  const auto add = [&](double x, double y) { curve.points.push_back({x, y}); };
  const auto addPoint = [&](double x) {
    if (curve.points.empty() || curve.points.back().x < x) add(x, function->getPiecewiseLinearValue(x));
  };
  if (std::isfinite(range.lo)) addPoint(range.lo);
  for (TavInt i = 0; i < size;) {
    const double at = breakpoints[i];
    const double height = jumpAt(function, i);
    if (at < range.lo || at > range.hi) continue;
    if (height != 0.0 && range.whole) {
      if (std::ceil(at) - 1.0 >= range.lo) addPoint(std::ceil(at) - 1.0);
      if (std::ceil(at) <= range.hi) addPoint(std::ceil(at));
      continue;
    }
    if (height != 0.0 && at > range.lo) {
      add(at, function->getPiecewiseLinearValue(at) - height);
      curve.jumps = true;
    }
    if (curve.points.empty() || curve.points.back().x < at || curve.jumps)
      add(at, function->getPiecewiseLinearValue(at));
  }
  if (std::isfinite(range.hi)) addPoint(range.hi);
  if (curve.points.empty()) addPoint(0.0);
  const double first = curve.points.front().x, last = curve.points.back().x;
  curve.before = function->getPiecewiseLinearSlope(first - 1.0);
  curve.after = function->getPiecewiseLinearSlope(last);
  return curve;
}

bool isWellFormed(const TavExprPiecewiseLinearI* function) {
  const TavNumArray breakpoints = function->getBreakpoints(), numbers = function->getSlopesOrValues();
  for (TavInt i = 0; i < breakpoints.getSize(); ++i) {
    if (!std::isfinite(breakpoints[i]) || (i > 0 && breakpoints[i] < breakpoints[i - 1])) return false;
  }
  for (TavInt i = 0; i < numbers.getSize(); ++i) {
    if (!std::isfinite(numbers[i])) return false;
  }
  return std::isfinite(function->getFirstNumber()) && std::isfinite(function->getSecondNumber()) &&
         std::isfinite(function->getPiecewiseLinearValue(0.0));
}

Interval piecewiseRange(const Reading& reading, Ranges& ranges) {
  if (!isWellFormed(piecewise(reading))) return kUnknown;
  const Interval x = ranges.of(reading.operands[0]);
  const Curve curve = curveOf(piecewise(reading), x);
  Interval range = {kInfinity, -kInfinity};
  for (const Point& point : curve.points) {
    range.lo = std::min(range.lo, point.y);
    range.hi = std::max(range.hi, point.y);
  }
  if (x.lo == -kInfinity && curve.before > 0.0) range.lo = -kInfinity;
  if (x.lo == -kInfinity && curve.before < 0.0) range.hi = kInfinity;
  if (x.hi == kInfinity && curve.after > 0.0) range.hi = kInfinity;
  if (x.hi == kInfinity && curve.after < 0.0) range.lo = -kInfinity;
  return range;
}

LinearForm piecewiseForm(Builder& builder, const Reading& reading, Demand demand) {
  if (!isWellFormed(piecewise(reading))) builder.refuse("its breakpoints do not ascend, or a number is not finite");
  const Operand& x = reading.operands[0];
  Curve curve = curveOf(piecewise(reading), builder.range(x));
  for (std::size_t i = 1; i < curve.points.size(); ++i) {
    const Point &left = curve.points[i - 1], &right = curve.points[i];
    if (left.x != right.x) continue;
    // The value at a jump is the one behind it: only from its side the form is closed.
    if (demand.sense == (left.y > right.y ? Sense::Over : Sense::Under)) continue;
    builder.refuse("it jumps at " + std::to_string(left.x) + " over a continuous operand");
  }
  return follow(builder, x, std::move(curve), demand);
}

}  // namespace

LinearForm follow(Builder& builder, const Operand& x, Curve curve, Demand demand) {
  const Interval range = builder.range(x);
  simplify(curve.points);
  if (range.isPoint()) return LinearForm(curve.points.back().y);
  const std::vector<double> slopes = slopesOf(curve, range);
  const LinearForm form = builder.of(x, demand.onOperand(directionOf(curve, slopes)));
  if (builder.isWaiting()) return {};
  if (isByLines(curve, slopes, demand)) {
    return byLines(builder, form, curve, slopes, range.lo == -kInfinity, demand);
  }
  builder.finiteRange(x, range);
  return byWeights(builder, form, curve.points);
}

Interval rangeOfTable(const Interval& x, const std::function<double(double)>& function) {
  if (!isTable(x)) return kUnknown;
  Interval range = {kInfinity, -kInfinity, true};
  for (double at = x.lo; at <= x.hi; at += 1.0) {
    const double value = function(at);
    if (!std::isfinite(value)) return kUnknown;
    range = {std::min(range.lo, value), std::max(range.hi, value), range.whole && std::floor(value) == value};
  }
  return range;
}

LinearForm tabulate(Builder& builder, const Operand& x, const std::function<double(double)>& function, Demand demand) {
  const Interval range = builder.finiteRange(x, builder.range(x));
  if (!isTable(range)) builder.refuse("its operand takes more than 10000 values");
  Curve curve;
  for (double at = range.lo; at <= range.hi; at += 1.0) {
    const double value = function(at);
    // Also refuses what is no number.
    if (!(std::abs(value) <= Builder::kGreatestBound)) {
      builder.refuse("its value at " + std::to_string(TavTrunc(at)) + " is not finite, or beyond 1e9");
    }
    curve.points.push_back({at, value});
  }
  const std::vector<Point> values = curve.points;
  simplify(curve.points);
  const bool isFew = 2 * curve.points.size() <= values.size() || curve.points.size() <= 2;
  if (isFew || isByLines(curve, slopesOf(curve, range), demand) || x.factor != 1.0 || x.constant != 0.0) {
    return follow(builder, x, std::move(curve), demand);
  }
  const std::vector<int> chosen = builder.selector(x.node);
  if (builder.isWaiting()) return {};
  LinearForm value;
  for (std::size_t i = 0; i < values.size(); ++i) value.addTerm(chosen[i], values[i].y);
  return value;
}

LinearForm makeSelector(Builder& builder, const TavNumExprI* node) {
  const Interval range = builder.finiteRange({node}, builder.range(Operand{node}));
  if (!isTable(range)) builder.refuse("its operand takes more than 10000 values");
  const LinearForm form = builder.of({node}, Demand::both());
  if (builder.isWaiting()) return {};
  LinearForm all, position;
  for (double at = range.lo; at <= range.hi; at += 1.0) {
    const int chosen = builder.addBinary();
    all.addTerm(chosen, 1.0);
    position.addTerm(chosen, at);
  }
  builder.addRow(1.0, all, 1.0);
  builder.addRow(0.0, position - form, 0.0);
  return {};
}

const Rule kFunction = {functionRange, functionForm};
const Rule kPiecewise = {piecewiseRange, piecewiseForm};

}  // namespace tavlinear
