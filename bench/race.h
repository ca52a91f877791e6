#pragma once
/// Two ways of doing the same work, run in turns, so that whatever else the machine does falls on both.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "bench/by_hand.h"
#include "expression/nodes.h"

/// A side of a race has three steps; only `run` is timed.
template <class Side>
concept RaceSide = requires(Side side) {
  side.prepare();
  side.run();
  side.finish();
};

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Runs a side a few times, enough to be timed; the time of one run, in seconds.
template <RaceSide Side>
double timeOneRun(Side& side) {
  constexpr double kEnough = 0.0005;
  constexpr double kTooLong = 0.005;
  const auto begin = Clock::now();
  double spent = 0.0;
  int runs = 0;
  do {
    side.prepare();
    const auto start = Clock::now();
    side.run();
    spent += secondsSince(start);
    side.finish();
    ++runs;
  } while (spent < kEnough && secondsSince(begin) < kTooLong);
  return spent / runs;
}

inline double medianOf(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// One benchmark: each iteration lets both sides do `items` pieces of work. Reports the medians in nanoseconds per item
/// and, as `ratio`, the median of library / by hand over the rounds.
template <RaceSide Library, RaceSide Hand>
void race(benchmark::State& state, TavInt items, Library& library, Hand& byHand) {
  std::vector<double> times, handTimes, ratios;
  timeOneRun(library);
  timeOneRun(byHand);
  bool libraryFirst = true;
  for (auto _ : state) {
    const auto start = Clock::now();
    double time, handTime;
    if (libraryFirst) {
      time = timeOneRun(library);
      handTime = timeOneRun(byHand);
    } else {
      handTime = timeOneRun(byHand);
      time = timeOneRun(library);
    }
    libraryFirst = !libraryFirst;
    times.push_back(time);
    handTimes.push_back(handTime);
    ratios.push_back(time / handTime);
    state.SetIterationTime(secondsSince(start));  // preparation too: it bounds how long a benchmark takes
  }
  const double scale = 1e9 / static_cast<double>(items);
  state.counters["library_ns"] = medianOf(times) * scale;
  state.counters["hand_ns"] = medianOf(handTimes) * scale;
  state.counters["ratio"] = medianOf(ratios);
}

/// Gives freed memory back to the system, so that the next use of memory is a first one.
inline void chillMemory() { malloc_trim(0); }

/// The values of `count` variables, by identifier.
inline std::vector<double> someValues(std::size_t count) {
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = 0.5 + 0.001 * static_cast<double>(i % 1000);
  return values;
}

class LibraryValues final : public TavAlgorithmI {
 public:
  LibraryValues(TavEnvI* env, std::size_t count) : TavAlgorithmI(env), _values(someValues(count)) {}
  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* var) const override { return _values[static_cast<std::size_t>(var->getId())]; }

 private:
  std::vector<double> _values;
};

class HandValues final : public hand::Values {
 public:
  explicit HandValues(std::size_t count) : _values(someValues(count)) {}
  double getValue(const hand::Var* var) const override { return _values[static_cast<std::size_t>(var->id)]; }

 private:
  std::vector<double> _values;
};

/// The same variables on both sides, with the identifiers 0 to count - 1.
class Pair {
 public:
  explicit Pair(TavInt count, bool named = false) {
    hand::Domain* domain = hand::newDomain(&handEnv, 0.0, 10.0);
    for (TavInt i = 0; i < count; ++i) {
      std::string name = "x";
      name += std::to_string(i);
      vars.emplace_back(env, 0.0, 10.0, TavNumVar::Float, named ? name.c_str() : nullptr);
      handVars.push_back(hand::newVar(&handEnv, domain, named ? name.c_str() : nullptr));
    }
  }
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;
  ~Pair() { env.end(); }

  TavEnv env;
  hand::Env handEnv;
  std::vector<TavNumVar> vars;
  std::vector<hand::Var*> handVars;
};

/// The coefficient of term i.
inline double coefAt(std::size_t i) { return 1.5 + static_cast<double>(i % 7); }
