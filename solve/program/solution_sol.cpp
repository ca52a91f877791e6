#include <cmath>
#include <ostream>
#include <span>

#include "solve/edits/words.h"
#include "solve/program/report.h"
#include "solve/program/solution_file.h"

/// Solutions as modelling systems read them: by the order of the .nl file, a removed column being 0.

namespace tavsolve {

namespace {

int codeOf(Status status) {
  switch (status) {
    case Status::Optimal:
    case Status::LocallyOptimal:
      return 0;
    case Status::Violated:
      return 100;
    case Status::Infeasible:
      return 200;
    case Status::LocallyInfeasible:
      return 201;
    case Status::Unbounded:
      return 300;
    case Status::TimeLimit:
      return 400;
    case Status::NodeLimit:
      return 401;
    case Status::Interrupted:
      return 402;
    case Status::Stopped:
      break;
  }
  return 500;
}

/// Kinds of suffixes: what they belong to, and that their values are real numbers.
enum SuffixKind { kOfVariables = 0, kOfProblem = 3, kReal = 4 };

void beginSuffix(std::ostream& os, int kind, std::size_t count, const std::string& name) {
  os << "suffix " << kind << " " << count << " " << name.size() + 1 << " 0 0\n" << name << "\n";
}

void printProblemSuffix(std::ostream& os, const char* name, double value) {
  if (!std::isfinite(value)) return;
  beginSuffix(os, kOfProblem | kReal, 1, name);
  os << "0 " << exactText(value) << "\n";
}

void printReducedCosts(std::ostream& os, const Solution& solution) {
  std::vector<std::pair<std::size_t, double>> costs;
  for (std::size_t j = 0; j < solution.stub.columns; ++j) {
    const TavNumVarI* column = solution.model.columns()[j].getImpl();
    const double cost = column ? solution.engine.reducedCostOf(column) : 0.0;
    if (std::isfinite(cost) && cost != 0.0) costs.emplace_back(j, cost);
  }
  if (costs.empty()) return;
  beginSuffix(os, kOfVariables | kReal, costs.size(), "rc");
  for (const auto& [place, cost] : costs) os << place << " " << exactText(cost) << "\n";
}

}  // namespace

void printSol(std::ostream& os, const Solution& solution) {
  const Answer& answer = solution.answer;
  const std::span<const TavNumVar> columns = std::span(solution.model.columns()).first(solution.stub.columns);
  const std::vector<RangeConstraintI*>& rows = solution.model.rows();
  os << "tavsolve " TAV_SOLVE_VERSION ": " << wordsFor(answer.status);
  if (answer.hasSolution) os << "; objective " << text(answer.objective);
  os << "\n" << solution.engine.name() << ": " << answer.nodes << " nodes, " << answer.iterations << " iterations\n";
  if (!answer.remark.empty()) os << answer.remark << "\n";
  const std::vector<double>& options = solution.stub.options;
  const bool extra = options.size() > 2 && options[1] == 3.0;  // a real number follows, which is not counted
  os << "\nOptions\n" << options.size() - extra << "\n";
  for (const double option : options) os << exactText(option) << "\n";
  const bool hasDuals = answer.hasSolution && !rows.empty() && !std::isnan(solution.engine.dualOf(rows[0]));
  os << solution.stub.rows << "\n"
     << (hasDuals ? solution.stub.rows : 0) << "\n"
     << columns.size() << "\n"
     << (answer.hasSolution ? columns.size() : 0) << "\n";
  for (std::size_t i = 0; hasDuals && i < solution.stub.rows; ++i)
    os << exactText(solution.engine.dualOf(rows[i])) << "\n";
  for (const TavNumVar column : columns) {
    if (answer.hasSolution) os << (column ? exactText(solution.engine.getValue(column.getImpl())) : "0") << "\n";
  }
  os << "objno 0 " << codeOf(answer.status) << "\n";
  if (!answer.hasSolution) return;
  printReducedCosts(os, solution);
  printProblemSuffix(os, "bestbound", answer.bound);
}

}  // namespace tavsolve
