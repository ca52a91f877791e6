#include "captured_output.h"

#include <unistd.h>

#include <stdexcept>

namespace tavsolve {

CapturedOutput::CapturedOutput() : _scratch(std::tmpfile()) {
  if (!_scratch) throw std::runtime_error("cannot make a temporary file");
  std::fflush(nullptr);
  _stdout = dup(STDOUT_FILENO);
  _stderr = dup(STDERR_FILENO);
  dup2(fileno(_scratch), STDOUT_FILENO);
  dup2(fileno(_scratch), STDERR_FILENO);
}

CapturedOutput::~CapturedOutput() {
  std::fflush(nullptr);
  dup2(_stdout, STDOUT_FILENO);
  dup2(_stderr, STDERR_FILENO);
  close(_stdout);
  close(_stderr);
  std::fclose(_scratch);
}

std::vector<std::string> CapturedOutput::lines() {
  std::fflush(nullptr);
  std::rewind(_scratch);
  std::vector<std::string> lines(1);
  for (int c = std::getc(_scratch); c != EOF; c = std::getc(_scratch)) {
    if (c == '\n') {
      lines.emplace_back();
    } else {
      lines.back().push_back(static_cast<char>(c));
    }
  }
  return lines;
}

void CapturedOutput::clear() {
  std::fflush(nullptr);
  if (ftruncate(fileno(_scratch), 0) != 0) return;
  std::rewind(_scratch);
}

}  // namespace tavsolve
