#include "solve/engines/engine.h"

/// The class hooks: how each kind of model object and of change record reaches an engine. A slot belongs to one class,
/// and every object answers `extractToCP` through its own class's slot. All engines share these functions: what differs
/// between them is behind EngineI.

namespace tavsolve {

namespace {

EngineI& engine(TavAlgorithm algorithm) { return static_cast<EngineI&>(*algorithm.getImpl()); }

void* extractVariable(TavAlgorithm algorithm, const TavExtractableI* object) {
  return engine(algorithm).addColumn(static_cast<const TavNumVarI*>(object));
}

void* extractIndicator(TavAlgorithm algorithm, const TavExtractableI* object) {
  return engine(algorithm).addIndicator(static_cast<const TavNumVarI*>(object));
}

void unextractVariable(TavAlgorithm algorithm, const TavExtractableI* object, void*) {
  engine(algorithm).dropColumn(static_cast<const TavNumVarI*>(object));
}

void modifyVariable(TavAlgorithm algorithm, const TavExtractableI* object, void*) {
  engine(algorithm).updateColumn(static_cast<const TavNumVarI*>(object));
}

void* extractSum(TavAlgorithm algorithm, const TavExtractableI* object) {
  return engine(algorithm).addSum(static_cast<const TavNumLinTermI*>(object));
}

void* extractRange(TavAlgorithm algorithm, const TavExtractableI* object) {
  return engine(algorithm).addRow(static_cast<const RangeConstraintI*>(object));
}

void* extractObjective(TavAlgorithm algorithm, const TavExtractableI* object) {
  return engine(algorithm).takeObjective(static_cast<const ObjectiveI*>(object));
}

void* extractConversion(TavAlgorithm algorithm, const TavExtractableI* object) {
  return engine(algorithm).relaxColumns(static_cast<const TavConversionI*>(object));
}

template <class Record>
void applyBounds(TavAlgorithm algorithm, const TavChange* change, void* data) {
  static_cast<const Record*>(change)->getVar()->modifyCP(algorithm, data);
}

/// Both records of a linear sum say that a coefficient is new, not what it is: a change from one non-zero value to
/// another comes as a removal. The sum itself knows.
template <class Record>
void applyCoefficient(TavAlgorithm algorithm, const TavChange* change, void*) {
  const auto* record = static_cast<const Record*>(change);
  engine(algorithm).updateCoefficient(record->getLinear(), record->getVar());
}

void applyConversionLoss(TavAlgorithm algorithm, const TavChange* change, void*) {
  engine(algorithm).restoreKind(static_cast<const TavConversionRemoveVar*>(change)->getVar());
}

void applyRowBounds(TavAlgorithm algorithm, const TavChange* change, void*) {
  engine(algorithm).updateRow(static_cast<const SetRowBounds*>(change)->getRow());
}

void applySense(TavAlgorithm algorithm, const TavChange*, void*) { engine(algorithm).updateSense(); }

}  // namespace

void installHooks() {
  TavNumVarI::_extractCP = extractVariable;
  TavNumVarI::_unextractCP = unextractVariable;
  TavNumVarI::_modifyCP = modifyVariable;
  TavSemiContVarI::_extractCP = extractVariable;
  TavSemiContVarI::_unextractCP = unextractVariable;
  TavSemiContVarI::_modifyCP = modifyVariable;
  TavConstraintIndVarI::_extractCP = extractIndicator;
  TavConstraintIndVarI::_unextractCP = unextractVariable;
  TavConstraintIndVarI::_modifyCP = modifyVariable;
  TavNumLinTermI::_extractCP = extractSum;
  RangeConstraintI::_extractCP = extractRange;
  ObjectiveI::_extractCP = extractObjective;
  TavConversionI::_extractCP = extractConversion;

  TavSetNumVarBounds::_applyCP = applyBounds<TavSetNumVarBounds>;
  TavSetSemiContBound::_applyCP = applyBounds<TavSetSemiContBound>;
  TavNumLinTermAddVar::_applyCP = applyCoefficient<TavNumLinTermAddVar>;
  TavNumLinTermRemoveVar::_applyCP = applyCoefficient<TavNumLinTermRemoveVar>;
  TavConversionRemoveVar::_applyCP = applyConversionLoss;
  SetRowBounds::_applyCP = applyRowBounds;
  SetSense::_applyCP = applySense;
}

}  // namespace tavsolve
