#include "solve/program/session.h"

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>
#include <sstream>

#include "solve/edits/apply.h"
#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/report.h"
#include "solve/program/signals.h"

namespace tavsolve {

namespace {

std::FILE* streamFor(const Options& options) {
  if (options.protocol) return nullptr;
  return isStandardOutput(options.solution) ? stderr : stdout;
}

/// The two solves may reach the same optimum in different ways.
bool agree(const Answer& a, const Answer& b) {
  if (a.status != b.status || a.hasSolution != b.hasSolution) return false;
  return !a.hasSolution || std::abs(a.objective - b.objective) <= 1e-6 * std::max(1.0, std::abs(a.objective));
}

/// Gives what the file model has left behind back to the system, before the solver takes its share.
void returnFreeMemory() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

std::string megabytes(std::uint64_t bytes) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f", static_cast<double>(bytes) / 1e6);
  return buffer;
}

/// The call of a modelling system is to end while its model is read.
struct CallEnds {};

TavFileModel readFile(const Options& options, Progress& progress) {
  progress.begin("read");
  TavReadOptions how = options.reading;
  how.progress = [&](std::uint64_t done, std::uint64_t size) {
    if (options.protocol && (interruption() || isTimeOver())) throw CallEnds();
    progress.update(megabytes(done) + (size > 0 ? " of " + megabytes(size) : "") + " MB");
  };
  TavFileModel file = TavReadModel(options.file, how);
  progress.finish(std::to_string(file.rows.size()) + " rows, " + std::to_string(file.variables.size()) + " columns, " +
                  std::to_string(file.linearValue.size()) + " non-zeros");
  return file;
}

/// The name for this solve: its number in place of %.
std::string numbered(std::string path, int solve) {
  const std::size_t place = path.find('%');
  if (place != path.npos) path.replace(place, 1, std::to_string(solve));
  return path;
}

template <class Print>
std::string printed(Print print) {
  std::ostringstream os;
  print(os);
  return os.str();
}

}  // namespace

Session::Session(const Options& options, Ranks* ranks)
    : _options(options),
      _ranks(ranks),
      _output(isLeader() ? streamFor(options) : nullptr, isLeader() ? options.log : ""),
      _progress(options.quiet || !isLeader(), _output),
      _controls(options.controls) {
  const bool isFile = !options.solution.empty() && !isStandardOutput(options.solution);
  for (const std::string& path : {isFile ? numbered(options.solution, 1) : "", options.write, options.keepFailed}) {
    if (!path.empty()) checkWritable(path);
  }
  _controls.log = options.log;
  _controls.interrupt = &interruption();
  _controls.progress = [this](const SolverProgress& now) { _progress.update(describe(now)); };
}

void Session::load() {
  TavFileModel file = readFile(_options, _progress);
  if (isLeader()) {
    for (const std::string& note : file.notes) std::cerr << "tavsolve: note: " << note << "\n";
  }
  _stub = {file.answerOptions, file.variables.size(), file.rows.size()};
  _progress.begin("build");
  _model = std::make_unique<Model>(std::move(file));
  returnFreeMemory();
  checkEdits(*_model, _options.stages);
  if (_options.relax) _model->relax();
  if (_options.maximise) _model->objective()->setMaximised(*_options.maximise);
  if (!_options.start.empty()) _controls.start = readStart(_options.start, *_model);
  _progress.finish(std::to_string(_model->getEnv().getImpl()->liveObjectCount()) + " model objects");
  _output.write(printed([&](std::ostream& os) {
    printSummary(os, *_model);
    if (_options.print != PrintForm::None) printModel(os, *_model, _options.print);
  }));
}

void Session::makeEngine() {
  _progress.begin("extract");
  _kind = &chooseEngine(*_model, _options.engine);
  _engine = _kind->make(*_model);
  _engine->extract();
  // To end a solve takes time too, the more the greater the model, and as long again to write the solution.
  constexpr double kShare = 0.05, kMost = 0.3;
  _reserve = std::min(kShare * secondsSinceStart(), kMost) * (_options.solution.empty() ? 1.0 : 2.0);
  _progress.finish("engine " + std::string(_kind->name));
}

Answer Session::solve(EngineI& engine, const char* stage) {
  // The limit is for the whole run, or for each scenario.
  if (_options.scenarios.empty()) _controls.seconds = _options.controls.seconds - _reserve - secondsSinceStart();
  if (_controls.seconds <= 0.0 || interruption()) {
    Answer answer;
    answer.status = interruption() ? Status::Interrupted : Status::TimeLimit;
    return answer;
  }
  _progress.begin(stage);
  Answer answer;
  try {
    answer = engine.solve(_controls);
  } catch (const SolverError& error) {
    if (!_options.keepFailed.empty()) _model->write(_options.keepFailed);
    if (!_options.protocol) throw;
    answer.remark = error.what();  // a modelling system finds it in the solution
  }
  _progress.finish(wordsFor(answer.status));
  return answer;
}

void Session::solveAndReport(const char* stage) {
  _answer = solve(*_engine, stage);
  _controls.start.clear();  // the next solve starts from this one's end
  ++_solves;
  _output.write(printed([&](std::ostream& os) {
    printAnswer(os, solution(), _controls.tolerance);
    if (_options.printValues && _answer.hasSolution) printColumns(os, solution(), true);
  }));
  if (!_options.solution.empty()) writeSolution(numbered(_options.solution, _solves), solution());
}

void Session::applyStage(const EditStage& stage) {
  // Otherwise the engine is chosen again, for what the model then is.
  if (_engine && !takesAdditions(*_kind, stage)) _engine.reset();
  for (const Edit& edit : stage) {
    applyEdit(*_model, _engine.get(), edit);
    _output.write("change     " + describe(edit) + "\n");
  }
}

void Session::writeUnread() {
  OutputFile file(_options.solution);
  printUnreadSol(file.stream(), readStubFacts(_options.file), interruption() ? Status::Interrupted : Status::TimeLimit);
  file.close();
}

bool Session::confirm() {
  const std::unique_ptr<EngineI> fresh = _kind->make(*_model);
  fresh->extract();
  const Answer again = solve(*fresh, "check");
  const bool same = agree(_answer, again);
  _output.write(std::string("check      a fresh extraction ") + (same ? "confirms this" : "DISAGREES") +
                (again.hasSolution ? ": objective " + text(again.objective) : "") + "\n");
  return same;
}

ExitCode Session::run() {
  if (!_options.scenarios.empty()) return runScenarios();
  const bool edited = _options.stages.size() > 1 || !_options.stages[0].empty();
  std::optional<NothingToLose> loading;
  try {
    if (!_options.protocol) loading.emplace();
    load();
  } catch (const CallEnds&) {
    writeUnread();
    return kSolved;
  }
  if (_options.noSolve) {
    for (const EditStage& stage : _options.stages) applyStage(stage);
    loading.reset();
    if (!_options.write.empty()) _model->write(_options.write);
    return kSolved;
  }
  makeEngine();
  loading.reset();
  solveAndReport("solve");
  for (std::size_t i = 0; edited && i < _options.stages.size() && !interruption(); ++i) {
    const Answer before = _answer;
    applyStage(_options.stages[i]);
    if (!_engine) makeEngine();
    solveAndReport("re-solve");
    if (before.hasSolution && _answer.hasSolution) {
      _output.write("both       objective before " + text(before.objective) + ", after " + text(_answer.objective) +
                    "\n");
    }
  }
  if (!_options.write.empty()) _model->write(_options.write);
  if (_options.check && !confirm()) return kNotSolved;
  // A modelling system takes the status from the solution that has been written.
  return _options.protocol || isSolved(_answer.status) ? kSolved : kNotSolved;
}

}  // namespace tavsolve
