#include "solve/engines/model_class.h"

#include <algorithm>

#include "solve/linearise/linear_model.h"

namespace tavsolve {

namespace {

std::string labelOf(const char* what, const char* name) {
  return std::string(what) + (name ? " " + std::string(name) : " without a name");
}

}  // namespace

ModelClass classOf(const Model& model) {
  ModelClass result;
  for (const TavNumVar column : model.columns()) {
    if (!column) continue;
    result.integers = result.integers || (column.isInteger() && !model.relaxation());
    result.choices = result.choices || model.isSemiContinuous(column);
  }
  result.choices = result.choices || !model.sets().empty();

  std::vector<TavNumExprArg> bodies;
  std::vector<std::string> labels;
  const auto take = [&](const TavExpr& sum, const char* what, const char* name) {
    if (!sum.getImpl()->getFirstPart()) return;
    bodies.push_back(sum);
    labels.push_back(labelOf(what, name));
  };
  take(model.objective()->getSum(), "objective", model.objective()->getName());
  for (const RangeConstraintI* row : model.rows()) take(row->getSum(), "row", row->getName());
  result.linearised = needsLinearisation(model);
  if (result.linearised) result.notLinear = whyNotLinear(model);
  if (bodies.empty()) return result;

  TavEvaluator::Options valuesOnly;
  valuesOnly.derivatives = 0;
  const TavEvaluator evaluator(model.getEnv(), TavNumExprArg(), bodies, {}, valuesOnly);
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    const TavEvaluator::Kind kind = evaluator.getKind(i);
    if (!result.withoutDerivative) result.withoutDerivative = evaluator.getClassWithoutDerivative(i);
    if (kind <= result.kind) continue;
    result.kind = kind;
    result.hardest = labels[i];
  }
  return result;
}

std::string describe(const ModelClass& modelClass) {
  static constexpr const char* kKinds[] = {"a linear model", "a quadratic model", "a non-linear model"};
  std::string text = kKinds[static_cast<int>(modelClass.kind)];
  if (modelClass.integers) text += " with integers";
  if (modelClass.choices) text += modelClass.integers ? " and choices" : " with choices";
  return text;
}

}  // namespace tavsolve
