#include <CbcBranchLotsize.hpp>
#include <CbcEventHandler.hpp>
#include <CbcModel.hpp>
#include <CbcSOS.hpp>
#include <CbcSolver.hpp>
#include <CoinError.hpp>
#include <OsiClpSolverInterface.hpp>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

#include "input_error.h"
#include "report.h"
#include "solver.h"

/// How the loaded solver is run: as its stand-alone program runs it, with the same cuts, heuristics and tolerances.

namespace tavsolve {

namespace {

/// Where the process can write when a solver ends it.
int realStderr = -1;

/// A solver's assertion or crash: one line, and the exit code for it. Calls nothing that is not safe in a signal
/// handler.
extern "C" void endWithOneLine(int) {
  constexpr char kLine[] = "tavsolve: the solver failed: it broke down on this model\n";
  if (write(realStderr, kLine, sizeof kLine - 1) < 0) _exit(4);
  _exit(3);
}

/// Keeps both streams closed to the solver, which prints past its message handler now and then, and its accidents away
/// from the user.
class Silence {
 public:
  Silence() : _stdout(dup(STDOUT_FILENO)), _stderr(dup(STDERR_FILENO)) {
    realStderr = _stderr;
    for (const int signal : kAccidents) std::signal(signal, endWithOneLine);
    std::cout.flush();
    std::fflush(nullptr);
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    close(nothing);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() {
    std::fflush(nullptr);
    dup2(_stdout, STDOUT_FILENO);
    dup2(_stderr, STDERR_FILENO);
    close(_stdout);
    close(_stderr);
    for (const int signal : kAccidents) std::signal(signal, SIG_DFL);
  }

 private:
  static constexpr int kAccidents[] = {SIGABRT, SIGSEGV, SIGFPE};

  int _stdout, _stderr;
};

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
    SearchProgress handler(progress);
    const Silence silence;
    try {
      CbcModel search(*_solver);  // a copy: the search tightens and fixes what it works on
      search.passInEventHandler(&handler);
      runSearch(search, seconds, outcome);
    } catch (const CoinError& error) {
      throw SolverError("the solver failed: " + error.message() + " (" + error.className() + "::" + error.methodName() +
                        ")");
    }
  }
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return outcome;
}

void SolverAlgorithmI::runSearch(CbcModel& search, double seconds, Outcome& outcome) {
  addSemiContinuous(search);
  addSets(search);
  run(search, seconds);
  readBack(search, outcome);
}

double SolverAlgorithmI::impliedUpper(int column) const {
  const CoinPackedMatrix& byColumn = *_solver->getMatrixByCol();
  const CoinPackedMatrix& byRow = *_solver->getMatrixByRow();
  double upper = COIN_DBL_MAX;
  for (auto k = byColumn.getVectorFirst(column); k < byColumn.getVectorLast(column); ++k) {
    const int row = byColumn.getIndices()[k];
    const double coef = byColumn.getElements()[k];
    // The row bounds coef * x from the side on which coef pushes x; the others give their least share.
    double room = coef > 0 ? _solver->getRowUpper()[row] : -_solver->getRowLower()[row];
    for (auto i = byRow.getVectorFirst(row); i < byRow.getVectorLast(row); ++i) {
      const int other = byRow.getIndices()[i];
      const double share = coef > 0 ? byRow.getElements()[i] : -byRow.getElements()[i];
      if (other == column || share == 0.0) continue;
      const double bound = share > 0 ? _solver->getColLower()[other] : _solver->getColUpper()[other];
      room = std::abs(bound) < COIN_DBL_MAX ? room - share * bound : COIN_DBL_MAX;
      if (room == COIN_DBL_MAX) break;
    }
    if (room < COIN_DBL_MAX && coef != 0.0) upper = std::min(upper, room / std::abs(coef));
  }
  return upper;
}

void SolverAlgorithmI::addSemiContinuous(CbcModel& search) const {
  constexpr double kGreatest = 1e10;  // the solver's objects over ranges end here
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    if (_columns[j].threshold <= 0.0) continue;
    double upper = _solver->getColUpper()[j];
    if (upper > kGreatest) upper = std::min(upper, impliedUpper(static_cast<int>(j)));
    const char* name = _columns[j].variable->getName();
    const std::string label = name ? name : std::to_string(j + 1);
    if (upper > kGreatest) {
      throw InputError("column " + label +
                       " is semi-continuous without an upper bound up to 1e10, which the solver needs");
    }
    if (upper < _columns[j].threshold) {  // 0 is all that is left
      search.solver()->setColUpper(static_cast<int>(j), 0.0);
      continue;
    }
    const double ranges[] = {0.0, 0.0, _columns[j].threshold, upper};
    CbcLotsize zeroOrRange(&search, static_cast<int>(j), 2, ranges, true);
    CbcObject* object = &zeroOrRange;
    search.addObjects(1, &object);  // copies it
  }
}

void SolverAlgorithmI::addSets(CbcModel& search) const {
  if (!_sets) return;
  for (std::size_t i = 0; i < _sets->size(); ++i) {
    const TavModelSet& set = (*_sets)[i];
    std::vector<int> columns;
    for (const TavNumVar member : set.members) columns.push_back(placeOf(member.getImpl()));
    CbcSOS members(&search, static_cast<int>(columns.size()), columns.data(), set.weights.data(), static_cast<int>(i),
                   set.type);
    CbcObject* object = &members;
    search.addObjects(1, &object);  // copies it
  }
}

bool SolverAlgorithmI::holds() const {
  const auto within = [](double lower, double value, double upper) {
    const double slack = kTolerance * std::max(1.0, std::abs(value));
    return value >= lower - slack && value <= upper + slack;
  };
  for (const Row& row : _rows) {
    double value = row.constant;
    for (const auto* term = row.sum->getFirstTerm(); term; term = term->next) {
      value += term->coef * _values[static_cast<std::size_t>(placeOf(term->var))];
    }
    if (!within(row.lb, value, row.ub)) return false;
  }
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    const double threshold = _columns[j].threshold;
    if (threshold > 0.0 && within(0.0, _values[j], 0.0)) continue;
    const double lower = threshold > 0.0 ? threshold : _solver->getColLower()[j];
    if (!within(lower, _values[j], _solver->getColUpper()[j])) return false;
  }
  return true;
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
  if (outcome.status == Status::Optimal && !holds()) outcome.status = Status::Violated;
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
