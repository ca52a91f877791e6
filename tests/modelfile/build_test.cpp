// Between file models and expressions: nothing of a random model is lost, and its texts are the same after a file.

#include <gtest/gtest.h>

#include <sstream>

#include "expression/nodes.h"
#include "model_text.h"
#include "modelfile/build.h"

namespace {

/// The texts of all expressions and variables of a model in memory.
std::string displayOf(const TavModelContents& model) {
  std::ostringstream text;
  text.precision(17);
  for (const TavModelRow& row : model.rows)
    text << row.name << ": " << row.lower << " " << row.expression << " " << row.upper << "\n";
  for (const TavModelObjective& objective : model.objectives)
    text << objective.maximise << objective.expression << "\n";
  for (const TavNumVar variable : model.variables) text << variable << "\n";
  return text.str();
}

}  // namespace

TEST(ModelFileBuild, RandomModelsComeBackFromMemoryAndFromTheirFiles) {
  for (std::uint64_t seed = 0; seed < 500; ++seed) {
    TavFileModel model = randomFileModel(seed, {});
    for (TavFileVariable& variable : model.variables) {  // the same to the library
      const bool bit = variable.kind == TavFileKind::Integer && variable.lower >= 0.0 && variable.upper <= 1.0;
      if (bit) variable.kind = TavFileKind::Binary;
    }
    TavEnv env;
    const TavModelContents built = TavBuildModel(env, model);
    const TavFileModel back = TavFileModelOf(built, TavProductsIn::Products);
    EXPECT_EQ(textOf(back), textOf(model)) << "seed " << seed;
    for (const TavFileFormat format : {TavFileFormat::Mps, TavFileFormat::Lp}) {
      TavReadOptions options;
      options.format = format;
      TavEnv other;
      const TavFileModel again = TavReadModelText(TavWriteModelText(back, format), "text", options);
      EXPECT_EQ(displayOf(TavBuildModel(other, again)), displayOf(built)) << "seed " << seed;
      other.end();
    }
    env.end();
  }
}

TEST(ModelFileBuild, RowsThatHaveBeenUsedGiveTheirMemoryBackAndLeaveTheOthers) {
  constexpr std::int32_t kRows = 40 * 1024, kEntries = 20;
  TavFileModel model;
  for (std::int32_t i = 0; i < kRows; ++i) {
    for (std::int32_t k = 0; k < kEntries; ++k) {
      model.linearVariable.push_back(i);
      model.linearValue.push_back(i);
    }
    model.linearBegin.push_back(model.linearValue.size());
  }
  for (std::int32_t i = 0; i < kRows; ++i) {
    model.discardRowsBefore(i);
    for (auto k = model.linearBegin[i]; k < model.linearBegin[i + 1]; ++k) {
      ASSERT_EQ(model.linearVariable[k], i);
      ASSERT_EQ(model.linearValue[k], i);
    }
  }
#ifdef __linux__
  EXPECT_EQ(model.linearValue[kEntries], 0.0) << "pages that are read again are new ones";
#endif
}

TEST(ModelFileBuild, ConstantsOfRowsMoveIntoTheirBounds) {
  TavEnv env;
  TavModelContents model;
  const TavNumVar x(env, 0.0, 10.0, "x");
  const TavExpr sum = x + 3;
  model.variables = {x};
  model.rows = {{sum, 1.0, 5.0, "r"}};
  const TavFileModel file = TavFileModelOf(model);
  EXPECT_EQ(file.rows[0].lower, -2.0);
  EXPECT_EQ(file.rows[0].upper, 2.0);
  env.end();
}
