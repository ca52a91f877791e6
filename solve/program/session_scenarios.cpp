#include <sstream>

#include "solve/edits/apply.h"
#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/session.h"
#include "solve/program/signals.h"
#include "solve/scenarios/crew.h"

/// A run of scenarios: the base model is solved here, the scenarios by a crew.

namespace tavsolve {

namespace {

std::string timeText(double seconds) {
  const auto whole = static_cast<long>(seconds + 0.5);
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
std::string describe(const Share::Counts& counts, std::size_t left, double seconds) {
  std::string line = std::to_string(counts.done) + " of " + std::to_string(left) + " done, " +
                     std::to_string(counts.failed) + " failed, " + rateText(counts.done, seconds);
  if (counts.done > 0) {
    line +=
        ", " + timeText(seconds * static_cast<double>(left - counts.done) / static_cast<double>(counts.done)) + " left";
  }
  return line;
}

}  // namespace

/// Of all that the results depend on.
std::uint64_t Session::hashOfRun(const ScenarioFile& scenarios) const {
  std::ostringstream os;
  os.precision(17);
  const Controls& c = _options.controls;
  os << _options.engine << '\n' << c.seconds << ' ' << c.tolerance << ' ' << static_cast<int>(c.method);
  for (const auto& number : {c.gap, c.absoluteGap}) os << ' ' << number.value_or(-1.0);
  for (const auto& number : {c.threads, c.seed}) os << ' ' << number.value_or(-1);
  os << ' ' << c.nodes.value_or(-1) << ' ' << (c.presolve ? *c.presolve : 2) << ' '
     << (_options.maximise ? *_options.maximise : 2) << _options.relax << '\n';
  for (const auto& [name, value] : c.options) os << name << '=' << value << '\n';
  for (const Edit& edit : _options.stages[0]) os << tavsolve::describe(edit) << '\n';
  for (const std::string& name : _options.values) os << name << '\n';
  std::uint64_t hash = hashOf(os.str());
  hash = hashOf(contentsOf(_options.file), hash);
  if (!_options.start.empty()) hash = hashOf(contentsOf(_options.start), hash);
  return hashOf(scenarios.contents(), hash);
}

std::vector<std::size_t> Session::whatIsLeft(const ScenarioFile& scenarios, const ResultsFile& file) const {
  std::vector<std::size_t> left;
  for (std::size_t i = 0; i < scenarios.size(); ++i) {
    if (!file.finished().contains(scenarios.name(i))) left.push_back(i);
  }
  return left;
}

ExitCode Session::runScenarios() {
  std::optional<NothingToLose> loading(std::in_place);
  const ScenarioFile scenarios(_options.scenarios);
  const ResultFormat format(_options.results, _options.values, hashOfRun(scenarios));
  load();
  for (const std::string& name : _options.values) {
    if (!_model->findColumn(name) && !_model->findRow(name))
      throw InputError("--values: no column or row is named " + name);
  }
  applyStage(_options.stages[0]);
  ResultsFile file(_options.results, format);
  const std::vector<std::size_t> left = whatIsLeft(scenarios, file);
  Share::Counts before{file.finished().size(), 0};
  for (const auto& [name, failed] : file.finished()) before.failed += failed;
  LocalShare share(left.size(), file);
  double seconds = 0.0;
  if (!left.empty()) {
    makeEngine();
    loading.reset();
    solveAndReport("base");
    const ScenarioBase base{*_model,   _kind,           *_engine,  _engine->warmStart(),
                            _controls, _options.engine, scenarios, format};
    Crew crew(base, left, _options.jobs, [&file] { file.leave(); });
    _progress.begin("solve");
    const double begin = secondsSinceStart();
    crew.run(share, [&] { _progress.update(describe(share.counts(), left.size(), secondsSinceStart() - begin)); });
    seconds = secondsSinceStart() - begin;
    _progress.finish(describe(share.counts(), left.size(), seconds));
    file.flush();
  }
  const Share::Counts now = share.counts();
  const std::size_t done = before.done + now.done, failed = before.failed + now.failed;
  _output.write("scenarios  " + std::to_string(done) + " of " + std::to_string(scenarios.size()) + " have results, " +
                std::to_string(failed) + " failed; " + std::to_string(before.done) + " of them by an earlier run\n");
  if (now.done > 0) _output.write("rate       " + rateText(now.done, seconds) + "\n");
  const bool complete = done == scenarios.size();
  if (!complete) _output.write("status     not solved: interrupted; the same command continues\n");
  return complete && failed == 0 ? kSolved : kNotSolved;
}

}  // namespace tavsolve
