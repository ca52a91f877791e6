/// tav_random_programs [--seeds N] [--first S]: runs N random programs, from seed S on, and names the first one that
/// differs from the model.

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "tests/support/random_programs.h"

int main(int argc, char** argv) {
  unsigned first = 1, seeds = 10000;
  for (int i = 1; i + 1 < argc; i += 2) {
    const auto value = static_cast<unsigned>(std::strtoul(argv[i + 1], nullptr, 10));
    if (std::strcmp(argv[i], "--seeds") == 0) seeds = value;
    if (std::strcmp(argv[i], "--first") == 0) first = value;
  }
  for (unsigned seed = first; seed < first + seeds; ++seed) {
    const std::string difference = runRandomProgram(Choices(seed));
    if (!difference.empty()) {
      std::cout << "seed " << seed << ": " << difference << "\n";
      return 1;
    }
  }
  std::cout << seeds << " programs from seed " << first << " on agree with the model\n";
}
