// Products, quotients, squares and powers: exact where a factor is made of whole expressions.

#include <algorithm>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

/// A factor as constant + sum of coefficient * binary form.
struct Split {
  struct Part {
    double coef;
    LinearForm binary;
  };
  double constant = 0.0;
  std::vector<Part> parts;
};

/// How many binary columns a whole number with this range takes.
double bitsOf(const Interval& range) {
  if (!range.whole || !range.isFinite()) return kInfinity;
  return range.isBinary() ? 1.0 : std::ceil(std::log2(range.count()));
}

/// How many it takes to split the columns of the form one by one.
double bitsOfColumns(const Builder& builder, const LinearForm& form) {
  double bits = 0.0;
  for (const Term& term : form.terms) bits += bitsOf(builder.rangeOfColumn(term.column));
  return bits;
}

/// Adds coef * form, which takes the whole numbers of the range, to the split.
void addBits(Builder& builder, const LinearForm& form, const Interval& range, double coef, Split& split) {
  split.constant += coef * range.lo;
  if (range.isBinary()) {
    split.parts.push_back({coef, LinearForm(-range.lo).add(1.0, form)});
    return;
  }
  LinearForm row = form;
  double left = range.hi - range.lo;  // the weights add up to the length of the range, so that no number is out of it
  for (double weight = 1.0; left > 0.0; weight *= 2.0) {
    const double used = std::min(weight, left);
    left -= used;
    const int bit = builder.addBinary();
    row.addTerm(bit, -used);
    split.parts.push_back({coef * used, LinearForm::column(bit)});
  }
  builder.addRow(range.lo, row, range.lo);
}

/// The split of a factor in the way that takes fewer binary columns.
Split splitOf(Builder& builder, const Choice& factor) {
  Split split;
  if (bitsOf(factor.range) <= bitsOfColumns(builder, factor.form)) {
    addBits(builder, factor.form, factor.range, 1.0, split);
    return split;
  }
  split.constant = factor.form.constant;
  for (const Term& term : factor.form.terms) {
    addBits(builder, LinearForm::column(term.column), builder.rangeOfColumn(term.column), term.coef, split);
  }
  return split;
}

double costOf(const Builder& builder, const Choice& factor) {
  return std::min(bitsOf(factor.range), bitsOfColumns(builder, factor.form));
}

/// binary * other
LinearForm timesBinary(Builder& builder, const LinearForm& binary, const Choice& other, Demand demand) {
  LinearForm rest = other.form, product;
  rest.merge();
  const bool isColumn = binary.terms.size() == 1 && binary.terms[0].coef == 1.0 && binary.constant == 0.0;
  for (Term& term : rest.terms) {
    if (!isColumn || term.column != binary.terms[0].column) continue;
    product.addTerm(term.column, term.coef);  // the square of a binary column is the column
    term.coef = 0.0;
  }
  const bool isWhole = !product.terms.empty();
  rest.merge();
  if (rest.isConstant()) return product.add(rest.constant, binary);
  const Interval known = isWhole ? Interval() : other.range;
  const Interval range = builder.finiteRange(other.operand, builder.rangeOf(rest, known));
  const LinearForm value = LinearForm::column(builder.addColumn(hull(range, Interval::point(0.0)), false));
  if (demand.needsOver()) {
    builder.addRow(0.0, LinearForm(value).add(-range.lo, binary), kInfinity);
    builder.addRow(-range.hi, (value - rest).add(-range.hi, binary), kInfinity);
  }
  if (demand.needsUnder()) {
    builder.addRow(-kInfinity, LinearForm(value).add(-range.hi, binary), 0.0);
    builder.addRow(-kInfinity, (value - rest).add(-range.lo, binary), -range.lo);
  }
  return product.add(1.0, value);
}

/// 1 if the values of the range are not negative, -1 if they are not positive, else 0.
int signOf(const Interval& range) { return range.lo >= 0.0 ? 1 : range.hi <= 0.0 ? -1 : 0; }

Operand scaled(const Operand& x, double factor) { return {x.node, factor * x.factor, factor * x.constant}; }

Interval productRange(const Reading& reading, Ranges& ranges) {
  return ranges.of(reading.operands[0]) * ranges.of(reading.operands[1]);
}

Interval squareRange(const Reading& reading, Ranges& ranges) {
  const Interval x = magnitude(ranges.of(reading.operands[0]));
  return {x.lo * x.lo, x.hi * x.hi, x.whole};
}

LinearForm squareForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand& x = reading.operands[0];
  const Interval range = builder.range(x);
  if (range.isPoint() || (range.whole && range.isFinite() && range.count() <= kMostValues)) {
    return tabulate(
        builder, x, [](double at) { return at * at; }, demand);
  }
  const Choice factor = {builder.of(x, Demand::both()), x, range};
  return builder.isWaiting() ? LinearForm() : multiply(builder, factor, factor, demand.everywhere());
}

LinearForm productForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand &a = reading.operands[0], &b = reading.operands[1];
  const Interval aRange = builder.range(a), bRange = builder.range(b);
  if (aRange.isPoint()) return builder.of(scaled(b, aRange.lo), demand);
  if (bRange.isPoint()) return builder.of(scaled(a, bRange.lo), demand);
  if (a.node == b.node) return squareForm(builder, reading, demand);
  const Choice left = {builder.of(a, demand.onOperand(signOf(bRange))), a, aRange};
  const Choice right = {builder.of(b, demand.onOperand(signOf(aRange))), b, bRange};
  return builder.isWaiting() ? LinearForm() : multiply(builder, left, right, demand.everywhere());
}

// Quotients.

Interval quotientRange(const Reading& reading, Ranges& ranges) {
  const Interval divisor = ranges.of(reading.operands[1]);
  if (divisor.contains(0.0)) return kUnknown;
  Interval reciprocal = {1.0 / divisor.hi, 1.0 / divisor.lo};
  return ranges.of(reading.operands[0]) * reciprocal;
}

LinearForm quotientForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand &a = reading.operands[0], &b = reading.operands[1];
  const Interval aRange = builder.range(a), bRange = builder.range(b);
  if (bRange.contains(0.0)) builder.refuse("its divisor can be 0");
  if (bRange.isPoint()) return builder.of(scaled(a, 1.0 / bRange.lo), demand);
  builder.requireWhole(b, "its divisor takes other values than whole ones");
  if (aRange.isPoint())
    return tabulate(
        builder, b, [&](double at) { return aRange.lo / at; }, demand);
  const std::vector<int> chosen = builder.selector(b.node);
  const LinearForm form = builder.of(a, demand.onOperand(signOf(bRange)));
  if (builder.isWaiting()) return {};
  LinearForm reciprocal;
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    reciprocal.addTerm(chosen[i], 1.0 / (bRange.lo + static_cast<double>(i)));
  }
  return multiply(builder, {form, a, aRange}, {reciprocal, b, {1.0 / bRange.hi, 1.0 / bRange.lo}}, demand.everywhere());
}

// Powers with one constant operand.

Interval powerRange(const Reading& reading, Ranges& ranges) {
  const Interval base = ranges.of(reading.operands[0]), exponent = ranges.of(reading.operands[1]);
  if (exponent.isPoint()) return rangeOfTable(base, [&](double at) { return std::pow(at, exponent.lo); });
  if (base.isPoint()) return rangeOfTable(exponent, [&](double at) { return std::pow(base.lo, at); });
  return kUnknown;
}

LinearForm powerForm(Builder& builder, const Reading& reading, Demand demand) {
  const Operand &base = reading.operands[0], &exponent = reading.operands[1];
  const Interval baseRange = builder.range(base), exponentRange = builder.range(exponent);
  const bool isConstant = exponentRange.isPoint();
  if (isConstant && exponentRange.lo == 1.0) return builder.of(base, demand);
  if (isConstant && exponentRange.lo == 2.0) return squareForm(builder, reading, demand);
  if (!isConstant && !baseRange.isPoint()) builder.refuse("neither base nor exponent is a number");
  const Operand& x = isConstant ? base : exponent;
  if (!builder.range(x).isPoint()) builder.requireWhole(x, "its operand takes other values than whole ones");
  const auto value = [&](double at) {
    return isConstant ? std::pow(at, exponentRange.lo) : std::pow(baseRange.lo, at);
  };
  return tabulate(builder, x, value, demand);
}

}  // namespace

LinearForm multiply(Builder& builder, const Choice& a, const Choice& b, Demand demand) {
  const double costOfA = costOf(builder, a), costOfB = costOf(builder, b);
  const bool splitsA = costOfA <= costOfB;
  const Choice &factor = splitsA ? a : b, &other = splitsA ? b : a;
  if (std::min(costOfA, costOfB) == kInfinity) {
    for (const Choice* whole : {&a, &b}) {
      if (whole->range.whole) builder.finiteRange(whole->operand, whole->range);
    }
    builder.refuse("neither factor is made of whole expressions");
  }
  const Split split = splitOf(builder, factor);
  LinearForm product = split.constant * other.form;
  for (const Split::Part& part : split.parts) {
    const Demand ofPart = part.coef > 0.0 ? demand : demand.flipped();
    product.add(part.coef, timesBinary(builder, part.binary, other, ofPart));
  }
  product.merge();
  return product;
}

const Rule kProduct = {productRange, productForm};
const Rule kSquare = {squareRange, squareForm};
const Rule kQuotient = {quotientRange, quotientForm};
const Rule kPower = {powerRange, powerForm};

}  // namespace tavlinear
