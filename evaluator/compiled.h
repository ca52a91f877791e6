#pragma once
/// A compiled model: what the handles of tavevaluator.h hold.

#include <memory>
#include <optional>
#include <vector>

#include "evaluator/rows.h"
#include "evaluator/run.h"
#include "evaluator/structure.h"

namespace taveval {

/// The compiled program itself: nothing in it changes while it is evaluated.
struct Code {
  /// What is kept of a row.
  struct RowFacts {
    double constant;
    std::size_t firstTerm, termEnd;  ///< In `terms`.
    const char* withoutDerivative;
    TavEvaluator::Kind kind;
  };

  /// A row whose value is added up: its summands, then linear terms, then the constant. Others are whole outputs of a
  /// shape.
  struct LooseRow {
    double constant;
    std::size_t firstTerm, firstSummand;
    std::uint32_t termCount, summandCount, row;
  };

  std::vector<RowFacts> rows;           ///< The constraints, then the objective.
  std::vector<LooseRow> looseRows;      ///< The objective is the last.
  std::vector<std::uint32_t> summands;  ///< Of loose rows: places of values that shapes compute.
  std::size_t valueCount = 0;           ///< Places that these values take.
  std::vector<TavEvaluator::LinearTerm> terms;
  std::vector<std::uint32_t> byObjects;  ///< Rows whose values come from their objects.
  std::vector<Shape> shapes;
  Tape tape;
  BlockRunner runner = blockRunner();  ///< That the shapes' blocks are made for.
  Tables tables;
  Structure jacobian, hessian;
  std::vector<double> gradientStart;      ///< The gradient of the objective's linear part.
  std::size_t registers = 0;              ///< That the largest program needs, in doubles.
  const char* withoutJacobian = nullptr;  ///< Class without derivatives in a constraint, or null.
  const char* withoutGradient = nullptr;  ///< The same of the objective.

  std::size_t constraintCount() const noexcept { return rows.size() - 1; }
  std::size_t bytes() const noexcept;
};

/// Reads the expressions and compiles them; null stands for 0. Columns that are met may be added to `columns`.
Code compile(const std::vector<TavNumExprI*>& constraints, TavNumExprI* objective, Columns& columns,
             const TavEvaluator::Options& options, std::vector<bool>& watched);

class Follower;

/// The expressions of an evaluator and their program.
class Compiled {
 public:
  Compiled(TavEnvI* env, TavNumExprArg objective, std::span<const TavNumExprArg> constraints,
           std::span<const TavNumVar> columns, TavEvaluator::Options options);
  Compiled(const Compiled&) = delete;
  Compiled& operator=(const Compiled&) = delete;
  ~Compiled();

  /// The program, with all reported modifications.
  const Code& code() {
    if (_isStale) recompile();
    return _code;
  }
  const Columns& columns() const noexcept { return _columns; }
  std::size_t constraintCount() const noexcept { return _constraints.size(); }
  /// Throws TavWrongUsage for a row that there is not.
  const Code::RowFacts& factsOf(std::size_t row);
  std::size_t bytes() const noexcept { return _code.bytes(); }
  /// The environment; null once it has ended.
  TavEnvI* env() const noexcept;
  TavNumExprI* expression(std::size_t row) const { return row < _constraints.size() ? _constraints[row] : _objective; }
  const TavEvaluator::Options& options() const noexcept { return _options; }
  std::size_t version() const noexcept { return _version; }
  void recompile();
  void replace(std::size_t row, TavNumExprArg expression);

 private:
  friend class Follower;
  void requireHome(const TavExtractableI* object) const;
  static void retain(TavNumExprI* expression) noexcept;
  void release(TavNumExprI* expression) noexcept;

  TavEnvI* _home;
  TavEvaluator::Options _options;
  bool _columnsAreGiven;
  Columns _columns;
  std::vector<TavNumExprI*> _constraints;
  TavNumExprI* _objective = nullptr;
  Code _code;
  std::vector<bool> _watched;  // by identifier: objects whose modifications matter
  bool _isStale = false;
  std::size_t _version = 0;
  std::unique_ptr<Follower> _follower;
};

}  // namespace taveval
