#pragma once
/// Benchmarks over one sum: building, clearing, evaluating, copying, writing it in one statement, printing it.

#include <iomanip>
#include <optional>
#include <sstream>

#include "bench/library.h"
#include "bench/race.h"

inline constexpr std::size_t kManyVariables = 1'000'000;
/// The number of variables that rows use, and the length of a row.
inline constexpr std::size_t kColumns = 1000;
inline constexpr std::size_t kRowLength = 10;

/// The default steps of a benchmark: nothing to prepare, nothing to clean up.
struct Plain {
  static constexpr bool kCold = false;
  static constexpr bool kPrints = false;
  void prepare() {}
  void finish() {}
};

// Operations that not every contender has: a pass over the terms, and a step that completes the building of a sum.
template <class World>
double walkOf(World& world, const typename World::Sum& sum) {
  if constexpr (requires { world.walk(sum); }) {
    return world.walk(sum);
  } else {
    return std::nan("");
  }
}

template <class World>
void seal(World& world, typename World::Sum& sum) {
  if constexpr (requires { world.seal(sum); }) world.seal(sum);
}

/// Adds `count` terms over all variables in turn.
template <class World>
void addTerms(World& world, typename World::Sum& sum, std::size_t count) {
  for (std::size_t i = 0, var = 0; i < count; ++i) {
    world.add(sum, var, coefAt(i));
    if (++var == world.size()) var = 0;
  }
  seal(world, sum);
}

/// A world with a variable for each term, up to a million, and a sum over them.
template <class World>
struct OneSum : Plain {
  explicit OneSum(std::size_t count) : terms(count), world(std::min(count, kManyVariables)), sum(world.newSum()) {}
  OneSum(std::size_t count, bool named) : terms(count), world(count, named), sum(world.newSum()) {}
  std::size_t items() const { return terms; }
  double result() { return walkOf(world, sum); }
  void fill() { addTerms(world, sum, terms); }

  std::size_t terms;
  World world;
  typename World::Sum sum;
};

template <class World>
struct BuildWarm : OneSum<World> {
  using OneSum<World>::OneSum;
  void run() { this->fill(); }
  void finish() { this->world.clear(this->sum); }
};

template <class World>
struct Clear : OneSum<World> {
  using OneSum<World>::OneSum;
  void prepare() { this->fill(); }
  void run() { this->world.clear(this->sum); }
};

/// A world of its own for every run, in new memory.
template <class World, std::size_t kVariables>
struct NewWorld : Plain {
  static constexpr bool kCold = true;
  explicit NewWorld(std::size_t count) : size(count) {}
  std::size_t items() const { return size; }
  void prepare() {
    world.emplace(std::min(kVariables, std::max(size, kColumns)));
    chillMemory();
  }
  void finish() { world.reset(); }

  std::size_t size;
  std::optional<World> world;
};

template <class World>
struct BuildCold : NewWorld<World, kManyVariables> {
  using NewWorld<World, kManyVariables>::NewWorld;
  void prepare() {
    NewWorld<World, kManyVariables>::prepare();
    sum.emplace(this->world->newSum());
  }
  void run() { addTerms(*this->world, *sum, this->size); }
  double result() { return walkOf(*this->world, *sum); }
  void finish() {
    sum.reset();
    this->world.reset();
  }
  std::optional<typename World::Sum> sum;
};

template <class World>
struct EvalSum : OneSum<World> {
  explicit EvalSum(std::size_t count) : OneSum<World>(count) { this->fill(); }
  void run() {
    value = this->world.eval(this->sum);
    benchmark::DoNotOptimize(value);
  }
  double result() { return value; }
  double value = 0.0;
};

/// A second counted handle of the sum receives a copy.
template <class World>
struct CopySum : OneSum<World> {
  explicit CopySum(std::size_t count) : OneSum<World>(count) { this->fill(); }
  void run() { copied.emplace(this->world.copy(this->sum)); }
  double result() { return walkOf(this->world, *copied); }
  void finish() {
    this->world.end(*copied);
    copied.reset();
  }
  std::optional<typename World::Sum> copied;
};

/// A sum over all variables by one of the world's own ways; warm.
template <class World, auto kMake>
struct Whole : Plain {
  explicit Whole(std::size_t count) : world(count) {
    if constexpr (requires { world.makeArrays(); }) world.makeArrays();
  }
  std::size_t items() const { return world.size(); }
  void run() { sum.emplace((world.*kMake)()); }
  double result() { return walkOf(world, *sum); }
  void finish() {
    world.end(*sum);
    sum.reset();
  }
  World world;
  std::optional<typename World::Sum> sum;
};
template <class World>
struct ScalProd : Whole<World, &World::scalProd> {
  using Whole<World, &World::scalProd>::Whole;
};
template <class World>
struct SumOfArray : Whole<World, &World::sumOfArray> {
  using Whole<World, &World::sumOfArray>::Whole;
};
template <class World>
struct Chained : Whole<World, &World::chained> {
  using Whole<World, &World::chained>::Whole;
};

template <class World>
struct Print : OneSum<World> {
  static constexpr bool kPrints = true;
  explicit Print(std::size_t count) : OneSum<World>(count, true) {
    for (std::size_t i = 0; i < count; ++i) this->world.add(this->sum, i, 1.0 + static_cast<double>(i) / 7.0);
    seal(this->world, this->sum);
  }
  /// The stream keeps its buffer from one run to the next.
  void prepare() { os.seekp(0); }
  void run() { written = this->world.print(os, this->sum); }
  double result() { return written; }
  void finish() {}
  double written = 0.0;
  std::ostringstream os;
};

/// Prints to a stream whose number format is not the default.
template <class World>
struct PrintFixed : Print<World> {
  explicit PrintFixed(std::size_t count) : Print<World>(count) { this->os << std::fixed << std::setprecision(3); }
};
