#include <CbcBranchLotsize.hpp>
#include <CbcEventHandler.hpp>
#include <CbcModel.hpp>
#include <CbcSolver.hpp>
#include <OsiClpSolverInterface.hpp>
#include <chrono>
#include <cmath>

#include "captured_output.h"
#include "report.h"
#include "solver.h"

/// How the loaded solver is run: as its stand-alone program runs it, with the same cuts, heuristics and tolerances.

namespace tavsolve {

namespace {

/// Shows the tree search on the terminal. The solver works on clones of the handler it is given.
class SearchProgress final : public CbcEventHandler {
 public:
  explicit SearchProgress(Progress& progress) : _progress(&progress) {}
  CbcEventHandler* clone() const override { return new SearchProgress(*this); }

  CbcAction event(CbcEvent what) override {
    const CbcModel* search = getModel();
    if (what == node && !search->parentModel()) {
      std::string line =
          std::to_string(search->getNodeCount()) + " nodes, bound " + text(search->getBestPossibleObjValue());
      if (search->getSolutionCount() > 0) line += ", best " + text(search->getObjValue());
      _progress->update(line);
    }
    return noAction;
  }

 private:
  Progress* _progress;
};

int goOn(CbcModel*, int) { return 0; }

void run(CbcModel& search, double seconds) {
  CbcSolverUsefulData settings;
  CbcMain0(search, settings);
  settings.noPrinting_ = true;
  settings.useSignalHandler_ = false;
  search.setLogLevel(0);
  const std::string limit = text(seconds);
  std::vector<const char*> words{"tavsolve", "-log", "0"};
  if (std::isfinite(seconds)) words.insert(words.end(), {"-timeMode", "elapsed", "-seconds", limit.c_str()});
  words.insert(words.end(), {"-solve", "-quit"});
  CbcMain1(static_cast<int>(words.size()), words.data(), search, goOn, settings);
}

Status statusOf(const CbcModel& search) {
  constexpr int kLinearUnbounded = 7;
  if (search.isContinuousUnbounded() || search.secondaryStatus() == kLinearUnbounded) return Status::Unbounded;
  if (search.isProvenInfeasible()) return Status::Infeasible;
  if (search.isProvenOptimal()) return Status::Optimal;
  return search.isSecondsLimitReached() ? Status::TimeLimit : Status::Stopped;
}

}  // namespace

Outcome SolverAlgorithmI::solve(double seconds, Progress& progress) {
  const auto start = std::chrono::steady_clock::now();
  _values.clear();
  _activities.clear();
  Outcome outcome;
  if (_columns.empty()) {
    outcome = solveWithoutColumns();
  } else {
    const CapturedOutput silence;
    CbcModel search(*_solver);  // a copy: the search tightens and fixes what it works on
    SearchProgress handler(progress);
    search.passInEventHandler(&handler);
    addSemiContinuous(search);
    run(search, seconds);
    readBack(search, outcome);
  }
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return outcome;
}

void SolverAlgorithmI::addSemiContinuous(CbcModel& search) const {
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    if (_columns[j].threshold <= 0.0) continue;
    const double ranges[] = {0.0, 0.0, _columns[j].threshold, _solver->getColUpper()[j]};
    CbcLotsize zeroOrRange(&search, static_cast<int>(j), 2, ranges, true);
    CbcObject* object = &zeroOrRange;
    search.addObjects(1, &object);  // copies it
  }
}

void SolverAlgorithmI::readBack(const CbcModel& search, Outcome& outcome) {
  outcome.status = statusOf(search);
  const double* solution = search.bestSolution();
  outcome.hasSolution = solution && (outcome.status == Status::Optimal ||
                                     (outcome.status != Status::Infeasible && _solver->getNumIntegers()));
  if (!outcome.hasSolution) return;
  outcome.objective = search.getObjValue();
  _values.assign(solution, solution + _columns.size());
  const double* activities = search.solver()->getRowActivity();
  const int* lengths = _solver->getMatrixByRow()->getVectorLengths();
  _activities.assign(_rows.size(), 0.0);
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    if (lengths[i] > 0) _activities[i] = activities[i];  // presolve leaves a row without coefficients at some bound
  }
}

/// The solver refuses a model without columns: its rows hold as they stand, or not.
Outcome SolverAlgorithmI::solveWithoutColumns() {
  Outcome outcome;
  outcome.status = Status::Optimal;
  for (const Row& row : _rows) {
    if (row.constant < row.lb || row.constant > row.ub) outcome.status = Status::Infeasible;
  }
  outcome.hasSolution = outcome.status == Status::Optimal;
  outcome.objective = _costConstant;
  _activities.assign(_rows.size(), 0.0);
  return outcome;
}

}  // namespace tavsolve
