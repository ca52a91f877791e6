#include "evaluator/scalar.h"

#include <cmath>
#include <limits>

#include "expression/nodes.h"

namespace taveval {

namespace {

// The cases of powers: a factor 0 makes a derivative 0, whatever the power beside it.

double powerByBase(double x, double y) { return y == 0.0 ? 0.0 : y * std::pow(x, y - 1.0); }
double powerByBase2(double x, double y) { return y == 0.0 || y == 1.0 ? 0.0 : y * (y - 1.0) * std::pow(x, y - 2.0); }
double powerByExp(double x, double y) { return x <= 0.0 ? 0.0 : std::pow(x, y) * std::log(x); }
double powerByExp2(double x, double y) { return x <= 0.0 ? 0.0 : std::pow(x, y) * std::log(x) * std::log(x); }
double powerByBaseExp(double x, double y) { return x <= 0.0 ? 0.0 : std::pow(x, y - 1.0) * (1.0 + y * std::log(x)); }

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// What would be undefined behaviour in `eval`, of branches that are not chosen too, gives no value here.
double integerQuotient(double a, double b) {
  const TavInt dividend = TavTrunc(a), divisor = TavTrunc(b);
  if (divisor == 0) return kNan;
  return divisor == -1 ? static_cast<double>(TavWrapNegate(dividend)) : static_cast<double>(dividend / divisor);
}

double remainder(double a, double b) {
  const TavInt dividend = TavTrunc(a), divisor = TavTrunc(b);
  if (divisor == 0) return kNan;
  return divisor == -1 ? 0.0 : static_cast<double>(dividend % divisor);
}

double lookup(const Tables& tables, double index, double number) {
  const Tables::Array& table = tables.arrays[static_cast<std::size_t>(number)];
  const TavInt at = TavTrunc(index);
  if (at < 0 || at >= table.array->getSize()) return kNan;
  return table.isInt ? static_cast<double>(table.array->get<TavInt>(at)) : table.array->get<double>(at);
}

const TavExprPiecewiseLinearI& piecewise(const Tables& tables, double number) {
  return *tables.piecewise[static_cast<std::size_t>(number)];
}

}  // namespace

double applyScalar(Op op, double a, double b, double c, const Tables* tables) {
  double result = 0.0;
  if (applyArithmetic(op, a, b, result)) return result;
  switch (op) {
    case Op::Sin:
      return TavSinI::apply(a);
    case Op::Cos:
      return TavCosI::apply(a);
    case Op::Tan:
      return TavTanI::apply(a);
    case Op::ArcSin:
      return TavArcSinI::apply(a);
    case Op::ArcCos:
      return TavArcCosI::apply(a);
    case Op::ArcTan:
      return TavArcTanI::apply(a);
    case Op::Log:
      return TavLogI::apply(a);
    case Op::Exp:
      return TavExponentI::apply(a);
    case Op::Sqrt:
      return std::sqrt(a);
    case Op::SafeRecipSqrt:
      return a == 0.0 ? 0.0 : 1.0 / std::sqrt(a);
    case Op::Power:
      return TavNumPowerI::apply(a, b);
    case Op::PowerByBase:
      return powerByBase(a, b);
    case Op::PowerByExp:
      return powerByExp(a, b);
    case Op::PowerByBase2:
      return powerByBase2(a, b);
    case Op::PowerByBaseExp:
      return powerByBaseExp(a, b);
    case Op::PowerByExp2:
      return powerByExp2(a, b);
    case Op::Sign:
      return TavSgnI::apply(a);
    case Op::Ceil:
      return TavNumCeilI::apply(a);
    case Op::Floor:
      return TavNumFloorI::apply(a);
    case Op::Trunc:
      return TavNumTruncI::apply(a);
    case Op::RoundAway:
      return TavRound(a);
    case Op::RoundEven:
      return TavNumRoundI::apply(a);
    case Op::IntDiv:
      return integerQuotient(a, b);
    case Op::Modulo:
      return remainder(a, b);
    case Op::Less:
      return a < b ? 1.0 : 0.0;
    case Op::Equal:
      return a == b ? 1.0 : 0.0;
    case Op::Lookup:
      return lookup(*tables, a, b);
    case Op::PiecewiseSlope:
      return piecewise(*tables, b).getPiecewiseLinearSlope(a);
    case Op::Piecewise:
      return piecewise(*tables, b).getPiecewiseLinearValue(a);
    case Op::Abs:
      return TavNumAbsI::apply(a);
    case Op::Min:
      return TavNumMinI::apply(a, b);
    case Op::Max:
      return TavNumMaxI::apply(a, b);
    case Op::Select:
      return a != 0.0 ? b : c;
    case Op::MulAdd:
      return a * b + c;
    case Op::MulSub:
      return a * b - c;
    case Op::SubMul:
      return c - a * b;
    default:
      return kNan;
  }
}

}  // namespace taveval
