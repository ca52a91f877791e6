#pragma once
/// Benchmarks over trees (the Rosenbrock chain over n variables) and over variables alone.

#include <optional>

#include "bench/sum_benchmarks.h"

/// Operations of one link: square, difference, square, multiple; difference, square; two additions.
inline constexpr std::size_t kOperations = 8;

template <class World>
struct Chain : Plain {
  explicit Chain(std::size_t variables) : world(variables) {}
  std::size_t items() const { return kOperations * (world.size() - 1); }
  double result() { return world.evalNode(*node); }
  void make() { node.emplace(world.rosenbrock()); }
  void end() {
    world.endNode(*node);
    node.reset();
  }
  World world;
  std::optional<typename World::Node> node;
};

template <class World>
struct ChainWarm : Chain<World> {
  using Chain<World>::Chain;
  void run() { this->make(); }
  void finish() { this->end(); }
};

template <class World>
struct ChainCold : Plain {
  static constexpr bool kCold = true;
  explicit ChainCold(std::size_t variables) : size(variables) {}
  std::size_t items() const { return kOperations * (size - 1); }
  void prepare() {
    chain.emplace(size);
    chillMemory();
  }
  void run() { chain->make(); }
  double result() { return chain->result(); }
  void finish() { chain.reset(); }
  std::size_t size;
  std::optional<Chain<World>> chain;
};

template <class World>
struct ChainEval : Chain<World> {
  explicit ChainEval(std::size_t variables) : Chain<World>(variables) { this->make(); }
  void run() {
    double value = Chain<World>::result();
    benchmark::DoNotOptimize(value);
  }
};

template <class World>
struct ChainEnd : Chain<World> {
  using Chain<World>::Chain;
  void prepare() { this->make(); }
  void run() { this->end(); }
  double result() { return 0.0; }
};

template <class World, auto kMake>
struct Variables : NewWorld<World, 0> {
  using NewWorld<World, 0>::NewWorld;
  void run() { ((*this->world).*kMake)(this->size); }
  double result() { return 0.0; }
};
template <class World>
struct VariablesArray : Variables<World, &World::makeArray> {
  using Variables<World, &World::makeArray>::Variables;
};
template <class World>
struct VariablesOneByOne : Variables<World, &World::makeOneByOne> {
  using Variables<World, &World::makeOneByOne>::Variables;
};
template <class World>
struct VariablesNamed : Variables<World, &World::makeNamed> {
  using Variables<World, &World::makeNamed>::Variables;
};
