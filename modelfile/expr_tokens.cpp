#include "modelfile/expr_tokens.h"

#include <cmath>
#include <unordered_map>

namespace {

using enum TavFileOp;

/// What a rule knows beside the node.
struct Context {
  TavTokenList& out;
  TavFileToken mean;
};

using Rule = const char* (*)(const TavNumExprI* node, const Context& context);

template <class Node>
const Node* as(const TavNumExprI* node) {
  return static_cast<const Node*>(node);
}

template <class Node>
bool isA(const TavNumExprI* node) {
  return node->getTypeInfo() == Node::GetTypeInfo();
}

template <class Node, TavFileOp kOp>
const char* unary(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp);
  context.out.node(as<Node>(node)->getOperand());
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* binary(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp, kOp == Min || kOp == Max ? 2 : 0);
  context.out.node(as<Node>(node)->getLeft());
  context.out.node(as<Node>(node)->getRight());
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* withConstant(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp, kOp == Min || kOp == Max ? 2 : 0);
  context.out.node(as<Node>(node)->getOperand());
  context.out.number(static_cast<double>(as<Node>(node)->getConstant()));
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* constantFirst(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp);
  context.out.number(static_cast<double>(as<Node>(node)->getConstant()));
  context.out.node(as<Node>(node)->getOperand());
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* wholeBinary(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp);
  context.out.whole(as<Node>(node)->getLeft());
  context.out.whole(as<Node>(node)->getRight());
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* wholeWithConstant(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp);
  context.out.whole(as<Node>(node)->getOperand());
  context.out.number(static_cast<double>(as<Node>(node)->getConstant()));
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* wholeConstantFirst(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp);
  context.out.number(static_cast<double>(as<Node>(node)->getConstant()));
  context.out.whole(as<Node>(node)->getOperand());
  return nullptr;
}

template <class Node, TavFileOp kOp>
const char* array(const TavNumExprI* node, const Context& context) {
  const auto exprs = as<Node>(node)->getExprs();
  if (exprs.getSize() == 0) return "an array without elements";
  context.out.op(kOp, static_cast<std::size_t>(exprs.getSize()));
  for (TavInt i = 0; i < exprs.getSize(); ++i) context.out.node(exprs[i].getImpl());
  return nullptr;
}

// Comparisons give 1 or 0 where a number is wanted.

/// operand > 0 or operand != 0.
struct Comparison {
  const TavNumExprI* operand = nullptr;
  TavFileOp op = GreaterThan;

  void write(TavTokenList& out) const {
    out.op(op);
    out.node(operand);
    out.number(0.0);
  }
};

/// The comparison that max(sgn x, 0) or |sgn x| is; without an operand for every other node.
Comparison comparisonOf(const TavNumExprI* node) {
  Comparison found;
  const TavNumExprI* sign = nullptr;
  if (isA<TavIntMaxCstI>(node) && as<TavIntMaxCstI>(node)->getConstant() == 0) {
    sign = as<TavIntMaxCstI>(node)->getOperand();
  } else if (isA<TavIntAbsI>(node)) {
    sign = as<TavIntAbsI>(node)->getOperand();
    found.op = NotEqual;
  }
  if (sign && isA<TavSgnI>(sign)) found.operand = as<TavSgnI>(sign)->getOperand();
  return found;
}

template <TavFileOp kOp>
const char* perhapsComparison(const TavNumExprI* node, const Context& context) {
  const Comparison found = comparisonOf(node);
  if (!found.operand) {
    return kOp == Max ? withConstant<TavIntMaxCstI, Max>(node, context) : unary<TavIntAbsI, Abs>(node, context);
  }
  context.out.op(If);
  found.write(context.out);
  context.out.number(1.0);
  context.out.number(0.0);
  return nullptr;
}

const char* sign(const TavNumExprI* node, const Context& context) {
  const TavNumExprI* x = as<TavSgnI>(node)->getOperand();
  TavTokenList& out = context.out;
  out.op(If);
  out.op(LessThan);
  out.node(x);
  out.number(0.0);
  out.number(-1.0);
  out.op(If);
  out.op(GreaterThan);
  out.node(x);
  out.number(0.0);
  out.number(1.0);
  out.number(0.0);
  return nullptr;
}

template <class Node>
const char* conditional(const TavNumExprI* node, const Context& context) {
  const auto* choice = as<Node>(node);
  TavTokenList& out = context.out;
  out.op(If);
  if (const Comparison found = comparisonOf(choice->getCondition()); found.operand) {
    found.write(out);
  } else {
    out.op(Equal);
    out.node(choice->getCondition());
    out.number(1.0);
  }
  const auto branch = [&out](const TavNumExprI* expr, double constant) {
    if (expr) {
      out.node(expr);
    } else {
      out.number(constant);
    }
  };
  branch(choice->getThen(), static_cast<double>(choice->getThenConstant()));
  branch(choice->getElse(), static_cast<double>(choice->getElseConstant()));
  return nullptr;
}

const char* count(const TavNumExprI* node, const Context& context) {
  const auto* counted = as<TavCountI>(node);
  const TavIntExprArray exprs = counted->getExprs();
  context.out.op(NumberOf, static_cast<std::size_t>(exprs.getSize()) + 1);
  context.out.number(static_cast<double>(counted->getValue()));
  for (TavInt i = 0; i < exprs.getSize(); ++i) context.out.node(exprs[i].getImpl());
  return nullptr;
}

const char* constantConstraint(const TavNumExprI* node, const Context& context) {
  context.out.number(node->eval(TavAlgorithm()));
  return nullptr;
}

template <class Node>
const char* square(const TavNumExprI* node, const Context& context) {
  context.out.op(Power);
  context.out.node(as<Node>(node)->getOperand());
  context.out.number(2.0);
  return nullptr;
}

const char* power(const TavNumExprI* node, const Context& context) {
  if (as<TavNumPowerCstI>(node)->getConstant() == 0.5) return unary<TavNumPowerCstI, Sqrt>(node, context);
  return withConstant<TavNumPowerCstI, Power>(node, context);
}

template <class Node, TavFileOp kOp>
const char* toDigits(const TavNumExprI* node, const Context& context) {
  context.out.op(kOp);
  context.out.node(as<Node>(node)->getOperand());
  context.out.number(0.0);
  return nullptr;
}

const char* same(const TavNumExprI* node, const Context& context) {
  context.out.node(as<TavNumToIntI>(node)->getOperand());
  return nullptr;
}

/// x - trunc x
const char* fraction(const TavNumExprI* node, const Context& context) {
  context.out.op(Subtract);
  context.out.node(as<TavNumFractI>(node)->getOperand());
  return toDigits<TavNumFractI, Truncate>(node, context);
}

/// |round x - x|
const char* distanceToInteger(const TavNumExprI* node, const Context& context) {
  context.out.op(Abs);
  context.out.op(Subtract);
  toDigits<TavDistToIntI, Round>(node, context);
  context.out.node(as<TavDistToIntI>(node)->getOperand());
  return nullptr;
}

/// floor x, and one more where the rest is above one half, or one half behind an odd number.
const char* roundToEven(const TavNumExprI* node, const Context& context) {
  const TavNumExprI* x = as<TavNumRoundI>(node)->getOperand();
  TavTokenList& out = context.out;
  const auto floor = [&out, x] {
    out.op(Floor);
    out.node(x);
  };
  const auto rest = [&out, x, floor] {
    out.op(Subtract);
    out.node(x);
    floor();
    out.number(0.5);
  };
  out.op(Add);
  floor();
  out.op(If);
  out.op(Or);
  out.op(GreaterThan);
  rest();
  out.op(And);
  out.op(Equal);
  rest();
  out.op(NotEqual);
  out.op(Remainder);
  floor();
  out.number(2.0);
  out.number(0.0);
  out.number(1.0);
  out.number(0.0);
  return nullptr;
}

/// sum over k of (index = k ? array[k] : 0)
template <class Node, bool kNumbers>
const char* element(const TavNumExprI* node, const Context& context) {
  const auto* chosen = as<Node>(node);
  const auto elements = chosen->getArray();
  const TavInt size = elements.getSize();
  if (size == 0) return "an element of an empty array";
  context.out.op(Sum, static_cast<std::size_t>(size));
  for (TavInt k = 0; k < size; ++k) {
    context.out.op(If);
    context.out.op(Equal);
    context.out.whole(chosen->getIndex());
    context.out.number(static_cast<double>(k));
    if constexpr (kNumbers) {
      context.out.number(static_cast<double>(elements[k]));
    } else {
      context.out.node(elements[k].getImpl());
    }
    context.out.number(0.0);
  }
  return nullptr;
}

/// The operation is 0 at 0, so the function's value there is added.
const char* piecewise(const TavNumExprI* node, const Context& context) {
  const auto* function = as<TavExprPiecewiseLinearI>(node);
  const TavNumArray breakpoints = function->getBreakpoints(), slopes = function->getSlopesOrValues();
  const double atZero = function->getPiecewiseLinearValue(0.0);
  TavTokenList& out = context.out;
  if (!function->getOperand()) {
    out.number(atZero);
    return nullptr;
  }
  if (function->getForm() != TavExprPiecewiseLinearI::kBySlopes) return "a piecewise-linear function by values";
  if (slopes.getSize() != breakpoints.getSize() + 1) return "a piecewise-linear function of too many or too few slopes";
  out.op(Add);
  out.number(atZero);
  out.op(Piecewise, static_cast<std::size_t>(slopes.getSize()));
  for (TavInt i = 0; i < breakpoints.getSize(); ++i) {
    if (i > 0 && !(breakpoints[i] > breakpoints[i - 1])) return "a piecewise-linear function with a jump";
    out.number(slopes[i]);
    out.number(breakpoints[i]);
  }
  out.number(slopes[breakpoints.getSize()]);
  out.node(function->getOperand());
  return nullptr;
}

/// sqrt(sum over k of (x_k - mean)^2 / n)
const char* deviation(const TavNumExprI* node, const Context& context) {
  const TavIntExprArray exprs = as<TavStandardDeviationI>(node)->getExprs();
  const auto size = static_cast<std::size_t>(exprs.getSize());
  TavTokenList& out = context.out;
  out.op(Sqrt);
  out.op(Divide);
  out.op(Sum, size);
  for (TavInt i = 0; i < exprs.getSize(); ++i) {
    out.op(Power);
    out.op(Subtract);
    out.node(exprs[i].getImpl());
    out.token(context.mean);
    out.number(2.0);
  }
  out.number(static_cast<double>(size));
  return nullptr;
}

template <class Node>
const void* token() {
  return reinterpret_cast<const void*>(Node::GetTypeInfo());
}

/// The rule of each class. A class without one has no operation in any format.
const std::unordered_map<const void*, Rule>& rules() {
  static const std::unordered_map<const void*, Rule> kRules{
      {token<TavNumMinCstI>(), withConstant<TavNumMinCstI, Min>},
      {token<TavIntMinCstI>(), withConstant<TavIntMinCstI, Min>},
      {token<TavNumMinI>(), binary<TavNumMinI, Min>},
      {token<TavNumMinArrayI>(), array<TavNumMinArrayI, Min>},
      {token<TavIntMinI>(), binary<TavIntMinI, Min>},
      {token<TavIntMinArrayI>(), array<TavIntMinArrayI, Min>},
      {token<TavNumMaxCstI>(), withConstant<TavNumMaxCstI, Max>},
      {token<TavIntMaxCstI>(), perhapsComparison<Max>},
      {token<TavNumMaxI>(), binary<TavNumMaxI, Max>},
      {token<TavNumMaxArrayI>(), array<TavNumMaxArrayI, Max>},
      {token<TavIntMaxI>(), binary<TavIntMaxI, Max>},
      {token<TavIntMaxArrayI>(), array<TavIntMaxArrayI, Max>},
      {token<TavNumPowerCstI>(), power},
      {token<TavNumRecPowerCstI>(), constantFirst<TavNumRecPowerCstI, Power>},
      {token<TavNumPowerI>(), binary<TavNumPowerI, Power>},
      {token<TavNumTimesCstI>(), constantFirst<TavNumTimesCstI, Multiply>},
      {token<TavIntTimesCstI>(), constantFirst<TavIntTimesCstI, Multiply>},
      {token<TavNumTimesI>(), binary<TavNumTimesI, Multiply>},
      {token<TavIntTimesI>(), binary<TavIntTimesI, Multiply>},
      {token<TavNumDivCstI>(), withConstant<TavNumDivCstI, Divide>},
      {token<TavNumRecDivCstI>(), constantFirst<TavNumRecDivCstI, Divide>},
      {token<TavNumDivI>(), binary<TavNumDivI, Divide>},
      {token<TavIntDivCstI>(), wholeWithConstant<TavIntDivCstI, TruncatedQuotient>},
      {token<TavIntRecDivCstI>(), wholeConstantFirst<TavIntRecDivCstI, TruncatedQuotient>},
      {token<TavIntDivI>(), wholeBinary<TavIntDivI, TruncatedQuotient>},
      {token<TavIntModuloCstI>(), wholeWithConstant<TavIntModuloCstI, Remainder>},
      {token<TavIntRecModuloCstI>(), wholeConstantFirst<TavIntRecModuloCstI, Remainder>},
      {token<TavIntModuloI>(), wholeBinary<TavIntModuloI, Remainder>},
      {token<TavNumSquareI>(), square<TavNumSquareI>},
      {token<TavIntSquareI>(), square<TavIntSquareI>},
      {token<TavNumAbsI>(), unary<TavNumAbsI, Abs>},
      {token<TavIntAbsI>(), perhapsComparison<Abs>},
      {token<TavSgnI>(), sign},
      {token<TavConstConstraintI>(), constantConstraint},
      {token<TavSinI>(), unary<TavSinI, Sin>},
      {token<TavCosI>(), unary<TavCosI, Cos>},
      {token<TavTanI>(), unary<TavTanI, Tan>},
      {token<TavArcSinI>(), unary<TavArcSinI, Asin>},
      {token<TavArcCosI>(), unary<TavArcCosI, Acos>},
      {token<TavArcTanI>(), unary<TavArcTanI, Atan>},
      {token<TavLogI>(), unary<TavLogI, Log>},
      {token<TavExponentI>(), unary<TavExponentI, Exp>},
      {token<TavNumCeilI>(), unary<TavNumCeilI, Ceil>},
      {token<TavNumFloorI>(), unary<TavNumFloorI, Floor>},
      {token<TavNumTruncI>(), toDigits<TavNumTruncI, Truncate>},
      {token<TavNumFractI>(), fraction},
      {token<TavDistToIntI>(), distanceToInteger},
      {token<TavNumRoundI>(), roundToEven},
      {token<TavNumToIntI>(), same},
      {token<TavConditionalNumExprI>(), conditional<TavConditionalNumExprI>},
      {token<TavConditionalIntExprI>(), conditional<TavConditionalIntExprI>},
      {token<TavCountI>(), count},
      {token<TavStandardDeviationI>(), deviation},
      {token<TavNumExprArrayElementI>(), element<TavNumExprArrayElementI, false>},
      {token<TavIntExprArrayElementI>(), element<TavIntExprArrayElementI, false>},
      {token<TavNumArrayElementI>(), element<TavNumArrayElementI, true>},
      {token<TavIntArrayElementI>(), element<TavIntArrayElementI, true>},
      {token<TavExprPiecewiseLinearI>(), piecewise},
  };
  return kRules;
}

}  // namespace

void TavTokenList::whole(const TavNumExprI* operand) {
  if (TavIsInteger(operand)) return node(operand);
  op(Truncate);
  node(operand);
  number(0.0);
}

const char* TavTokensOf(const TavNumExprI* node, TavFileToken mean, TavTokenList& out) {
  const auto rule = rules().find(reinterpret_cast<const void*>(node->getTypeInfo()));
  if (rule == rules().end()) return "no format has such an operation";
  return rule->second(node, {out, mean});
}
