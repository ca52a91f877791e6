#pragma once
/// The workers of one process: they are given scenarios, watched, and replaced when they break down.

#include <chrono>
#include <deque>
#include <memory>
#include <vector>

#include "solve/scenarios/share.h"
#include "solve/scenarios/worker.h"

namespace tavsolve {

class Crew {
 public:
  /// `left` are the numbers of the scenarios in the order in which the share counts them. `inWorker`, which may be
  /// empty, is called first in each worker.
  Crew(const ScenarioBase& base, const std::vector<std::size_t>& left, int workers, std::function<void()> inWorker);

  /// Works until no scenario is left, or until the interruption of the base's controls; then what the workers have
  /// begun is dropped. `tick` is called several times a second. Throws SolverError when there can be no workers.
  void run(Share& share, const std::function<void()>& tick);

 private:
  using Clock = std::chrono::steady_clock;

  struct Worker {
    std::unique_ptr<Pipe> tasks{};
    std::unique_ptr<Child> child{};
    /// What it has been given and not answered, in order: the first is under way, the others wait in the pipe.
    std::deque<WorkerTask> given{};
    /// It ends after the task that it has done.
    bool worn = false;
    /// Of the task under way.
    Clock::time_point begin{};
  };

  void start(Worker& worker);
  void send(Worker& worker, std::size_t first);
  bool supply(Share& share);
  std::size_t depth(const Share& share) const;
  void wait(const Share& share);
  void listen(Worker& worker);
  void take(Worker& worker, WorkerReport report);
  void mourn(Worker& worker);
  void killLate(Worker& worker);
  void fail(Worker& worker, const char* status, const std::string& reason);
  void publish(Share& share);

  const ScenarioBase& _base;
  const std::vector<std::size_t>& _left;
  std::vector<Worker> _workers;
  std::function<void()> _inWorker;
  /// All scenarios that are left have been taken.
  bool _exhausted = false;
  /// Of one scenario, as the latest ones suggest: rises at once, falls slowly.
  double _seconds = 0.0;
  /// Done, and not in the file yet.
  std::string _lines;
  Share::Counts _added;
};

}  // namespace tavsolve
