#pragma once
/// Interruptions by the user, and the end of the time limit.

#include <atomic>

namespace tavsolve {

/// Takes over SIGINT and SIGTERM and starts the clock. The first signal sets interruption(), the second one ends the
/// program with exit code 1.
void watchSignals();
/// Ends the program when so many seconds have passed since watchSignals(), if nothing can be lost then.
void limitTime(double seconds);

const std::atomic<bool>& interruption();
/// Whether the time limit is over.
bool isTimeOver();
double secondsSinceStart();

/// While one lives there is nothing to be lost: an interruption and the end of the time limit end the program at once,
/// with a line that says so and exit code 1.
class NothingToLose {
 public:
  NothingToLose();
  NothingToLose(const NothingToLose&) = delete;
  NothingToLose& operator=(const NothingToLose&) = delete;
  ~NothingToLose();
};

}  // namespace tavsolve
