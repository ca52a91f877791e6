#pragma once
/// How well a point satisfies a model.

#include "solve/engines/engine.h"

namespace tavsolve {

/// How far a value is outside these bounds, relative for values above 1; infinite for NaN and for an infinite value
/// outside.
double violationOf(double lb, double value, double ub);

/// The greatest violation of rows, bounds, whole numbers and special ordered sets by the engine's values. Rows are
/// evaluated as expressions. Linear in the size of the model.
Violation greatestViolation(const Model& model, EngineI& engine);

}  // namespace tavsolve
