/// libFuzzer's entry: every sequence of bytes is a random program, which must agree with the model.

#include <cstdlib>
#include <iostream>

#include "tests/support/random_programs.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string difference = runRandomProgram(Choices({data, size}));
  if (difference.empty()) return 0;
  std::cerr << difference << std::endl;
  std::abort();
}
