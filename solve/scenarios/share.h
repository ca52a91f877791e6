#pragma once
/// What all that work on a run share: the scenarios that are left, and the file of results.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "solve/scenarios/results_file.h"

namespace tavsolve {

class Share {
 public:
  virtual ~Share() = default;

  /// The place of the next scenario in the list of those that are left; nothing when all are taken.
  virtual std::optional<std::size_t> next() = 0;
  /// Appends one line to the file.
  virtual void append(const std::string& line, bool failed) = 0;

  struct Counts {
    std::size_t done = 0, failed = 0;
  };
  /// What has been appended in this run, by all together.
  virtual Counts counts() = 0;
  /// Waits for all, and returns what they have done together. The share cannot be used any more.
  virtual Counts finish() { return counts(); }

  /// Called again and again, whenever so many milliseconds may have passed.
  virtual void serve() {}
  virtual int patience() const { return 20; }
};

/// Of one process and its workers.
class LocalShare final : public Share {
 public:
  LocalShare(std::size_t count, ResultsFile& file) : _count(count), _file(file) {}

  std::optional<std::size_t> next() override {
    if (_next == _count) return {};
    return _next++;
  }
  void append(const std::string& line, bool failed) override {
    _file.append(line);
    ++_counts.done;
    _counts.failed += failed;
  }
  Counts counts() override { return _counts; }

 private:
  std::size_t _count, _next = 0;
  ResultsFile& _file;
  Counts _counts;
};

}  // namespace tavsolve
