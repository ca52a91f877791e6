#include "modelfile/operations.h"

#include <array>
#include <cmath>

namespace {

struct Row {
  TavFileOp op;
  TavFileOperation operation;
};

constexpr TavFileOperation fixed(const char* name, std::uint8_t arguments, bool logical = false) {
  return {name, TavFileShape::Fixed, arguments, logical};
}

constexpr TavFileOperation list(const char* name, bool logical = false) {
  return {name, TavFileShape::List, 0, logical};
}

using enum TavFileOp;

constexpr Row kRows[] = {
    {Add, fixed("+", 2)},
    {Subtract, fixed("-", 2)},
    {Multiply, fixed("*", 2)},
    {Divide, fixed("/", 2)},
    {Remainder, fixed("mod", 2)},
    {Power, fixed("^", 2)},
    {Less, fixed("less", 2)},
    {Atan2, fixed("atan2", 2)},
    {TruncatedQuotient, fixed("div", 2)},
    {Round, fixed("round", 2)},
    {Truncate, fixed("trunc", 2)},
    {PowerConstantExponent, fixed("^", 2)},
    {PowerConstantBase, fixed("^", 2)},
    {Or, fixed("or", 2, true)},
    {And, fixed("and", 2, true)},
    {LessThan, fixed("<", 2, true)},
    {AtMost, fixed("<=", 2, true)},
    {Equal, fixed("=", 2, true)},
    {AtLeast, fixed(">=", 2, true)},
    {GreaterThan, fixed(">", 2, true)},
    {NotEqual, fixed("!=", 2, true)},
    {Iff, fixed("iff", 2, true)},
    {CountAtLeast, fixed("atleast", 2, true)},
    {CountAtMost, fixed("atmost", 2, true)},
    {CountExactly, fixed("exactly", 2, true)},
    {NotCountAtLeast, fixed("!atleast", 2, true)},
    {NotCountAtMost, fixed("!atmost", 2, true)},
    {NotCountExactly, fixed("!exactly", 2, true)},
    {Floor, fixed("floor", 1)},
    {Ceil, fixed("ceil", 1)},
    {Abs, fixed("abs", 1)},
    {Negate, fixed("unary -", 1)},
    {Not, fixed("not", 1, true)},
    {Tanh, fixed("tanh", 1)},
    {Tan, fixed("tan", 1)},
    {Sqrt, fixed("sqrt", 1)},
    {Sinh, fixed("sinh", 1)},
    {Sin, fixed("sin", 1)},
    {Log10, fixed("log10", 1)},
    {Log, fixed("log", 1)},
    {Exp, fixed("exp", 1)},
    {Cosh, fixed("cosh", 1)},
    {Cos, fixed("cos", 1)},
    {Atanh, fixed("atanh", 1)},
    {Atan, fixed("atan", 1)},
    {Asinh, fixed("asinh", 1)},
    {Asin, fixed("asin", 1)},
    {Acosh, fixed("acosh", 1)},
    {Acos, fixed("acos", 1)},
    {Square, fixed("square", 1)},
    {Min, list("min")},
    {Max, list("max")},
    {Sum, list("sum")},
    {Count, list("count")},
    {NumberOf, list("numberof")},
    {All, list("forall", true)},
    {Any, list("exists", true)},
    {AllDifferent, list("alldiff", true)},
    {NotAllDifferent, list("!alldiff", true)},
    {If, fixed("if", 3)},
    {Implies, fixed("==>", 3, true)},
    {Piecewise, {"piecewise-linear", TavFileShape::Piecewise, 0, false}},
    {Number, {"number", TavFileShape::Leaf, 0, false}},
    {Variable, {"variable", TavFileShape::Leaf, 0, false}},
    {Common, {"common expression", TavFileShape::Leaf, 0, false}},
};

constexpr auto kTable = [] {
  std::array<TavFileOperation, 256> table{};
  for (const Row& row : kRows) table[static_cast<std::uint8_t>(row.op)] = row.operation;
  return table;
}();

}  // namespace

const TavFileOperation& TavOperationOf(std::uint8_t code) noexcept { return kTable[code]; }

std::int64_t TavArgumentsOf(const TavFileToken& token) noexcept {
  const TavFileOperation& operation = TavOperationOf(token.op);
  switch (operation.shape) {
    case TavFileShape::Fixed:
      return operation.arguments;
    case TavFileShape::List:
      return token.arg;
    case TavFileShape::Piecewise:
      return 2 * std::int64_t{token.arg};
    case TavFileShape::Leaf:
      break;
  }
  return 0;
}

double TavWithin(const TavFileRow& row) noexcept {
  if (row.lower <= 0.0 && row.upper >= 0.0) return 0.0;
  return std::isfinite(row.lower) ? row.lower : row.upper;
}
