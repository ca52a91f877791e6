#pragma once
/// Solutions in files.

#include <iosfwd>
#include <string>
#include <vector>

#include "solve/engines/engine.h"

namespace tavsolve {

/// What an .sol file repeats of the .nl file.
struct StubFacts {
  /// The options of its first line.
  std::vector<double> options;
  /// Its columns and algebraic rows; those of logical constraints and of edits follow them in the model.
  std::size_t columns = 0, rows = 0;
};

/// Reads them from the first two lines of an .nl file; those that it lacks stay 0.
StubFacts readStubFacts(const std::string& path);

/// One answer, for writing.
struct Solution {
  const Model& model;
  const EngineI& engine;
  const Answer& answer;
  const StubFacts& stub;
};

/// The name of column j, or x1, x2, … where it has none.
std::string columnLabel(const Model& model, std::size_t j);
/// The name of row i, or c1, c2, … where it has none.
std::string rowLabel(const Model& model, std::size_t i);

/// "column NAME VALUE REDUCED_COST" a line; the reduced costs are left out where there are none, and on wish.
void printColumns(std::ostream& os, const Solution& solution, bool valuesOnly);
void printPlain(std::ostream& os, const Solution& solution);
void printJson(std::ostream& os, const Solution& solution);
/// As modelling systems read it.
void printSol(std::ostream& os, const Solution& solution);
/// The answer of a call that ended before its model was read.
void printUnreadSol(std::ostream& os, const StubFacts& stub, Status status);

/// Writes the solution in the format that the name says; "-" is standard output, and so are -.json and -.sol. Throws
/// InputError.
void writeSolution(const std::string& path, const Solution& solution);
/// Whether the name stands for standard output.
bool isStandardOutput(const std::string& path);

/// The values of a plain solution, one a column, NaN for columns that it lacks. Throws InputError.
std::vector<double> readStart(const std::string& path, const Model& model);

}  // namespace tavsolve
