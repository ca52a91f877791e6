#pragma once
/// How hard a model is for a solver.

#include "evaluator/tavevaluator.h"
#include "solve/model/model.h"

namespace tavsolve {

struct ModelClass {
  /// The hardest kind of row, the objective included.
  TavEvaluator::Kind kind = TavEvaluator::Kind::Linear;
  /// Whether some column takes whole numbers only. A relaxed model has none.
  bool integers = false;
  /// Whether there are semi-continuous columns or special ordered sets.
  bool choices = false;
  /// "row NAME" or "objective NAME": the first one of that kind; empty for a linear model.
  std::string hardest{};
  /// A class in it that has no derivatives, or null.
  const char* withoutDerivative = nullptr;
  /// Whether rows are linear only after linearisation.
  bool linearised = false;
  /// Why the model is not linear, neither as it is written nor by linearisation; empty for one that is.
  std::string notLinear{};
};

/// Linear in the size of the model; only rows that are not linear as they are written are compiled.
ModelClass classOf(const Model& model);

/// "a linear model with integers" and the like.
std::string describe(const ModelClass& modelClass);

}  // namespace tavsolve
