// Evaluating a sum of n terms, and a chain of n products.

#include "bench/race.h"

namespace {

template <class Evaluate>
struct Evaluation {
  explicit Evaluation(Evaluate body) : evaluate(body) {}
  Evaluate evaluate;
  void prepare() {}
  void run() {
    double value = evaluate();
    benchmark::DoNotOptimize(value);
  }
  void finish() {}
};

void evalSum(benchmark::State& state) {
  Pair pair(state.range(0));
  LibraryValues values(pair.env.getImpl(), pair.vars.size());
  HandValues handValues(pair.handVars.size());
  TavExpr sum(pair.env);
  hand::Sum* handSum = hand::newSum(&pair.handEnv, 0.0);
  for (std::size_t i = 0; i < pair.vars.size(); ++i) {
    sum += coefAt(i) * pair.vars[i];
    hand::add(handSum, hand::times(pair.handVars[i], coefAt(i)));
  }
  Evaluation library([&] { return sum.eval(TavAlgorithm(&values)); });
  Evaluation byHand([&] { return handSum->eval(handValues); });
  race(state, state.range(0), library, byHand);
}
BENCHMARK(evalSum)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

/// A balanced tree of products over n variables: n - 1 nodes.
void evalProducts(benchmark::State& state) {
  Pair pair(state.range(0));
  LibraryValues values(pair.env.getImpl(), pair.vars.size());
  HandValues handValues(pair.handVars.size());
  std::vector<TavNumExprArg> level(pair.vars.begin(), pair.vars.end());
  std::vector<hand::Node*> handLevel(pair.handVars.begin(), pair.handVars.end());
  while (level.size() > 1) {
    std::size_t out = 0;
    for (std::size_t i = 0; i + 1 < level.size(); i += 2, ++out) {
      level[out] = level[i] * level[i + 1];
      handLevel[out] = hand::times(handLevel[i], handLevel[i + 1]);
    }
    if (level.size() % 2 != 0) {
      level[out] = level.back();
      handLevel[out++] = handLevel.back();
    }
    level.resize(out);
    handLevel.resize(out);
  }
  Evaluation library([&] { return level[0].eval(TavAlgorithm(&values)); });
  Evaluation byHand([&] { return handLevel[0]->eval(handValues); });
  race(state, state.range(0), library, byHand);
}
BENCHMARK(evalProducts)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

}  // namespace
