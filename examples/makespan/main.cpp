// When is the last machine done? The makespan of a schedule is a maximum over an array: the machines' loads. The engine
// linearises the maximum, which takes no binaries where it is minimised, and passes the model to CBC.
//
// Five jobs on two machines, after R. L. Graham (1969): assigning each job, longest first, to the machine that is
// free first takes 7 hours; the best schedule takes 6.

#include <iostream>
#include <memory>
#include <string>

#include "solve/engines/engines.h"

int main() {
  tavsolve::Model model;
  const TavEnv env = model.getEnv();
  TavIntArray hours(env);
  for (TavInt h : {3, 3, 2, 2, 2}) hours.add(h);

  // onSecond[j] is 1 when the second machine does job j, 0 when the first one does.
  TavIntVarArray onSecond(env, hours.getSize(), 0, 1);
  for (TavInt j = 0; j < onSecond.getSize(); ++j) {
    onSecond[j].setName(("job" + std::to_string(j + 1)).c_str());
    model.addColumn(onSecond[j]);
  }
  TavIntExprArray loads(env);
  loads.add(TavSum(hours) - TavScalProd(hours, onSecond));
  loads.add(TavScalProd(hours, onSecond));
  const TavIntExpr makespan = TavMax(loads);
  std::cout << "makespan = " << makespan << "\n";
  model.setObjective(TavExpr(makespan), false, "makespan");

  const std::unique_ptr<tavsolve::EngineI> engine = tavsolve::chooseEngine(model, "").make(model);
  engine->extract();
  const auto solve = [&](const char* what) {
    engine->solve(tavsolve::Controls());
    std::cout << what << makespan.eval(engine.get()) << " hours\n";
  };
  // Longest first: jobs 2 and 4 go to the second machine.
  for (TavInt j = 0; j < onSecond.getSize(); ++j) model.fix(onSecond[j], j == 1 || j == 3 ? 1 : 0);
  solve("longest first: ");
  for (TavInt j = 0; j < onSecond.getSize(); ++j) model.setBounds(onSecond[j], 0, 1);
  solve("best of all: ");
}
