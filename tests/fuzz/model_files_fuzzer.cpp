/// libFuzzer's entry, compiled once per format: readers accept or refuse every sequence of bytes, and what they accept
/// is the same model after writing and reading.

#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "tests/modelfile/same_again.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string wrong = wrongWith({reinterpret_cast<const char*>(data), size}, TavFileFormat::TAV_FUZZ_FORMAT);
  if (wrong.empty()) return 0;
  std::cerr << wrong << std::endl;
  std::abort();
}
