#include "solve/engines/nonlinear.h"

#include <algorithm>
#include <cmath>

#include "solve/engines/convexity.h"
#include "solve/engines/solution_check.h"

namespace tavsolve {

namespace {

double clampedBound(double bound) { return std::clamp(bound, -kSolverInfinity, kSolverInfinity); }

}  // namespace

void NonLinearEngineI::load() {
  std::vector<TavNumVar> variables;
  variables.reserve(columns().size());
  for (const Column& column : columns()) variables.emplace_back(const_cast<TavNumVarI*>(column.variable));
  std::vector<TavNumExprArg> bodies;
  bodies.reserve(rows().size());
  for (const Row& row : rows()) bodies.emplace_back(const_cast<TavNumLinTermI*>(row.sum()));
  _evaluator.reset();
  _evaluator = std::make_unique<TavEvaluator>(model().getEnv(), model().objective()->getSum(), bodies, variables,
                                              TavEvaluator::Options());
}

void NonLinearEngineI::appended(int, int) {
  _state.clear();
  load();
}

void NonLinearEngineI::columnRemoved(int column) {
  if (_state.empty()) return;
  _state.erase(_state.begin() + static_cast<std::ptrdiff_t>(columns().size()) + column);
  _state.erase(_state.begin() + column);
}

void NonLinearEngineI::prepare(const Controls&) { _evaluator->update(); }

std::unique_ptr<Functions> NonLinearEngineI::functions(const Controls& controls) {
  auto result = std::make_unique<Functions>(*_evaluator, model().objective()->isMaximised());
  result->start.values = startValues(controls);
  for (std::size_t j = 0; j < columns().size(); ++j) {
    const TavNumVarI* variable = columns()[j].variable;
    result->columnLower.push_back(clampedBound(variable->getLB()));
    result->columnUpper.push_back(clampedBound(variable->getUB()));
    double& start = result->start.values[j];
    if (std::isnan(start)) start = std::min(std::max(0.0, variable->getLB()), variable->getUB());
  }
  for (const Row& row : rows()) {
    result->rowLower.push_back(clampedBound(row.lb()));
    result->rowUpper.push_back(clampedBound(row.ub()));
  }
  return result;
}

bool NonLinearEngineI::isConvex() const {
  if (!isConvexRow(*_evaluator, TavEvaluator::kObjective, model().objective()->isMaximised() ? -1.0 : 1.0))
    return false;
  for (std::size_t i = 0; i < rows().size(); ++i) {
    if (std::isfinite(rows()[i].ub()) && !isConvexRow(*_evaluator, i, 1.0)) return false;
    if (std::isfinite(rows()[i].lb()) && !isConvexRow(*_evaluator, i, -1.0)) return false;
  }
  return true;
}

bool NonLinearEngineI::holdsRows(Functions& functions, const std::vector<double>& values, double tolerance) const {
  std::vector<double> activities(rows().size());
  functions.evaluation.constraints(values, activities);
  for (std::size_t i = 0; i < rows().size(); ++i) {
    if (violationOf(rows()[i].lb(), activities[i], rows()[i].ub()) > tolerance) return false;
  }
  return true;
}

void NonLinearEngineI::takeSolution(const PrimalDualPoint& point, Functions& functions, double tolerance,
                                    Answer& answer) {
  const double sign = functions.sign;
  _values = point.values;
  for (std::size_t j = 0; j < columns().size(); ++j) {
    _values[j] = std::min(std::max(_values[j], functions.columnLower[j]), functions.columnUpper[j]);
  }
  if (!holdsRows(functions, _values, tolerance)) _values = point.values;
  answer.hasSolution = true;
  answer.objective = functions.evaluation.objective(_values);
  if (answer.status == Status::Optimal) answer.bound = answer.objective;
  if (point.lower.empty()) return;
  _state = point.lower;
  _state.insert(_state.end(), point.upper.begin(), point.upper.end());
  _state.insert(_state.end(), point.rows.begin(), point.rows.end());
  for (std::size_t j = 0; j < columns().size(); ++j) _reducedCosts.push_back(sign * (point.lower[j] - point.upper[j]));
  for (const double multiplier : point.rows) _duals.push_back(-sign * multiplier);
}

bool NonLinearEngineI::restoreMultipliers(const Controls& controls, PrimalDualPoint& point) const {
  const auto n = static_cast<std::ptrdiff_t>(columns().size()), m = static_cast<std::ptrdiff_t>(rows().size());
  if (!controls.start.empty() || static_cast<std::ptrdiff_t>(_state.size()) != 2 * n + m) return false;
  point.lower.assign(_state.begin(), _state.begin() + n);
  point.upper.assign(_state.begin() + n, _state.begin() + 2 * n);
  point.rows.assign(_state.begin() + 2 * n, _state.end());
  return true;
}

}  // namespace tavsolve
