#include "solve/scenarios/worker.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <memory>
#include <new>
#include <span>

#include <malloc.h>
#include <unistd.h>

#include "solve/edits/apply.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

/// Whether the inverse of the edit leaves the model as it was to the last bit. A coefficient that was removed comes
/// back at the end of its sum, and sums are added up in order.
bool isUndone(const Edit& edit) {
  return !std::holds_alternative<edit::Coef>(edit) && !std::holds_alternative<edit::Add>(edit);
}

/// One scenario, from the base model to its result.
class Trial {
 public:
  Trial(const ScenarioBase& base, const WorkerTask& task)
      : _base(base), _task(task), _engine(&base.engine), _controls(base.controls) {
    _controls.inPlace = !task.guarded;
    _mustRestart = task.guarded || !base.engine.isRepeatable(base.controls);
    _result.name = base.scenarios.name(task.scenario);
  }

  WorkerReport run() {
    try {
      const EditStage edits = _base.scenarios.edits(_task.scenario);
      checkEdits(_base.model, {edits});
      apply(edits);
      solve();
      for (const Edit& inverse : _inverses) applyEdit(_base.model, _engine, inverse);
    } catch (const InputError& error) {
      fail(error.what());
    } catch (const TavFileError& error) {
      fail(error.what());
    } catch (const SolverError& error) {
      fail(error.what());
    } catch (const std::bad_alloc&) {
      fail("out of memory");
    }
    WorkerReport report{!_result.reason.empty(), 0.0, _mustRestart, _base.format.line(_result)};
    report.seconds = std::chrono::duration<double>(Clock::now() - _begin).count();
    return report;
  }

 private:
  void apply(const EditStage& edits) {
    _touched = true;
    _engine->startFrom(_base.start);
    if (std::all_of(edits.begin(), edits.end(), isUndone)) {
      _inverses = applyForAWhile(_base.model, _engine, edits);
      return;
    }
    _mustRestart = true;
    if (!takesAdditions(*_base.kind, edits)) _engine = nullptr;
    for (const Edit& edit : edits) applyEdit(_base.model, _engine, edit);
    if (_engine) return;
    _other = chooseEngine(_base.model, _base.engineName).make(_base.model);
    _other->extract();
    _engine = _other.get();
  }

  void solve() {
    const Answer answer = _engine->solve(_controls);
    if (answer.status == Status::Interrupted) _exit(0);  // no result; the scenario is done another time
    _result.status = wordsFor(answer.status);
    _result.bound = answer.bound;
    _result.seconds = answer.seconds;
    if (answer.hasSolution) {
      _result.objective = answer.objective;
      _result.violation = answer.violation.amount;
      for (const std::string& name : _base.format.values()) _result.values.push_back(valueOf(name));
    }
    if (isAnswer(answer.status)) return;
    _result.reason = answer.remark.empty() ? _result.status : answer.remark;
    if (answer.status == Status::Violated) _result.reason = "the solution violates " + answer.violation.where;
  }

  double valueOf(const std::string& name) const {
    if (const TavNumVar column = _base.model.findColumn(name)) return _engine->getValue(column.getImpl());
    if (const RangeConstraintI* row = _base.model.findRow(name)) return _engine->activityOf(row);
    return ScenarioResult::kNone;  // the scenario has removed it
  }

  void fail(const char* reason) {
    _mustRestart = _mustRestart || _touched;
    _result.status = "failed";
    _result.reason = reason;
  }

  const ScenarioBase& _base;
  const WorkerTask& _task;
  EngineI* _engine;
  /// Chosen for what the scenario adds.
  std::unique_ptr<EngineI> _other;
  Controls _controls;
  std::vector<Edit> _inverses;
  bool _mustRestart = false, _touched = false;
  using Clock = std::chrono::steady_clock;
  const Clock::time_point _begin = Clock::now();
  ScenarioResult _result;
};

/// Each solve takes what the last one has freed: without this, most of a short solve is spent on pages that go back to
/// the system and come again.
void keepFreedMemory() {
#ifdef __GLIBC__
  constexpr int kMost = 32 << 20;
  mallopt(M_MMAP_THRESHOLD, kMost);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
#endif
}

/// Takes all that are in the pipe; none when the parent has ended.
std::span<const WorkerTask> takeTasks(int pipe, std::span<WorkerTask> tasks) {
  ssize_t count;
  while ((count = read(pipe, tasks.data(), tasks.size_bytes())) < 0 && errno == EINTR) {
  }
  return tasks.first(count > 0 ? static_cast<std::size_t>(count) / sizeof(WorkerTask) : 0);
}

}  // namespace

void serveTasks(const ScenarioBase& base, int tasks, const Parent& parent) {
  keepFreedMemory();
  std::vector<WorkerTask> buffer(kMostTasks);
  for (std::span<const WorkerTask> taken; !(taken = takeTasks(tasks, buffer)).empty();) {
    for (const WorkerTask& task : taken) {
      const WorkerReport report = Trial(base, task).run();
      parent.send(report.message());
      if (report.mustRestart) return;
    }
  }
}

Message WorkerReport::message() const {
  Message message;
  message.put(failed);
  message.put(seconds);
  message.put(mustRestart);
  message.put(line);
  return message;
}

WorkerReport WorkerReport::from(Message message) {
  WorkerReport report;
  message.take(report.failed);
  message.take(report.seconds);
  message.take(report.mustRestart);
  message.take(report.line);
  return report;
}

}  // namespace tavsolve
