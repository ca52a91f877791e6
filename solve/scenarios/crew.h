#pragma once
/// The workers of one process: they are given scenarios, watched, and replaced when they break down.

#include <chrono>
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
    bool busy = false;
    /// It ends after the task that it has done.
    bool worn = false;
    WorkerTask task{};
    Clock::time_point begin{};
  };

  void start(Worker& worker);
  void give(Worker& worker, const WorkerTask& task);
  bool employ(Worker& worker, Share& share);
  void listen(Worker& worker, Share& share);
  void mourn(Worker& worker, Share& share);
  void killLate(Worker& worker, Share& share);
  void report(const Worker& worker, Share& share, const char* status, const std::string& reason);

  const ScenarioBase& _base;
  const std::vector<std::size_t>& _left;
  std::vector<Worker> _workers;
  std::function<void()> _inWorker;
};

}  // namespace tavsolve
