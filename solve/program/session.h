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
#include "solve/scenarios/ranks.h"
#include "solve/scenarios/scenario_file.h"
#include "solve/scenarios/worker.h"

namespace tavsolve {

enum ExitCode : int { kSolved = 0, kNotSolved = 1, kBadInput = 2, kSolverFailed = 3 };

class Session {
 public:
  /// `ranks`, which may be null, share a run of scenarios with this process.
  Session(const Options& options, Ranks* ranks);

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
  /// What is to be done, and what has been done by earlier runs.
  struct Plan {
    std::vector<std::size_t> left{};
    SharedRun::Counts before{};
    std::size_t fileSize = 0;
  };
  static Plan planOf(const ScenarioFile& scenarios, const ResultsFile& file);
  void loadBase();
  void shareBase(Plan& plan);
  void work(const ScenarioBase& base, const std::vector<std::size_t>& left, SharedRun& shared,
            const std::function<void()>& inWorker);
  bool summarise(const SharedRun::Counts& before, const SharedRun::Counts& now, std::size_t count);
  Solution solution() const { return {*_model, *_engine, _answer, _stub}; }

  bool isLeader() const { return !_ranks || _ranks->isLeader(); }

  const Options& _options;
  Ranks* _ranks;
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
