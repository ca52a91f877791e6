// What linearisation knows of each class: how its operands are read, and its rule.

#include <algorithm>
#include <array>

#include "solve/linearise/rules.h"

namespace tavlinear {

namespace {

template <class Node>
const Node* as(const TavNumExprI* node) {
  return static_cast<const Node*>(node);
}

using Read = void (*)(const TavNumExprI*, Reading&);

template <class Node>
ClassRow row(const Rule& rule, Read read, double (*value)(const TavNumExprI*, double) = nullptr) {
  return {Node::GetTypeInfo(), Node::kTypeName, read, rule.range, rule.give, value};
}

/// f(x)
template <class Node>
void readOne(const TavNumExprI* node, Reading& reading) {
  reading.operands = {{as<Node>(node)->getOperand()}};
}

/// f(x), by the class's own arithmetic.
template <class Node>
ClassRow function() {
  return row<Node>(kFunction, readOne<Node>, [](const TavNumExprI*, double x) { return Node::apply(x); });
}

/// f(x, constant)
template <class Node>
void readWithConstant(const TavNumExprI* node, Reading& reading) {
  const auto* its = as<Node>(node);
  reading.operands = {{its->getOperand()}, Operand::number(static_cast<double>(its->getConstant()))};
}

/// f(constant, x)
template <class Node>
void readConstantFirst(const TavNumExprI* node, Reading& reading) {
  readWithConstant<Node>(node, reading);
  std::swap(reading.operands[0], reading.operands[1]);
}

/// f(x, y)
template <class Node>
void readTwo(const TavNumExprI* node, Reading& reading) {
  reading.operands = {{as<Node>(node)->getLeft()}, {as<Node>(node)->getRight()}};
}

template <class Array>
void addAll(Array array, Reading& reading) {
  for (TavInt i = 0; i < array.getSize(); ++i) reading.operands.push_back({array[i].getImpl()});
}

/// f(x0, x1, ...)
template <class Node>
void readArray(const TavNumExprI* node, Reading& reading) {
  addAll(as<Node>(node)->getExprs(), reading);
}

void readCount(const TavNumExprI* node, Reading& reading) {
  readArray<TavCountI>(node, reading);
  reading.constant = static_cast<double>(as<TavCountI>(node)->getValue());
}

/// A sum of one operand, times its constant.
template <class Node>
void readScaled(const TavNumExprI* node, Reading& reading) {
  reading.operands = {{as<Node>(node)->getOperand(), static_cast<double>(as<Node>(node)->getConstant())}};
}

template <class Linear>
void readSum(const TavNumExprI* node, Reading& reading) {
  const auto* sum = as<Linear>(node);
  for (const TavPart* part = sum->getFirstPart(); part; part = part->next) reading.operands.push_back({part->expr});
  reading.terms = sum->getFirstTerm();
  for (const auto* term = reading.terms; term; term = term->next) {
    if (isIndicator(term->var)) reading.operands.push_back({term->var, term->coef});
  }
  reading.constant = static_cast<double>(sum->getConstant());
}

void readNothing(const TavNumExprI*, Reading&) {}

template <class Node>
void readChoice(const TavNumExprI* node, Reading& reading) {
  const auto* its = as<Node>(node);
  const auto branch = [](const TavNumExprI* expression, double constant) {
    return expression ? Operand{expression} : Operand::number(constant);
  };
  reading.operands = {{its->getCondition()},
                      branch(its->getThen(), static_cast<double>(its->getThenConstant())),
                      branch(its->getElse(), static_cast<double>(its->getElseConstant()))};
}

template <class Node>
void readConstantElement(const TavNumExprI* node, Reading& reading) {
  reading.operands = {{as<Node>(node)->getIndex()}};
  reading.constant = static_cast<double>(as<Node>(node)->getArray().getSize());
}

template <class Node>
ClassRow constantElement() {
  return row<Node>(kConstantElement, readConstantElement<Node>, [](const TavNumExprI* node, double position) {
    const auto array = as<Node>(node)->getArray();
    return static_cast<double>(array[TavTrunc(position)]);
  });
}

template <class Node>
void readElement(const TavNumExprI* node, Reading& reading) {
  reading.operands = {{as<Node>(node)->getIndex()}};
  addAll(as<Node>(node)->getArray(), reading);
}

void readPiecewise(const TavNumExprI* node, Reading& reading) {
  const auto* operand = as<TavExprPiecewiseLinearI>(node)->getOperand();
  reading.operands = {operand ? Operand{operand} : Operand::number(0.0)};
}

ClassRow clientFunction() {
  return row<TavMonotonicNumExprI>(kFunction, readOne<TavMonotonicNumExprI>, [](const TavNumExprI* node, double x) {
    return as<TavMonotonicNumExprI>(node)->getFunction()(x);
  });
}

/// Each class that has a linear form; the others are refused by name.
const auto& rows() {
  static const auto table = [] {
    auto all = std::to_array<ClassRow>({
        row<TavNumVarI>(kVariable, readNothing),
        row<TavSemiContVarI>(kVariable, readNothing),
        row<TavConstraintIndVarI>(kIndicator, readNothing),
        row<TavNumLinTermI>(kSum, readSum<TavNumLinTermI>),
        row<TavIntLinTermI>(kSum, readSum<TavIntLinTermI>),
        row<TavNumTimesCstI>(kSum, readScaled<TavNumTimesCstI>),
        row<TavIntTimesCstI>(kSum, readScaled<TavIntTimesCstI>),
        row<TavNumMinCstI>(kMinimum, readWithConstant<TavNumMinCstI>),
        row<TavIntMinCstI>(kMinimum, readWithConstant<TavIntMinCstI>),
        row<TavNumMinI>(kMinimum, readTwo<TavNumMinI>),
        row<TavIntMinI>(kMinimum, readTwo<TavIntMinI>),
        row<TavNumMinArrayI>(kMinimum, readArray<TavNumMinArrayI>),
        row<TavIntMinArrayI>(kMinimum, readArray<TavIntMinArrayI>),
        row<TavNumMaxCstI>(kMaximum, readWithConstant<TavNumMaxCstI>),
        row<TavIntMaxCstI>(kMaximum, readWithConstant<TavIntMaxCstI>),
        row<TavNumMaxI>(kMaximum, readTwo<TavNumMaxI>),
        row<TavIntMaxI>(kMaximum, readTwo<TavIntMaxI>),
        row<TavNumMaxArrayI>(kMaximum, readArray<TavNumMaxArrayI>),
        row<TavIntMaxArrayI>(kMaximum, readArray<TavIntMaxArrayI>),
        row<TavNumAbsI>(kAbsolute, readOne<TavNumAbsI>),
        row<TavIntAbsI>(kAbsolute, readOne<TavIntAbsI>),
        row<TavSgnI>(kSign, readOne<TavSgnI>),
        row<TavCountI>(kCount, readCount),
        row<TavConditionalNumExprI>(kChoice, readChoice<TavConditionalNumExprI>),
        row<TavConditionalIntExprI>(kChoice, readChoice<TavConditionalIntExprI>),
        row<TavNumTimesI>(kProduct, readTwo<TavNumTimesI>),
        row<TavIntTimesI>(kProduct, readTwo<TavIntTimesI>),
        row<TavNumSquareI>(kSquare, readOne<TavNumSquareI>),
        row<TavIntSquareI>(kSquare, readOne<TavIntSquareI>),
        row<TavNumDivCstI>(kQuotient, readWithConstant<TavNumDivCstI>),
        row<TavNumRecDivCstI>(kQuotient, readConstantFirst<TavNumRecDivCstI>),
        row<TavNumDivI>(kQuotient, readTwo<TavNumDivI>),
        row<TavIntDivCstI>(kWholeQuotient, readWithConstant<TavIntDivCstI>),
        row<TavIntRecDivCstI>(kWholeQuotient, readConstantFirst<TavIntRecDivCstI>),
        row<TavIntDivI>(kWholeQuotient, readTwo<TavIntDivI>),
        row<TavIntModuloCstI>(kWholeRemainder, readWithConstant<TavIntModuloCstI>),
        row<TavIntRecModuloCstI>(kWholeRemainder, readConstantFirst<TavIntRecModuloCstI>),
        row<TavIntModuloI>(kWholeRemainder, readTwo<TavIntModuloI>),
        row<TavNumPowerCstI>(kPower, readWithConstant<TavNumPowerCstI>),
        row<TavNumRecPowerCstI>(kPower, readConstantFirst<TavNumRecPowerCstI>),
        row<TavNumPowerI>(kPower, readTwo<TavNumPowerI>),
        constantElement<TavNumArrayElementI>(),
        constantElement<TavIntArrayElementI>(),
        row<TavNumExprArrayElementI>(kElement, readElement<TavNumExprArrayElementI>),
        row<TavIntExprArrayElementI>(kElement, readElement<TavIntExprArrayElementI>),
        row<TavExprPiecewiseLinearI>(kPiecewise, readPiecewise),
        row<TavNumFloorI>(kFloor, readOne<TavNumFloorI>),
        row<TavNumCeilI>(kCeil, readOne<TavNumCeilI>),
        row<TavNumTruncI>(kTrunc, readOne<TavNumTruncI>),
        row<TavNumRoundI>(kNearest, readOne<TavNumRoundI>),
        row<TavNumToIntI>(kNearest, readOne<TavNumToIntI>),
        row<TavNumFractI>(kFraction, readOne<TavNumFractI>),
        row<TavDistToIntI>(kDistance, readOne<TavDistToIntI>),
        function<TavSinI>(),
        function<TavCosI>(),
        function<TavTanI>(),
        function<TavArcSinI>(),
        function<TavArcCosI>(),
        function<TavArcTanI>(),
        function<TavLogI>(),
        function<TavExponentI>(),
        clientFunction(),
    });
    std::sort(all.begin(), all.end(),
              [](const ClassRow& a, const ClassRow& b) { return std::less<TavTypeInfo>()(a.token, b.token); });
    return all;
  }();
  return table;
}

}  // namespace

const ClassRow* findClass(TavTypeInfo token) {
  const auto& all = rows();
  const auto found = std::lower_bound(all.begin(), all.end(), token, [](const ClassRow& one, TavTypeInfo wanted) {
    return std::less<TavTypeInfo>()(one.token, wanted);
  });
  return found != all.end() && found->token == token ? &*found : nullptr;
}

}  // namespace tavlinear
