#include "solve/program/progress.h"

#include <unistd.h>

namespace tavsolve {

Progress::Progress(bool quiet) {
  if (!quiet && isatty(STDERR_FILENO)) _terminal = fdopen(dup(STDERR_FILENO), "w");
}

Progress::~Progress() {
  if (_terminal) std::fclose(_terminal);
}

void Progress::begin(const std::string& stage) {
  _stage = stage;
  write("...", false);
}

void Progress::update(const std::string& detail) {
  if (Clock::now() - _written > std::chrono::milliseconds(300)) write(detail, false);
}

void Progress::finish(const std::string& counts) { write(counts, true); }

void Progress::write(const std::string& detail, bool last) {
  if (!_terminal) return;
  _written = Clock::now();
  const std::chrono::duration<double> elapsed = _written - _start;
  // Back to the start of the line and erase it, so that a stage occupies one line.
  std::fprintf(_terminal, "\r\x1b[K%8.2f s  %-8s %s%s", elapsed.count(), _stage.c_str(), detail.c_str(),
               last ? "\n" : "");
  std::fflush(_terminal);
}

}  // namespace tavsolve
