#include <cmath>
#include <exception>
#include <iostream>

#include "input_error.h"
#include "report.h"

/// tavsolve: reads a model, builds it with the expression library, solves it, modifies it in place and solves it again.

namespace {

using namespace tavsolve;

constexpr int kSolved = 0, kNotSolved = 1, kBadInput = 2;

Outcome solveAndReport(const Model& model, SolverAlgorithmI& solver, const Options& options, Progress& progress,
                       const char* stage) {
  progress.begin(stage);
  const Outcome outcome = solver.solve(options.seconds, progress);
  progress.finish("done");
  printOutcome(std::cout, model, solver, outcome);
  return outcome;
}

/// The two solves may reach the same optimum in different ways.
bool agree(const Outcome& a, const Outcome& b) {
  if (a.status != b.status || a.hasSolution != b.hasSolution) return false;
  return !a.hasSolution || std::abs(a.objective - b.objective) <= 1e-6 * std::max(1.0, std::abs(a.objective));
}

bool confirm(const Model& model, const Outcome& outcome, const Options& options, Progress& progress) {
  SolverAlgorithmI fresh(model.getEnv().getImpl());
  progress.begin("check");
  fresh.extract(model);
  const Outcome again = fresh.solve(options.seconds, progress);
  progress.finish("done");
  const bool same = agree(outcome, again);
  std::cout << "check      a fresh extraction " << (same ? "confirms this" : "DISAGREES");
  if (again.hasSolution) std::cout << ": objective " << text(again.objective);
  std::cout << "\n";
  return same;
}

int run(const Options& options) {
  Progress progress(options.quiet);
  progress.begin("read");
  const ModelFile file = readModelFile(options.file, options.asWritten);
  progress.finish(std::to_string(file.rows.size()) + " rows, " + std::to_string(file.columns.size()) + " columns, " +
                  std::to_string(file.value.size()) + " non-zeros");
  for (const std::string& note : file.notes) std::cerr << "tavsolve: note: " << note << "\n";

  progress.begin("build");
  Model model(file);
  checkEdits(model, options.edits);
  if (options.relax) model.relax();
  progress.finish(std::to_string(model.getEnv().getImpl()->liveObjectCount()) + " model objects");
  printSummary(std::cout, model, file);
  if (options.print != PrintForm::None) printModel(std::cout, model, options.print);

  progress.begin("extract");
  SolverAlgorithmI solver(model.getEnv().getImpl());
  solver.extract(model);
  progress.finish("done");

  Outcome outcome = solveAndReport(model, solver, options, progress, "solve");
  if (!options.edits.empty()) {
    const Outcome before = outcome;
    for (const Edit& edit : options.edits) {
      applyEdit(model, edit);
      std::cout << "change     " << describe(edit) << "\n";
    }
    outcome = solveAndReport(model, solver, options, progress, "re-solve");
    if (before.hasSolution && outcome.hasSolution) {
      std::cout << "both       objective before " << text(before.objective) << ", after " << text(outcome.objective)
                << "\n";
    }
  }
  if (options.check && !confirm(model, outcome, options, progress)) return kNotSolved;
  return outcome.status == Status::Optimal ? kSolved : kNotSolved;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = parseOptions(argc, argv);
    if (options.help) {
      std::cout << kHelp;
      return kSolved;
    }
    return run(options);
  } catch (const InputError& error) {
    std::cerr << "tavsolve: " << error.what() << "\n";
    return kBadInput;
  } catch (const std::exception& error) {
    std::cerr << "tavsolve: " << error.what() << "\n";
    return kNotSolved;
  }
}
