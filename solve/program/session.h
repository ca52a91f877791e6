#pragma once
/// One run of the program over a model.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "solve/engines/engines.h"
#include "solve/program/options.h"
#include "solve/program/output.h"
#include "solve/program/progress.h"
#include "solve/program/solution_file.h"
#include "solve/scenarios/results_file.h"
#include "solve/scenarios/scenario_file.h"

namespace tavsolve {

enum ExitCode : int { kSolved = 0, kNotSolved = 1, kBadInput = 2, kSolverFailed = 3 };

class Session {
 public:
  explicit Session(const Options& options);

  /// Reads, solves, edits and solves again. Throws InputError, TavFileError and SolverError.
  ExitCode run();

 private:
  void load();
  void makeEngine();
  Answer solve(EngineI& engine, const char* stage);
  void solveAndReport(const char* stage);
  void applyStage(const EditStage& stage);
  /// The solution file of a call that ended while its model was read.
  void writeUnread();
  bool confirm();
  // Scenarios (session_scenarios.cpp).
  ExitCode runScenarios();
  std::uint64_t hashOfRun(const ScenarioFile& scenarios) const;
  std::vector<std::size_t> whatIsLeft(const ScenarioFile& scenarios, const ResultsFile& file) const;
  Solution solution() const { return {*_model, *_engine, _answer, _stub}; }

  const Options& _options;
  Output _output;
  Progress _progress;
  StubFacts _stub;
  std::unique_ptr<Model> _model;
  const EngineKind* _kind = nullptr;
  std::unique_ptr<EngineI> _engine;
  Controls _controls;
  /// Of the time limit, what is kept back from the solver.
  double _reserve = 0.0;
  /// Of the last solve, and their number.
  Answer _answer;
  int _solves = 0;
};

}  // namespace tavsolve
