#include "solve/engines/engines.h"

#include <algorithm>

#include "solve/engines/bonmin.h"
#include "solve/engines/cbc.h"
#include "solve/engines/cbc_linearised.h"
#include "solve/engines/ipopt.h"
#include "solve/linearise/linear_model.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

using Make = std::unique_ptr<EngineI> (*)(const Model& model);

template <class Engine>
std::unique_ptr<EngineI> make(const Model& model) {
  return std::make_unique<Engine>(model);
}

// An engine that was not built has a row all the same, so that refusals can name its package.
constexpr Make kMakeCbc =
#ifdef TAV_ENGINE_CBC
    [](const Model& model) -> std::unique_ptr<EngineI> {
  if (needsLinearisation(model)) return std::make_unique<LinearisedEngineI>(model);
  return std::make_unique<CbcEngineI>(model);
};
#else
    nullptr;
#endif
constexpr Make kMakeIpopt =
#ifdef TAV_ENGINE_IPOPT
    make<IpoptEngineI>;
#else
    nullptr;
#endif
constexpr Make kMakeBonmin =
#ifdef TAV_ENGINE_BONMIN
    make<BonminEngineI>;
#else
    nullptr;
#endif

using Kind = TavEvaluator::Kind;

constexpr EngineKind kKinds[] = {
    {"cbc", "linear and mixed-integer models, and what can be linearised", "coinor-libcbc-dev",
     [](const ModelClass& c) { return c.notLinear.empty(); }, kMakeCbc},
    {"ipopt", "quadratic and non-linear models without integers", "coinor-libipopt-dev",
     [](const ModelClass& c) { return !c.integers && !c.choices && !c.withoutDerivative; }, kMakeIpopt},
    {"bonmin", "quadratic and non-linear models with integers", "coinor-libbonmin-dev",
     [](const ModelClass& c) { return !c.choices && !c.withoutDerivative; }, kMakeBonmin},
};

/// "objective COST is quadratic" and the like, for a model that is not linear.
std::string reasonOf(const ModelClass& modelClass) {
  if (modelClass.withoutDerivative) return std::string("it has a ") + modelClass.withoutDerivative;
  if (modelClass.kind == Kind::Linear) return "this is " + describe(modelClass);
  std::string text = modelClass.hardest + (modelClass.kind == Kind::Quadratic ? " is quadratic" : " is non-linear");
  if (modelClass.integers || modelClass.choices) text += ", and this is " + describe(modelClass);
  return text;
}

std::string names() {
  std::string text;
  for (const EngineKind& kind : kKinds) text += (text.empty() ? "" : ", ") + std::string(kind.name);
  return text;
}

}  // namespace

std::span<const EngineKind> engineKinds() { return kKinds; }

const EngineKind& chooseEngine(const Model& model, const std::string& name) {
  const ModelClass modelClass = classOf(model);
  const auto found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const EngineKind& kind) {
    return name.empty() ? kind.takes(modelClass) : name == kind.name;
  });
  if (found == std::end(kKinds)) {
    if (name.empty())
      throw InputError("no engine takes the model: " + reasonOf(modelClass) + "; " + modelClass.notLinear);
    throw InputError("there is no engine " + name + ": the engines are " + names());
  }
  const std::string engine = std::string("engine ") + found->name;
  if (!found->takes(modelClass)) {
    if (found == kKinds) throw InputError(engine + " takes " + found->models + ": " + modelClass.notLinear);
    throw InputError(engine + " takes " + found->models + " only: " + reasonOf(modelClass));
  }
  if (!found->make) {
    throw InputError(reasonOf(modelClass) + ": it takes the " + engine +
                     ", which was not built for want of the package " + found->package);
  }
  return *found;
}

}  // namespace tavsolve
