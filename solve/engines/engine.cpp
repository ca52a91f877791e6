#include "solve/engines/engine.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <utility>

#include "solve/model/errors.h"

namespace tavsolve {

namespace {

double coefficientIn(const TavNumLinTermI* sum, const TavNumVarI* variable) {
  double coefficient = 0.0;
  for (const auto* term = sum->getFirstTerm(); term; term = term->next) {
    if (term->var == variable) coefficient += term->coef;
  }
  return coefficient;
}

}  // namespace

const char* wordsFor(Status status) {
  static constexpr const char* kWords[] = {"optimal",     "locally optimal", "infeasible", "locally infeasible",
                                           "unbounded",   "violated",        "time limit", "node limit",
                                           "interrupted", "stopped"};
  return kWords[static_cast<std::size_t>(status)];
}

EngineI::EngineI(const Model& model) : TavAlgorithmI(model.getEnv().getImpl()), _model(model) { installHooks(); }

// Extraction

void EngineI::extract() {
  extractNew();
  _model.objective()->extractToCP(TavAlgorithm(this));
  if (_model.relaxation()) _model.relaxation()->extractToCP(TavAlgorithm(this));
  load();
}

void EngineI::extend() {
  const int firstColumn = static_cast<int>(_columnCount), firstRow = static_cast<int>(_rowCount);
  extractNew();
  clearSolution();
  if (!_last.empty()) _last.resize(_columnCount, std::numeric_limits<double>::quiet_NaN());
  appended(firstColumn, firstRow);
}

void EngineI::extractNew() {
  reserveLists();
  const TavAlgorithm self(this);
  for (const TavNumVar column : _model.columns()) {
    if (column && !hasExtracted(column.getImpl())) column.getImpl()->extractToCP(self);
  }
  for (const RangeConstraintI* row : _model.rows()) {
    if (!hasExtracted(row)) row->extractToCP(self);
  }
}

/// Sets memory aside for lists that only modifications need, so that these do not fail for want of it.
void EngineI::reserveLists() {
  // Identifiers ascend: most often the last row or the objective has the greatest.
  TavInt greatest = _model.objective()->getSum().getImpl()->getId();
  if (!_model.rows().empty()) greatest = std::max(greatest, _model.rows().back()->getId());
  _places.reserve(static_cast<std::size_t>(greatest) + 1);
  makeRoom(_variables, _model.columns().size());
}

void EngineI::listColumns() {
  if (std::exchange(_listsColumns, true)) return;
  for (std::size_t j = 0; j < _columnCount; ++j) _variables.push_back(_model.columns()[j].getImpl());
}

void* EngineI::setPlace(const TavExtractableI* object, int place) {
  _places.set(object->getId(), place);
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(place));
}

void* EngineI::addColumn(const TavNumVarI* variable) {
  const bool isNext = _columnCount < _model.columns().size() && _model.columns()[_columnCount].getImpl() == variable;
  if (!isNext) listColumns();
  if (_listsColumns) _variables.push_back(variable);
  return setPlace(variable, static_cast<int>(_columnCount++));
}

void* EngineI::addIndicator(const TavNumVarI*) {
  throw InputError("the engine " + std::string(name()) + " does not take variables that stand for constraints");
}

void* EngineI::addSum(const TavNumLinTermI* sum) { return setPlace(sum, static_cast<int>(_rowCount)); }

void* EngineI::addRow(const RangeConstraintI* constraint) {
  assert(_model.rows()[_rowCount] == constraint && "rows come in the model's order");
  constraint->getSum().getImpl()->extractToCP(TavAlgorithm(this));
  return setPlace(constraint, static_cast<int>(_rowCount++));
}

void* EngineI::takeObjective(const ObjectiveI* objective) {
  setPlace(objective->getSum().getImpl(), kObjective);
  return setPlace(objective, kKnown);
}

void* EngineI::relaxColumns(const TavConversionI* conversion) {
  const TavNumVarArray variables = conversion->getVars();
  _relaxed.resize(_columnCount);
  for (TavInt i = 0; i < variables.getSize(); ++i) {
    _relaxed[static_cast<std::size_t>(placeOf(variables[i].getImpl()))] = conversion->getType() == TavNumVar::Float;
  }
  return setPlace(conversion, kKnown);
}

// Modification

void EngineI::updateColumn(const TavNumVarI* variable) { columnChanged(placeOf(variable)); }

void EngineI::updateRow(const RangeConstraintI* constraint) { rowChanged(placeOf(constraint)); }

void EngineI::updateCoefficient(const TavNumLinTermI* sum, const TavNumVarI* variable) {
  if (getEnv()->isRemoved(variable)) return;  // on its way out: forget() drops the whole column at once
  if (!hasExtracted(variable)) return;        // a new column, whose coefficients extend() takes up
  coefficientChanged(placeOf(sum), placeOf(variable), coefficientIn(sum, variable));
}

void EngineI::restoreKind(const TavNumVarI* variable) {
  const int column = placeOf(variable);
  _relaxed[static_cast<std::size_t>(column)] = false;
  columnChanged(column);
}

void EngineI::forget(TavExtractableI* object) {
  const int place = placeOf(object);
  if (object->isType(TavNumVarI::GetTypeInfo())) {
    object->unextractFromCP(TavAlgorithm(this), reinterpret_cast<void*>(static_cast<std::intptr_t>(place)));
  }
  setPlace(object, kNowhere);
}

void EngineI::dropColumn(const TavNumVarI* variable) {
  const int column = placeOf(variable);
  columnRemoved(column);
  listColumns();
  _variables.erase(_variables.begin() + column);
  if (static_cast<std::size_t>(column) < _relaxed.size()) _relaxed.erase(_relaxed.begin() + column);
  --_columnCount;
  for (std::vector<double>* numbers : {&_values, &_reducedCosts, &_last}) {
    if (!numbers->empty()) numbers->erase(numbers->begin() + column);
  }
  for (std::size_t j = static_cast<std::size_t>(column); j < _columnCount; ++j) {
    setPlace(_variables[j], static_cast<int>(j));
  }
}

}  // namespace tavsolve
