#include <cmath>
#include <fstream>
#include <limits>
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

/// A second option of this value says that a real number follows the options, which their number does not count.
constexpr double kExtraOption = 3.0;

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

/// What follows the message: the options, and how many duals and values come.
void printCounts(std::ostream& os, const StubFacts& stub, bool hasDuals, bool hasValues) {
  const bool extra = stub.options.size() > 2 && stub.options[1] == kExtraOption;
  os << "\nOptions\n" << stub.options.size() - extra << "\n";
  for (const double option : stub.options) os << exactText(option) << "\n";
  os << stub.rows << "\n"
     << (hasDuals ? stub.rows : 0) << "\n"
     << stub.columns << "\n"
     << (hasValues ? stub.columns : 0) << "\n";
}

void printEnd(std::ostream& os, Status status) { os << "objno 0 " << codeOf(status) << "\n"; }

}  // namespace

StubFacts readStubFacts(const std::string& path) {
  StubFacts facts;
  std::ifstream file(path, std::ios::binary);
  char letter = 0;
  std::size_t count = 0;
  for (file >> letter >> count; facts.options.size() < count && file;) {
    file >> facts.options.emplace_back();
    if (facts.options.size() == 2 && facts.options[1] == kExtraOption) ++count;
  }
  file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  file >> facts.columns >> facts.rows;
  return facts;
}

void printUnreadSol(std::ostream& os, const StubFacts& stub, Status status) {
  os << "tavsolve " TAV_SOLVE_VERSION ": " << wordsFor(status) << "\nThe model was not read to its end.\n";
  printCounts(os, stub, false, false);
  printEnd(os, status);
}

void printSol(std::ostream& os, const Solution& solution) {
  const Answer& answer = solution.answer;
  const std::span<const TavNumVar> columns = std::span(solution.model.columns()).first(solution.stub.columns);
  const auto& rows = solution.model.rows();
  os << "tavsolve " TAV_SOLVE_VERSION ": " << wordsFor(answer.status);
  if (answer.hasSolution) os << "; objective " << text(answer.objective);
  os << "\n" << solution.engine.name() << ": " << answer.nodes << " nodes, " << answer.iterations << " iterations\n";
  if (!answer.remark.empty()) os << answer.remark << "\n";
  const bool hasDuals = answer.hasSolution && !rows.empty() && !std::isnan(solution.engine.dualOf(rows[0]));
  printCounts(os, solution.stub, hasDuals, answer.hasSolution);
  for (std::size_t i = 0; hasDuals && i < solution.stub.rows; ++i)
    os << exactText(solution.engine.dualOf(rows[i])) << "\n";
  for (const TavNumVar column : columns) {
    if (answer.hasSolution) os << (column ? exactText(solution.engine.getValue(column.getImpl())) : "0") << "\n";
  }
  printEnd(os, answer.status);
  if (!answer.hasSolution) return;
  printReducedCosts(os, solution);
  printProblemSuffix(os, "bestbound", answer.bound);
}

}  // namespace tavsolve
