#include <ClpEventHandler.hpp>
#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <cmath>
#include <optional>

#include "solve/engines/cbc.h"

/// Linear models: CLP alone.

namespace tavsolve {

namespace {

/// Reports the progress and ends the solve when the time is over.
class SimplexEvents final : public ClpEventHandler {
 public:
  SimplexEvents(const std::function<bool(const SolverProgress&)>& tick, Method method, double sign)
      : _tick(&tick), _method(method), _sign(sign) {}
  ClpEventHandler* clone() const override { return new SimplexEvents(*this); }

  int event(Event what) override {
    constexpr int kStop = 1, kContinue = -1;
    if ((what != endOfIteration && what != endOfFactorization) || !model_) return kContinue;
    SolverProgress progress;
    if (_method == Method::Barrier) progress.phase = SolverProgress::Phase::Barrier;
    progress.iterations = model_->numberIterations();
    progress.objective = _sign * model_->rawObjectiveValue();
    progress.infeasibility = model_->sumPrimalInfeasibilities();
    return (*_tick)(progress) ? kStop : kContinue;
  }

 private:
  const std::function<bool(const SolverProgress&)>* _tick;
  Method _method;
  double _sign;
};

ClpSolve optionsFor(const Controls& controls, bool careful) {
  ClpSolve options;
  switch (controls.method) {
    case Method::Primal:
      options.setSolveType(ClpSolve::usePrimal);
      break;
    case Method::Barrier:
      options.setSolveType(ClpSolve::useBarrier);
      break;
    case Method::Automatic:
    case Method::Dual:
      options.setSolveType(ClpSolve::useDual);
      break;
  }
  if (careful || !controls.presolve.value_or(true)) options.setPresolveType(ClpSolve::presolveOff);
  return options;
}

Status statusOf(const ClpSimplex& simplex) {
  constexpr int kOptimal = 0, kInfeasible = 1, kUnbounded = 2;
  if (simplex.status() == kOptimal) return Status::Optimal;
  if (simplex.status() == kInfeasible) return Status::Infeasible;
  return simplex.status() == kUnbounded ? Status::Unbounded : Status::Stopped;
}

/// The model without costs, solved.
ClpSimplex solvedWithoutCosts(const ClpSimplex& simplex) {
  ClpSimplex copy(simplex);
  std::fill_n(copy.objective(), copy.numberColumns(), 0.0);
  copy.allSlackBasis(true);
  copy.primal();
  return copy;
}

}  // namespace

Status confirmedStatus(ClpSimplex& simplex, Status claimed) {
  if (claimed != Status::Infeasible && claimed != Status::Unbounded) return claimed;
  const ClpSimplex feasible = solvedWithoutCosts(simplex);
  if (statusOf(feasible) != Status::Optimal) return Status::Infeasible;
  if (claimed == Status::Unbounded) return claimed;
  simplex.createStatus();
  const int count = simplex.numberColumns() + simplex.numberRows();
  for (int i = 0; i < count; ++i) simplex.setStatus(i, feasible.getStatus(i));
  simplex.primal();
  return statusOf(simplex);
}

void CbcEngineI::runSimplex(const Controls& controls, Answer& answer) {
  // The solver keeps what its last run has left behind: in place it works on a copy.
  std::optional<ClpSimplex> copy;
  if (controls.inPlace) copy.emplace(*_solver->getModelPtr());
  ClpSimplex& simplex = copy ? *copy : *_solver->getModelPtr();
  const std::function<bool(const SolverProgress&)> tick = [this](const SolverProgress& progress) {
    return this->tick(progress);
  };
  SimplexEvents events(tick, controls.method, sign());
  simplex.passInEventHandler(&events);
  simplex.setLogLevel(controls.log.empty() ? 0 : 1);
  simplex.setPrimalTolerance(std::min(simplex.primalTolerance(), controls.tolerance));
  if (controls.seed) simplex.setRandomSeed(*controls.seed);
  if (restoreBasis(simplex)) {
    controls.method == Method::Primal ? simplex.primal() : simplex.dual();
  } else {
    ClpSolve options = optionsFor(controls, _careful);
    simplex.initialSolve(options);
  }
  answer.iterations = simplex.numberIterations();
  // Where there is no optimum the barrier may end far out and call the point optimal; the simplex notices.
  if (controls.method == Method::Barrier && statusOf(simplex) == Status::Optimal) simplex.primal();
  answer.status = confirmedStatus(simplex, statusOf(simplex));
  if (answer.status == Status::Stopped && shouldStop()) {
    answer.status = secondsLeft() > 0.0 ? Status::Interrupted : Status::TimeLimit;
  }
  answer.hasSolution = answer.status == Status::Optimal || simplex.primalFeasible();
  if (!answer.hasSolution || answer.status == Status::Infeasible || answer.status == Status::Unbounded) {
    answer.hasSolution = false;
    return;
  }
  answer.objective = sign() * simplex.objectiveValue();
  if (answer.status == Status::Optimal) answer.bound = answer.objective;
  const double *values = simplex.primalColumnSolution(), *activities = simplex.primalRowSolution();
  _values.assign(values, values + columns().size());
  _activities.resize(rows().size());
  for (std::size_t i = 0; i < rows().size(); ++i) {
    // Presolve leaves rows without coefficients at some bound.
    _activities[i] = rows()[i].constant() + (rows()[i].sum()->getFirstTerm() ? activities[i] : 0.0);
  }
  takePrices(simplex.dualColumnSolution(), simplex.dualRowSolution());
  keepBasis(simplex);
}

void CbcEngineI::takePrices(const double* reducedCosts, const double* duals) {
  for (std::size_t j = 0; j < columns().size(); ++j) _reducedCosts.push_back(sign() * reducedCosts[j]);
  for (std::size_t i = 0; i < rows().size(); ++i) _duals.push_back(sign() * duals[i]);
}

/// The state is the basis: the status of each column and then of each row.
void CbcEngineI::keepBasis(const ClpSimplex& simplex) {
  _state.clear();
  for (int j = 0; j < simplex.numberColumns(); ++j) _state.push_back(simplex.getColumnStatus(j));
  for (int i = 0; i < simplex.numberRows(); ++i) _state.push_back(simplex.getRowStatus(i));
}

/// New columns stand at a bound, new rows are basic.
void CbcEngineI::extendBasis(int firstColumn, int firstRow) {
  if (_state.size() != static_cast<std::size_t>(firstColumn) + static_cast<std::size_t>(firstRow))
    return _state.clear();
  std::vector<double> added;
  for (std::size_t j = static_cast<std::size_t>(firstColumn); j < columns().size(); ++j) {
    const TavNumVarI* variable = columns()[j].variable;
    added.push_back(std::isfinite(variable->getLB())   ? ClpSimplex::atLowerBound
                    : std::isfinite(variable->getUB()) ? ClpSimplex::atUpperBound
                                                       : ClpSimplex::isFree);
  }
  _state.insert(_state.begin() + firstColumn, added.begin(), added.end());
  _state.resize(columns().size() + rows().size(), ClpSimplex::basic);
}

bool CbcEngineI::restoreBasis(ClpSimplex& simplex) const {
  if (_state.size() != columns().size() + rows().size()) return false;
  simplex.createStatus();
  auto status = _state.begin();
  for (int j = 0; j < simplex.numberColumns(); ++j) {
    simplex.setColumnStatus(j, static_cast<ClpSimplex::Status>(static_cast<int>(*status++)));
  }
  for (int i = 0; i < simplex.numberRows(); ++i) {
    simplex.setRowStatus(i, static_cast<ClpSimplex::Status>(static_cast<int>(*status++)));
  }
  return true;
}

}  // namespace tavsolve
