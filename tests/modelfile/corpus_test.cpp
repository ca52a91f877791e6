// What fuzzing starts from and has found; scripts/fuzz looks for more.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "same_again.h"

TEST(ModelFileCorpus, IsReadAndComesBackAsTheFuzzersDemand) {
  using enum TavFileFormat;
  for (const auto& [folder, format] : {std::pair{"mps", Mps}, {"lp", Lp}, {"nl", Nl}}) {
    int models = 0;
    for (const auto& file :
         std::filesystem::directory_iterator(TAV_SOURCE_DIR "/tests/fuzz/corpus/" + std::string(folder))) {
      const std::string bytes = (std::ostringstream() << std::ifstream(file.path()).rdbuf()).str();
      EXPECT_EQ(wrongWith(bytes, format), "") << file.path();
      if (!file.path().has_extension()) continue;  // found by fuzzing, and may be refused
      EXPECT_NO_THROW(TavReadModel(file.path().string())) << file.path();
      ++models;
    }
    EXPECT_GE(models, 3) << folder;
  }
}
