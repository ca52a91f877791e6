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

#include "solve/engines/cbc.h"
#include "solve/model/errors.h"

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
  explicit SearchProgress(const Controls& controls) : _controls(&controls) {}
  CbcEventHandler* clone() const override { return new SearchProgress(*this); }

  CbcAction event(CbcEvent what) override {
    if (_controls->interrupt && *_controls->interrupt) return stop;
    const CbcModel* search = getModel();
    if (what == node && !search->parentModel() && _controls->progress) {
      SolverProgress progress;
      progress.phase = SolverProgress::Phase::Search;
      progress.nodes = search->getNodeCount();
      progress.iterations = search->getIterationCount();
      progress.bound = search->getBestPossibleObjValue();
      if (search->getSolutionCount() > 0) progress.objective = search->getObjValue();
      _controls->progress(progress);
    }
    return noAction;
  }

 private:
  const Controls* _controls;
};

int goOn(CbcModel*, int) { return 0; }

void runSearch(CbcModel& search, double seconds) {
  CbcSolverUsefulData settings;
  CbcMain0(search, settings);
  settings.noPrinting_ = true;
  settings.useSignalHandler_ = false;
  search.setLogLevel(0);
  const std::string limit = std::to_string(seconds);
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

void CbcEngineI::run(const Controls& controls, Answer& answer) {
  _values.clear();
  _activities.clear();
  if (columns().empty()) return answerWithoutColumns(answer);
  SearchProgress handler(controls);
  const Silence silence;
  try {
    CbcModel search(*_solver);  // a copy: the search tightens and fixes what it works on
    search.passInEventHandler(&handler);
    addSemiContinuous(search);
    addSets(search);
    runSearch(search, controls.seconds);
    readBack(search, answer);
    if (controls.interrupt && *controls.interrupt && answer.status == Status::Stopped) {
      answer.status = Status::Interrupted;
    }
  } catch (const CoinError& error) {
    throw SolverError("the solver failed: " + error.message() + " (" + error.className() + "::" + error.methodName() +
                      ")");
  }
}

std::string CbcEngineI::labelOf(int column) const {
  const char* name = columns()[static_cast<std::size_t>(column)].variable->getName();
  return name ? name : std::to_string(column + 1);
}

double CbcEngineI::impliedUpper(int column) const {
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

void CbcEngineI::addSemiContinuous(CbcModel& search) const {
  constexpr double kGreatest = 1e10;  // the solver's objects over ranges end here
  for (std::size_t j = 0; j < columns().size(); ++j) {
    if (columns()[j].threshold <= 0.0) continue;
    double upper = _solver->getColUpper()[j];
    if (upper > kGreatest) upper = std::min(upper, impliedUpper(static_cast<int>(j)));
    if (upper > kGreatest) {
      throw InputError("column " + labelOf(static_cast<int>(j)) +
                       " is semi-continuous without an upper bound up to 1e10, which the solver needs");
    }
    if (upper < columns()[j].threshold) {  // 0 is all that is left
      search.solver()->setColUpper(static_cast<int>(j), 0.0);
      continue;
    }
    const double ranges[] = {0.0, 0.0, columns()[j].threshold, upper};
    CbcLotsize zeroOrRange(&search, static_cast<int>(j), 2, ranges, true);
    CbcObject* object = &zeroOrRange;
    search.addObjects(1, &object);  // copies it
  }
}

void CbcEngineI::addSets(CbcModel& search) const {
  for (std::size_t i = 0; i < model().sets().size(); ++i) {
    const TavModelSet& set = model().sets()[i];
    std::vector<int> places;
    for (const TavNumVar member : set.members) places.push_back(placeOf(member.getImpl()));
    CbcSOS members(&search, static_cast<int>(places.size()), places.data(), set.weights.data(), static_cast<int>(i),
                   set.type);
    CbcObject* object = &members;
    search.addObjects(1, &object);  // copies it
  }
}

void CbcEngineI::readBack(const CbcModel& search, Answer& answer) {
  answer.status = statusOf(search);
  answer.nodes = search.getNodeCount();
  answer.iterations = search.getIterationCount();
  answer.bound = search.getBestPossibleObjValue();
  const double* solution = search.bestSolution();
  answer.hasSolution = solution && (answer.status == Status::Optimal ||
                                    (answer.status != Status::Infeasible && _solver->getNumIntegers()));
  if (!answer.hasSolution) return;
  answer.objective = search.getObjValue();
  _values.assign(solution, solution + columns().size());
  const double* activities = search.solver()->getRowActivity();
  const int* lengths = _solver->getMatrixByRow()->getVectorLengths();
  _activities.resize(rows().size());
  for (std::size_t i = 0; i < rows().size(); ++i) {
    // Presolve leaves a row without coefficients at some bound.
    _activities[i] = rows()[i].constant + (lengths[i] > 0 ? activities[i] : 0.0);
  }
}

/// The solver refuses a model without columns: its rows hold as they stand, or not.
void CbcEngineI::answerWithoutColumns(Answer& answer) {
  answer.status = Status::Optimal;
  for (const Row& row : rows()) {
    if (row.constant < row.lb || row.constant > row.ub) answer.status = Status::Infeasible;
    _activities.push_back(row.constant);
  }
  answer.hasSolution = answer.status == Status::Optimal;
  answer.objective = objectiveSum()->getNumConstant();
}

}  // namespace tavsolve
