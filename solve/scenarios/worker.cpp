#include "solve/scenarios/worker.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <new>

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
    _worn = task.guarded || !base.engine.isRepeatable(base.controls);
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
    return {_task.scenario, !_result.reason.empty(), _worn, _base.format.line(_result)};
  }

 private:
  void apply(const EditStage& edits) {
    _touched = true;
    _engine->startFrom(_base.start);
    if (std::all_of(edits.begin(), edits.end(), isUndone)) {
      _inverses = applyForAWhile(_base.model, _engine, edits);
      return;
    }
    _worn = true;
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
    _worn = _worn || _touched;
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
  bool _worn = false, _touched = false;
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

bool takeTask(int tasks, WorkerTask& task) {
  ssize_t count;
  while ((count = read(tasks, &task, sizeof task)) < 0 && errno == EINTR) {
  }
  return count == sizeof task;
}

}  // namespace

void serveTasks(const ScenarioBase& base, int tasks, const Parent& parent) {
  keepFreedMemory();
  for (WorkerTask task; takeTask(tasks, task);) {
    const WorkerReport report = Trial(base, task).run();
    parent.send(report.message());
    if (report.worn) return;
  }
}

Message WorkerReport::message() const {
  Message message;
  message.put(scenario);
  message.put(failed);
  message.put(worn);
  message.put(line);
  return message;
}

WorkerReport WorkerReport::from(Message message) {
  WorkerReport report;
  message.take(report.scenario);
  message.take(report.failed);
  message.take(report.worn);
  message.take(report.line);
  return report;
}

}  // namespace tavsolve
