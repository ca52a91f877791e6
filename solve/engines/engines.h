#pragma once
/// Which engines there are, and which one takes a model.

#include <memory>
#include <span>
#include <string>

#include "solve/engines/engine.h"
#include "solve/engines/model_class.h"

namespace tavsolve {

struct EngineKind {
  const char* name;
  /// What the engine takes, for people.
  const char* models;
  /// The Debian package that building it needs.
  const char* package;
  bool (*takes)(const ModelClass& modelClass);
  /// Null when the engine was not built.
  std::unique_ptr<EngineI> (*make)(const Model& model);
};

/// All engines, in the order in which they are preferred.
std::span<const EngineKind> engineKinds();

/// The engine of this name or, for an empty name, the first that takes the model's class. Throws InputError for an
/// unknown name, for a model that no engine takes, and for an engine that was not built.
const EngineKind& chooseEngine(const Model& model, const std::string& name);

}  // namespace tavsolve
