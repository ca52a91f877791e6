#pragma once
/// The operations of compiled programs.

#include <array>
#include <cstddef>
#include <cstdint>

namespace taveval {

/// What a node of a graph, or an instruction of a program, computes from its operands a, b and c.
enum class Op : std::uint8_t {
  // Leaves.
  Constant,   ///< A number that is part of the structure.
  Parameter,  ///< A number that is data: it may differ between elements of one shape.
  Variable,   ///< A column's value.
  Weight,     ///< The multiplier of an output: lambda of its row, or sigma.
  // Arithmetic.
  Add,
  Sub,
  Mul,
  Div,
  Neg,
  Square,
  // Elementary functions.
  Sin,
  Cos,
  Tan,
  ArcSin,
  ArcCos,
  ArcTan,
  Log,
  Exp,
  SafeRecipSqrt,  ///< 1 / sqrt(a), 0 where a is 0.
  Sqrt,
  Power,           ///< a ^ b; its derivatives follow, which are 0 where the textbook's have a factor 0.
  PowerByBase,     ///< b a^(b-1)
  PowerByExp,      ///< a^b log a for positive a, else 0; the second derivatives likewise.
  PowerByBase2,    ///< b (b-1) a^(b-2)
  PowerByBaseExp,  ///< a^(b-1) (1 + b log a)
  PowerByExp2,     ///< a^b (log a)^2
  // Piecewise constant functions.
  Sign,
  Ceil,
  Floor,
  Trunc,
  RoundAway,  ///< Halves away from zero.
  RoundEven,  ///< Halves to the even number.
  IntDiv,
  Modulo,
  Less,            ///< 1 where a < b, else 0.
  Equal,           ///< 1 where a == b, else 0.
  Lookup,          ///< Element trunc(a) of the table that b numbers.
  PiecewiseSlope,  ///< Slope at a of the piecewise-linear function that b numbers.
  // Continuous, with kinks.
  Piecewise,  ///< Value at a of the piecewise-linear function that b numbers.
  Abs,
  Min,     ///< b > a ? a : b
  Max,     ///< a > b ? a : b
  Select,  ///< a != 0 ? b : c
  // Instructions only.
  SinCos,  ///< The sine of a, and in the register c its cosine.
  MulAdd,  ///< a b + c
  MulSub,  ///< a b - c
  SubMul,  ///< c - a b
};

/// Marks an absent node or operand.
inline constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

namespace detail {

constexpr std::uint8_t countOperands(Op op) noexcept {
  switch (op) {
    case Op::Constant:
    case Op::Parameter:
    case Op::Variable:
    case Op::Weight:
      return 0;
    case Op::Add:
    case Op::Sub:
    case Op::Mul:
    case Op::Div:
    case Op::Power:
    case Op::PowerByBase:
    case Op::PowerByExp:
    case Op::PowerByBase2:
    case Op::PowerByBaseExp:
    case Op::PowerByExp2:
    case Op::IntDiv:
    case Op::Modulo:
    case Op::Less:
    case Op::Equal:
    case Op::Lookup:
    case Op::Piecewise:
    case Op::PiecewiseSlope:
    case Op::Min:
    case Op::Max:
      return 2;
    case Op::Select:
      return 3;
    default:
      return 1;
  }
}

inline constexpr auto kOperandCounts = [] {
  constexpr std::size_t kCount = static_cast<std::size_t>(Op::Select) + 1;
  std::array<std::uint8_t, kCount> counts{};
  for (std::size_t op = 0; op != kCount; ++op) counts[op] = countOperands(static_cast<Op>(op));
  return counts;
}();

}  // namespace detail

/// The number of operands of an operation that graphs contain.
constexpr int operandCount(Op op) noexcept { return detail::kOperandCounts[static_cast<std::size_t>(op)]; }

/// Whether the derivative is 0 wherever there is one: nothing is propagated to the operands.
constexpr bool isPiecewiseConstant(Op op) noexcept { return op >= Op::Sign && op <= Op::PiecewiseSlope; }

/// Whether the operation looks into a table, whose content may change.
constexpr bool readsTable(Op op) noexcept {
  return op == Op::Lookup || op == Op::Piecewise || op == Op::PiecewiseSlope;
}

}  // namespace taveval
