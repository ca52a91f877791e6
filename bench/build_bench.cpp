// Building one sum of n terms with `+=`, in recycled memory and in new memory.

#include <memory>

#include "bench/race.h"

namespace {

struct WarmLibrary {
  Pair& pair;
  TavExpr sum{pair.env};

  void prepare() {}
  void run() {
    for (std::size_t i = 0; i < pair.vars.size(); ++i) sum += coefAt(i) * pair.vars[i];
  }
  void finish() { sum.clear(); }
};

struct WarmHand {
  Pair& pair;
  hand::Sum* sum = hand::newSum(&pair.handEnv, 0.0);

  void prepare() {}
  void run() {
    for (std::size_t i = 0; i < pair.handVars.size(); ++i) hand::add(sum, hand::times(pair.handVars[i], coefAt(i)));
  }
  void finish() { hand::clear(sum); }
};

void buildWarm(benchmark::State& state) {
  Pair pair(state.range(0));
  WarmLibrary library{pair};
  WarmHand byHand{pair};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(buildWarm)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

/// A sum over ten variables in an environment of its own.
struct ColdLibrary {
  std::size_t terms;
  TavEnv env{nullptr};
  std::vector<TavNumVar> vars{};

  void prepare() {
    chillMemory();
    env = TavEnv();
    vars.clear();
    for (int i = 0; i < 10; ++i) vars.emplace_back(env);
  }
  void run() {
    TavExpr sum(env);
    for (std::size_t i = 0; i < terms; ++i) sum += coefAt(i) * vars[i % 10];
  }
  void finish() { env.end(); }
};

struct ColdHand {
  std::size_t terms;
  std::unique_ptr<hand::Env> env{};
  std::vector<hand::Var*> vars{};

  void prepare() {
    chillMemory();
    env = std::make_unique<hand::Env>();
    vars.clear();
    hand::Domain* domain = hand::newDomain(env.get(), 0.0, 1.0);
    for (int i = 0; i < 10; ++i) vars.push_back(hand::newVar(env.get(), domain));
  }
  void run() {
    hand::Sum* sum = hand::newSum(env.get(), 0.0);
    for (std::size_t i = 0; i < terms; ++i) hand::add(sum, hand::times(vars[i % 10], coefAt(i)));
  }
  void finish() { env.reset(); }
};

void buildCold(benchmark::State& state) {
  const auto terms = static_cast<std::size_t>(state.range(0));
  ColdLibrary library{terms};
  ColdHand byHand{terms};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(buildCold)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

}  // namespace
