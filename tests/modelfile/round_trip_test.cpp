#include <gtest/gtest.h>

#include "model_text.h"

namespace {

/// Through one format: the model that comes back is the same, and its text too.
void expectRoundTrip(const TavFileModel& model, TavFileFormat format, std::uint64_t seed) {
  TavReadOptions options;
  options.format = format;
  std::string text;
  try {
    text = TavWriteModelText(model, format);
    const TavFileModel back = TavReadModelText(text, "text", options);
    ASSERT_EQ(textOf(back), textOf(model)) << "seed " << seed << "\n" << text;
    ASSERT_EQ(TavWriteModelText(back, format), text) << "seed " << seed;
  } catch (const TavException& error) {
    FAIL() << "seed " << seed << ": " << error.what() << "\n" << text;
  }
}

}  // namespace

TEST(ModelFileRoundTrip, RandomModelsComeBackThroughMpsAndLp) {
  for (std::uint64_t seed = 0; seed < 2000; ++seed) {
    RandomFileModelParts parts;
    expectRoundTrip(randomFileModel(seed, parts), TavFileFormat::Mps, seed);
    parts.infeasibleRows = true;
    expectRoundTrip(randomFileModel(seed, parts), TavFileFormat::Lp, seed);
  }
}
