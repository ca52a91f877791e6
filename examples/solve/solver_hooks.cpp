#include "solver.h"

/// The class hooks: how each kind of model object and of change record reaches the solver. A slot belongs to one class,
/// and every object answers `extractToCP` through its own class's slot.

namespace tavsolve {

namespace {

SolverAlgorithmI& solver(TavAlgorithm algorithm) { return static_cast<SolverAlgorithmI&>(*algorithm.getImpl()); }

void* extractVariable(TavAlgorithm algorithm, const TavExtractableI* object) {
  return solver(algorithm).addColumn(static_cast<const TavNumVarI*>(object), 0.0);
}

void* extractSemiContinuous(TavAlgorithm algorithm, const TavExtractableI* object) {
  const auto* variable = static_cast<const TavSemiContVarI*>(object);
  return solver(algorithm).addColumn(variable, variable->getThreshold());
}

void unextractVariable(TavAlgorithm algorithm, const TavExtractableI* object, void*) {
  solver(algorithm).dropColumn(static_cast<const TavNumVarI*>(object));
}

void modifyVariable(TavAlgorithm algorithm, const TavExtractableI* object, void*) {
  solver(algorithm).updateColumn(static_cast<const TavNumVarI*>(object));
}

void* extractSum(TavAlgorithm algorithm, const TavExtractableI* object) {
  return solver(algorithm).addRow(static_cast<const TavNumLinTermI*>(object));
}

void* extractRange(TavAlgorithm algorithm, const TavExtractableI* object) {
  return solver(algorithm).boundRow(static_cast<const RangeConstraintI*>(object));
}

void* extractObjective(TavAlgorithm algorithm, const TavExtractableI* object) {
  return solver(algorithm).takeObjective(static_cast<const ObjectiveI*>(object));
}

void* extractConversion(TavAlgorithm algorithm, const TavExtractableI* object) {
  return solver(algorithm).relaxColumns(static_cast<const TavConversionI*>(object));
}

// ---- change records

void applyBounds(TavAlgorithm algorithm, const TavChange* change, void* data) {
  static_cast<const TavSetNumVarBounds*>(change)->getVar()->modifyCP(algorithm, data);
}

void applyThreshold(TavAlgorithm algorithm, const TavChange* change, void*) {
  const auto* record = static_cast<const TavSetSemiContBound*>(change);
  solver(algorithm).updateThreshold(record->getVar(), record->getNewThreshold());
}

/// Both records of a linear sum say that a coefficient is new, not what it is: a change from one non-zero value to
/// another comes as a removal. The sum itself knows.
template <class Record>
void applyCoefficient(TavAlgorithm algorithm, const TavChange* change, void*) {
  const auto* record = static_cast<const Record*>(change);
  solver(algorithm).updateCoefficient(record->getLinear(), record->getVar());
}

void applyConversionLoss(TavAlgorithm algorithm, const TavChange* change, void*) {
  solver(algorithm).restoreKind(static_cast<const TavConversionRemoveVar*>(change)->getVar());
}

}  // namespace

void installSolverHooks() {
  TavNumVarI::_extractCP = extractVariable;
  TavNumVarI::_unextractCP = unextractVariable;
  TavNumVarI::_modifyCP = modifyVariable;
  TavSemiContVarI::_extractCP = extractSemiContinuous;
  TavSemiContVarI::_unextractCP = unextractVariable;
  TavSemiContVarI::_modifyCP = modifyVariable;
  TavNumLinTermI::_extractCP = extractSum;
  RangeConstraintI::_extractCP = extractRange;
  ObjectiveI::_extractCP = extractObjective;
  TavConversionI::_extractCP = extractConversion;

  TavSetNumVarBounds::_applyCP = applyBounds;
  TavSetSemiContBound::_applyCP = applyThreshold;
  TavNumLinTermAddVar::_applyCP = applyCoefficient<TavNumLinTermAddVar>;
  TavNumLinTermRemoveVar::_applyCP = applyCoefficient<TavNumLinTermRemoveVar>;
  TavConversionRemoveVar::_applyCP = applyConversionLoss;
}

}  // namespace tavsolve
