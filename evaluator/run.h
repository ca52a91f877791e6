#pragma once
/// Runs programs over the elements of their shapes.

#include "evaluator/program.h"
#include "evaluator/sums.h"
#include "evaluator/tape.h"

namespace taveval {

/// What a run reads and writes. Derivatives are added to what stands there, except to runs of their own.
struct Task {
  const double* x;
  double sigma;
  const double* lambda;
  std::array<double*, kSections> results;  ///< To the objective the adding shape alone writes.
  const Shape* adding;                     ///< See Code::adding; null for none.
  double* summands;                        ///< Of the objective and of rows; they are added when all are there.
  double* registers;                       ///< At the start of a cache line, one more block than the program has.
  TapeNode* nodes;                         ///< Enough for the elements of the tape.
  double* tangents;                        ///< The same, 2 * Tape::kDirections for each node.
  std::size_t firstAddedOfJacobian, firstAddedOfHessian;  ///< Values before these are stored, not added.
  const Tables* tables;
};

/// Runs a program of a shape over blocks `first` .. `end - 1`.
using Runner = void (*)(const Shape& shape, const Program& program, const Task& task, std::uint32_t first,
                        std::uint32_t end);

/// For shapes of one lane.
void runSingles(const Shape& shape, const Program& program, const Task& task, std::uint32_t first, std::uint32_t end);

/// Runs blocks of some number of lanes, the elements of tapes, and rows that are added up.
struct BlockRunner {
  Runner run;
  std::uint32_t lanes;
  void (*runTape)(const Tape& tape, const Task& task);
  void (*runSums)(const SumShape& shape, const Task& task);
};

/// The runner by the widest vectors that the processor has.
BlockRunner blockRunner();

}  // namespace taveval
