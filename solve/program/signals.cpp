#include "solve/program/signals.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>

#include <sys/time.h>
#include <unistd.h>

namespace tavsolve {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point start;
std::atomic<bool> interrupted = false, timeIsOver = false, nothingToLose = false;
static_assert(std::atomic<bool>::is_always_lock_free);

/// Safe in a signal handler.
[[noreturn]] void endNow() {
  const char* line =
      interrupted ? "status     not solved: interrupted\n" : "status     not solved: time limit reached\n";
  _exit(write(STDOUT_FILENO, line, std::strlen(line)) < 0 ? 2 : 1);
}

extern "C" void onSignal(int signal) {
  const bool isSecond = (signal == SIGALRM ? timeIsOver : interrupted).exchange(true);
  if (isSecond || nothingToLose) endNow();
}

}  // namespace

void watchSignals() {
  start = Clock::now();
  struct sigaction action = {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM, SIGALRM}) sigaction(signal, &action, nullptr);
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);  // a failed write is an error of the output
}

void limitTime(double seconds) {
  constexpr double kLongest = 1e8;
  if (seconds > kLongest) return;
  const double left = std::max(1e-6, seconds - secondsSinceStart());
  itimerval timer = {};
  timer.it_value.tv_sec = static_cast<time_t>(left);
  timer.it_value.tv_usec = static_cast<suseconds_t>((left - static_cast<double>(timer.it_value.tv_sec)) * 1e6);
  if (timer.it_value.tv_sec == 0 && timer.it_value.tv_usec == 0) timer.it_value.tv_usec = 1;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

const std::atomic<bool>& interruption() { return interrupted; }

bool isTimeOver() { return timeIsOver; }

double secondsSinceStart() { return std::chrono::duration<double>(Clock::now() - start).count(); }

NothingToLose::NothingToLose() {
  nothingToLose = true;
  if (interrupted || timeIsOver) endNow();
}

NothingToLose::~NothingToLose() { nothingToLose = false; }

}  // namespace tavsolve
