#include "solver.h"

#include <CoinPackedMatrix.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tavsolve {

namespace {

constexpr double kTolerance = 1e-6;

/// The solver's way to say "no bound"; whole bounds end where doubles stop counting.
double solverBound(double bound, bool whole) {
  const double last = whole ? static_cast<double>(TavIntVar::kMaxInt) : TavGetInfinity();
  if (bound >= last) return COIN_DBL_MAX;
  return bound <= -last ? -COIN_DBL_MAX : bound;
}

double coefficientIn(const TavNumLinTermI* sum, const TavNumVarI* variable) {
  double coefficient = 0.0;
  for (const auto* term = sum->getFirstTerm(); term; term = term->next) {
    if (term->var == variable) coefficient += term->coef;
  }
  return coefficient;
}

}  // namespace

SolverAlgorithmI::SolverAlgorithmI(TavEnvI* env)
    : TavAlgorithmI(env), _solver(std::make_unique<OsiClpSolverInterface>()) {
  installSolverHooks();
  _solver->messageHandler()->setLogLevel(0);
  _solver->getModelPtr()->setLogLevel(0);
}

SolverAlgorithmI::~SolverAlgorithmI() = default;

// ---- extraction

void SolverAlgorithmI::extract(const Model& model) {
  const TavAlgorithm self(this);
  for (const TavNumVar column : model.columns()) {
    if (column) column.getImpl()->extractToCP(self);
  }
  for (const RangeConstraintI* row : model.rows()) row->extractToCP(self);
  model.objective()->extractToCP(self);
  if (model.relaxation()) model.relaxation()->extractToCP(self);
  load();
}

int SolverAlgorithmI::placeOf(const TavExtractableI* object) const {
  const auto id = static_cast<std::size_t>(object->getId());
  return id < _places.size() ? _places[id] : kNowhere;
}

void* SolverAlgorithmI::setPlace(const TavExtractableI* object, int place) {
  const auto id = static_cast<std::size_t>(object->getId());
  if (id >= _places.size()) _places.resize(std::max(id + 1, 2 * _places.size()), kNowhere);
  _places[id] = place;
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(place));
}

void* SolverAlgorithmI::addColumn(const TavNumVarI* variable, double threshold) {
  _columns.push_back({variable, threshold, false});
  return setPlace(variable, static_cast<int>(_columns.size()) - 1);
}

void* SolverAlgorithmI::addRow(const TavNumLinTermI* sum) {
  if (sum->getFirstPart()) throw TavAlgorithm::ExtractFailure("the solver takes linear sums only", 0);
  for (const auto* term = sum->getFirstTerm(); term; term = term->next) {
    _cells.column.push_back(placeOf(term->var));
    _cells.value.push_back(term->coef);
  }
  _cells.start.push_back(static_cast<int>(_cells.column.size()));
  _rows.push_back({-TavGetInfinity(), TavGetInfinity(), sum->getNumConstant()});
  return setPlace(sum, static_cast<int>(_rows.size()) - 1);
}

void* SolverAlgorithmI::boundRow(const RangeConstraintI* constraint) {
  constraint->getSum().getImpl()->extractToCP(TavAlgorithm(this));
  Row& row = _rows.back();
  row.lb = constraint->getLB();
  row.ub = constraint->getUB();
  return setPlace(constraint, static_cast<int>(_rows.size()) - 1);
}

void* SolverAlgorithmI::takeObjective(const ObjectiveI* objective) {
  const TavNumLinTermI* sum = objective->getSum().getImpl();
  sum->extractToCP(TavAlgorithm(this));
  // Gathered as one more row, the sum moves to the costs.
  const auto first = static_cast<std::size_t>(_cells.start[_rows.size() - 1]);
  _costs.assign(_columns.size(), 0.0);
  for (std::size_t k = first; k < _cells.column.size(); ++k) {
    _costs[static_cast<std::size_t>(_cells.column[k])] += _cells.value[k];
  }
  _cells.column.resize(first);
  _cells.value.resize(first);
  _cells.start.pop_back();
  _rows.pop_back();
  _costConstant = sum->getNumConstant();
  _maximise = objective->isMaximised();
  setPlace(sum, kObjective);
  return setPlace(objective, kKnown);
}

void* SolverAlgorithmI::relaxColumns(const TavConversionI* conversion) {
  const TavNumVarArray variables = conversion->getVars();
  for (TavInt i = 0; i < variables.getSize(); ++i) {
    _columns[static_cast<std::size_t>(placeOf(variables[i].getImpl()))].relaxed =
        conversion->getType() == TavNumVar::Float;
  }
  return setPlace(conversion, kKnown);
}

void SolverAlgorithmI::load() {
  const int columnCount = static_cast<int>(_columns.size());
  const int rowCount = static_cast<int>(_rows.size());
  const CoinPackedMatrix matrix(false, columnCount, rowCount, static_cast<int>(_cells.value.size()),
                                _cells.value.data(), _cells.column.data(), _cells.start.data(), nullptr);
  std::vector<double> rowLower, rowUpper;
  for (const Row& row : _rows) {
    rowLower.push_back(solverBound(row.lb - row.constant, false));
    rowUpper.push_back(solverBound(row.ub - row.constant, false));
  }
  _solver->loadProblem(matrix, nullptr, nullptr, _costs.data(), rowLower.data(), rowUpper.data());
  _solver->setObjSense(_maximise ? -1.0 : 1.0);
  _solver->setDblParam(OsiObjOffset, -_costConstant);
  for (int j = 0; j < columnCount; ++j) pushColumn(j);
  _cells = Cells();
  _costs = {};
}

void SolverAlgorithmI::pushColumn(int column) {
  const Column& data = _columns[static_cast<std::size_t>(column)];
  const bool whole = data.variable->isInteger();
  // Between 0 and its threshold a semi-continuous column is kept out by branching, not by a bound.
  _solver->setColBounds(column, solverBound(data.variable->getLB(), whole), solverBound(data.variable->getUB(), whole));
  if (whole && !data.relaxed) {
    _solver->setInteger(column);
  } else {
    _solver->setContinuous(column);
  }
}

// ---- modification

void SolverAlgorithmI::updateColumn(const TavNumVarI* variable) { pushColumn(placeOf(variable)); }

void SolverAlgorithmI::updateThreshold(const TavNumVarI* variable, double threshold) {
  _columns[static_cast<std::size_t>(placeOf(variable))].threshold = threshold;
}

void SolverAlgorithmI::updateCoefficient(const TavNumLinTermI* sum, const TavNumVarI* variable) {
  if (getEnv()->isRemoved(variable)) return;  // on its way out: forget() drops the whole column at once
  const int column = placeOf(variable), row = placeOf(sum);
  if (row == kObjective) {
    _solver->setObjCoeff(column, coefficientIn(sum, variable));
  } else {
    _solver->modifyCoefficient(row, column, coefficientIn(sum, variable));
  }
}

void SolverAlgorithmI::restoreKind(const TavNumVarI* variable) {
  const int column = placeOf(variable);
  _columns[static_cast<std::size_t>(column)].relaxed = false;
  pushColumn(column);
}

void SolverAlgorithmI::forget(TavExtractableI* object) {
  const int place = placeOf(object);
  if (object->isType(TavNumVarI::GetTypeInfo())) {
    object->unextractFromCP(TavAlgorithm(this), reinterpret_cast<void*>(static_cast<std::intptr_t>(place)));
  }
  setPlace(object, kNowhere);
}

void SolverAlgorithmI::dropColumn(const TavNumVarI* variable) {
  const int column = placeOf(variable);
  _solver->deleteCols(1, &column);
  _columns.erase(_columns.begin() + column);
  if (!_values.empty()) _values.erase(_values.begin() + column);
  for (std::size_t j = static_cast<std::size_t>(column); j < _columns.size(); ++j) {
    setPlace(_columns[j].variable, static_cast<int>(j));
  }
}

// ---- solution

double SolverAlgorithmI::activityOf(const RangeConstraintI* row) const {
  const auto place = static_cast<std::size_t>(placeOf(row));
  return _activities[place] + _rows[place].constant;
}

double SolverAlgorithmI::getValue(const TavNumVarI* variable) const {
  const int column = placeOf(variable);
  if (column < 0) throw TavAlgorithm::Exception("the variable is not extracted", 0);
  if (_values.empty()) throw TavAlgorithm::Exception("there is no solution", 0);
  return _values[static_cast<std::size_t>(column)];
}

double SolverAlgorithmI::getValue(const TavIntExprI* constraint) const {
  const int row = placeOf(constraint);
  if (row < 0 || _activities.empty()) throw TavAlgorithm::Exception("the constraint has no value", 0);
  const Row& bounds = _rows[static_cast<std::size_t>(row)];
  const double activity = activityOf(static_cast<const RangeConstraintI*>(constraint));
  const double slack = kTolerance * std::max(1.0, std::abs(activity));
  return activity >= bounds.lb - slack && activity <= bounds.ub + slack ? 1.0 : 0.0;
}

}  // namespace tavsolve
