#include <cmath>
#include <sstream>

#include "solve/edits/apply.h"
#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/session.h"
#include "solve/program/signals.h"
#include "solve/scenarios/worker_pool.h"

/// A run of scenarios: the base model is solved here, the scenarios by workers.

namespace tavsolve {

namespace {

std::string timeText(double seconds) {
  const auto whole = std::lround(seconds);
  char text[32];
  std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
  return text;
}

std::string rateText(std::size_t count, double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4g a second", static_cast<double>(count) / std::max(seconds, 1e-3));
  return text;
}

/// What is done, failed, how fast, and the time that is left.
std::string describe(const SharedRun::Counts& counts, std::size_t left, double seconds) {
  std::string line = std::to_string(counts.done) + " of " + std::to_string(left) + " done, " +
                     std::to_string(counts.failed) + " failed, " + rateText(counts.done, seconds);
  if (counts.done > 0) {
    line +=
        ", " + timeText(seconds * static_cast<double>(left - counts.done) / static_cast<double>(counts.done)) + " left";
  }
  return line;
}

}  // namespace

/// Of all that the results depend on, except files that single scenarios add.
std::uint64_t Session::hashOfRun(const ScenarioFile& scenarios) const {
  std::ostringstream os;
  os.precision(17);
  const Controls& c = _options.controls;
  os << _options.engine << '\n' << c.seconds << ' ' << c.tolerance << ' ' << static_cast<int>(c.method);
  for (const auto& number : {c.gap, c.absoluteGap}) os << ' ' << number.value_or(-1.0);
  for (const auto& number : {c.threads, c.seed}) os << ' ' << number.value_or(-1);
  os << ' ' << c.nodes.value_or(-1) << ' ' << (c.presolve ? *c.presolve : 2) << ' '
     << (_options.maximise ? *_options.maximise : 2) << _options.relax << ' ' << _options.reading.infinity << '\n';
  for (const auto& [name, value] : c.options) os << name << '=' << value << '\n';
  for (const Edit& edit : _options.stages[0]) os << tavsolve::describe(edit) << '\n';
  for (const std::string& name : _options.values) os << name << '\n';
  std::uint64_t hash = hashOf(os.str());
  hash = hashOf(contentsOf(_options.file), hash);
  for (const Edit& edit : _options.stages[0]) {
    if (const auto* addition = std::get_if<edit::Add>(&edit)) hash = hashOf(contentsOf(addition->path), hash);
  }
  if (!_options.start.empty()) hash = hashOf(contentsOf(_options.start), hash);
  return hashOf(scenarios.contents(), hash);
}

Session::Plan Session::planOf(const ScenarioFile& scenarios, const ResultsFile& file) {
  Plan plan;
  plan.fileSize = file.size();
  for (std::size_t i = 0; i < scenarios.size(); ++i) {
    const auto finished = file.finished().find(scenarios.name(i));
    if (finished == file.finished().end()) {
      plan.left.push_back(i);
    } else {
      ++plan.before.done;
      plan.before.failed += finished->second;
    }
  }
  return plan;
}

/// The base model, and with it everything that can be wrong with the command.
void Session::loadBase() {
  load();
  for (const std::string& name : _options.values) {
    if (!_model->findColumn(name) && !_model->findRow(name)) {
      throw InputError("--values: no column or row is named " + name);
    }
  }
  applyStage(_options.stages[0]);
  makeEngine();
}

/// The warm start and the plan of the leader.
void Session::shareBase(Plan& plan) {
  Message message;
  const WarmStart own = _engine->warmStart();
  message.put(own.point), message.put(own.state), message.put(plan.left), message.put(plan.fileSize);
  _ranks->broadcast(message.bytes);
  WarmStart common;
  message.take(common.point), message.take(common.state), message.take(plan.left), message.take(plan.fileSize);
  _engine->startFrom(common);
  _controls.start.clear();  // the base model has been solved from there
}

ExitCode Session::runScenarios() {
  std::optional<NothingToLose> loading;
  if (!_ranks) loading.emplace();
  const ScenarioFile scenarios(_options.scenarios);
  const ResultFormat format(_options.results, _options.values, hashOfRun(scenarios));
  loadBase();
  std::optional<ResultsFile> file;
  Plan plan;
  if (isLeader()) {
    file.emplace(_options.results, format);
    plan = planOf(scenarios, *file);
    loading.reset();
    if (!plan.left.empty()) solveAndReport("base");
  }
  if (_ranks) shareBase(plan);
  const std::unique_ptr<SharedRun> shared = _ranks
                                                ? _ranks->sharedRun(plan.left.size(), _options.results, plan.fileSize)
                                                : std::make_unique<LocalRun>(plan.left.size(), *file);
  const ScenarioBase base{*_model,   _kind,           *_engine,  _engine->warmStart(),
                          _controls, _options.engine, scenarios, format};
  const auto inWorker = [&file] {
    if (file) file->leave();
  };
  const double begin = secondsSinceStart();
  if (!plan.left.empty()) work(base, plan.left, *shared, inWorker);
  const SharedRun::Counts now = interruption() ? shared->counts() : shared->finish();
  if (!plan.left.empty()) _output.write("rate       " + rateText(now.done, secondsSinceStart() - begin) + "\n");
  const bool complete = summarise(plan.before, now, scenarios.size());
  if (_ranks && interruption()) _ranks->abort(kNotSolved);
  if (file) file->flush();
  return complete || !isLeader() ? kSolved : kNotSolved;
}

void Session::work(const ScenarioBase& base, const std::vector<std::size_t>& left, SharedRun& shared,
                   const std::function<void()>& inWorker) {
  WorkerPool pool(base, left, _options.jobs, inWorker);
  _progress.begin("solve");
  const double begin = secondsSinceStart();
  const auto now = [&] { return describe(shared.counts(), left.size(), secondsSinceStart() - begin); };
  pool.run(shared, [&] {
    if (isLeader()) _progress.update(now());
  });
  if (isLeader()) _progress.finish(now());
}

/// Says what has been done; whether that is all, without a failure.
bool Session::summarise(const SharedRun::Counts& before, const SharedRun::Counts& now, std::size_t count) {
  const std::size_t done = before.done + now.done, failed = before.failed + now.failed;
  _output.write("scenarios  " + std::to_string(done) + " of " + std::to_string(count) + " have results, " +
                std::to_string(failed) + " failed" +
                (before.done > 0 ? "; " + std::to_string(before.done) + " of them by an earlier run\n" : "\n"));
  if (done < count) _output.write("status     not solved: interrupted; the same command continues\n");
  return done == count && failed == 0;
}

}  // namespace tavsolve
