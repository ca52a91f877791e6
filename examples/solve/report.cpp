#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace tavsolve {

namespace {

const char* wordsFor(Status status) {
  switch (status) {
    case Status::Optimal:
      return "optimal";
    case Status::Infeasible:
      return "infeasible: no point satisfies all rows and bounds";
    case Status::Unbounded:
      return "unbounded: the objective can be improved without end";
    case Status::Violated:
      return "not solved: the solver calls a solution optimal that violates rows or bounds";
    case Status::TimeLimit:
      return "not solved: time limit reached";
    case Status::Stopped:
      break;
  }
  return "not solved: the solver stopped without an answer";
}

std::string count(std::size_t n, const char* what) { return std::to_string(n) + " " + what; }

}  // namespace

std::string text(double number) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.12g", number);
  return buffer;
}

void printSummary(std::ostream& os, const Model& model) {
  std::size_t whole = 0, semiContinuous = 0;
  for (const TavNumVar column : model.columns()) {
    whole += column.isInteger();
    semiContinuous += model.isSemiContinuous(column);
  }
  os << "model      " << (model.name().empty() ? "unnamed" : model.name()) << ": "
     << count(model.rows().size(), "rows, ") << count(model.columns().size(), "columns") << " (" << whole << " integer";
  if (semiContinuous > 0) os << ", " << semiContinuous << " semi-continuous";
  os << "), " << count(model.nonZeros(), "non-zeros, ")
     << (model.objective()->isMaximised() ? "maximised" : "minimised") << "\n";
}

void printModel(std::ostream& os, const Model& model, PrintForm form) {
  model.getEnv().getImpl()->librarySyntaxDisplay = form == PrintForm::Library;
  const auto precision = os.precision(15);
  os << TavExtractable(model.objective()) << "\n";
  for (RangeConstraintI* row : model.rows()) {
    if (row->getName()) os << row->getName() << ": ";
    os << TavExtractable(row) << "\n";
  }
  for (const TavNumVar column : model.columns()) {
    if (column) os << column << "\n";
  }
  os.precision(precision);
}

void printOutcome(std::ostream& os, const Model& model, const SolverAlgorithmI& solver, const Outcome& outcome) {
  os << "status     " << wordsFor(outcome.status) << "\n";
  if (outcome.hasSolution) {
    const TavAlgorithm algorithm(const_cast<SolverAlgorithmI*>(&solver));
    double rowDifference = 0.0;
    std::size_t held = 0;
    for (const RangeConstraintI* row : model.rows()) {
      rowDifference = std::max(rowDifference, std::abs(row->getSum().eval(algorithm) - solver.activityOf(row)));
      held += row->eval(algorithm) == 1.0;
    }
    const double objective = model.objective()->getSum().eval(algorithm);
    os << "objective  " << text(outcome.objective);
    if (outcome.status != Status::Optimal) os << " (best found)";
    os << "\nagreement  largest difference of eval to the solver: rows " << text(rowDifference) << ", objective "
       << text(std::abs(objective - outcome.objective)) << "; " << held << " of " << model.rows().size()
       << " rows hold\n";
    if (held < model.rows().size()) {
      os << "warning    rows violated by the solver's own solution: " << model.rows().size() - held << "\n";
    }
    if (std::abs(objective - outcome.objective) > 1e-6 * std::max(1.0, std::abs(objective))) {
      os << "warning    the objective of the solver's own solution is " << text(objective) << "\n";
    }
  }
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", outcome.seconds);
  os << "time       " << seconds << " s in the solver\n";
}

}  // namespace tavsolve
