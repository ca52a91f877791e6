#pragma once
/// Benchmarks that change a sum: normalising, setting coefficients, removing variables.

#include <optional>
#include <random>
#include <vector>

#include "bench/sum_benchmarks.h"

/// Sums of n terms over n / 4 variables, drawn at random.
template <class World>
struct Drawn : Plain {
  explicit Drawn(std::size_t terms) : world(terms / 4), sum(world.newSum()), drawn(terms) {
    std::mt19937_64 random(42);
    std::uniform_int_distribution<std::size_t> pick(0, terms / 4 - 1);
    for (std::size_t& var : drawn) var = pick(random);
  }
  std::size_t items() const { return drawn.size(); }
  double result() { return walkOf(world, sum); }
  void fill() {
    for (std::size_t i = 0; i < drawn.size(); ++i) world.add(sum, drawn[i], coefAt(i));
    seal(world, sum);
  }
  void prepare() { fill(); }
  void run() { benchmark::DoNotOptimize(world.normalize(sum)); }
  void finish() { world.clear(sum); }

  World world;
  typename World::Sum sum;
  std::vector<std::size_t> drawn;
};

/// Uses cells that earlier runs of the same work have freed.
template <class World>
struct MergeRecycled : Drawn<World> {
  using Drawn<World>::Drawn;
};

template <class World>
struct MergeScattered : Drawn<World> {
  explicit MergeScattered(std::size_t terms) : Drawn<World>(terms) { this->world.scatter(terms); }
};

template <class World>
struct MergeByFields : Drawn<World> {
  explicit MergeByFields(std::size_t terms) : Drawn<World>(terms) { this->world.useFields(); }
};

template <class World>
struct BuildAndMerge : Drawn<World> {
  using Drawn<World>::Drawn;
  void prepare() {}
  void run() {
    this->fill();
    Drawn<World>::run();
  }
};

/// Uses cells from new memory.
template <class World>
struct MergeFresh : Plain {
  explicit MergeFresh(std::size_t terms) : size(terms) {}
  std::size_t items() const { return size; }
  void prepare() {
    drawn.emplace(size);
    drawn->fill();
  }
  void run() { drawn->run(); }
  double result() { return drawn->result(); }
  void finish() { drawn.reset(); }
  std::size_t size;
  std::optional<Drawn<World>> drawn;
};

template <class World>
struct SetCoefs : OneSum<World> {
  explicit SetCoefs(std::size_t count) : OneSum<World>(count) {
    this->world.makeArrays();
    this->fill();
  }
  void run() { this->world.setCoefs(this->sum); }
};

template <class World>
struct Remove : OneSum<World> {
  explicit Remove(std::size_t count) : OneSum<World>(count) { this->world.makeArrays(); }
  void prepare() { this->fill(); }
  void run() { this->world.remove(this->sum); }
  void finish() { this->world.clear(this->sum); }
};
