#include "solve/program/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>

#include "solve/edits/words.h"

namespace tavsolve {

namespace {

/// The status as a sentence.
const char* sentenceFor(Status status) {
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

namespace {

/// How far the values of expressions and of the solver differ: a difference is a fault of the engine.
void printAgreement(std::ostream& os, const Solution& solution) {
  const Model& model = solution.model;
  const TavAlgorithm algorithm(&const_cast<EngineI&>(solution.engine));
  double rowDifference = 0.0;
  std::size_t held = 0;
  for (const RangeConstraintI* row : model.rows()) {
    rowDifference = std::max(rowDifference, std::abs(row->getSum().eval(algorithm) - solution.engine.activityOf(row)));
    held += row->eval(algorithm) == 1.0;
  }
  const double objective = model.objective()->getSum().eval(algorithm);
  os << "agreement  largest difference of eval to the solver: rows " << text(rowDifference) << ", objective "
     << text(std::abs(objective - solution.answer.objective)) << "; " << held << " of " << model.rows().size()
     << " rows hold\n";
}

}  // namespace

void printAnswer(std::ostream& os, const Solution& solution, double tolerance) {
  const Answer& answer = solution.answer;
  os << "status     " << sentenceFor(answer.status) << "\n";
  if (!answer.remark.empty()) os << "remark     " << answer.remark << "\n";
  if (answer.hasSolution) {
    os << "objective  " << text(answer.objective) << (isSolved(answer.status) ? "\n" : " (best found)\n");
  }
  if (std::isfinite(answer.bound)) {
    os << "bound      " << text(answer.bound);
    if (answer.hasSolution) {
      const double gap = std::abs(answer.objective - answer.bound) / std::max(1e-10, std::abs(answer.objective));
      char percent[32];
      std::snprintf(percent, sizeof percent, "%.4g", 100.0 * gap);
      os << " (gap " << (answer.objective == answer.bound ? "0" : percent) << " %)";
    }
    os << "\n";
  }
  if (answer.hasSolution) {
    const Violation& violation = answer.violation;
    os << "violation  " << text(violation.amount);
    if (!violation.where.empty()) os << " (" << violation.where << ")";
    os << ", tolerance " << text(tolerance) << "\n";
    printAgreement(os, solution);
  }
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", answer.seconds);
  os << "effort     " << answer.iterations << " iterations, " << answer.nodes << " nodes\n"
     << "time       " << seconds << " s in the solver";
  if (answer.evaluationSeconds > 0.0) {
    std::snprintf(seconds, sizeof seconds, "%.6f", answer.evaluationSeconds);
    os << ", " << seconds << " s of it in functions of the model";
  }
  os << "\n";
}

}  // namespace tavsolve
