#pragma once
/// A worker solves scenarios one after the other, in a child process with a copy of the base model.

#include <functional>

#include "solve/engines/child.h"
#include "solve/engines/engines.h"
#include "solve/scenarios/result.h"
#include "solve/scenarios/scenario_file.h"

namespace tavsolve {

/// What all scenarios start from.
struct ScenarioBase {
  Model& model;
  const EngineKind* kind;
  EngineI& engine;
  WarmStart start;
  /// Of each solve.
  Controls controls;
  /// The name of the engine that the user wants; empty for the one that suits.
  std::string engineName;
  const ScenarioFile& scenarios;
  const ResultFormat& format;
};

/// What a worker is told to do.
struct WorkerTask {
  /// The number of a scenario of the file.
  std::size_t scenario = 0;
  /// The scenario has ended a worker before: its solver runs in a child process of its own, as tavsolve solves a model.
  bool guarded = false;
};

/// A worker has no more of them at a time.
constexpr std::size_t kMostTasks = 256;

/// Takes tasks from the pipe, forever, and sends the line of each scenario.
void serveTasks(const ScenarioBase& base, int tasks, const Parent& parent);

/// What a worker sends.
struct WorkerReport {
  bool failed = false;
  /// All that the scenario has taken.
  double seconds = 0.0;
  /// The worker's model is no longer the base model: the worker ends, and a new one takes its place.
  bool mustRestart = false;
  std::string line{};

  Message message() const;
  static WorkerReport from(Message message);
};

}  // namespace tavsolve
