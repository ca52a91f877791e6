#pragma once
/// What all that work on a run have in common: the scenarios that are left, and the file of results.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>

#include "solve/scenarios/results_file.h"

namespace tavsolve {

class SharedRun {
 public:
  virtual ~SharedRun() = default;

  /// Takes up to `most` scenarios: the places from `first` to before `last` of the list of those that are left. There
  /// are none when all are taken.
  struct Block {
    std::size_t first, last;
  };
  virtual Block take(std::size_t most) = 0;

  struct Counts {
    std::size_t done = 0, failed = 0;
  };
  /// Appends whole lines, as many as are done, to the file.
  virtual void append(const std::string& lines, const Counts& added) = 0;
  /// What has been appended in this run, by all together.
  virtual Counts counts() = 0;
  /// Waits for all, and returns what they have done together. The object cannot be used any more.
  virtual Counts finish() { return counts(); }

  using Duration = std::chrono::microseconds;
  /// Where scenarios are short, a process takes and appends several at once, at intervals of this length.
  virtual Duration batchInterval() const { return std::chrono::milliseconds(2); }
  /// Takes part in the operations of others; called at least once in each poll interval.
  virtual void makeProgress() {}
  virtual Duration pollInterval() const { return std::chrono::milliseconds(20); }
};

/// Of one process and its workers.
class LocalRun final : public SharedRun {
 public:
  LocalRun(std::size_t count, ResultsFile& file) : _count(count), _file(file) {}

  Block take(std::size_t most) override {
    const std::size_t first = _next;
    _next = std::min(_next + most, _count);
    return {first, _next};
  }
  void append(const std::string& lines, const Counts& added) override {
    _file.append(lines);
    _counts.done += added.done;
    _counts.failed += added.failed;
  }
  Counts counts() override { return _counts; }

 private:
  std::size_t _count, _next = 0;
  ResultsFile& _file;
  Counts _counts;
};

}  // namespace tavsolve
