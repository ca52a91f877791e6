#pragma once
/// What the program prints.

#include <iosfwd>
#include <string>

#include "solve/engines/engine.h"
#include "solve/program/options.h"
#include "solve/program/solution_file.h"

namespace tavsolve {

/// One line on the size and kind of the model.
void printSummary(std::ostream& os, const Model& model);

/// What a solver is doing, for the line of progress.
std::string describe(const SolverProgress& progress);

/// The model as text: objective, rows, columns.
void printModel(std::ostream& os, const Model& model, PrintForm form);

/// Status, objective, bound, violation, effort and time of one solve; with a solution, how far the library's evaluation
/// and the solver differ.
void printAnswer(std::ostream& os, const Solution& solution, double tolerance);

}  // namespace tavsolve
