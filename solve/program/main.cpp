#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>

#include "solve/engines/engines.h"
#include "solve/model/errors.h"
#include "solve/program/progress.h"
#include "solve/program/report.h"

/// tavsolve: reads a model, builds it with the expression library, solves it, modifies it in place and solves it again.

namespace {

using namespace tavsolve;

constexpr int kSolved = 0, kNotSolved = 1, kBadInput = 2, kSolverFailed = 3;

Answer solve(EngineI& engine, const Options& options, Progress& progress, const char* stage) {
  Controls controls;
  controls.seconds = options.seconds;
  controls.progress = [&progress](const SolverProgress& now) { progress.update(describe(now)); };
  progress.begin(stage);
  Answer answer = engine.solve(controls);
  progress.finish("done");
  return answer;
}

Answer solveAndReport(const Model& model, EngineI& engine, const Options& options, Progress& progress,
                      const char* stage) {
  Answer answer = solve(engine, options, progress, stage);
  printAnswer(std::cout, model, engine, answer);
  return answer;
}

/// The two solves may reach the same optimum in different ways.
bool agree(const Answer& a, const Answer& b) {
  if (a.status != b.status || a.hasSolution != b.hasSolution) return false;
  return !a.hasSolution || std::abs(a.objective - b.objective) <= 1e-6 * std::max(1.0, std::abs(a.objective));
}

bool confirm(const Model& model, const EngineKind& kind, const Answer& answer, const Options& options,
             Progress& progress) {
  const std::unique_ptr<EngineI> fresh = kind.make(model);
  fresh->extract();
  const Answer again = solve(*fresh, options, progress, "check");
  const bool same = agree(answer, again);
  std::cout << "check      a fresh extraction " << (same ? "confirms this" : "DISAGREES");
  if (again.hasSolution) std::cout << ": objective " << text(again.objective);
  std::cout << "\n";
  return same;
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

TavFileModel readFile(const Options& options, Progress& progress) {
  progress.begin("read");
  TavReadOptions how;
  how.progress = [&progress](std::uint64_t done, std::uint64_t size) {
    progress.update(megabytes(done) + (size > 0 ? " of " + megabytes(size) : "") + " MB");
  };
  TavFileModel file = TavReadModel(options.file, how);
  progress.finish(std::to_string(file.rows.size()) + " rows, " + std::to_string(file.variables.size()) + " columns, " +
                  std::to_string(file.linearValue.size()) + " non-zeros");
  for (const std::string& note : file.notes) std::cerr << "tavsolve: note: " << note << "\n";
  return file;
}

void applyEdits(Model& model, const Options& options) {
  for (const Edit& edit : options.edits) {
    applyEdit(model, edit);
    std::cout << "change     " << describe(edit) << "\n";
  }
  if (!options.write.empty()) model.write(options.write);
}

int run(const Options& options) {
  Progress progress(options.quiet);
  TavFileModel file = readFile(options, progress);
  progress.begin("build");
  Model model(std::move(file));
  returnFreeMemory();
  checkEdits(model, options.edits);
  if (options.relax) model.relax();
  const EngineKind* kind = options.noSolve ? nullptr : &chooseEngine(model, options.engine);
  progress.finish(std::to_string(model.getEnv().getImpl()->liveObjectCount()) + " model objects");
  printSummary(std::cout, model);
  if (options.print != PrintForm::None) printModel(std::cout, model, options.print);

  if (!kind) {
    applyEdits(model, options);
    return kSolved;
  }
  if (options.edits.empty() && !options.write.empty()) model.write(options.write);

  progress.begin("extract");
  const std::unique_ptr<EngineI> engine = kind->make(model);
  engine->extract();
  progress.finish("done");

  Answer answer = solveAndReport(model, *engine, options, progress, "solve");
  if (!options.edits.empty()) {
    const Answer before = answer;
    applyEdits(model, options);
    answer = solveAndReport(model, *engine, options, progress, "re-solve");
    if (before.hasSolution && answer.hasSolution) {
      std::cout << "both       objective before " << text(before.objective) << ", after " << text(answer.objective)
                << "\n";
    }
  }
  if (options.check && !confirm(model, *kind, answer, options, progress)) return kNotSolved;
  return isSolved(answer.status) ? kSolved : kNotSolved;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = parseOptions(argc, argv);
    if (options.help) std::cout << kHelp;
    const int code = options.help ? kSolved : run(options);
    if (!std::cout.flush()) throw InputError("standard output cannot be written");
    return code;
  } catch (const InputError& error) {
    std::cerr << "tavsolve: " << error.what() << "\n";
    return kBadInput;
  } catch (const TavFileError& error) {
    std::cerr << "tavsolve: " << error.what() << "\n";
    return kBadInput;
  } catch (const SolverError& error) {
    std::cerr << "tavsolve: " << error.what() << "\n";
    return kSolverFailed;
  } catch (const std::exception& error) {
    std::cerr << "tavsolve: " << error.what() << "\n";
    return kNotSolved;
  }
}
