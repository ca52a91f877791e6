#pragma once
/// Progress of long work.

#include <chrono>
#include <string>

#include "solve/program/output.h"

namespace tavsolve {

/// Writes stages with counts and elapsed time to standard error: on a terminal one line a stage, which is updated;
/// elsewhere a line now and then, the slower the longer it takes. The log has the lines of the stages too.
class Progress {
 public:
  Progress(bool quiet, Output& output);

  /// A stage begins: the line shows what is being done, until finish() completes it.
  void begin(const std::string& stage);
  /// Replaces what the line of the current stage says, at most a few times a second.
  void update(const std::string& detail);
  /// The stage is done.
  void finish(const std::string& counts);

 private:
  using Clock = std::chrono::steady_clock;

  std::string lineOf(const std::string& detail) const;
  void show(const std::string& detail, const char* end);

  Output& _output;
  bool _quiet, _onTerminal;
  std::string _stage;
  Clock::time_point _start = Clock::now();
  Clock::time_point _written;
  /// When the next line is due that is not for a terminal.
  std::chrono::duration<double> _due{2.0};
};

}  // namespace tavsolve
