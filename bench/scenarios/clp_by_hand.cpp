// Scenarios of a linear model by CLP alone: the basis of the base model is restored, bounds are set, the dual simplex
// goes on, and the bounds are set back. usage: clp_by_hand MODEL.mps SCENARIOS RESULTS

#include <ClpSimplex.hpp>
#include <cmath>
#include <cstring>
#include <unordered_map>

#include "by_hand.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  ClpSimplex simplex;
  simplex.setLogLevel(0);
  if (simplex.readMps(argv[1], true) != 0) return 1;
  std::unordered_map<std::string, int> rows;
  for (int i = 0; i < simplex.numberRows(); ++i) rows[simplex.rowName(i)] = i;
  simplex.initialSolve();
  const std::size_t size = static_cast<std::size_t>(simplex.numberRows() + simplex.numberColumns());
  const std::vector<unsigned char> basis(simplex.statusArray(), simplex.statusArray() + size);
  by_hand::run(by_hand::read(argv[2]), argv[3], [&](const by_hand::Scenario& scenario) {
    std::vector<std::pair<double, double>> before;
    for (const by_hand::NewBounds& edit : scenario.edits) {
      const int row = rows.at(edit.name);
      before.emplace_back(simplex.rowLower()[row], simplex.rowUpper()[row]);
      simplex.setRowBounds(row, std::isinf(edit.lb) ? -COIN_DBL_MAX : edit.lb,
                           std::isinf(edit.ub) ? COIN_DBL_MAX : edit.ub);
    }
    std::memcpy(simplex.statusArray(), basis.data(), size);
    simplex.dual();
    for (std::size_t k = 0; k < before.size(); ++k) {
      simplex.setRowBounds(rows.at(scenario.edits[k].name), before[k].first, before[k].second);
    }
    return simplex.objectiveValue();
  });
}
