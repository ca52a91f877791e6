#pragma once
/// A model as a file says it: plain arrays, nothing of the expression library yet.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/large_array.h"
#include "modelfile/names.h"

#pragma GCC visibility push(default)

/// What values a variable takes.
enum class TavFileKind : std::uint8_t {
  Continuous,      ///< from lower to upper
  Integer,         ///< whole numbers from lower to upper
  Binary,          ///< 0 or 1; the bounds are 0 and 1, or closer
  SemiContinuous,  ///< 0, or from lower to upper
  SemiInteger      ///< 0, or a whole number from lower to upper
};

/// A variable. Bounds are IEEE infinities where there is none; never NaN, lower never +inf, upper never -inf.
struct TavFileVariable {
  double lower = 0.0;                                      ///< At most `upper`, or no value is allowed.
  double upper = std::numeric_limits<double>::infinity();  ///< See `lower`.
  TavFileKind kind = TavFileKind::Continuous;              ///< What values it takes.
};

/// The bounds of a row's expression, as those of a variable; both infinite in a free row. lower may exceed upper: then
/// the row cannot be met.
struct TavFileRow {
  double lower = -std::numeric_limits<double>::infinity();  ///< Of the expression.
  double upper = std::numeric_limits<double>::infinity();   ///< Of the expression.
};

/// A coefficient of a linear sum.
struct TavFileTerm {
  std::int32_t variable;  ///< Its index.
  double value;           ///< The coefficient.
};

/// value * first * second, without any factor of one half; first <= second. No pair occurs twice in one sum.
struct TavFileProduct {
  std::int32_t first;   ///< Index of a variable.
  std::int32_t second;  ///< Index of a variable.
  double value;         ///< The coefficient.
};

/// Operations of non-linear expressions; the numbers are those of the .nl format, except the leaves.
enum class TavFileOp : std::uint8_t {
  // two arguments
  Add = 0,
  Subtract = 1,
  Multiply = 2,
  Divide = 3,
  Remainder = 4,
  Power = 5,
  Less = 6,
  Atan2 = 48,
  TruncatedQuotient = 55,
  Round = 57,
  Truncate = 58,
  PowerConstantExponent = 76,
  PowerConstantBase = 78,
  Or = 20,
  And = 21,
  LessThan = 22,
  AtMost = 23,
  Equal = 24,
  AtLeast = 28,
  GreaterThan = 29,
  NotEqual = 30,
  Iff = 73,
  CountAtLeast = 62,
  CountAtMost = 63,
  CountExactly = 66,
  NotCountAtLeast = 67,
  NotCountAtMost = 68,
  NotCountExactly = 69,
  // one argument
  Floor = 13,
  Ceil = 14,
  Abs = 15,
  Negate = 16,
  Not = 34,
  Tanh = 37,
  Tan = 38,
  Sqrt = 39,
  Sinh = 40,
  Sin = 41,
  Log10 = 42,
  Log = 43,
  Exp = 44,
  Cosh = 45,
  Cos = 46,
  Atanh = 47,
  Atan = 49,
  Asinh = 50,
  Asin = 51,
  Acosh = 52,
  Acos = 53,
  Square = 77,
  // as many arguments as `arg` says
  Min = 11,
  Max = 12,
  Sum = 54,
  Count = 59,
  NumberOf = 60,
  All = 70,
  Any = 71,
  AllDifferent = 74,
  NotAllDifferent = 75,
  // three arguments: condition, then, else
  If = 35,
  Implies = 72,
  // `arg` slopes: 2 arg - 1 numbers slope, breakpoint, slope, …, then the argument
  Piecewise = 64,
  // leaves
  Number = 200,    ///< `value`
  Variable = 201,  ///< the variable `arg`
  Common = 202     ///< the common expression `arg`
};

/// One operation or leaf of an expression in prefix order: an operation stands before its arguments. A reader appends
/// as it goes, a writer walks forwards, an evaluation walks backwards with a stack: none recurses.
struct TavFileToken {
  TavFileOp op;          ///< What it is.
  std::int32_t arg = 0;  ///< As TavFileOp says; otherwise 0.
  double value = 0.0;    ///< Of a Number; otherwise 0.
};

/// The tokens from begin up to, but not at, end in TavFileModel::tokens: one whole expression; empty means 0.
struct TavFileExpr {
  std::size_t begin = 0;                                ///< The first token.
  std::size_t end = 0;                                  ///< Behind the last token.
  bool empty() const noexcept { return begin == end; }  ///< Whether there is no token.
};

/// An objective: constant + linear + products + expr.
struct TavFileObjective {
  std::string name;       ///< May be empty.
  bool maximise = false;  ///< Otherwise minimised.
  double constant = 0.0;  ///< Finite.
  /// No variable occurs twice.
  TavLargeArray<TavFileTerm> linear;
  std::vector<TavFileProduct> products;  ///< No pair occurs twice.
  TavFileExpr expr;                      ///< The general part.
};

/// A part of a row beside its linear one: products, an expression, or both.
struct TavFileRowPart {
  std::int32_t row;                      ///< Index of the row.
  std::vector<TavFileProduct> products;  ///< No pair occurs twice.
  TavFileExpr expr;                      ///< The general part.
};

/// The row holds only where the variable, which is binary, has the value.
struct TavFileIndicator {
  std::int32_t row;       ///< Index of the row.
  std::int32_t variable;  ///< Index of the variable.
  bool value;             ///< Where the row holds.
};

/// At most `type` members, 1 or 2, are not zero; two must be neighbours in the order of the weights.
struct TavFileSet {
  std::string name;   ///< May be empty.
  std::uint8_t type;  ///< 1 or 2.
  /// `value` is the weight; in the order of the file.
  std::vector<TavFileTerm> members;
};

/// A sum that expressions share: linear + expr.
struct TavFileCommon {
  std::string name;                 ///< May be empty.
  std::vector<TavFileTerm> linear;  ///< No variable occurs twice.
  TavFileExpr expr;                 ///< The general part.
};

/// Named values attached to variables, rows, objectives or the problem.
struct TavFileSuffix {
  /// What values can be attached to.
  enum class Of : std::uint8_t {
    Variables,   ///< variables
    Rows,        ///< rows
    Objectives,  ///< objectives
    Problem      ///< the model itself
  };
  std::string name;       ///< Not empty.
  Of of = Of::Variables;  ///< What `values` counts.
  /// Otherwise whole numbers.
  bool real = false;
  /// Index and value; items that are left out have 0.
  std::vector<TavFileTerm> values;
};

/// A model. Its parts refer to each other by index, counted from 0. Readers have checked every index. A program that
/// fills a model itself keeps to the sizes, indices and orders that are stated here: writers and TavModelBuilder rely
/// on them unchecked. They check values: what a format cannot say is refused.
///
/// ```
/// TavFileModel model;                                      // minimise -x + 2 b with x + 3 b <= 4
/// model.variables = {{0.0, 10.0}, {0.0, 1.0, TavFileKind::Binary}};
/// model.variableNames.append("x");
/// model.variableNames.append("b");
/// model.objectives.emplace_back().linear = {{0, -1.0}, {1, 2.0}};
/// model.rows.push_back({-std::numeric_limits<double>::infinity(), 4.0});
/// model.linearVariable = {0, 1};                           // all rows, one after the other
/// model.linearValue = {1.0, 3.0};
/// model.linearBegin.push_back(model.linearValue.size());   // where each row ends
/// ```
struct TavFileModel {
  std::string name;  ///< May be empty.

  TavLargeArray<TavFileVariable> variables;  ///< In the order of the file.
  /// Names of the variables; all differ. Shorter than `variables` where the last have none.
  TavNameTable variableNames;
  /// Start values: empty, or one a variable, NaN where there is none.
  std::vector<double> start;

  TavLargeArray<TavFileRow> rows;  ///< In the order of the file.
  /// Names of the rows; all differ.
  TavNameTable rowNames;
  /// The linear parts row by row: those of row i stand at linearBegin[i] up to, but not at, linearBegin[i + 1]. One
  /// entry more than rows. No variable occurs twice in a row. The readers of MPS and LP leave coefficients of zero out.
  TavLargeArray<std::size_t> linearBegin{0};
  TavLargeArray<std::int32_t> linearVariable;  ///< Indices of variables.
  TavLargeArray<double> linearValue;           ///< Their coefficients.
  /// What rows have beside their linear part, by ascending row; at most one each.
  std::vector<TavFileRowPart> rowParts;
  /// Start values of the rows' multipliers: empty, or one a row, NaN where there is none.
  std::vector<double> dualStart;

  /// The first is the one to solve for; none: find a feasible point.
  std::vector<TavFileObjective> objectives;

  /// By ascending row; at most one each.
  std::vector<TavFileIndicator> indicators;
  std::vector<TavFileSet> sets;         ///< In the order of the file.
  std::vector<TavFileSuffix> suffixes;  ///< In the order of the file.

  /// The tokens of all expressions.
  TavLargeArray<TavFileToken> tokens;
  /// Each refers only to those before it.
  std::vector<TavFileCommon> commons;
  /// Expressions that must be true.
  std::vector<TavFileExpr> logical;

  /// The options in the first line of an .nl file, which a solver's answer repeats.
  std::vector<double> answerOptions;

  /// What the user should know of how the file was read, each one line without the file's name.
  std::vector<std::string> notes;

  /// Gives memory of the linear parts of the rows before `row` back to the system; they must not be read any more. For
  /// callers that turn rows into something else in ascending order. Cost: little, so that it may be called at each row.
  void discardRowsBefore(std::int32_t row) noexcept {
    constexpr std::int32_t kOften = 1024;
    if (row % kOften != 0) return;
    const std::size_t end = linearBegin[static_cast<std::size_t>(row)];
    linearVariable.discardBefore(end);
    linearValue.discardBefore(end);
  }
};

#pragma GCC visibility pop
