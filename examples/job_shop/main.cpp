// A job shop: each job visits the machines in an order of its own, and a machine does one job at a time. The instance
// of 6 jobs on 6 machines is H. Fisher's and G. L. Thompson's (Industrial Scheduling, 1963); the last job of the best
// schedule ends at 55.
//
// The model follows the problem directly: of two jobs on one machine, one ends before the other starts, which is a
// maximum that is not negative. The engine linearises the maxima: a binary for each pair, with the horizon in the big-M
// numbers, and none for the end of the last job, which is minimised.

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "solve/engines/engines.h"

namespace {

struct Step {
  int machine;
  int hours;
};
constexpr int kJobs = 6, kMachines = 6;
constexpr std::array<std::array<Step, kMachines>, kJobs> kShop = {{
    {{{2, 1}, {0, 3}, {1, 6}, {3, 7}, {5, 3}, {4, 6}}},
    {{{1, 8}, {2, 5}, {4, 10}, {5, 10}, {0, 10}, {3, 4}}},
    {{{2, 5}, {3, 4}, {5, 8}, {0, 9}, {1, 1}, {4, 7}}},
    {{{1, 5}, {0, 5}, {2, 5}, {3, 3}, {4, 8}, {5, 9}}},
    {{{2, 9}, {1, 3}, {4, 5}, {5, 4}, {0, 3}, {3, 1}}},
    {{{1, 3}, {3, 3}, {5, 9}, {0, 10}, {4, 4}, {2, 1}}},
}};

/// The end of the schedule that starts each step as soon as job and machine are free, step by step and job by job. It
/// is an upper bound of the optimum.
int horizon() {
  std::array<int, kJobs> job{};
  std::array<int, kMachines> machine{};
  for (std::size_t k = 0; k < kMachines; ++k) {
    for (std::size_t j = 0; j < kJobs; ++j) {
      const Step step = kShop[j][k];
      int& free = machine[static_cast<std::size_t>(step.machine)];
      job[j] = free = std::max(job[j], free) + step.hours;
    }
  }
  return *std::max_element(job.begin(), job.end());
}

}  // namespace

int main() {
  tavsolve::Model model;
  const TavEnv env = model.getEnv();
  const int end = horizon();
  struct Visit {
    TavNumVar start;
    int hours;
  };
  std::array<std::vector<Visit>, kMachines> visits;
  TavNumExprArray ends(env);
  for (std::size_t j = 0; j < kJobs; ++j) {
    TavNumVar before;
    for (std::size_t k = 0; k < kMachines; ++k) {
      const Step step = kShop[j][k];
      const std::string name = "job" + std::to_string(j + 1) + "_on" + std::to_string(step.machine);
      const TavNumVar start(env, 0, end - step.hours, name.c_str());
      model.addColumn(start);
      if (before) model.addRow(kShop[j][k - 1].hours, TavExpr(start - before), TavGetInfinity());
      visits[static_cast<std::size_t>(step.machine)].push_back({start, step.hours});
      before = start;
    }
    ends.add(before + kShop[j].back().hours);
  }
  for (const std::vector<Visit>& machine : visits) {
    for (std::size_t a = 0; a < machine.size(); ++a) {
      for (std::size_t b = a + 1; b < machine.size(); ++b) {
        const Visit &one = machine[a], &other = machine[b];
        const TavNumExprArg gap = TavMax(other.start - one.start - one.hours, one.start - other.start - other.hours);
        model.addRow(0, TavExpr(gap), TavGetInfinity());
      }
    }
  }
  const TavNumExpr makespan = TavMax(ends);
  model.setObjective(TavExpr(makespan), false, "makespan");

  const std::unique_ptr<tavsolve::EngineI> engine = tavsolve::chooseEngine(model, "").make(model);
  engine->extract();
  tavsolve::Controls controls;
  controls.seconds = 100;
  const tavsolve::Answer answer = engine->solve(controls);
  std::cout << "one step after the other: " << end << " hours\n";
  if (answer.status != tavsolve::Status::Optimal) {
    std::cout << "no optimum within " << controls.seconds << " s\n";
    return 1;
  }
  std::cout << "best of all: " << makespan.eval(engine.get()) << " hours\n";
}
