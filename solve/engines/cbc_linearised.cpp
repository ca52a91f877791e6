#include "solve/engines/cbc_linearised.h"

#include <algorithm>
#include <cmath>

#include "solve/engines/cbc.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

/// The nearest whole number, if that is as near as the solver's own rounding goes.
double settled(double value) {
  constexpr double kNoise = 1e-9;
  const double whole = std::round(value);
  return std::abs(value - whole) <= kNoise * std::max(1.0, std::abs(value)) ? whole : value;
}

/// Calls it and turns a refusal into the failure that the user can mend.
template <class Body>
void refusing(Body body) {
  try {
    body();
  } catch (const tavlinear::Refusal& refusal) {
    throw InputError(refusal.what());
  }
}

}  // namespace

LinearisedEngineI::~LinearisedEngineI() = default;

void LinearisedEngineI::load() {
  refusing([&] { _counterpart = std::make_unique<LinearModel>(model()); });
}

void LinearisedEngineI::makeSolver() {
  refusing([&] { _linear = _counterpart->make(); });
  _solver = std::make_unique<CbcEngineI>(*_linear);
  _solver->extract();
}

/// The same, with start values for the first columns, which are those of this engine.
Controls LinearisedEngineI::controlsOf(const Controls& controls) const {
  Controls inner = controls;
  inner.start = startValues(controls);
  inner.start.resize(_linear->columns().size(), std::numeric_limits<double>::quiet_NaN());
  return inner;
}

Answer LinearisedEngineI::solve(const Controls& controls) {
  _tolerance = controls.tolerance;
  clearSolution();
  if (!_solver) makeSolver();
  Answer answer = _solver->solve(controlsOf(controls));
  if (answer.hasSolution) takeSolution(answer);
  return answer;
}

void LinearisedEngineI::startFrom(const WarmStart& start) {
  EngineI::startFrom(start);
  _solver.reset();  // it starts from its own last solution
}

void LinearisedEngineI::takeSolution(Answer& answer) {
  std::vector<double> all;
  for (const TavNumVar column : _linear->columns()) all.push_back(_solver->getValue(column.getImpl()));
  _values.assign(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(columns().size()));
  // Expressions that jump, or that are read as positions, are evaluated at whole numbers where the solver means them.
  for (std::size_t j = 0; j < _values.size(); ++j) {
    const bool isWhole = columns()[j].isWhole() && std::isfinite(_values[j]);
    _values[j] = isWhole ? std::round(_values[j]) : settled(_values[j]);
  }
  const TavAlgorithm values(this);
  for (std::size_t j = 0; j < _values.size(); ++j) {
    const TavNumVarI* variable = columns()[j].variable;
    if (tavlinear::isIndicator(variable)) _values[j] = LinearModel::truthOf(variable, values, _tolerance);
  }
  completeSolution(answer);
  const LinearModel::Disagreement worst = _counterpart->disagreement(all, values);
  if (worst.amount > answer.violation.amount) answer.violation = {worst.amount, "expression " + worst.expression};
  if (isSolved(answer.status) && answer.violation.amount > _tolerance) answer.status = Status::Violated;
}

/// The engine over the linear counterpart runs instead.
void LinearisedEngineI::run(const Controls&, Answer&) {}

// Modification

bool LinearisedEngineI::hasExtracted(const TavExtractableI* object) const {
  return EngineI::hasExtracted(object) || (_counterpart && _counterpart->contains(object));
}

void LinearisedEngineI::change(const TavChange& change) {
  const TavExtractableI* object = change.getChangedExtractable();
  _solver.reset();
  if (object) _counterpart->changed(object);
  if (const TavArrayI* objects = change.getChangedExtractableArray()) {
    for (TavInt i = 0; i < objects->getSize(); ++i) _counterpart->changed(objects->get<TavExtractableI*>(i));
  }
  if (!object || EngineI::hasExtracted(object)) EngineI::change(change);
  if (object && object->getTypeInfo() == RangeConstraintI::GetTypeInfo()) {
    _counterpart->rowChanged(static_cast<const RangeConstraintI*>(object));
  }
}

void LinearisedEngineI::forget(TavExtractableI* object) {
  _solver.reset();
  _counterpart->changed(object);
  if (object->isType(TavNumVarI::GetTypeInfo())) _counterpart->removed(static_cast<const TavNumVarI*>(object));
  EngineI::forget(object);
}

void LinearisedEngineI::columnChanged(int column) {
  _solver.reset();
  _counterpart->columnChanged(columns()[static_cast<std::size_t>(column)].variable);
}

void LinearisedEngineI::columnRemoved(int) { _solver.reset(); }

void LinearisedEngineI::appended(int, int) {
  _solver.reset();
  refusing([&] { _counterpart->extend(); });
}

void LinearisedEngineI::senseChanged() {
  _solver.reset();
  refusing([&] { _counterpart->objectiveChanged(); });
}

}  // namespace tavsolve
