#include <gtest/gtest.h>

#include "tests/support/random_programs.h"

// A fixed set of seeds; the program tav_random_programs runs any other.
TEST(RandomPrograms, AgreeWithTheModel) {
  for (unsigned seed = 1; seed <= 1500; ++seed) {
    const std::string difference = runRandomProgram(Choices(seed));
    ASSERT_EQ(difference, "") << "seed " << seed;
  }
}
