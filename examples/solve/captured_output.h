#pragma once
/// Keeps what other libraries print away from the user.

#include <cstdio>
#include <string>
#include <vector>

namespace tavsolve {

/// Sends standard output and standard error to a scratch file while it lives.
class CapturedOutput {
 public:
  CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput();

  /// The lines written so far.
  std::vector<std::string> lines();
  void clear();
  /// Where standard error leads to otherwise.
  int realStderr() const noexcept { return _stderr; }

 private:
  std::FILE* _scratch;
  int _stdout, _stderr;
};

}  // namespace tavsolve
