#include "solve/scenarios/worker_pool.h"

#include <algorithm>
#include <climits>
#include <system_error>
#include <thread>

#include <poll.h>
#include <unistd.h>

#include "solve/model/errors.h"

namespace tavsolve {

namespace {

double secondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

WorkerPool::WorkerPool(const ScenarioBase& base, const std::vector<std::size_t>& left, int workers,
                       std::function<void()> inWorker)
    : _base(base), _left(left), _workers(static_cast<std::size_t>(workers)), _inWorker(std::move(inWorker)) {}

void WorkerPool::run(SharedRun& run, const std::function<void()>& tick) {
  constexpr auto kInterval = std::chrono::milliseconds(100);
  Clock::time_point ticked;
  const auto interrupted = [this] { return _base.controls.interrupt && *_base.controls.interrupt; };
  while (!interrupted() && assign(run)) {
    receiveReports(run);
    run.makeProgress();
    appendResults(run);
    if (Clock::now() - ticked < kInterval) continue;
    ticked = Clock::now();
    tick();
  }
  for (Worker& worker : _workers) worker.child.reset();
}

/// How many scenarios a worker is given in advance, with the one under way: enough for two visits where scenarios are
/// short. Of long ones each worker has but one, so that all end at about the same time.
std::size_t WorkerPool::queueLength(const SharedRun& run) const {
  constexpr double kMost = kMostTasks;
  const double visits = 2.0 * std::chrono::duration<double>(run.batchInterval()).count();
  return _seconds > 0.0 ? static_cast<std::size_t>(std::min(1.0 + visits / _seconds, kMost)) : 1;
}

bool WorkerPool::assign(SharedRun& run) {
  const std::size_t length = queueLength(run);
  bool isBusy = false;
  for (Worker& worker : _workers) {
    const std::size_t before = worker.assigned.size();
    if (before <= length / 2 && !_exhausted) {
      const SharedRun::Block block = run.take(length - before);
      _exhausted = block.last - block.first < length - before;
      for (std::size_t place = block.first; place < block.last; ++place)
        worker.assigned.push_back({_left[place], false});
    }
    if (worker.assigned.empty()) continue;
    isBusy = true;
    if (!worker.child) {
      start(worker);
      send(worker, 0);
    } else if (before < worker.assigned.size()) {
      send(worker, before);
    }
  }
  return isBusy;
}

void WorkerPool::start(Worker& worker) {
  try {
    worker.tasks = std::make_unique<Pipe>();
    const auto work = [&](const Parent& parent) {
      if (_inWorker) _inWorker();
      worker.tasks->writing.close();
      serveTasks(_base, worker.tasks->reading.number(), parent);
    };
    worker.child = std::make_unique<Child>(work, _base.controls.log);
  } catch (const std::system_error& error) {
    throw SolverError(std::string("no worker can be started: ") + error.what());
  }
  worker.mustRestart = false;
}

void WorkerPool::send(Worker& worker, std::size_t first) {
  if (first == 0) worker.begin = Clock::now();
  const std::vector<WorkerTask> tasks(worker.assigned.begin() + static_cast<std::ptrdiff_t>(first),
                                      worker.assigned.end());
  static_assert(kMostTasks * sizeof(WorkerTask) <= PIPE_BUF, "the pipe takes them at once");
  // Writing to a worker that has ended is no error: receive() sees its end.
  [[maybe_unused]] const ssize_t count =
      write(worker.tasks->writing.number(), tasks.data(), tasks.size() * sizeof tasks[0]);
}

void WorkerPool::receiveReports(const SharedRun& run) {
  const double queue = static_cast<double>(queueLength(run) - 1) * _seconds;
  const auto half = std::chrono::duration_cast<SharedRun::Duration>(std::chrono::duration<double>(queue / 2.0));
  if (half.count() > 0) std::this_thread::sleep_for(std::min({half, run.batchInterval(), run.pollInterval()}));
  std::vector<pollfd> pipes;
  std::vector<Worker*> busy;
  for (Worker& worker : _workers) {
    if (worker.assigned.empty()) continue;
    pipes.push_back({worker.child->pipe(), POLLIN, 0});
    busy.push_back(&worker);
  }
  poll(pipes.data(), pipes.size(),
       static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(run.pollInterval()).count()));
  for (std::size_t i = 0; i < busy.size(); ++i) {
    if (pipes[i].revents) receive(*busy[i]);
    if (busy[i]->child) killOverdue(*busy[i]);
  }
}

void WorkerPool::receive(Worker& worker) {
  const bool lives =
      worker.child->receive([&](Message message) { record(worker, WorkerReport::from(std::move(message))); });
  if (!lives && !worker.mustRestart) return handleExit(worker);
  if (worker.mustRestart) worker.child.reset();
}

void WorkerPool::record(Worker& worker, WorkerReport report) {
  constexpr double kPart = 0.1;
  _lines += report.line;
  ++_added.done;
  _added.failed += report.failed;
  _seconds = std::max(report.seconds, _seconds + kPart * (report.seconds - _seconds));
  worker.assigned.pop_front();
  worker.mustRestart = report.mustRestart;
  worker.begin = Clock::now();
}

/// The scenario under way gets a second try, with the solver in a child process of its own. The next worker does that,
/// and what has waited.
void WorkerPool::handleExit(Worker& worker) {
  const std::string failure = worker.child->failure();
  worker.child.reset();
  if (worker.assigned.empty()) return;
  if (worker.assigned.front().guarded) return recordFailure(worker, "failed", failure);
  worker.assigned.front().guarded = true;
}

/// A solver that does not keep the time limit itself is killed some time later.
void WorkerPool::killOverdue(Worker& worker) {
  constexpr double kPatience = 0.5, kPart = 0.1;
  const double limit = _base.controls.seconds;
  if (worker.assigned.empty() || secondsSince(worker.begin) < limit + std::max(kPatience, kPart * limit)) return;
  worker.child.reset();
  recordFailure(worker, wordsFor(Status::TimeLimit), "the solver did not end in time and was killed");
}

void WorkerPool::recordFailure(Worker& worker, const char* status, const std::string& reason) {
  ScenarioResult result;
  result.name = _base.scenarios.name(worker.assigned.front().scenario);
  result.status = status;
  result.seconds = secondsSince(worker.begin);
  result.reason = reason;
  _lines += _base.format.line(result);
  ++_added.done;
  ++_added.failed;
  worker.assigned.pop_front();
}

void WorkerPool::appendResults(SharedRun& run) {
  if (_added.done > 0) run.append(_lines, _added);
  _lines.clear();
  _added = {};
}

}  // namespace tavsolve
