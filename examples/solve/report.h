#pragma once
/// What the program prints.

#include <iosfwd>
#include <string>

#include "options.h"
#include "solver.h"

namespace tavsolve {

/// Twelve significant digits.
std::string text(double number);

/// One line on the size and kind of the model.
void printSummary(std::ostream& os, const Model& model);

/// The model as text: objective, rows, columns.
void printModel(std::ostream& os, const Model& model, PrintForm form);

/// Status, objective and time of one solve; with a solution, how far the library's evaluation and the solver differ.
void printOutcome(std::ostream& os, const Model& model, const SolverAlgorithmI& solver, const Outcome& outcome);

}  // namespace tavsolve
