// When is the last machine done? The makespan of a schedule is a maximum over an array: the machines' loads.
//
// Five jobs on two machines, after R. L. Graham (1969): giving each job, longest first, to the machine that is free
// first takes 7 hours, the best schedule 6.

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "expression/nodes.h"

namespace {

/// A schedule: the value of each variable.
class Schedule final : public TavAlgorithmI {
 public:
  explicit Schedule(TavEnv env) : TavAlgorithmI(env.getImpl()) {}

  /// Job j goes to the second machine when bit j is set.
  void assign(TavIntVarArray onSecond, TavInt bits) {
    for (TavInt j = 0; j < onSecond.getSize(); ++j) {
      const auto id = static_cast<std::size_t>(onSecond[j].getId());
      if (id >= _values.size()) _values.resize(id + 1);
      _values[id] = static_cast<double>(bits >> j & 1);
    }
  }
  double getValue(const TavNumVarI* variable) const override {
    return _values.at(static_cast<std::size_t>(variable->getId()));
  }

 private:
  std::vector<double> _values;
};

}  // namespace

int main() {
  TavEnv env;
  TavIntArray hours(env);
  for (TavInt h : {3, 3, 2, 2, 2}) hours.add(h);

  // onSecond[j] is 1 when the second machine does job j, 0 when the first one does.
  TavIntVarArray onSecond(env, hours.getSize(), 0, 1);
  for (TavInt j = 0; j < onSecond.getSize(); ++j) onSecond[j].setName(("job" + std::to_string(j + 1)).c_str());

  TavIntExprArray loads(env);
  loads.add(TavSum(hours) - TavScalProd(hours, onSecond));
  loads.add(TavScalProd(hours, onSecond));
  const TavIntExpr makespan = TavMax(loads);
  std::cout << "makespan = " << makespan << "\n";

  Schedule schedule(env);
  schedule.assign(onSecond, 0b01010);  // jobs 2 and 4
  std::cout << "longest first: " << makespan.eval(TavAlgorithm(&schedule)) << " hours\n";

  double best = TavGetInfinity();
  for (TavInt bits = 0; bits < 1 << onSecond.getSize(); ++bits) {
    schedule.assign(onSecond, bits);
    best = std::min(best, makespan.eval(TavAlgorithm(&schedule)));
  }
  std::cout << "best of all: " << best << " hours\n";
  env.end();
}
