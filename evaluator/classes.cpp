// The table of what the evaluator knows of each class. Derivatives follow from the operations (derivative_rules.h).

#include <array>
#include <vector>

#include "evaluator/class_rows.h"

namespace taveval {

namespace {

using namespace classrows;

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
