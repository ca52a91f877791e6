#include "solve/scenarios/crew.h"

#include <algorithm>
#include <system_error>

#include <poll.h>
#include <unistd.h>

#include "solve/model/errors.h"

namespace tavsolve {

Crew::Crew(const ScenarioBase& base, const std::vector<std::size_t>& left, int workers, std::function<void()> inWorker)
    : _base(base), _left(left), _workers(static_cast<std::size_t>(workers)), _inWorker(std::move(inWorker)) {}

void Crew::run(Share& share, const std::function<void()>& tick) {
  constexpr auto kInterval = std::chrono::milliseconds(100);
  Clock::time_point ticked;
  const auto interrupted = [this] { return _base.controls.interrupt && *_base.controls.interrupt; };
  std::vector<pollfd> pipes;
  std::vector<Worker*> busy;
  while (!interrupted()) {
    pipes.clear();
    busy.clear();
    for (Worker& worker : _workers) {
      if (!worker.busy && !employ(worker, share)) continue;
      pipes.push_back({worker.child->pipe(), POLLIN, 0});
      busy.push_back(&worker);
    }
    if (busy.empty()) break;
    poll(pipes.data(), pipes.size(), share.patience());
    share.serve();
    for (std::size_t i = 0; i < busy.size(); ++i) {
      if (pipes[i].revents) listen(*busy[i], share);
      if (busy[i]->busy) killLate(*busy[i], share);
    }
    if (Clock::now() - ticked < kInterval) continue;
    ticked = Clock::now();
    tick();
  }
  for (Worker& worker : _workers) worker.child.reset();
}

/// Gives an idle worker a scenario; false when none is left.
bool Crew::employ(Worker& worker, Share& share) {
  const std::optional<std::size_t> place = share.next();
  if (place) give(worker, {_left[*place], false});
  return place.has_value();
}

void Crew::start(Worker& worker) {
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
  worker.worn = false;
}

void Crew::give(Worker& worker, const WorkerTask& task) {
  if (!worker.child) start(worker);
  worker.busy = true;
  worker.task = task;
  worker.begin = Clock::now();
  // The pipe is empty and takes it at once; of a worker that has ended listen() hears.
  [[maybe_unused]] const ssize_t count = write(worker.tasks->writing.number(), &task, sizeof task);
}

void Crew::listen(Worker& worker, Share& share) {
  const bool lives = worker.child->receive([&](Message message) {
    const WorkerReport report = WorkerReport::from(std::move(message));
    share.append(report.line, report.failed);
    worker.busy = false;
    worker.worn = report.worn;
  });
  if (!lives && worker.busy) return mourn(worker, share);
  if (worker.worn || !lives) worker.child.reset();
}

/// The worker has broken down: its scenario gets a second try, with the solver in a child process of its own.
void Crew::mourn(Worker& worker, Share& share) {
  const std::string failure = worker.child->failure();
  worker.child.reset();
  if (!worker.task.guarded) return give(worker, {worker.task.scenario, true});
  report(worker, share, "failed", failure);
  worker.busy = false;
}

/// A solver that does not keep the time limit itself is killed some time later.
void Crew::killLate(Worker& worker, Share& share) {
  constexpr double kPatience = 0.5, kPart = 0.1;
  const double limit = _base.controls.seconds;
  const double seconds = std::chrono::duration<double>(Clock::now() - worker.begin).count();
  if (seconds < limit + std::max(kPatience, kPart * limit)) return;
  worker.child.reset();
  report(worker, share, wordsFor(Status::TimeLimit), "the solver did not end in time and was killed");
  worker.busy = false;
}

void Crew::report(const Worker& worker, Share& share, const char* status, const std::string& reason) {
  ScenarioResult result;
  result.name = _base.scenarios.name(worker.task.scenario);
  result.status = status;
  result.seconds = std::chrono::duration<double>(Clock::now() - worker.begin).count();
  result.reason = reason;
  share.append(_base.format.line(result), true);
}

}  // namespace tavsolve
