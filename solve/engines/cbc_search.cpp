#include <CbcEventHandler.hpp>
#include <CbcModel.hpp>
#include <CbcSOS.hpp>
#include <CbcSolver.hpp>
#include <CoinPackedMatrix.hpp>
#include <CoinPackedVector.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <cmath>

#include "solve/engines/cbc.h"
#include "solve/engines/cbc_options.h"
#include "solve/linearise/implied_bounds.h"
#include "solve/model/errors.h"

/// Models with whole numbers, semi-continuous columns or special ordered sets: CBC, run as its stand-alone program runs
/// it, with the same cuts, heuristics and tolerances.

namespace tavsolve {

namespace {

/// Reports the tree search and ends it when the time is over. CBC works on clones of the handler it is given.
class SearchEvents final : public CbcEventHandler {
 public:
  using Tick = std::function<bool(const SolverProgress&)>;
  using Found = std::function<void(const CbcModel&)>;
  SearchEvents(const Tick& tick, const Found& found, double sign) : _tick(&tick), _found(&found), _sign(sign) {}
  CbcEventHandler* clone() const override { return new SearchEvents(*this); }

  CbcAction event(CbcEvent what) override {
    const CbcModel* search = getModel();
    if (search->parentModel()) return noAction;
    if ((what == solution || what == heuristicSolution) && search->bestSolution()) (*_found)(*search);
    SolverProgress progress;
    progress.phase = SolverProgress::Phase::Search;
    progress.nodes = search->getNodeCount();
    progress.iterations = search->getIterationCount();
    if (what == node) progress.bound = _sign * search->getBestPossibleObjValue();
    if (search->getSolutionCount() > 0) progress.objective = _sign * search->getObjValue();
    return (*_tick)(progress) ? stop : noAction;
  }

 private:
  const Tick* _tick;
  const Found* _found;
  double _sign;
};

int goOn(CbcModel*, int) { return 0; }

Status statusOf(const CbcModel& search) {
  constexpr int kLinearUnbounded = 7;
  if (search.isContinuousUnbounded() || search.secondaryStatus() == kLinearUnbounded) return Status::Unbounded;
  if (search.isProvenInfeasible()) return Status::Infeasible;
  if (search.isProvenOptimal()) return Status::Optimal;
  if (search.isNodeLimitReached()) return Status::NodeLimit;
  return search.isSecondsLimitReached() ? Status::TimeLimit : Status::Stopped;
}

}  // namespace

std::string CbcEngineI::labelOf(int column) const {
  const char* name = columns()[static_cast<std::size_t>(column)].variable->getName();
  return name ? name : std::to_string(column + 1);
}

/// Of the columns, by their own bounds and by the rows.
std::vector<double> CbcEngineI::impliedUpperBounds() const {
  tavlinear::ColumnBounds bounds;
  for (int j = 0; j < _solver->getNumCols(); ++j) {
    bounds.add(_solver->getColLower()[j], _solver->getColUpper()[j], _solver->isInteger(j));
  }
  tavlinear::LinearRows terms;
  const CoinPackedMatrix& matrix = *_solver->getMatrixByRow();
  for (int i = 0; i < _solver->getNumRows(); ++i) {
    for (CoinBigIndex k = matrix.getVectorFirst(i); k < matrix.getVectorLast(i); ++k) {
      terms.addTerm(matrix.getIndices()[k], matrix.getElements()[k]);
    }
    terms.endRow(_solver->getRowLower()[i], _solver->getRowUpper()[i]);
  }
  propagate(terms, bounds);
  return bounds.upper;
}

void CbcEngineI::prepare(const Controls& controls) {
  checkCbcOptions(controls);
  constexpr double kGreatestCost = 1e25;  // asserted by CLP
  const double* costs = _solver->getObjCoefficients();
  for (int j = 0; j < _solver->getNumCols(); ++j) {
    if (std::abs(costs[j]) < kGreatestCost) continue;
    throw InputError("the objective's coefficient of column " + labelOf(j) +
                     " is 1e25 or more, which the engine cbc does not take");
  }
  _semiContinuous.clear();
  std::vector<double> upper;
  for (int j = 0; j < static_cast<int>(columns().size()); ++j) {
    if (columns()[static_cast<std::size_t>(j)].threshold() <= 0.0) continue;
    if (upper.empty()) upper = impliedUpperBounds();
    const double most = upper[static_cast<std::size_t>(j)];
    if (most >= tavlinear::kNoBound) {
      throw InputError("column " + labelOf(j) +
                       " is semi-continuous without an upper bound, and the rows imply none; the engine cbc needs one");
    }
    _semiContinuous.emplace_back(j, most);
  }
}

bool CbcEngineI::isLinear() const {
  const ClpSimplex& simplex = *_solver->getModelPtr();
  const char* whole = simplex.integerInformation();  // null where no column is
  const auto isSemiContinuous = [](const Column& column) { return column.threshold() > 0.0; };
  const auto all = columns();
  return model().sets().empty() &&
         (!whole || std::count(whole, whole + all.size(), 0) == static_cast<std::ptrdiff_t>(all.size())) &&
         std::none_of(all.begin(), all.end(), isSemiContinuous);
}

void CbcEngineI::run(const Controls& controls, Answer& answer) {
  // CBC's command line knows the options of CLP too.
  isLinear() && controls.options.empty() ? runSimplex(controls, answer) : runSearch(controls, answer);
}

void CbcEngineI::runSearch(const Controls& controls, Answer& answer) {
  OsiClpSolverInterface solver(*_solver);  // the search tightens and fixes what it works on
  addSemiContinuous(solver);
  CbcModel model(solver);
  search(model, controls, answer);
  if (leftNothingToSearch(controls, answer)) {
    readBack(model, answer);
    sendAnswer(answer);  // it counts should the second search break down
    searchPlainly(solver, controls, model.getObjValue(), answer);
    return;
  }
  const bool isBeforeSearch = answer.nodes == 0;
  if (answer.status == Status::Unbounded || (answer.status == Status::Infeasible && isBeforeSearch)) {
    answer.status = confirm(controls, answer.status);
  }
  readBack(model, answer);
}

/// CBC's preprocessing now and then takes away the optimum of a small model when it leaves nothing to search.
bool CbcEngineI::leftNothingToSearch(const Controls& controls, const Answer& answer) const {
  constexpr std::size_t kSmall = 1000;
  return answer.status == Status::Optimal && answer.nodes == 0 && answer.iterations == 0 &&
         columns().size() <= kSmall && controls.presolve.value_or(true) && !_careful;
}

/// Searches without preprocessing. The answer changes where that finds something better than `least`.
void CbcEngineI::searchPlainly(const OsiClpSolverInterface& solver, const Controls& controls, double least,
                               Answer& answer) {
  constexpr long kMostNodes = 1000;
  Controls plain = controls;
  plain.presolve = false;
  plain.inPlace = true;  // no solution is handed over on the way
  plain.nodes = std::min(kMostNodes, controls.nodes.value_or(kMostNodes));
  CbcModel model(solver);
  Answer second;
  search(model, plain, second);
  constexpr double kBetter = 1e-6;
  const double gain = least - model.getObjValue();
  if (!model.bestSolution() || gain <= kBetter * std::max(1.0, std::abs(least))) return;
  answer = second;
  clearSolution();
  readBack(model, answer);
}

void CbcEngineI::search(CbcModel& search, const Controls& controls, Answer& answer) {
  const SearchEvents::Tick onTick = [this](const SolverProgress& progress) { return tick(progress); };
  const OsiClpSolverInterface whole(dynamic_cast<const OsiClpSolverInterface&>(*search.solver()));
  const SearchEvents::Found onSolution = [&](const CbcModel& found) {
    if (!controls.inPlace) takeIncumbent(found, whole);  // in place, the search itself has it in the end
  };
  SearchEvents events(onTick, onSolution, sign());
  search.passInEventHandler(&events);
  addSets(search);
  addStart(search, controls);
  CbcSolverUsefulData settings;
  CbcMain0(search, settings);
  settings.noPrinting_ = controls.log.empty();
  settings.useSignalHandler_ = false;
  search.setLogLevel(controls.log.empty() ? 0 : 1);
  const std::vector<std::string> texts = cbcWords(controls, secondsLeft(), _careful);
  std::vector<const char*> words;
  words.reserve(texts.size());
  for (const std::string& word : texts) words.push_back(word.c_str());
  CbcMain1(static_cast<int>(words.size()), words.data(), search, goOn, settings);
  answer.status = statusOf(search);
  answer.nodes = search.getNodeCount();
  answer.iterations = search.getIterationCount();
  answer.bound = sign() * search.getBestPossibleObjValue();
  if (answer.status == Status::Stopped && shouldStop()) {
    answer.status = secondsLeft() > 0.0 ? Status::Interrupted : Status::TimeLimit;
  }
}

/// Hands over a solution as soon as there is one, in case that the search does not end in time. A presolved model lacks
/// columns: its whole numbers are fixed in the model as it was, and the rest follows. That takes a tenth of the time at
/// most.
void CbcEngineI::takeIncumbent(const CbcModel& search, const OsiClpSolverInterface& whole) {
  if (search.getNumCols() == whole.getNumCols()) {
    return foundSolution(sign() * search.getObjValue(), search.bestSolution());
  }
  const int* original = search.originalColumns();
  const double begin = secondsSpent();
  if (!original || begin < _nextCompletion) return;
  OsiClpSolverInterface solver(whole);
  for (int j = 0; j < search.getNumCols(); ++j) {
    if (!search.solver()->isInteger(j) || original[j] < 0 || original[j] >= whole.getNumCols()) continue;
    const double value = std::round(search.bestSolution()[j]);
    solver.setColBounds(original[j], value, value);
  }
  solver.getModelPtr()->dual();
  if (solver.getModelPtr()->status() == 0) {
    foundSolution(sign() * solver.getModelPtr()->objectiveValue(), solver.getModelPtr()->primalColumnSolution());
  }
  _nextCompletion = secondsSpent() + 9 * (secondsSpent() - begin);
}

/// CBC sometimes calls a model infeasible that is unbounded, and one unbounded that has no point with whole numbers.
/// What is true shows where all costs are zero.
Status CbcEngineI::confirm(const Controls& controls, Status claimed) {
  OsiClpSolverInterface solver(*_solver);
  addSemiContinuous(solver);
  const Status relaxed = confirmedStatus(*solver.getModelPtr(), claimed);
  if (relaxed == Status::Infeasible) return relaxed;
  const std::vector<double> zeros(static_cast<std::size_t>(solver.getNumCols()), 0.0);
  solver.setObjective(zeros.data());
  CbcModel model(solver);
  Answer answer;
  search(model, controls, answer);
  if (answer.status == Status::Infeasible) return Status::Infeasible;
  if (answer.status != Status::Optimal) return answer.status;
  return relaxed == Status::Unbounded ? relaxed : Status::Stopped;
}

/// x is 0 or within [threshold, upper]: threshold * b <= x <= upper * b with a binary b.
void CbcEngineI::addSemiContinuous(OsiClpSolverInterface& solver) const {
  for (const auto& [column, upper] : _semiContinuous) {
    const double threshold = columns()[static_cast<std::size_t>(column)].threshold();
    if (upper < threshold) {  // 0 is all that is left
      solver.setColUpper(column, 0.0);
      continue;
    }
    const int binary = solver.getNumCols();
    solver.addCol(CoinPackedVector(), 0.0, 1.0, 0.0);
    solver.setInteger(binary);
    const int indices[] = {column, binary};
    const double most[] = {1.0, -upper}, least[] = {1.0, -threshold};
    solver.addRow(CoinPackedVector(2, indices, most), -COIN_DBL_MAX, 0.0);
    solver.addRow(CoinPackedVector(2, indices, least), 0.0, COIN_DBL_MAX);
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

/// CBC completes the values of whole columns to a solution, and drops them where it cannot.
void CbcEngineI::addStart(CbcModel& search, const Controls& controls) const {
  const std::vector<double> values = startValues(controls);
  std::vector<std::pair<std::string, double>> start;
  for (std::size_t j = 0; j < values.size(); ++j) {
    if (!std::isnan(values[j]) && columns()[j].isWhole()) {
      start.emplace_back(search.solver()->getColName(static_cast<int>(j)), values[j]);
    }
  }
  if (!start.empty()) search.setMIPStart(start);
}

void CbcEngineI::readBack(const CbcModel& search, Answer& answer) {
  const double* solution = search.bestSolution();
  answer.hasSolution = solution && answer.status != Status::Infeasible && answer.status != Status::Unbounded;
  if (!answer.hasSolution) return;
  answer.objective = sign() * search.getObjValue();
  if (isLinear()) {
    answer.iterations = search.solver()->getIterationCount();
    takePrices(search.solver()->getReducedCost(), search.solver()->getRowPrice());
  }
  _values.assign(solution, solution + columns().size());
  // By the rows as they were loaded: presolve leaves rows without coefficients at some bound.
  _activities.resize(rows().size());
  _solver->getMatrixByCol()->times(solution, _activities.data());
  for (std::size_t i = 0; i < rows().size(); ++i) _activities[i] += rows()[i].constant();
}

}  // namespace tavsolve
