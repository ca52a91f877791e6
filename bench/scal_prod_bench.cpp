// Scalar products and sums over whole arrays, beside a loop that links the same cells by hand.

#include "bench/race.h"

namespace {

TavNumVarArray arrayOf(Pair& pair) {
  TavNumVarArray vars(pair.env, 0);
  for (TavNumVar var : pair.vars) vars.add(var);
  return vars;
}

struct ScalProdLibrary {
  Pair& pair;
  TavNumVarArray vars = arrayOf(pair);
  TavNumArray coefs{pair.env, vars.getSize()};
  TavExpr sum{};

  void prepare() {}
  void run() { sum = TavExpr(TavScalProd(coefs, vars)); }
  void finish() { sum.end(); }
};

struct SumLibrary {
  Pair& pair;
  TavNumVarArray vars = arrayOf(pair);
  TavExpr sum{};

  void prepare() {}
  void run() { sum = TavExpr(TavSum(vars)); }
  void finish() { sum.end(); }
};

struct Hand {
  Pair& pair;
  hand::Sum* sum = nullptr;

  void prepare() {}
  void run() {
    sum = hand::newSum(&pair.handEnv, 0.0);
    for (hand::Var* var : pair.handVars) hand::add(sum, hand::times(var, 1.0));
  }
  void finish() { hand::clear(sum); }
};

template <class Library>
void bulk(benchmark::State& state) {
  Pair pair(state.range(0));
  Library library{pair};
  Hand byHand{pair};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(bulk<ScalProdLibrary>)->Name("scalProd")->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();
BENCHMARK(bulk<SumLibrary>)->Name("sumOfArray")->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

}  // namespace
