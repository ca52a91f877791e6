#include "solve/program/report.h"

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
    case Status::LocallyOptimal:
      return "locally optimal: no point nearby is better";
    case Status::Infeasible:
      return "infeasible: no point satisfies all rows and bounds";
    case Status::LocallyInfeasible:
      return "locally infeasible: no point nearby violates rows and bounds less";
    case Status::Unbounded:
      return "unbounded: the objective can be improved without end";
    case Status::Violated:
      return "not solved: the solver calls a solution optimal that violates rows or bounds";
    case Status::TimeLimit:
      return "not solved: time limit reached";
    case Status::NodeLimit:
      return "not solved: node limit reached";
    case Status::Interrupted:
      return "not solved: interrupted";
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

std::string describe(const SolverProgress& progress) {
  const bool search = progress.phase == SolverProgress::Phase::Search;
  std::string line = search ? count(static_cast<std::size_t>(progress.nodes), "nodes")
                            : count(static_cast<std::size_t>(progress.iterations), "iterations");
  if (progress.bound) line += ", bound " + text(*progress.bound);
  if (progress.objective) line += (search ? ", best " : ", objective ") + text(*progress.objective);
  if (progress.infeasibility) line += ", infeasibility " + text(*progress.infeasibility);
  return line;
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

void printAnswer(std::ostream& os, const Model& model, EngineI& engine, const Answer& answer) {
  os << "status     " << wordsFor(answer.status);
  if (answer.status == Status::Violated) {
    os << " (" << answer.violation.where << " by " << text(answer.violation.amount) << ")";
  }
  os << "\n";
  if (answer.hasSolution) {
    const TavAlgorithm algorithm(&engine);
    double rowDifference = 0.0;
    std::size_t held = 0;
    for (const RangeConstraintI* row : model.rows()) {
      rowDifference = std::max(rowDifference, std::abs(row->getSum().eval(algorithm) - engine.activityOf(row)));
      held += row->eval(algorithm) == 1.0;
    }
    const double objective = model.objective()->getSum().eval(algorithm);
    os << "objective  " << text(answer.objective);
    if (!isSolved(answer.status)) os << " (best found)";
    os << "\nagreement  largest difference of eval to the solver: rows " << text(rowDifference) << ", objective "
       << text(std::abs(objective - answer.objective)) << "; " << held << " of " << model.rows().size()
       << " rows hold\n";
    if (held < model.rows().size()) {
      os << "warning    rows violated by the solver's own solution: " << model.rows().size() - held << "\n";
    }
    if (std::abs(objective - answer.objective) > 1e-6 * std::max(1.0, std::abs(objective))) {
      os << "warning    the objective of the solver's own solution is " << text(objective) << "\n";
    }
  }
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", answer.seconds);
  os << "time       " << seconds << " s in the solver\n";
}

}  // namespace tavsolve
