// Scenarios of a model with integers by CBC alone: each is a copy of the loaded model with other bounds, and the base
// model's whole numbers are the start of the search. usage: cbc_by_hand MODEL.mps SCENARIOS RESULTS

#include <CbcModel.hpp>
#include <CbcSolver.hpp>
#include <OsiClpSolverInterface.hpp>
#include <cmath>
#include <unordered_map>

#include "by_hand.h"

namespace {

int goOn(CbcModel*, int) { return 0; }

/// With the options of tavsolve's engine; returns the objective.
double search(CbcModel& model) {
  CbcSolverUsefulData settings;
  CbcMain0(model, settings);
  settings.noPrinting_ = true;
  settings.useSignalHandler_ = false;
  model.setLogLevel(0);
  const char* words[] = {"by_hand", "-log", "0", "-solve", "-quit"};
  CbcMain1(5, words, model, goOn, settings);
  return model.getObjValue();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  OsiClpSolverInterface base;
  base.messageHandler()->setLogLevel(0);
  base.getModelPtr()->setLogLevel(0);
  if (base.readMps(argv[1]) != 0) return 1;
  std::unordered_map<std::string, int> rows;
  for (int i = 0; i < base.getNumRows(); ++i) rows[base.getRowName(i)] = i;
  CbcModel first(base);
  search(first);
  std::vector<std::pair<std::string, double>> start;
  for (int j = 0; j < base.getNumCols(); ++j) {
    if (base.isInteger(j)) start.emplace_back(base.getColName(j), std::round(first.bestSolution()[j]));
  }
  by_hand::run(by_hand::read(argv[2]), argv[3], [&](const by_hand::Scenario& scenario) {
    OsiClpSolverInterface solver(base);
    for (const by_hand::NewBounds& edit : scenario.edits) {
      solver.setRowBounds(rows.at(edit.name), std::isinf(edit.lb) ? -COIN_DBL_MAX : edit.lb,
                          std::isinf(edit.ub) ? COIN_DBL_MAX : edit.ub);
    }
    CbcModel model(solver);
    model.setMIPStart(start);
    return search(model);
  });
}
