#pragma once
/// Progress of long work on the terminal.

#include <chrono>
#include <cstdio>
#include <string>

namespace tavsolve {

/// Writes stages with counts and elapsed time to standard error, also while that is captured; says nothing when it is
/// no terminal.
class Progress {
 public:
  explicit Progress(bool quiet);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// A stage begins: the line shows what is being done, until finish() completes it.
  void begin(const std::string& stage);
  /// Replaces what the line of the current stage says, at most a few times a second.
  void update(const std::string& detail);
  /// The stage is done.
  void finish(const std::string& counts);

 private:
  using Clock = std::chrono::steady_clock;

  void write(const std::string& detail, bool last);

  /// A stream of its own on the terminal, or null.
  std::FILE* _terminal = nullptr;
  std::string _stage;
  Clock::time_point _start = Clock::now();
  Clock::time_point _written;
};

}  // namespace tavsolve
