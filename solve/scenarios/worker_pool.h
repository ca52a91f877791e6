#pragma once
/// The workers of one process: they are given scenarios, watched, and replaced when they break down.

#include <chrono>
#include <deque>
#include <memory>
#include <vector>

#include "solve/scenarios/shared_run.h"
#include "solve/scenarios/worker.h"

namespace tavsolve {

class WorkerPool {
 public:
  /// `left` are the numbers of the scenarios in the order in which the run counts them. `inWorker`, which may be
  /// empty, is called first in each worker.
  WorkerPool(const ScenarioBase& base, const std::vector<std::size_t>& left, int workers,
             std::function<void()> inWorker);

  /// Works until no scenario is left, or until the interruption of the base's controls; then what the workers have
  /// begun is dropped. `tick` is called several times a second. Throws SolverError when there can be no workers.
  void run(SharedRun& run, const std::function<void()>& tick);

 private:
  using Clock = std::chrono::steady_clock;

  struct Worker {
    std::unique_ptr<Pipe> tasks{};
    std::unique_ptr<Child> child{};
    /// Its scenarios without a result, in order: the first is under way, the others wait in the pipe.
    std::deque<WorkerTask> assigned{};
    /// Its model is no longer the base model: it ends.
    bool mustRestart = false;
    /// Of the task under way.
    Clock::time_point begin{};
  };

  /// Gives the workers what they need until the next visit, and starts those that are missing; false when no scenario
  /// is under way.
  bool assign(SharedRun& run);
  std::size_t queueLength(const SharedRun& run) const;
  void start(Worker& worker);
  /// Sends the worker what it has been assigned from the place `first` on.
  void send(Worker& worker, std::size_t first);
  /// Waits until a worker has sent something, or, where scenarios are short, until several results have come.
  void receiveReports(const SharedRun& run);
  void receive(Worker& worker);
  void record(Worker& worker, WorkerReport report);
  /// The worker has broken down.
  void handleExit(Worker& worker);
  void killOverdue(Worker& worker);
  /// The scenario under way has no result.
  void recordFailure(Worker& worker, const char* status, const std::string& reason);
  /// Appends what has been recorded to the file.
  void appendResults(SharedRun& run);

  const ScenarioBase& _base;
  const std::vector<std::size_t>& _left;
  std::vector<Worker> _workers;
  std::function<void()> _inWorker;
  /// All scenarios that are left have been taken.
  bool _exhausted = false;
  /// Of one scenario, as the latest ones suggest: rises at once, falls slowly.
  double _seconds = 0.0;
  /// Results that are not in the file yet.
  std::string _lines;
  SharedRun::Counts _added;
};

}  // namespace tavsolve
