#pragma once
/// How the operands of each kind of class are read, and what records its expressions become: the rows of the table in
/// classes.cpp.

#include <algorithm>

#include "evaluator/rows.h"

namespace taveval::classrows {

using Kind = ClassRow::Kind;

template <class Node>
const Node* as(const TavNumExprI* node) {
  return static_cast<const Node*>(node);
}

template <class Node>
ClassRow row(Kind kind, Op op, void (*open)(Reader&, const TavNumExprI*),
             std::uint32_t (*close)(Reader&, const ClassRow&, const TavNumExprI*)) {
  return {Node::GetTypeInfo(), Node::kTypeName, kind, op, open, close};
}

/// f(x)
template <class Node>
ClassRow unary(Op op) {
  return row<Node>(
      Kind::Operation, op, [](Reader& reader, const TavNumExprI* node) { reader.ask(as<Node>(node)->getOperand()); },
      [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
        return reader.put(its.op, reader.of(as<Node>(node)->getOperand()));
      });
}

/// f(x, constant)
template <class Node>
ClassRow withConstant(Op op, Kind kind = Kind::Operation) {
  return row<Node>(
      kind, op, [](Reader& reader, const TavNumExprI* node) { reader.ask(as<Node>(node)->getOperand()); },
      [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
        const std::uint32_t x = reader.of(as<Node>(node)->getOperand());
        return reader.put(its.op, x, reader.data(static_cast<double>(as<Node>(node)->getConstant())));
      });
}

/// f(constant, x)
template <class Node>
ClassRow constantFirst(Op op) {
  return row<Node>(
      Kind::Operation, op, [](Reader& reader, const TavNumExprI* node) { reader.ask(as<Node>(node)->getOperand()); },
      [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
        const std::uint32_t constant = reader.data(static_cast<double>(as<Node>(node)->getConstant()));
        return reader.put(its.op, constant, reader.of(as<Node>(node)->getOperand()));
      });
}

/// f(x, y)
template <class Node>
ClassRow binary(Op op) {
  return row<Node>(
      Kind::Operation, op,
      [](Reader& reader, const TavNumExprI* node) {
        reader.ask(as<Node>(node)->getLeft());
        reader.ask(as<Node>(node)->getRight());
      },
      [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
        const std::uint32_t left = reader.of(as<Node>(node)->getLeft());
        return reader.put(its.op, left, reader.of(as<Node>(node)->getRight()));
      });
}

/// x * constant; -1, which differences are made of, is part of the structure.
inline ClassRow product() {
  ClassRow result = withConstant<TavNumTimesCstI>(Op::Mul, Kind::Scaled);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    return reader.plus(kNone, as<TavNumTimesCstI>(node)->getConstant(),
                       reader.of(as<TavNumTimesCstI>(node)->getOperand()));
  };
  return result;
}

/// x ^ constant: whole exponents that products and quotients compute as well are part of the structure.
inline ClassRow constantPower() {
  ClassRow result = withConstant<TavNumPowerCstI>(Op::Power);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const double exponent = as<TavNumPowerCstI>(node)->getConstant();
    const std::uint32_t x = reader.of(as<TavNumPowerCstI>(node)->getOperand());
    if (exponent == 1.0) return x;
    if (exponent == 2.0) return reader.put(Op::Square, x);
    return reader.put(Op::Power, x, reader.data(exponent));
  };
  return result;
}

/// |nearest - x|
inline ClassRow distance() {
  ClassRow result = unary<TavDistToIntI>(Op::RoundAway);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const std::uint32_t x = reader.of(as<TavDistToIntI>(node)->getOperand());
    return reader.put(Op::Abs, reader.put(Op::Sub, reader.put(Op::RoundAway, x), x));
  };
  return result;
}

/// x - trunc x
inline ClassRow fraction() {
  ClassRow result = unary<TavNumFractI>(Op::Trunc);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const std::uint32_t x = reader.of(as<TavNumFractI>(node)->getOperand());
    return reader.put(Op::Sub, x, reader.put(Op::Trunc, x));
  };
  return result;
}

/// x, which must be whole: its value comes from the object, its derivative is that of x.
inline ClassRow conversion() {
  ClassRow result = unary<TavNumToIntI>(Op::Neg);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const std::uint32_t x = reader.of(as<TavNumToIntI>(node)->getOperand());
    const std::uint32_t sum = reader.put(Op::Add, x, reader.structural(0.0));
    reader.mark(sum, Record::kByObjects);
    return sum;
  };
  return result;
}

template <class Linear>
ClassRow linear() {
  return row<Linear>(
      Kind::Sum, Op::Add,
      [](Reader& reader, const TavNumExprI* node) {
        for (const TavPart* part = as<Linear>(node)->getFirstPart(); part; part = part->next) reader.ask(part->expr);
        const TavNumLinExprTermI* cell = as<Linear>(node)->getFirstTerm();
        for (; cell; cell = cell->next) reader.column(cell->var);
      },
      [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
        const auto* sum = as<Linear>(node);
        reader.watch(sum);
        std::uint32_t result = kNone;
        for (const TavPart* part = sum->getFirstPart(); part; part = part->next) {
          result = reader.plus(result, 1.0, reader.of(part->expr));
        }
        for (const TavNumLinExprTermI* cell = sum->getFirstTerm(); cell; cell = cell->next) {
          result = reader.plus(result, cell->coef, reader.of(cell->var));
        }
        const auto constant = static_cast<double>(sum->getConstant());
        if (result == kNone) return reader.data(constant);
        return constant == 0.0 ? result : reader.put(Op::Add, reader.data(constant), result);
      });
}

inline ClassRow variable(TavTypeInfo token, const char* name) {
  return {
      token, name, Kind::Column, Op::Variable, nullptr, [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
        return reader.column(as<TavNumVarI>(node));
      }};
}

template <class Node>
void askAll(Reader& reader, const TavNumExprI* node) {
  const auto exprs = as<Node>(node)->getExprs();
  for (TavInt i = 0; i < exprs.getSize(); ++i) reader.ask(exprs[i].getImpl());
}

/// The extreme of an array, by the rule of ties: an element takes the place of one before it, not of an equal one.
template <class Node>
ClassRow extreme(Op op) {
  return row<Node>(Kind::Operation, op, askAll<Node>, [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
    const auto exprs = as<Node>(node)->getExprs();
    if (exprs.getSize() == 0) return reader.throwing();
    std::uint32_t result = reader.of(exprs[0].getImpl());
    for (TavInt i = 1; i < exprs.getSize(); ++i) {
      result = reader.put(its.op, reader.of(exprs[i].getImpl()), result);
    }
    return result;
  });
}

inline std::uint32_t closeCount(Reader& reader, const ClassRow&, const TavNumExprI* node) {
  const auto exprs = as<TavCountI>(node)->getExprs();
  if (exprs.getSize() == 0) return reader.throwing();
  const std::uint32_t value = reader.data(static_cast<double>(as<TavCountI>(node)->getValue()));
  std::uint32_t result = kNone;
  for (TavInt i = 0; i < exprs.getSize(); ++i) {
    result = reader.plus(result, 1.0, reader.put(Op::Equal, reader.of(exprs[i].getImpl()), value));
  }
  return result;
}

inline ClassRow count() { return row<TavCountI>(Kind::Operation, Op::Equal, askAll<TavCountI>, closeCount); }

inline std::uint32_t closeDeviation(Reader& reader, const ClassRow&, const TavNumExprI* node) {
  const auto exprs = as<TavStandardDeviationI>(node)->getExprs();
  const TavInt size = exprs.getSize();
  if (size == 0) return reader.throwing();
  const std::uint32_t n = reader.structural(static_cast<double>(size));
  std::uint32_t sum = kNone;
  for (TavInt i = 0; i < size; ++i) sum = reader.plus(sum, 1.0, reader.of(exprs[i].getImpl()));
  const std::uint32_t mean = reader.put(Op::Div, sum, n);
  std::uint32_t squares = kNone;
  for (TavInt i = 0; i < size; ++i) {
    const std::uint32_t difference = reader.put(Op::Sub, reader.of(exprs[i].getImpl()), mean);
    squares = reader.plus(squares, 1.0, reader.put(Op::Square, difference));
  }
  return reader.put(Op::Sqrt, reader.put(Op::Div, squares, n));
}

inline ClassRow deviation() {
  return row<TavStandardDeviationI>(Kind::Operation, Op::Sqrt, askAll<TavStandardDeviationI>, closeDeviation);
}

template <class Node>
void askIndex(Reader& reader, const TavNumExprI* node) {
  reader.ask(as<Node>(node)->getIndex());
}

/// An element of an array of numbers.
template <class Node, bool IsInt>
ClassRow numberElement() {
  return row<Node>(Kind::Operation, Op::Lookup, askIndex<Node>,
                   [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
                     auto& arrays = reader.tables().arrays;
                     arrays.push_back({as<Node>(node)->getArray().getImpl(), IsInt});
                     const std::uint32_t table = reader.data(static_cast<double>(arrays.size() - 1));
                     return reader.put(its.op, reader.of(as<Node>(node)->getIndex()), table);
                   });
}

/// An element of an array of expressions: a choice by each position but the last. The index of a single one is read
/// too: it may throw.
template <class Node>
ClassRow expressionElement() {
  return row<Node>(
      Kind::Operation, Op::Select,
      [](Reader& reader, const TavNumExprI* node) {
        askIndex<Node>(reader, node);
        const auto exprs = as<Node>(node)->getArray();
        for (TavInt i = 0; i < exprs.getSize(); ++i) reader.ask(exprs[i].getImpl());
      },
      [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
        const auto exprs = as<Node>(node)->getArray();
        if (exprs.getSize() == 0) return reader.throwing();
        const std::uint32_t index = reader.put(Op::Trunc, reader.of(as<Node>(node)->getIndex()));
        std::uint32_t result = reader.of(exprs[exprs.getSize() - 1].getImpl());
        for (TavInt i = std::max<TavInt>(exprs.getSize() - 1, 1); i-- > 0;) {
          const std::uint32_t here = reader.put(Op::Equal, index, reader.structural(static_cast<double>(i)));
          result = reader.put(its.op, here, reader.of(exprs[i].getImpl()), result);
        }
        return result;
      });
}

template <class Node>
ClassRow conditional() {
  return row<Node>(
      Kind::Operation, Op::Select,
      [](Reader& reader, const TavNumExprI* node) {
        const auto* its = as<Node>(node);
        reader.ask(its->getCondition());
        if (its->getThen()) reader.ask(its->getThen());
        if (its->getElse()) reader.ask(its->getElse());
      },
      [](Reader& reader, const ClassRow& row, const TavNumExprI* node) {
        const auto* its = as<Node>(node);
        const std::uint32_t condition = reader.put(Op::Equal, reader.of(its->getCondition()), reader.structural(1.0));
        const std::uint32_t a =
            its->getThen() ? reader.of(its->getThen()) : reader.data(static_cast<double>(its->getThenConstant()));
        const std::uint32_t b =
            its->getElse() ? reader.of(its->getElse()) : reader.data(static_cast<double>(its->getElseConstant()));
        return reader.put(row.op, condition, a, b);
      });
}

inline ClassRow piecewise() {
  return row<TavExprPiecewiseLinearI>(
      Kind::Operation, Op::Piecewise,
      [](Reader& reader, const TavNumExprI* node) {
        if (const TavNumExprI* x = as<TavExprPiecewiseLinearI>(node)->getOperand()) reader.ask(x);
      },
      [](Reader& reader, const ClassRow& its, const TavNumExprI* node) {
        auto& tables = reader.tables().piecewise;
        tables.push_back(as<TavExprPiecewiseLinearI>(node));
        const TavNumExprI* operand = as<TavExprPiecewiseLinearI>(node)->getOperand();
        const std::uint32_t x = operand ? reader.of(operand) : reader.data(0.0);
        return reader.put(its.op, x, reader.data(static_cast<double>(tables.size() - 1)));
      });
}

inline ClassRow truth() {
  return row<TavConstConstraintI>(Kind::Operation, Op::Constant, nullptr,
                                  [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
                                    return reader.data(as<TavConstConstraintI>(node)->isTrue() ? 1.0 : 0.0);
                                  });
}

template <class Node>
ClassRow byObject() {
  return row<Node>(Kind::Operation, Op::Parameter, nullptr,
                   [](Reader& reader, const ClassRow&, const TavNumExprI* node) { return reader.byObject(node); });
}

template <class Node>
ClassRow notNumeric() {
  return row<Node>(Kind::NotNumeric, Op::Parameter, nullptr, nullptr);
}

}  // namespace taveval::classrows
