#include "solve/engines/engine.h"

#include <algorithm>
#include <cstdint>

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
  _columns.reserve(_model.columns().size());
  _rows.reserve(_model.rows().size());
  // Identifiers ascend: most often the last row or the objective has the greatest.
  TavInt greatest = _model.objective()->getSum().getImpl()->getId();
  if (!_model.rows().empty()) greatest = std::max(greatest, _model.rows().back()->getId());
  _places.resize(static_cast<std::size_t>(greatest) + 1, kNowhere);
  extractNew();
  _model.objective()->extractToCP(TavAlgorithm(this));
  if (_model.relaxation()) _model.relaxation()->extractToCP(TavAlgorithm(this));
  load();
}

void EngineI::extend() {
  const int firstColumn = static_cast<int>(_columns.size()), firstRow = static_cast<int>(_rows.size());
  extractNew();
  clearSolution();
  if (!_last.empty()) _last.resize(_columns.size(), std::numeric_limits<double>::quiet_NaN());
  appended(firstColumn, firstRow);
}

void EngineI::extractNew() {
  const TavAlgorithm self(this);
  for (const TavNumVar column : _model.columns()) {
    if (column && !hasExtracted(column.getImpl())) column.getImpl()->extractToCP(self);
  }
  for (const RangeConstraintI* row : _model.rows()) {
    if (!hasExtracted(row)) row->extractToCP(self);
  }
}

int EngineI::placeOf(const TavExtractableI* object) const {
  const auto id = static_cast<std::size_t>(object->getId());
  return id < _places.size() ? _places[id] : kNowhere;
}

void* EngineI::setPlace(const TavExtractableI* object, int place) {
  const auto id = static_cast<std::size_t>(object->getId());
  if (id >= _places.size()) _places.resize(std::max(id + 1, 2 * _places.size()), kNowhere);
  _places[id] = place;
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(place));
}

void* EngineI::addColumn(const TavNumVarI* variable, bool isSemiContinuous) {
  _columns.push_back({variable, isSemiContinuous, false});
  return setPlace(variable, static_cast<int>(_columns.size()) - 1);
}

void* EngineI::addIndicator(const TavNumVarI*) {
  throw InputError("the engine " + std::string(name()) + " does not take variables that stand for constraints");
}

void* EngineI::addSum(const TavNumLinTermI* sum) { return setPlace(sum, static_cast<int>(_rows.size())); }

void* EngineI::addRow(const RangeConstraintI* constraint) {
  constraint->getSum().getImpl()->extractToCP(TavAlgorithm(this));
  _rows.push_back({constraint});
  return setPlace(constraint, static_cast<int>(_rows.size()) - 1);
}

void* EngineI::takeObjective(const ObjectiveI* objective) {
  setPlace(objective->getSum().getImpl(), kObjective);
  return setPlace(objective, kKnown);
}

void* EngineI::relaxColumns(const TavConversionI* conversion) {
  const TavNumVarArray variables = conversion->getVars();
  for (TavInt i = 0; i < variables.getSize(); ++i) {
    _columns[static_cast<std::size_t>(placeOf(variables[i].getImpl()))].relaxed =
        conversion->getType() == TavNumVar::Float;
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
  _columns[static_cast<std::size_t>(column)].relaxed = false;
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
  _columns.erase(_columns.begin() + column);
  for (std::vector<double>* numbers : {&_values, &_reducedCosts, &_last}) {
    if (!numbers->empty()) numbers->erase(numbers->begin() + column);
  }
  for (std::size_t j = static_cast<std::size_t>(column); j < _columns.size(); ++j) {
    setPlace(_columns[j].variable, static_cast<int>(j));
  }
}

}  // namespace tavsolve
