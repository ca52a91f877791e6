#include <cmath>
#include <utility>

#include "expression/core/array_family.h"
#include "modelfile/compositions.h"
#include "modelfile/expr_builder.h"

// How sums, products and choices become nodes. Numbers fold; products of variables and numbers become terms.

namespace {

using Item = TavBuildItem;

bool isNumber(const Item& item, double value) { return item.kind == Item::Number && item.value == value; }

}  // namespace

TavBuildItem TavExprBuilder::add(Item& a, Item& b) {
  copyLinear(a);
  copyLinear(b);
  if (a.kind == Item::Number && b.kind == Item::Number) return Item::ofNumber(a.value + b.value);
  if (a.kind != Item::Sum && b.kind == Item::Sum && a.kind != Item::Node) {
    // In front, so that the terms keep their order, and without a new node: nested sums cost no more than flat ones.
    if (a.kind == Item::Number) {
      b.sum()->setConstant(a.value + b.sum()->getConstant());
    } else {
      b.sum()->prepend(_env->newTerm(a.variable(), a.value));
    }
    ++b.cells;
    return std::exchange(b, Item());
  }
  if (a.kind == Item::Node && b.kind == Item::Sum) std::swap(a, b);
  if (a.kind != Item::Sum) {
    auto sum = TavMakeNode<TavNumLinTermI>(_env, _env, 0.0);
    addTo(sum.get(), a);
    a = {.kind = Item::Sum, .cells = 1, .node = sum.release()};
  }
  const std::uint32_t cells = b.kind == Item::Sum ? b.cells : 1;
  addTo(a.sum(), b);
  a.cells += cells;
  return std::exchange(a, Item());
}

TavBuildItem TavExprBuilder::subtract(Item& a, Item& b) {
  b = scale(b, -1.0);
  return add(a, b);
}

TavBuildItem TavExprBuilder::scale(Item& x, double factor) {
  if (x.kind == Item::Number || x.kind == Item::Term) {
    Item scaled = x;
    scaled.value *= factor;
    return scaled;
  }
  copyLinear(x);
  if (multipliesTerms(x)) {
    x.sum()->multiply(factor);
    return std::exchange(x, Item());
  }
  return Item::ofNode(new (_env) TavNumTimesCstI(_env, x.node, factor));
}

bool TavExprBuilder::multipliesTerms(const Item& x) {
  return x.kind == Item::Sum && !x.sum()->getFirstPart() && affords(x.cells);
}

TavBuildItem TavExprBuilder::multiply(Item& a, Item& b) {
  if (a.kind == Item::Number) return scale(b, a.value);
  if (b.kind == Item::Number) return scale(a, b.value);
  if (a.kind == Item::Term && b.kind == Item::Term && a.value * b.value != 1.0) {
    TavNumExprI* product = new (_env) TavNumTimesI(_env, a.node, b.node);
    return Item::ofNode(new (_env) TavNumTimesCstI(_env, product, a.value * b.value));
  }
  TavNumExprI* left = nodeOf(a);
  return Item::ofNode(new (_env) TavNumTimesI(_env, left, nodeOf(b)));
}

TavBuildItem TavExprBuilder::divide(Item& a, Item& b) {
  if (a.kind == Item::Number) {
    return b.kind == Item::Number ? Item::ofNumber(a.value / b.value)
                                  : Item::ofNode(new (_env) TavNumRecDivCstI(_env, nodeOf(b), a.value));
  }
  if (b.kind != Item::Number) {
    TavNumExprI* left = nodeOf(a);
    return Item::ofNode(new (_env) TavNumDivI(_env, left, nodeOf(b)));
  }
  if (a.kind == Item::Term) {
    Item divided = a;
    divided.value /= b.value;
    return divided;
  }
  copyLinear(a);
  if (multipliesTerms(a)) {
    a.sum()->divide(b.value);
    return std::exchange(a, Item());
  }
  return Item::ofNode(new (_env) TavNumDivCstI(_env, a.node, b.value));
}

TavBuildItem TavExprBuilder::power(Item& base, Item& exponent) {
  if (base.kind == Item::Number && exponent.kind == Item::Number) {
    return Item::ofNumber(std::pow(base.value, exponent.value));
  }
  if (isNumber(exponent, 1.0)) return std::exchange(base, Item());
  if (isNumber(exponent, 2.0)) return unary<TavNumSquareI>(base);
  if (exponent.kind == Item::Number) {
    return Item::ofNode(new (_env) TavNumPowerCstI(_env, nodeOf(base), exponent.value));
  }
  if (base.kind == Item::Number) {
    return Item::ofNode(new (_env) TavNumRecPowerCstI(_env, nodeOf(exponent), base.value));
  }
  TavNumExprI* left = nodeOf(base);
  return Item::ofNode(new (_env) TavNumPowerI(_env, left, nodeOf(exponent)));
}

TavBuildItem TavExprBuilder::minMax(bool least, std::span<Item> args) {
  if (args.size() == 1) return std::exchange(args[0], Item());
  if (args.size() == 2) {
    Item& number = args[0].kind == Item::Number ? args[0] : args[1];
    Item& other = &number == &args[0] ? args[1] : args[0];
    if (number.kind == Item::Number) {
      TavNumExprI* x = nodeOf(other);
      if (least) return Item::ofNode(new (_env) TavNumMinCstI(_env, x, number.value));
      return Item::ofNode(new (_env) TavNumMaxCstI(_env, x, number.value));
    }
    TavNumExprI* left = nodeOf(args[0]);
    TavNumExprI* right = nodeOf(args[1]);
    if (least) return Item::ofNode(new (_env) TavNumMinI(_env, left, right));
    return Item::ofNode(new (_env) TavNumMaxI(_env, left, right));
  }
  TavNumExprArray operands{TavEnv(_env)};
  TavGuard<TavArrayI> guard(operands.getImpl());
  for (Item& arg : args) operands.add(TavNumExprArg(nodeOf(arg)));
  guard.release();
  if (least) return Item::ofNode(TavMakeArrayNode<TavNumMinArrayI>(_env, operands));
  return Item::ofNode(TavMakeArrayNode<TavNumMaxArrayI>(_env, operands));
}

TavBuildItem TavExprBuilder::piecewise(std::span<Item> args) {
  Item& x = args.back();
  const std::size_t slopeCount = args.size() / 2;
  TavNumArray slopes{TavEnv(_env)}, breakpoints{TavEnv(_env)};
  TavGuard<TavArrayI> guardSlopes(slopes.getImpl()), guardBreakpoints(breakpoints.getImpl());
  for (std::size_t i = 0; i + 1 < 2 * slopeCount; ++i) (i % 2 == 0 ? slopes : breakpoints).add(args[i].value);
  TavNumExprI* operand = nodeOf(x);
  auto* node = new (_env)
      TavExprPiecewiseLinearI(_env, TavExprPiecewiseLinearI::kBySlopes, operand, breakpoints, slopes, 0.0, 0.0);
  guardSlopes.release();
  guardBreakpoints.release();
  return Item::ofNode(node);
}

TavBuildItem TavExprBuilder::round(TavFileOp op, Item& x, Item& digits) {
  const TavNumExprArg arg(nodeOf(x));
  const TavKeepAlive keepAlive(arg.getImpl());
  return Item::ofNode(
      (op == TavFileOp::Round ? tavcompose::round(arg, digits.value) : tavcompose::truncate(arg, digits.value))
          .getImpl());
}

TavBuildItem TavExprBuilder::choose(Item& condition, Item& whenTrue, Item& whenFalse) {
  if (condition.kind == Item::Number) return std::exchange(condition.value != 0.0 ? whenTrue : whenFalse, Item());
  TavIntExprI* test = truthOf(condition);
  if (isNumber(whenTrue, 1.0) && isNumber(whenFalse, 0.0)) return std::exchange(condition, Item());
  const auto branch = [this](Item& x) { return x.kind == Item::Number ? nullptr : nodeOf(x); };
  TavNumExprI* left = branch(whenTrue);
  TavNumExprI* right = branch(whenFalse);
  return Item::ofNode(new (_env) TavConditionalNumExprI(_env, test, left, right, left ? 0.0 : whenTrue.value,
                                                        right ? 0.0 : whenFalse.value));
}

TavIntExprArray TavExprBuilder::truthsOf(std::span<Item> args) {
  TavIntExprArray truths{TavEnv(_env)};
  TavGuard<TavArrayI> guard(truths.getImpl());
  for (Item& arg : args) truths.add(TavIntExprArg(truthOf(arg)));
  guard.release();
  return truths;
}
