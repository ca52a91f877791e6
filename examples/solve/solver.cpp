#include "solver.h"

#include <CoinPackedMatrix.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>

#include "input_error.h"

namespace tavsolve {

namespace {

/// The solver's way to say "no bound"; whole bounds end where doubles stop counting.
double solverBound(double bound, bool whole) {
  const double last = whole ? static_cast<double>(TavIntVar::kMaxInt) : TavGetInfinity();
  if (bound >= last) return COIN_DBL_MAX;
  return bound <= -last ? -COIN_DBL_MAX : bound;
}

/// What the solver is told of a column.
struct SolverColumn {
  double lb, ub;
  bool whole;
};

SolverColumn solverColumn(const TavNumVarI* variable) {
  const bool whole = variable->isInteger();
  return {solverBound(variable->getLB(), whole), solverBound(variable->getUB(), whole), whole};
}

/// What a part of a sum is called where it is refused.
std::string kindOf(const TavNumExprI* part) {
  const TavTypeInfo type = part->getTypeInfo();
  if (type == TavNumTimesCstI::GetTypeInfo()) return kindOf(static_cast<const TavNumTimesCstI*>(part)->getOperand());
  if (type == TavConditionalNumExprI::GetTypeInfo()) return "an indicator row or another condition";
  if (type == TavNumSquareI::GetTypeInfo() || type == TavNumTimesI::GetTypeInfo()) {
    return std::string("a quadratic or other product (") + part->getRttiTypeName() + ")";
  }
  return std::string("non-linear (") + part->getRttiTypeName() + ")";
}

void requireLinearSum(const TavNumLinTermI* sum, const char* what, const char* name) {
  if (!sum->getFirstPart()) return;
  throw InputError(std::string(what) + (name ? " " + std::string(name) : " without a name") + " has " +
                   kindOf(sum->getFirstPart()->expr) + ", which the linear solver does not take");
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

void SolverAlgorithmI::requireLinear(const Model& model) {
  requireLinearSum(model.objective()->getSum().getImpl(), "objective", model.objective()->getName());
  for (const RangeConstraintI* row : model.rows()) requireLinearSum(row->getSum().getImpl(), "row", row->getName());
}

void SolverAlgorithmI::extract(const Model& model) {
  const TavAlgorithm self(this);
  _columns.reserve(model.columns().size());
  _rows.reserve(model.rows().size() + 1);  // the objective comes as one more row
  _sets = &model.sets();
  _nonZeros = model.nonZeros();
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
  _rows.push_back({sum, -TavGetInfinity(), TavGetInfinity(), sum->getNumConstant()});
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
  _rows.pop_back();
  _costs.assign(_columns.size(), 0.0);
  for (const auto* term = sum->getFirstTerm(); term; term = term->next) {
    _costs[static_cast<std::size_t>(placeOf(term->var))] += term->coef;
  }
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

std::unique_ptr<CoinPackedMatrix> SolverAlgorithmI::gather() const {
  const std::size_t columnCount = _columns.size();
  // start[j + 1] says where column j goes on, in the end where it ended.
  auto start = std::make_unique<CoinBigIndex[]>(columnCount + 2);
  const int* place = _places.data();  // every variable of the rows has one: columns are extracted first
  std::vector<int> columns;           // of all terms in their order: from a term to its column is a long way in memory
  columns.reserve(_nonZeros);
  for (const Row& row : _rows) {
    for (const auto* term = row.sum->getFirstTerm(); term; term = term->next) {
      const int column = place[term->var->getId()];
      columns.push_back(column);
      ++start[static_cast<std::size_t>(column) + 2];
    }
  }
  std::partial_sum(start.get(), start.get() + columnCount + 2, start.get());
  const CoinBigIndex count = start[columnCount + 1];
  auto rows = std::make_unique_for_overwrite<int[]>(static_cast<std::size_t>(count));
  auto values = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(count));
  auto column = columns.begin();
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    for (const auto* term = _rows[i].sum->getFirstTerm(); term; term = term->next) {
      const CoinBigIndex k = start[static_cast<std::size_t>(*column++) + 1]++;
      rows[static_cast<std::size_t>(k)] = static_cast<int>(i);
      values[static_cast<std::size_t>(k)] = term->coef;
    }
  }
  auto matrix = std::make_unique<CoinPackedMatrix>();
  double* takenValues = values.release();
  int* takenRows = rows.release();
  CoinBigIndex* takenStart = start.release();
  int* lengths = nullptr;
  matrix->assignMatrix(true, static_cast<int>(_rows.size()), static_cast<int>(columnCount), count, takenValues,
                       takenRows, takenStart, lengths);
  return matrix;
}

void SolverAlgorithmI::load() {
  std::vector<double> rowLower(_rows.size()), rowUpper(_rows.size()), lower(_columns.size()), upper(_columns.size());
  std::vector<int> integers;
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    rowLower[i] = solverBound(_rows[i].lb - _rows[i].constant, false);
    rowUpper[i] = solverBound(_rows[i].ub - _rows[i].constant, false);
  }
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    const auto [lb, ub, whole] = solverColumn(_columns[j].variable);
    lower[j] = lb;
    upper[j] = ub;
    if (whole && !_columns[j].relaxed) integers.push_back(static_cast<int>(j));
  }
  // Loaded without a coefficient, the solver then takes the matrix as it is instead of a copy.
  CoinPackedMatrix none;
  none.setDimensions(static_cast<int>(_rows.size()), static_cast<int>(_columns.size()));
  _solver->loadProblem(none, lower.data(), upper.data(), _costs.data(), rowLower.data(), rowUpper.data());
  _solver->getModelPtr()->replaceMatrix(gather().release(), true);
  _solver->setObjSense(_maximise ? -1.0 : 1.0);
  _solver->setDblParam(OsiObjOffset, -_costConstant);
  if (!integers.empty()) _solver->setInteger(integers.data(), static_cast<int>(integers.size()));
  _costs = {};
}

void SolverAlgorithmI::pushColumn(int column) {
  const Column& data = _columns[static_cast<std::size_t>(column)];
  // Between 0 and its threshold a semi-continuous column is kept out by branching, not by a bound.
  const auto [lb, ub, whole] = solverColumn(data.variable);
  _solver->setColBounds(column, lb, ub);
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
