// Building and normalising a sum of n terms over n / 4 variables, drawn at random.

#include <random>

#include "bench/race.h"

namespace {

std::vector<std::size_t> draw(TavInt terms, TavInt vars) {
  std::mt19937_64 random(42);
  std::uniform_int_distribution<std::size_t> pick(0, static_cast<std::size_t>(vars - 1));
  std::vector<std::size_t> drawn(static_cast<std::size_t>(terms));
  for (std::size_t& index : drawn) index = pick(random);
  return drawn;
}

struct LibraryMerge {
  Pair& pair;
  const std::vector<std::size_t>& drawn;
  TavExpr sum{pair.env};

  void fill() {
    for (std::size_t i = 0; i < drawn.size(); ++i) sum += coefAt(i) * pair.vars[drawn[i]];
  }
  void merge() { sum.normalize(); }
  void finish() { sum.clear(); }
};

struct HandMerge {
  Pair& pair;
  const std::vector<std::size_t>& drawn;
  hand::Sum* sum = hand::newSum(&pair.handEnv, 0.0);

  void fill() {
    for (std::size_t i = 0; i < drawn.size(); ++i) hand::add(sum, hand::times(pair.handVars[drawn[i]], coefAt(i)));
  }
  void merge() { hand::normalize(sum); }
  void finish() { hand::clear(sum); }
};

/// The merge alone.
template <class Side>
struct Merge : Side {
  void prepare() { this->fill(); }
  void run() { this->merge(); }
};

/// Both steps: here the order in which cells were recycled shows.
template <class Side>
struct BuildAndMerge : Side {
  void prepare() {}
  void run() {
    this->fill();
    this->merge();
  }
};

template <template <class> class Work>
void raceMerge(benchmark::State& state) {
  const TavInt vars = state.range(0) / 4;
  Pair pair(vars);
  const std::vector<std::size_t> drawn = draw(state.range(0), vars);
  Work<LibraryMerge> library{{pair, drawn}};
  Work<HandMerge> byHand{{pair, drawn}};
  race(state, state.range(0), library, byHand);
}
void merge(benchmark::State& state) { raceMerge<Merge>(state); }
BENCHMARK(merge)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();
void buildAndMerge(benchmark::State& state) { raceMerge<BuildAndMerge>(state); }
BENCHMARK(buildAndMerge)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

/// The library without mark arrays: the variables' mark fields instead.
void mergeByFields(benchmark::State& state) {
  const TavInt vars = state.range(0) / 4;
  Pair pair(vars);
  pair.env.getImpl()->markArraysAvailable = false;
  const std::vector<std::size_t> drawn = draw(state.range(0), vars);
  Merge<LibraryMerge> library{{pair, drawn}};
  Merge<HandMerge> byHand{{pair, drawn}};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(mergeByFields)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

}  // namespace
