#include "modelfile/expr_builder.h"

#include <algorithm>
#include <cassert>

#include "expression/core/array_family.h"
#include "modelfile/compositions.h"
#include "modelfile/operations.h"

namespace {

using Item = TavBuildItem;

Item termItem(TavNumVarI* variable, double coef) { return {.kind = Item::Term, .value = coef, .node = variable}; }

/// A node that this builder has made and nobody holds yet.
bool isLoose(const Item& item) {
  return item.node && !item.shared && item.kind != Item::Term && item.node->getRefCount() == 0;
}

}  // namespace

TavExprBuilder::TavExprBuilder(TavEnvI* env, const TavFileModel& model, const std::vector<TavNumVar>& variables)
    : TavExprBuilder(env, variables) {
  // The object counts as made here: what fails below is cleaned up by the destructor.
  _tokens = model.tokens;
  constexpr std::size_t kAnyway = 1'000'000, kPerToken = 32;
  _affordable = kAnyway + kPerToken * _tokens.size();
  _commons.reserve(model.commons.size());
  for (const TavFileCommon& common : model.commons) makeCommon(common);
}

TavExprBuilder::~TavExprBuilder() {
  discard();
  for (const Item& common : _commons) {
    if (common.shared) _env->release(common.node);
  }
}

void TavExprBuilder::makeCommon(const TavFileCommon& common) {
  Item item;
  if (common.linear.empty()) {
    item = build(common.expr);
  } else {
    auto sum = TavMakeNode<TavNumLinTermI>(_env, _env, 0.0);
    addTerms(sum.get(), common.linear);
    std::uint32_t cells = static_cast<std::uint32_t>(common.linear.size());
    if (!common.expr.empty()) {
      Item& rest = build(common.expr);
      cells += std::max(rest.cells, 1u);
      addTo(sum.get(), rest);
    }
    item = {.kind = Item::Sum, .cells = cells, .node = sum.release()};
  }
  _stack.clear();
  if (item.kind == Item::Sum || item.kind == Item::Node) {
    item.linear = item.linear || (item.kind == Item::Sum && !static_cast<TavNumLinTermI*>(item.node)->getFirstPart());
    item.kind = Item::Node;
    item.shared = true;
    item.node->retain();
  }
  _commons.push_back(item);
}

void TavExprBuilder::addTerms(TavNumLinTermI* sum, std::span<const TavFileTerm> terms) {
  for (const TavFileTerm& term : terms) sum->append(_env->newTerm(variable(term.variable), term.value));
}

void TavExprBuilder::addProducts(TavNumLinTermI* sum, std::span<const TavFileProduct> products) {
  for (const TavFileProduct& product : products) {
    TavNumExprI* node;
    if (product.first == product.second) {
      node = new (_env) TavNumSquareI(_env, variable(product.first));
    } else {
      node = new (_env) TavNumTimesI(_env, variable(product.first), variable(product.second));
    }
    if (product.value != 1.0) node = new (_env) TavNumTimesCstI(_env, node, product.value);
    sum->append(node);
  }
}

void TavExprBuilder::addExpr(TavNumLinTermI* sum, TavFileExpr expr) {
  if (expr.empty()) return;
  addTo(sum, build(expr));
  _stack.clear();
}

TavIntExprI* TavExprBuilder::truthOf(TavFileExpr expr) {
  TavIntExprI* node = truthOf(build(expr));
  _stack.clear();
  return node;
}

/// Prefix order read backwards: the arguments of an operation lie on the stack, the first one on top.
TavBuildItem& TavExprBuilder::build(TavFileExpr expr) {
  discard();
  for (std::size_t i = expr.end; i > expr.begin; --i) push(_tokens[i - 1]);
  assert(_stack.size() == 1 && "an expression has one value");
  return _stack.front();
}

void TavExprBuilder::push(const TavFileToken& token) {
  if (token.op == TavFileOp::Number) return _stack.push_back(Item::ofNumber(token.value));
  if (token.op == TavFileOp::Variable) return _stack.push_back(termItem(variable(token.arg), 1.0));
  if (token.op == TavFileOp::Common) return _stack.push_back(_commons[static_cast<std::size_t>(token.arg)]);
  const auto count = static_cast<std::size_t>(TavArgumentsOf(token));
  assert(count > 0 && count <= _stack.size() && "readers check the arguments of operations");
  const std::span<Item> args(_stack.data() + (_stack.size() - count), count);
  std::reverse(args.begin(), args.end());
  const Item result = apply(token, args);
  for (Item& arg : args) {
    if (arg.node != result.node && isLoose(arg)) arg.node->end();  // used by nobody: x^0, a branch never taken
  }
  _stack.resize(_stack.size() - count + 1);
  _stack.back() = result;
}

void TavExprBuilder::discard() noexcept {
  TavFirstFailure ignored;
  for (const Item& item : _stack) {
    if (isLoose(item)) ignored.attempt([&item] { item.node->end(); });
  }
  _stack.clear();
}

TavNumExprI* TavExprBuilder::nodeOf(Item& item) {
  if (item.kind == Item::Number) {
    item = Item::ofNode(new (_env) TavNumLinTermI(_env, item.value));
  } else if (item.kind == Item::Term && item.value != 1.0) {
    auto sum = TavMakeNode<TavNumLinTermI>(_env, _env, 0.0);
    sum->append(_env->newTerm(item.variable(), item.value));
    item = {.kind = Item::Sum, .cells = 1, .node = sum.release()};
  }
  return item.node;
}

TavIntExprI* TavExprBuilder::truthOf(Item& item) {
  if (!item.truth) {
    if (item.kind == Item::Number) {
      item = Item::ofTruth(new (_env) TavIntLinTermI(_env, item.value != 0.0 ? 1 : 0));
    } else {
      TavNumExprI* node = nodeOf(item);
      item = Item::ofTruth(new (_env) TavIntAbsI(_env, new (_env) TavSgnI(_env, node)));
    }
  }
  return static_cast<TavIntExprI*>(item.node);
}

bool TavExprBuilder::affords(std::uint32_t cells) noexcept {
  if (cells > _affordable) return false;
  _affordable -= cells;
  return true;
}

void TavExprBuilder::copyLinear(Item& item) {
  if (!item.linear || !affords(item.cells)) return;
  item = {.kind = Item::Sum, .cells = item.cells, .node = item.sum()->copyLinear()};
}

void TavExprBuilder::addTo(TavNumLinTermI* sum, Item& item) {
  copyLinear(item);
  switch (item.kind) {
    case Item::Number:
      sum->setConstant(sum->getConstant() + item.value);
      break;
    case Item::Term:
      sum->append(_env->newTerm(item.variable(), item.value));
      break;
    case Item::Sum:
      sum->append(item.sum());
      item = Item();  // its node is ended
      break;
    case Item::Node:
      sum->append(item.node);
      break;
  }
}

TavBuildItem TavExprBuilder::apply(const TavFileToken& token, std::span<Item> args) {
  const TavFileOperation& operation = TavOperationOf(token.op);
  if (token.op == TavFileOp::Piecewise) return piecewise(args);
  if (operation.logical) return applyLogical(token.op, args);
  if (operation.shape == TavFileShape::List) return applyList(token.op, args);
  if (token.op == TavFileOp::If) return choose(args[0], args[1], args[2]);
  return operation.arguments == 1 ? applyUnary(token.op, args[0]) : applyBinary(token.op, args[0], args[1]);
}

TavBuildItem TavExprBuilder::applyUnary(TavFileOp op, Item& x) {
  switch (op) {
    case TavFileOp::Negate:
      return scale(x, -1.0);
    case TavFileOp::Floor:
      return unary<TavNumFloorI>(x);
    case TavFileOp::Ceil:
      return unary<TavNumCeilI>(x);
    case TavFileOp::Abs:
      return unary<TavNumAbsI>(x);
    case TavFileOp::Square:
      return unary<TavNumSquareI>(x);
    case TavFileOp::Sqrt:
      return Item::ofNode(new (_env) TavNumPowerCstI(_env, nodeOf(x), 0.5));
    case TavFileOp::Exp:
      return unary<TavExponentI>(x);
    case TavFileOp::Log:
      return unary<TavLogI>(x);
    case TavFileOp::Sin:
      return unary<TavSinI>(x);
    case TavFileOp::Cos:
      return unary<TavCosI>(x);
    case TavFileOp::Tan:
      return unary<TavTanI>(x);
    case TavFileOp::Asin:
      return unary<TavArcSinI>(x);
    case TavFileOp::Acos:
      return unary<TavArcCosI>(x);
    case TavFileOp::Atan:
      return unary<TavArcTanI>(x);
    default:
      return composeUnary(op, x);
  }
}

TavBuildItem TavExprBuilder::composeUnary(TavFileOp op, Item& x) {
  const TavNumExprArg arg(nodeOf(x));
  const TavKeepAlive keepAlive(arg.getImpl());  // an operator may change an uncounted sum, which is used again here
  const auto compose = [op, arg] {
    switch (op) {
      case TavFileOp::Log10:
        return TavLog10(arg);
      case TavFileOp::Tanh:
        return tavcompose::tanh(arg);
      case TavFileOp::Sinh:
        return tavcompose::sinh(arg);
      case TavFileOp::Cosh:
        return tavcompose::cosh(arg);
      case TavFileOp::Asinh:
        return tavcompose::asinh(arg);
      case TavFileOp::Acosh:
        return tavcompose::acosh(arg);
      default:
        assert(op == TavFileOp::Atanh && "the table has no other operation of one argument");
        return tavcompose::atanh(arg);
    }
  };
  return Item::ofNode(compose().getImpl());
}

TavBuildItem TavExprBuilder::applyBinary(TavFileOp op, Item& a, Item& b) {
  switch (op) {
    case TavFileOp::Add:
      return add(a, b);
    case TavFileOp::Subtract:
      b = scale(b, -1.0);
      return add(a, b);
    case TavFileOp::Multiply:
      return multiply(a, b);
    case TavFileOp::Divide:
      return divide(a, b);
    case TavFileOp::Power:
    case TavFileOp::PowerConstantExponent:
    case TavFileOp::PowerConstantBase:
      return power(a, b);
    case TavFileOp::Less: {
      Item difference = subtract(a, b);
      return Item::ofNode(new (_env) TavNumMaxCstI(_env, nodeOf(difference), 0.0));
    }
    case TavFileOp::TruncatedQuotient: {
      Item quotient = divide(a, b);
      return unary<TavNumTruncI>(quotient);
    }
    case TavFileOp::Round:
    case TavFileOp::Truncate:
      return round(op, a, b);
    default:
      break;
  }
  const TavNumExprArg first(nodeOf(a)), second(nodeOf(b));
  const TavKeepAlive keepFirst(first.getImpl()), keepSecond(second.getImpl());
  assert((op == TavFileOp::Atan2 || op == TavFileOp::Remainder) && "the table has no other operation of two arguments");
  return Item::ofNode(
      (op == TavFileOp::Atan2 ? tavcompose::atan2(first, second) : tavcompose::remainder(first, second)).getImpl());
}

TavBuildItem TavExprBuilder::applyList(TavFileOp op, std::span<Item> args) {
  switch (op) {
    case TavFileOp::Min:
    case TavFileOp::Max:
      return minMax(op == TavFileOp::Min, args);
    case TavFileOp::Count:
      return Item::ofNode(TavMakeArrayNode<TavCountI>(_env, truthsOf(args), TavInt{1}));
    case TavFileOp::NumberOf:
      return numberOf(args);
    default: {
      assert(op == TavFileOp::Sum && "the table has no other list");
      Item sum;
      for (Item& arg : args) sum = add(sum, arg);
      return sum;
    }
  }
}
