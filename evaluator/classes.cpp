// What the evaluator knows of each class: how its operands are read, and what operation it is. Derivatives follow from
// the operation (derivative_rules.cpp).

#include <algorithm>
#include <array>

#include "evaluator/rows.h"

namespace taveval {

namespace {

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
ClassRow product() {
  ClassRow result = withConstant<TavNumTimesCstI>(Op::Mul, Kind::Scaled);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    return reader.plus(kNone, as<TavNumTimesCstI>(node)->getConstant(),
                       reader.of(as<TavNumTimesCstI>(node)->getOperand()));
  };
  return result;
}

/// x ^ constant: whole exponents that products and quotients compute as well are part of the structure.
ClassRow constantPower() {
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
ClassRow distance() {
  ClassRow result = unary<TavDistToIntI>(Op::RoundAway);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const std::uint32_t x = reader.of(as<TavDistToIntI>(node)->getOperand());
    return reader.put(Op::Abs, reader.put(Op::Sub, reader.put(Op::RoundAway, x), x));
  };
  return result;
}

/// x - trunc x
ClassRow fraction() {
  ClassRow result = unary<TavNumFractI>(Op::Trunc);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const std::uint32_t x = reader.of(as<TavNumFractI>(node)->getOperand());
    return reader.put(Op::Sub, x, reader.put(Op::Trunc, x));
  };
  return result;
}

/// x, which must be whole: its value comes from the object, its derivative is that of x.
ClassRow conversion() {
  ClassRow result = unary<TavNumToIntI>(Op::Neg);
  result.close = [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
    const std::uint32_t x = reader.of(as<TavNumToIntI>(node)->getOperand());
    return reader.put(Op::Add, x, reader.structural(0.0), kNone, Record::kByObjects);
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
          result = reader.plus(result, cell->coef, reader.column(cell->var));
        }
        const auto constant = static_cast<double>(sum->getConstant());
        if (result == kNone) return reader.data(constant);
        return constant == 0.0 ? result : reader.put(Op::Add, reader.data(constant), result);
      });
}

ClassRow variable(TavTypeInfo token, const char* name) {
  return {token, name, Kind::Column, Op::Variable, nullptr, nullptr};
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

ClassRow count() {
  return row<TavCountI>(Kind::Operation, Op::Equal, askAll<TavCountI>,
                        [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
                          const auto exprs = as<TavCountI>(node)->getExprs();
                          if (exprs.getSize() == 0) return reader.throwing();
                          const std::uint32_t value = reader.data(static_cast<double>(as<TavCountI>(node)->getValue()));
                          std::uint32_t result = kNone;
                          for (TavInt i = 0; i < exprs.getSize(); ++i) {
                            const std::uint32_t equal = reader.put(Op::Equal, reader.of(exprs[i].getImpl()), value);
                            result = reader.plus(result, 1.0, equal);
                          }
                          return result;
                        });
}

ClassRow deviation() {
  return row<TavStandardDeviationI>(Kind::Operation, Op::Sqrt, askAll<TavStandardDeviationI>,
                                    [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
                                      const auto exprs = as<TavStandardDeviationI>(node)->getExprs();
                                      const TavInt size = exprs.getSize();
                                      if (size == 0) return reader.throwing();
                                      const std::uint32_t n = reader.structural(static_cast<double>(size));
                                      std::uint32_t sum = kNone;
                                      for (TavInt i = 0; i < size; ++i)
                                        sum = reader.plus(sum, 1.0, reader.of(exprs[i].getImpl()));
                                      const std::uint32_t mean = reader.put(Op::Div, sum, n);
                                      std::uint32_t squares = kNone;
                                      for (TavInt i = 0; i < size; ++i) {
                                        const std::uint32_t difference =
                                            reader.put(Op::Sub, reader.of(exprs[i].getImpl()), mean);
                                        squares = reader.plus(squares, 1.0, reader.put(Op::Square, difference));
                                      }
                                      return reader.put(Op::Sqrt, reader.put(Op::Div, squares, n));
                                    });
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

/// An element of an array of expressions: a choice by each position but the last.
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
        for (TavInt i = exprs.getSize() - 1; i-- > 0;) {
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

ClassRow piecewise() {
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

ClassRow truth() {
  return row<TavConstConstraintI>(
      Kind::Operation, Op::Constant, [](Reader&, const TavNumExprI*) {},
      [](Reader& reader, const ClassRow&, const TavNumExprI* node) {
        return reader.data(as<TavConstConstraintI>(node)->isTrue() ? 1.0 : 0.0);
      });
}

template <class Node>
ClassRow byObject() {
  return row<Node>(Kind::ByObject, Op::Parameter, nullptr, nullptr);
}

template <class Node>
ClassRow notNumeric() {
  return row<Node>(Kind::NotNumeric, Op::Parameter, nullptr, nullptr);
}

/// The table, a row for each class of expression/classes.inc.
std::vector<ClassRow> makeTable() {
  return {
      // Arithmetic.
      withConstant<TavNumMinCstI>(Op::Min),
      withConstant<TavNumMaxCstI>(Op::Max),
      withConstant<TavIntMinCstI>(Op::Min),
      withConstant<TavIntMaxCstI>(Op::Max),
      binary<TavNumMinI>(Op::Min),
      binary<TavNumMaxI>(Op::Max),
      binary<TavIntMinI>(Op::Min),
      binary<TavIntMaxI>(Op::Max),
      extreme<TavNumMinArrayI>(Op::Min),
      extreme<TavNumMaxArrayI>(Op::Max),
      extreme<TavIntMinArrayI>(Op::Min),
      extreme<TavIntMaxArrayI>(Op::Max),
      constantPower(),
      constantFirst<TavNumRecPowerCstI>(Op::Power),
      binary<TavNumPowerI>(Op::Power),
      product(),
      withConstant<TavIntTimesCstI>(Op::Mul, Kind::Scaled),
      withConstant<TavNumDivCstI>(Op::Div, Kind::Scaled),
      withConstant<TavIntDivCstI>(Op::IntDiv),
      constantFirst<TavNumRecDivCstI>(Op::Div),
      constantFirst<TavIntRecDivCstI>(Op::IntDiv),
      binary<TavNumTimesI>(Op::Mul),
      binary<TavIntTimesI>(Op::Mul),
      binary<TavNumDivI>(Op::Div),
      binary<TavIntDivI>(Op::IntDiv),
      unary<TavNumSquareI>(Op::Square),
      unary<TavIntSquareI>(Op::Square),
      unary<TavNumAbsI>(Op::Abs),
      unary<TavIntAbsI>(Op::Abs),
      unary<TavSgnI>(Op::Sign),
      linear<TavNumLinTermI>(),
      linear<TavIntLinTermI>(),
      // Variables.
      variable(TavNumVarI::GetTypeInfo(), TavNumVarI::kTypeName),
      variable(TavConstraintIndVarI::GetTypeInfo(), TavConstraintIndVarI::kTypeName),
      variable(TavSemiContVarI::GetTypeInfo(), TavSemiContVarI::kTypeName),
      // Special.
      conditional<TavConditionalIntExprI>(),
      conditional<TavConditionalNumExprI>(),
      count(),
      deviation(),
      expressionElement<TavNumExprArrayElementI>(),
      expressionElement<TavIntExprArrayElementI>(),
      numberElement<TavNumArrayElementI, false>(),
      numberElement<TavIntArrayElementI, true>(),
      unary<TavSinI>(Op::Sin),
      unary<TavCosI>(Op::Cos),
      unary<TavTanI>(Op::Tan),
      unary<TavArcSinI>(Op::ArcSin),
      unary<TavArcCosI>(Op::ArcCos),
      unary<TavArcTanI>(Op::ArcTan),
      unary<TavLogI>(Op::Log),
      unary<TavExponentI>(Op::Exp),
      binary<TavIntModuloI>(Op::Modulo),
      withConstant<TavIntModuloCstI>(Op::Modulo),
      constantFirst<TavIntRecModuloCstI>(Op::Modulo),
      piecewise(),
      unary<TavNumCeilI>(Op::Ceil),
      unary<TavNumFloorI>(Op::Floor),
      unary<TavNumTruncI>(Op::Trunc),
      distance(),
      fraction(),
      unary<TavNumRoundI>(Op::RoundEven),
      conversion(),
      truth(),
      // Evaluated by their objects: client functions, parameters of a modelling language, and abstract bases, whose
      // rows stand for classes made outside the library.
      byObject<TavMonotonicNumExprI>(),
      byObject<TavNumIndexI>(),
      byObject<TavIntIndexI>(),
      byObject<TavConstraintI>(),
      byObject<TavNumExprI>(),
      byObject<TavIntExprI>(),
      // Not expressions of numbers.
      notNumeric<TavConversionI>(),
      notNumeric<TavAnyExprI>(),
      notNumeric<TavTupleSubMapExprI>(),
  };
}

/// The table as a hash table by token.
class Table {
 public:
  Table() : _rows(makeTable()) {
    for (const ClassRow& row : _rows) {
      std::size_t at = placeOf(row.token);
      while (_slots[at]) at = (at + 1) % kSlots;
      _slots[at] = &row;
    }
  }
  const ClassRow* find(TavTypeInfo token) const noexcept {
    std::size_t at = placeOf(token);
    while (_slots[at] && _slots[at]->token != token) at = (at + 1) % kSlots;
    return _slots[at];
  }

 private:
  static constexpr std::size_t kSlots = 512;
  static std::size_t placeOf(TavTypeInfo token) noexcept {
    return (reinterpret_cast<std::uintptr_t>(token) * 0x9e3779b97f4a7c15ULL >> 40) % kSlots;
  }
  std::vector<ClassRow> _rows;
  std::array<const ClassRow*, kSlots> _slots{};
};

}  // namespace

const ClassRow* classRowOf(TavTypeInfo token) {
  static const Table table;
  return table.find(token);
}

}  // namespace taveval
