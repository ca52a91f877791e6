#pragma once
/// A compiled program, and how it is made of expressions.

#include <vector>

#include "evaluator/rows.h"
#include "evaluator/run.h"
#include "evaluator/structure.h"
#include "evaluator/tape.h"

namespace taveval {

/// The compiled program itself: nothing in it changes while it is evaluated.
struct Code {
  /// What is kept of a row.
  struct RowFacts {
    double constant;
    const char* withoutDerivative;  ///< The name of a class, or null.
    std::uint32_t firstTerm;        ///< In `terms`.
    std::uint32_t termCount : 30;
    std::uint32_t kindNumber : 2;

    std::size_t termEnd() const noexcept { return std::size_t{firstTerm} + termCount; }
    TavEvaluator::Kind kind() const noexcept { return static_cast<TavEvaluator::Kind>(kindNumber); }
  };

  std::vector<RowFacts> rows;  ///< The constraints, then the objective.
  Sums sums;                   ///< Rows that are added up; others are whole outputs of a shape.
  /// The shape whose values, element by element, are the objective's summands in their order, or kNone. They are added
  /// up while the next block is computed.
  std::uint32_t adding = kNone;
  std::size_t valueCount = 0;  ///< Places that these values take.
  std::vector<TavEvaluator::LinearTerm> terms;
  std::vector<std::uint32_t> termPlaces;  ///< Of the terms, in the Jacobian; kNone for the objective's.
  std::vector<std::uint32_t> byObjects;   ///< Rows whose values come from their objects.
  std::vector<Shape> shapes;
  Tape tape;
  BlockRunner runner = blockRunner();  ///< That the shapes' blocks are made for.
  Tables tables;
  Structure jacobian, hessian;
  Start gradientStart;                    ///< The gradient of the objective's linear part.
  std::size_t patched = 0;                ///< Elements that have come since the program was compiled.
  std::size_t registers = 0;              ///< That the largest program needs, with one to spare, in doubles.
  const char* withoutJacobian = nullptr;  ///< Class without derivatives in a constraint, or null.
  const char* withoutGradient = nullptr;  ///< The same of the objective.

  std::size_t constraintCount() const noexcept { return rows.size() - 1; }
  std::size_t bytes() const noexcept;
};

/// Reads the expressions and compiles them; null stands for 0. Columns that are met may be added to `columns`.
Code compile(const std::vector<TavNumExprI*>& constraints, TavNumExprI* objective, Columns& columns,
             const TavEvaluator::Options& options, Watch& watch);

/// What is kept of a row whose terms begin at `firstTerm`.
Code::RowFacts factsOf(const Row& row, std::size_t firstTerm) noexcept;
/// A row that is added up, without its summands.
LooseRow looseRowOf(const Row& row, std::size_t firstTerm, std::uint32_t number) noexcept;

}  // namespace taveval
