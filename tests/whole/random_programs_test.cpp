#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "tests/support/random_programs.h"

namespace {

std::string firstDifference(unsigned first, unsigned last) {
  for (unsigned seed = first; seed <= last; ++seed) {
    if (std::string difference = runRandomProgram(Choices(seed)); !difference.empty()) {
      return "seed " + std::to_string(seed) + ": " + difference;
    }
  }
  return "";
}

// Runs 1500 programs, or the number in the environment variable TAV_SEEDS.
TEST(RandomPrograms, AgreeWithTheModel) {
  const char* seeds = std::getenv("TAV_SEEDS");
  EXPECT_EQ(firstDifference(1, seeds ? static_cast<unsigned>(std::strtoul(seeds, nullptr, 10)) : 1500), "");
}

TEST(RandomPrograms, OfDifferentEnvironmentsNeverMeetOnDifferentThreads) {
  std::vector<std::string> differences(8);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < differences.size(); ++i) {
    threads.emplace_back(
        [&difference = differences[i], i] { difference = firstDifference(2000 + 50 * i, 2049 + 50 * i); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& difference : differences) EXPECT_EQ(difference, "");
}

// Programs found by fuzzing that cover code which others do not; scripts/fuzz searches for more.
TEST(RandomPrograms, OfTheCorpusAgreeWithTheModel) {
  std::size_t programs = 0;
  for (const auto& file : std::filesystem::directory_iterator(TAV_SOURCE_DIR "/tests/fuzz/corpus/programs")) {
    std::ifstream in(file.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    ASSERT_EQ(runRandomProgram(Choices(bytes)), "") << file.path();
    ++programs;
  }
  EXPECT_GT(programs, 0U);
}

}  // namespace
