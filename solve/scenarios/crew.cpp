#include "solve/scenarios/crew.h"

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

Crew::Crew(const ScenarioBase& base, const std::vector<std::size_t>& left, int workers, std::function<void()> inWorker)
    : _base(base), _left(left), _workers(static_cast<std::size_t>(workers)), _inWorker(std::move(inWorker)) {}

void Crew::run(Share& share, const std::function<void()>& tick) {
  constexpr auto kInterval = std::chrono::milliseconds(100);
  Clock::time_point ticked;
  const auto interrupted = [this] { return _base.controls.interrupt && *_base.controls.interrupt; };
  while (!interrupted() && supply(share)) {
    wait(share);
    share.serve();
    publish(share);
    if (Clock::now() - ticked < kInterval) continue;
    ticked = Clock::now();
    tick();
  }
  for (Worker& worker : _workers) worker.child.reset();
}

/// How many scenarios a worker is given in advance, with the one under way: enough for two visits where scenarios are
/// short. Of long ones each worker has but one, so that all end at about the same time.
std::size_t Crew::depth(const Share& share) const {
  constexpr double kMost = kMostTasks;
  const double visits = 2.0 * std::chrono::duration<double>(share.interval()).count();
  return _seconds > 0.0 ? static_cast<std::size_t>(std::min(1.0 + visits / _seconds, kMost)) : 1;
}

/// Gives the workers what they need until the next visit; false when nothing is under way.
bool Crew::supply(Share& share) {
  const std::size_t depth = this->depth(share);
  bool isBusy = false;
  for (Worker& worker : _workers) {
    const std::size_t before = worker.given.size();
    if (before <= depth / 2 && !_exhausted) {
      const Share::Block block = share.take(depth - before);
      _exhausted = block.last - block.first < depth - before;
      for (std::size_t place = block.first; place < block.last; ++place) worker.given.push_back({_left[place], false});
    }
    if (worker.given.empty()) continue;
    isBusy = true;
    if (!worker.child) {
      start(worker);
      send(worker, 0);
    } else if (before < worker.given.size()) {
      send(worker, before);
    }
  }
  return isBusy;
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

/// Sends the worker what it has been given from `first` on.
void Crew::send(Worker& worker, std::size_t first) {
  if (first == 0) worker.begin = Clock::now();
  const std::vector<WorkerTask> tasks(worker.given.begin() + static_cast<std::ptrdiff_t>(first), worker.given.end());
  static_assert(kMostTasks * sizeof(WorkerTask) <= PIPE_BUF, "the pipe takes them at once");
  // Of a worker that has ended listen() hears.
  [[maybe_unused]] const ssize_t count =
      write(worker.tasks->writing.number(), tasks.data(), tasks.size() * sizeof tasks[0]);
}

/// Waits until a worker has something to say; where scenarios are short, until several have.
void Crew::wait(const Share& share) {
  const double queue = static_cast<double>(depth(share) - 1) * _seconds;
  const auto half = std::chrono::duration_cast<Share::Duration>(std::chrono::duration<double>(queue / 2.0));
  if (half.count() > 0) std::this_thread::sleep_for(std::min({half, share.interval(), share.patience()}));
  std::vector<pollfd> pipes;
  std::vector<Worker*> busy;
  for (Worker& worker : _workers) {
    if (worker.given.empty()) continue;
    pipes.push_back({worker.child->pipe(), POLLIN, 0});
    busy.push_back(&worker);
  }
  poll(pipes.data(), pipes.size(),
       static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(share.patience()).count()));
  for (std::size_t i = 0; i < busy.size(); ++i) {
    if (pipes[i].revents) listen(*busy[i]);
    if (busy[i]->child) killLate(*busy[i]);
  }
}

void Crew::listen(Worker& worker) {
  const bool lives =
      worker.child->receive([&](Message message) { take(worker, WorkerReport::from(std::move(message))); });
  if (!lives && !worker.worn) return mourn(worker);
  if (worker.worn) worker.child.reset();
}

void Crew::take(Worker& worker, WorkerReport report) {
  constexpr double kPart = 0.1;
  _lines += report.line;
  ++_added.done;
  _added.failed += report.failed;
  _seconds = std::max(report.seconds, _seconds + kPart * (report.seconds - _seconds));
  worker.given.pop_front();
  worker.worn = report.worn;
  worker.begin = Clock::now();
}

/// The worker has broken down: the scenario under way gets a second try, with the solver in a child process of its own.
/// The next worker does that and what has waited.
void Crew::mourn(Worker& worker) {
  const std::string failure = worker.child->failure();
  worker.child.reset();
  if (worker.given.empty()) return;
  if (worker.given.front().guarded) return fail(worker, "failed", failure);
  worker.given.front().guarded = true;
}

/// A solver that does not keep the time limit itself is killed some time later.
void Crew::killLate(Worker& worker) {
  constexpr double kPatience = 0.5, kPart = 0.1;
  const double limit = _base.controls.seconds;
  if (worker.given.empty() || secondsSince(worker.begin) < limit + std::max(kPatience, kPart * limit)) return;
  worker.child.reset();
  fail(worker, wordsFor(Status::TimeLimit), "the solver did not end in time and was killed");
}

/// The scenario under way has no result.
void Crew::fail(Worker& worker, const char* status, const std::string& reason) {
  ScenarioResult result;
  result.name = _base.scenarios.name(worker.given.front().scenario);
  result.status = status;
  result.seconds = secondsSince(worker.begin);
  result.reason = reason;
  _lines += _base.format.line(result);
  ++_added.done;
  ++_added.failed;
  worker.given.pop_front();
}

void Crew::publish(Share& share) {
  if (_added.done > 0) share.append(_lines, _added);
  _lines.clear();
  _added = {};
}

}  // namespace tavsolve
