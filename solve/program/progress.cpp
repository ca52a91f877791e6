#include "solve/program/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace tavsolve {

Progress::Progress(bool quiet, Output& output)
    : _output(output), _quiet(quiet), _onTerminal(isatty(STDERR_FILENO) != 0) {}

void Progress::begin(const std::string& stage) {
  _stage = stage;
  if (_onTerminal) show("...", "");
}

void Progress::update(const std::string& detail) {
  constexpr std::chrono::seconds kLongest(30);
  const auto now = Clock::now();
  if (_onTerminal) {
    if (now - _written > std::chrono::milliseconds(200)) show(detail, "");
  } else if (now - _start >= _due) {
    const std::chrono::duration<double> elapsed = now - _start;
    _due = elapsed + std::min<std::chrono::duration<double>>(elapsed, kLongest);
    show(detail, "\n");
    _output.note(lineOf(detail) + "\n");
  }
}

void Progress::finish(const std::string& counts) {
  if (_onTerminal) show(counts, "\n");
  _output.note(lineOf(counts) + "\n");
}

std::string Progress::lineOf(const std::string& detail) const {
  const std::chrono::duration<double> elapsed = Clock::now() - _start;
  char head[64];
  std::snprintf(head, sizeof head, "%8.2f s  %-8s ", elapsed.count(), _stage.c_str());
  return head + detail;
}

void Progress::show(const std::string& detail, const char* end) {
  if (_quiet) return;
  _written = Clock::now();
  // On a terminal back to the start of the line and erase it, so that a stage occupies one line.
  std::fprintf(stderr, "%s%s%s", _onTerminal ? "\r\x1b[K" : "", lineOf(detail).c_str(), end);
  std::fflush(stderr);
}

}  // namespace tavsolve
