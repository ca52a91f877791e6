#pragma once
/// Two ways of doing the same work, run in turns, so that other load on the machine affects both.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

/// A side of a race has three steps, of which only `run` is timed. It states the number of items of a run, and a result
/// that must be equal on both sides after `run`.
template <class Side>
concept RaceSide = requires(Side side) {
  side.prepare();
  side.run();
  side.finish();
  { side.items() } -> std::convertible_to<std::size_t>;
  { side.result() } -> std::convertible_to<double>;
};

/// A side that starts from memory that the process has not touched; the bytes that it takes are measured.
template <class Side>
concept ColdSide = RaceSide<Side> && Side::kCold;

/// A side whose result is a number of characters.
template <class Side>
concept PrintingSide = RaceSide<Side> && Side::kPrints;

/// Processor time of this process in seconds; the time of other processes does not count.
inline double computedSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The seconds that `work` takes, in processor time; in elapsed time, whose clock costs less to read, when the work is
/// too short to be interrupted.
template <class Work>
double secondsOf(Work work) {
  constexpr double kShort = 100e-6;
  const double computed = computedSeconds();
  const auto start = std::chrono::steady_clock::now();
  work();
  const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return elapsed < kShort ? elapsed : computedSeconds() - computed;
}

/// The duration of the rounds of one race, in seconds.
inline double raceSeconds = 1.0;

/// Gives freed memory back to the system, so that the next allocations touch new pages.
inline void chillMemory() { malloc_trim(0); }

/// The resident bytes of the process.
inline double residentBytes() {
  std::ifstream file("/proc/self/smaps_rollup");
  std::string word;
  while (file >> word) {
    double kibibytes = 0.0;
    if (word == "Rss:" && file >> kibibytes) return 1024.0 * kibibytes;
  }
  return 0.0;
}

/// The result of one run and the bytes that it takes: the growth of resident memory, unless the side states them.
struct Trial {
  double result, bytes;
};

template <RaceSide Side>
Trial tryOnce(Side& side) {
  side.prepare();
  const double before = residentBytes();
  side.run();
  Trial trial{static_cast<double>(side.result()), residentBytes() - before};
  if constexpr (requires { side.bytes(); }) trial.bytes = side.bytes();
  side.finish();
  return trial;
}

/// Runs a side often enough to be timed; returns the time of one run in seconds.
template <RaceSide Side>
double timeOneRun(Side& side) {
  constexpr double kEnough = 0.0005;
  constexpr double kTooLong = 0.005;
  const double begin = computedSeconds();
  double spent = 0.0;
  int runs = 0;
  do {
    side.prepare();
    spent += secondsOf([&side] { side.run(); });
    side.finish();
    ++runs;
  } while (spent < kEnough && computedSeconds() - begin < kTooLong);
  return spent / runs;
}

inline double medianOf(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Runs both sides for `raceSeconds`, at least three rounds of library, other, other, library: each side runs once
/// after itself and once after the other, which has filled the caches. Reports the medians in nanoseconds per item
/// and, as `ratio`, the median of library / other over the rounds; for cold sides also the bytes per item, for printing
/// ones the megabytes per second. Fails when the two results differ.
template <RaceSide Library, RaceSide Other>
void race(benchmark::State& state, Library& library, Other& other) {
  const Trial trial = tryOnce(library), otherTrial = tryOnce(other);
  const auto items = static_cast<double>(library.items());
  if (std::abs(trial.result - otherTrial.result) > 1e-9 * std::abs(trial.result)) {
    state.SkipWithError("the two results differ");
  }
  for (auto _ : state) {
    std::vector<double> times, otherTimes, ratios;
    const double begin = computedSeconds();
    while (times.size() < 3 || computedSeconds() - begin < raceSeconds) {
      const double first = timeOneRun(library);
      const double second = timeOneRun(other), third = timeOneRun(other);
      times.push_back((first + timeOneRun(library)) / 2);
      otherTimes.push_back((second + third) / 2);
      ratios.push_back(times.back() / otherTimes.back());
    }
    const double time = medianOf(times), otherTime = medianOf(otherTimes);
    state.counters["library_ns"] = 1e9 * time / items;
    state.counters["other_ns"] = 1e9 * otherTime / items;
    state.counters["ratio"] = medianOf(ratios);
    if constexpr (ColdSide<Library>) {
      state.counters["library_bytes"] = trial.bytes / items;
      state.counters["other_bytes"] = otherTrial.bytes / items;
    }
    if constexpr (PrintingSide<Library>) {
      state.counters["library_MBs"] = 1e-6 * trial.result / time;
      state.counters["other_MBs"] = 1e-6 * otherTrial.result / otherTime;
    }
  }
}

/// Registers the race of a benchmark between two contenders, under the name benchmark/contender/size.
/// `Benchmark<World>` is a side that is made for a size.
template <template <class> class Benchmark, class Library, class Other>
void registerBenchmark(const char* name, std::initializer_list<long> sizes) {
  auto* entry = benchmark::RegisterBenchmark((std::string(name) + "/" + Other::kName).c_str(), [](benchmark::State& s) {
    const auto size = static_cast<std::size_t>(s.range(0));
    Benchmark<Library> library(size);
    Benchmark<Other> other(size);
    race(s, library, other);
  });
  entry->Iterations(1);
  for (const long size : sizes) {
    if (size <= Other::kLargest) entry->Arg(size);
  }
}

/// Runs the registered races. Takes --seconds=S in addition to Google Benchmark's arguments.
inline int runRaces(int argc, char** argv) {
  const std::string flag = "--seconds=";
  char** end = std::remove_if(argv + 1, argv + argc, [&flag](const std::string& argument) {
    if (argument.rfind(flag, 0) != 0) return false;
    raceSeconds = std::stod(argument.substr(flag.size()));
    return true;
  });
  argc = static_cast<int>(end - argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
