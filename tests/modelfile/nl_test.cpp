// .nl files and the way between files and expressions: values of random models against an evaluator of the tokens,
// round trips, every class of the library, refusals with their places.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "evaluator/tavevaluator.h"
#include "model_text.h"
#include "modelfile/formats.h"
#include "nl_binary.h"
#include "nl_models.h"
#include "nl_values.h"
#include "tests/support/samples.h"

namespace {

/// Equal to the rounding of compositions; both not numbers; both infinite alike.
void expectSame(const std::vector<double>& expected, const std::vector<double>& got, const std::string& where) {
  ASSERT_EQ(expected.size(), got.size()) << where;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (std::isnan(expected[i]) && std::isnan(got[i])) continue;
    if (expected[i] == got[i]) continue;
    EXPECT_LE(std::fabs(expected[i] - got[i]), 1e-9 * (1.0 + std::fabs(expected[i]))) << where << ", value " << i;
  }
}

TavFileModel readText(const std::string& text) { return TavReadModelText(text, "test.nl"); }

std::string writeText(const TavFileModel& model) { return TavWriteModelText(model, TavFileFormat::Nl); }

/// Through a file and the files of names beside it.
TavFileModel throughFiles(const TavFileModel& model) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("tav_nl_" + std::to_string(::getpid()));
  fs::create_directory(folder);
  const std::string path = (folder / "m.nl").string();
  TavWriteModel(model, path);
  TavFileModel back = TavReadModel(path);
  fs::remove_all(folder);
  return back;
}

struct Built {
  explicit Built(const TavFileModel& file) : contents(TavBuildModel(env, file)) {}
  Built(const Built&) = delete;
  Built& operator=(const Built&) = delete;
  ~Built() { env.end(); }
  TavEnv env;
  TavModelContents contents;
};

/// The derivatives of all rows and objectives at a point, by the names of row and variable.
std::map<std::string, double> derivativesOf(const Built& built, const std::vector<double>& x) {
  const TavModelContents& model = built.contents;
  std::vector<TavNumExprArg> expressions;
  for (const TavModelRow& row : model.rows) expressions.push_back(row.expression);
  for (const TavModelObjective& objective : model.objectives) expressions.push_back(objective.expression);
  TavEvaluator evaluator(built.env, {}, expressions, model.variables, {TavEvaluator::Mode::Exact, 1});
  const auto structure = evaluator.getJacobianStructure();
  std::vector<double> values(structure.size());
  TavEvaluation(evaluator).jacobian(x, values);
  std::map<std::string, double> derivatives;
  for (std::size_t k = 0; k < values.size(); ++k) {
    const auto row = static_cast<std::size_t>(structure[k].row), column = static_cast<std::size_t>(structure[k].column);
    const std::string name = row < model.rows.size() ? model.rows[row].name : "objective";
    derivatives[name + " by " + model.variables[column].getName()] += values[k];
  }
  return derivatives;
}

void expectSame(const std::map<std::string, double>& expected, const std::map<std::string, double>& got,
                const std::string& where) {
  for (const auto& [name, value] : expected) {
    const auto found = got.find(name);
    const double other = found == got.end() ? 0.0 : found->second;
    if (!std::isfinite(value) || !std::isfinite(other)) continue;  // at the edge of a domain compositions differ
    EXPECT_NEAR(value, other, 1e-7 * (1.0 + std::fabs(value))) << where << ": " << name;
  }
}

/// The values of a model at a point of another one with the same names, row by row.
std::vector<double> byName(const TavFileModel& like, const TavFileModel& model, const std::vector<double>& x) {
  const std::vector<double> values = valuesOf(model, reordered(like, x, model));
  std::vector<double> out = values;
  for (std::int32_t i = 0; i < model.rowNames.size(); ++i) {
    const std::int32_t row = like.rowNames.find(model.rowNames[i]);
    out[static_cast<std::size_t>(row)] = values[static_cast<std::size_t>(i)];
  }
  return out;
}

TEST(Nl, RandomModelsKeepTheirValuesThroughBuildAndFiles) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    const std::string where = "seed " + std::to_string(seed);
    const TavFileModel model = randomNlModel(seed, seed % 3 == 0);
    const Built built(model);
    const TavFileModel memory = TavFileModelOf(built.contents);
    const TavFileModel fromFile = throughFiles(model), fromMemory = throughFiles(memory);
    EXPECT_EQ(writeText(fromFile), writeText(throughFiles(fromFile))) << where;
    for (const bool bigEndian : {false, true}) {
      const std::string text = writeText(readText(writeText(fromMemory)));
      EXPECT_EQ(text.substr(1), writeText(readText(binaryOf(text, bigEndian))).substr(1)) << where;
    }
    std::mt19937 random(seed);
    for (int k = 0; k < 5; ++k) {
      const std::vector<double> x = randomPoint(model, random);
      const std::vector<double> expected = valuesOf(model, x);
      expectSame(expected, valuesOf(built.contents, x), where + ", built");
      expectSame(expected, valuesOf(memory, x), where + ", from memory");
      expectSame(expected, byName(model, fromFile, x), where + ", from its file");
      expectSame(expected, byName(model, fromMemory, x), where + ", from the file of memory");
    }
    if (seed % 3 == 0) {  // smooth
      const std::vector<double> x = randomPoint(model, random);
      expectSame(derivativesOf(built, x), derivativesOf(Built(fromMemory), reordered(model, x, fromMemory)), where);
    }
    for (std::int32_t i = 0; i < std::ssize(fromMemory.rows); ++i) {
      const auto at = static_cast<std::size_t>(model.rowNames.find(fromMemory.rowNames[i]));
      if (at >= model.rows.size()) continue;
      EXPECT_EQ(model.rows[at].lower, fromMemory.rows[static_cast<std::size_t>(i)].lower) << where;
      EXPECT_EQ(model.rows[at].upper, fromMemory.rows[static_cast<std::size_t>(i)].upper) << where;
    }
    for (std::int32_t j = 0; j < std::ssize(model.variables); ++j) {
      const TavFileVariable& a = model.variables[static_cast<std::size_t>(j)];
      const auto at = static_cast<std::size_t>(fromMemory.variableNames.find(model.variableNames[j]));
      const TavFileVariable& b = fromMemory.variables[at];
      EXPECT_TRUE(a.kind == b.kind && a.lower == b.lower && a.upper == b.upper) << where << ", variable " << j;
    }
    EXPECT_EQ(model.suffixes.size(), fromFile.suffixes.size()) << where;
    const auto first = static_cast<std::size_t>(fromFile.variableNames.find("v0"));
    EXPECT_EQ(model.start.empty() ? 0.25 : fromFile.start[first], 0.25) << where;
  }
}

/// What the classes cannot say is refused by the class's name.
TEST(Nl, EveryClassGoesThroughAFileOrIsRefusedByName) {
  int kept = 0, refused = 0;
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.library) continue;
    TavEnv env;
    Operands operands(env);
    const TavNumVar x(env, -9, 9, "x"), y(env, -9, 9, "y");
    const TavIntVar i(env, -9, 9, "i"), j(env, 1, 9, "j");
    operands.x = x, operands.y = y, operands.i = i, operands.j = j, operands.v = x, operands.w = i;
    for (const TavNumVar element : {x, y}) operands.X.add(element);
    for (const TavIntVar element : {i, j, i}) operands.I.add(element);
    operands.c = 1.5, operands.d = 0.25, operands.k = 2;
    for (const double c : {0.5, 1.5}) operands.C.add(c), operands.D.add(c), operands.K.add(static_cast<TavInt>(2 * c));
    operands.D.add(-1.0);
    TavExtractableI* node = sample.make(operands);
    if (!node->isType(TavNumExprI::GetTypeInfo())) continue;
    TavModelContents model;
    model.variables = {x, y, i, j};
    model.rows.push_back({TavNumExprArg(static_cast<TavNumExprI*>(node)), 0.0, 1.0, "row"});
    try {
      const TavFileModel file = TavFileModelOf(model);
      const TavFileModel back = throughFiles(file);
      const Built again(back);
      std::mt19937 random(7);
      for (int k = 0; k < 20; ++k) {
        std::vector<double> point;
        for (const double scale : {1.0, 1.0, 0.0, 0.0}) {
          const double value = std::uniform_real_distribution<double>(-4, 4)(random);
          point.push_back(scale > 0 ? value : std::round(value));
        }
        point[2] = 1.0;  // an index and a divisor
        point[3] = 1.0 + std::fabs(point[3]);
        expectSame(valuesOf(model, point), valuesOf(again.contents, reordered(file, point, back)), sample.name);
      }
      ++kept;
    } catch (const TavWrongUsage&) {  // the value of a conversion to an integer that is none
    } catch (const TavFileError& error) {
      EXPECT_NE(std::string(error.what()).find(std::string("row row: ") + node->getRttiTypeName()), std::string::npos)
          << error.what();
      ++refused;
    }
    env.end();
  }
  EXPECT_GE(kept, 54);
  EXPECT_LE(refused, 4);
}

/// A head that fits the lines behind it, which begin in line 11.
std::string nlText(const std::string& lines, const std::string& sizes = "2 1 1 0 0 0",
                   const std::string& coefficients = "0 0") {
  return "g3 1 1 0\n " + sizes + "\n 1 1\n 0 0\n 2 2 2\n 0 0 0 1\n 0 0 0 0 0\n " + coefficients +
         "\n 0 0\n 1 0 0 0 0\n" + lines;
}

TEST(Nl, WhatIsWrongOrCannotBeSaidIsRefusedWithItsPlace) {
  const std::string tail = "r\n1 1\nb\n3\n3\n";
  const struct {
    std::string text;
    const char* message;
  } table[] = {
      {"x3 1 1 0\n", "1:1: not an .nl file: expected g or b"},
      {"g3 1 1 0\n 2 1 1 0 0 0\n", "3:1: the file ends here"},
      {"g3 1 1 0\n 1 -1\n", "2:4: a negative number of items"},
      {nlText("C0\no99\nn1\n" + tail), "12:2: o99 is no operation"},
      {nlText("C0\no56\nv0\nn1\n" + tail), "12:2: the function precision is not supported"},
      {nlText("C0\no65\n" + tail), "12:2: symbols are not supported"},
      {nlText("C0\nf0 1\nv0\n" + tail), "12:1: a call of an imported function"},
      {nlText("F0 0 1 myfun\n" + tail), "11:8: imported functions are not supported: myfun"},
      {nlText("C0\no57\nv0\nv1\n" + tail), "round and trunc to digits that are not a number"},
      {nlText("C0\nv3\n" + tail), "12:2: v3 is neither a variable nor a common expression given before"},
      {nlText("C0\nnan\n" + tail), "12:2: expected a number"},
      {nlText("C0\nn1e999\n" + tail), "12:2: a number beyond the range of doubles"},
      {nlText("C0\no54\n0\n" + tail), "13:1: expected the number of arguments"},
      {nlText("C0\no0\nv0\n"), "14:1: the file ends within an expression"},
      {nlText("C1\nn0\n" + tail), "11:2: constraint 1, expected 0 to 0"},
      {nlText("C0\nn1\nC0\nn1\n" + tail), "constraint 0 is given twice"},
      {nlText("C0\nv0 v1\n" + tail), "12:4: expected the end of the line"},
      {nlText("C0\no64\n2\nn1\nn2\nn3\n" + tail), "17:1: expected an operation, a number or a variable"},
      {nlText("C0\no64\n2\no64\n2\nn1\n" + tail), "14:1: expected a number: a slope or a breakpoint"},
      {nlText("C0\no64\n3\nn1\nn2\nn3\nn2\nn1\nv0\n" + tail), "17:2: expected breakpoints that increase"},
      {nlText("r\n5 1 1\n"), "12:1: complementarity is not supported"},
      {nlText("r\n2 Infinity\n"), "12:3: a lower bound of plus infinity"},
      {nlText("r\n9\n"), "12:1: expected the type of a bound"},
      {nlText(tail + "J0 2\n0 1\n0 2\n"), "variable 0 occurs twice"},
      {nlText(tail + "J0 2\n0 inf\n1 2\n"), "17:3: expected a finite number"},
      {nlText("b\n3\n3\n"), "14:1: the file ends here, expected the constraints' bounds"},
      {nlText(tail), "the file ends here, expected objective 0"},
      {nlText(tail + "O0 0\nn0\nG0 1\n0 1\n", "2 1 1", "1 1"), "the file ends here, expected as many coefficients"},
      {nlText(tail + "O0 0\nn0\nJ0 1\n0 1\n", "2 1 1", "1 1"), "the file ends here, expected as many coefficients"},
      {nlText(tail + "O0 0\nn0\n" + '\0' + "0 2\n"), "18:1: a byte of value 0"},
      {"g2 0 3 inf\n", "1:8: expected a finite number"},
      {nlText("q\n"), "11:1: expected a segment"},
      {nlText(tail, "99999999999 1 1"), "2:2: more than 2^31 - 1 items"},
      {nlText(tail, "1 1 1"), "the numbers of variables of each kind do not fit together"},
      {nlText("S0 1 sosno\n7 1\n" + tail), "12:1: item 7, expected 0 to 1"},
      {nlText("V9 0 0\nn1\n" + tail), "11:2: common expression 9 lies outside"},
  };
  for (const auto& [text, message] : table) {
    try {
      readText(text);
      ADD_FAILURE() << "read, expected " << message << "\n" << text;
    } catch (const TavFileError& error) {
      EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << error.what() << "\nexpected " << message;
    }
  }
}

TEST(Nl, WhatTheFormatCannotSayIsRefusedByName) {
  TavFileModel model = randomNlModel(1, true);
  const auto refusal = [&model] {
    try {
      return writeText(model);
    } catch (const TavFileError& error) {
      return std::string(error.what());
    }
  };
  model.sets = {{"a", 1, {{0, 1.0}}}, {"b", 2, {{0, 1.0}}}};
  EXPECT_EQ(refusal(), "model: variable v0 is in two special ordered sets, which .nl files cannot say");
  model.variables[1].kind = TavFileKind::SemiContinuous;
  EXPECT_EQ(refusal(), "model: variable v1 is semi-continuous, which .nl files cannot say");
  const std::string bound = " has a bound that readers would take for infinite, or that is no number";
  model.variables[0].upper = 1e25;
  EXPECT_EQ(refusal(), "model: variable v0" + bound);
  model.variables[0].upper = std::nan("");
  EXPECT_EQ(refusal(), "model: variable v0" + bound);
  model.variables[0].upper = 1.0;
  model.objectives[0].constant = HUGE_VAL;
  EXPECT_EQ(refusal(), "model: the objective has a constant that is not finite");
}

/// Beside the file stand the names of this model: different ones, or none.
TEST(Nl, NamesBesideAFileAreThoseOfItsModel) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("tav_nl_names_" + std::to_string(::getpid()));
  fs::create_directory(folder);
  const std::string path = (folder / "m.nl").string();
  TavFileModel model = readText(nlText("C0\nn0\nO0 0\nv0\nr\n1 1\nb\n3\n3\n"));
  const auto namesAre = [&](const char* first, const char* second) {
    const TavFileModel back = TavReadModel(path);
    EXPECT_EQ(back.variableNames[0], first);
    EXPECT_EQ(back.variableNames[1], second);
  };
  const TavFileModel nameless = model;
  model.variableNames.append("");
  model.variableNames.append("x1");
  TavWriteModel(model, path);
  namesAre("x1_", "x1");
  TavWriteModel(nameless, path);
  namesAre("", "");
  fs::remove(path);
  for (const char* name : {"a\nb", "a "}) {
    TavFileModel bad = nameless;
    bad.variableNames.append(name);
    EXPECT_THROW(TavWriteModel(bad, path), TavFileError);
    EXPECT_FALSE(fs::exists(path)) << "a file was written although its names were refused";
  }
  fs::remove_all(folder);
}

TEST(Nl, SetsComeBackFromTheirSuffixes) {
  TavFileModel model = randomNlModel(2, true);
  model.sets = {{"a", 1, {{0, 1.0}, {1, 2.5}}}, {"b", 2, {{2, 3.0}}}};
  const TavFileModel back = throughFiles(model);
  ASSERT_EQ(back.sets.size(), 2u);
  for (const TavFileSet& set : back.sets) EXPECT_EQ(set.members.size(), set.type == 1 ? 2u : 1u);
  // Numbers of sets that are not whole, beyond all integers, or the same for both types.
  const TavFileModel odd =
      readText(nlText("S4 2 sosno\n0 1e300\n1 -1e300\nS4 2 ref\n0 1\n1 2\nC0\nn0\nO0 0\nn0\n"
                      "r\n1 1\nb\n3\n3\n"));
  ASSERT_EQ(odd.sets.size(), 2u);
  EXPECT_EQ(odd.sets[0].name, "set1e+300");
  EXPECT_EQ(odd.sets[1].name, "set1e+300_");
}

/// Exact over all points of a grid: at most one member is not zero, or two that are neighbours.
TEST(Nl, SetsAreExpressions) {
  TavEnv env;
  TavModelSet set{"s", 2, {}, {3.0, 1.0, 2.0, 4.0}};
  for (int k = 0; k < 4; ++k) set.members.emplace_back(env, 0.0, 5.0);
  const std::size_t order[] = {1, 2, 0, 3};  // by weight
  for (int type : {1, 2}) {
    set.type = type;
    TavModelContents model;
    model.variables = set.members;
    model.rows.push_back({TavExprOf(set), -TavGetInfinity(), 1.0});
    for (int bits = 0; bits < 16; ++bits) {
      std::vector<double> x(4);
      for (std::size_t k = 0; k < 4; ++k) x[order[k]] = bits >> k & 1 ? 0.5 : 0.0;
      const bool two = type == 2 && (bits == 3 || bits == 6 || bits == 12);
      EXPECT_EQ(valuesOf(model, x)[0] <= 1.0, two || (bits & (bits - 1)) == 0) << type << " " << bits;
    }
  }
  env.end();
}

/// Neither reading, building, writing nor the end of a million nested operations goes down by recursion.
TEST(Nl, AMillionNestedOperationsAreRead) {
  constexpr std::pair<const char*, int> kNests[] = {
      {"o41\n", 1'000'000}, {"o1\nv0\n", 50'000}, {"o2\nn0.5\n", 50'000}, {"o35\no22\nv0\nn0\nn1\n", 50'000}};
  for (const auto& [op, depth] : kNests) {
    std::string lines = "C0\n";
    for (int i = 0; i < depth; ++i) lines += op;
    lines += "v1\nO0 0\nn0\nr\n1 1\nb\n3\n3\n";
    const TavFileModel model = readText(nlText(lines));
    const Built built(model);
    const std::vector<double> x{0.25, 0.75};
    expectSame(valuesOf(model, x), valuesOf(built.contents, x), op);
    EXPECT_EQ(TavFileModelOf(built.contents).rows.size(), 1u);
  }
}

/// Defined variables that are linear leave the rows that use them linear, so that linear solvers take these.
TEST(Nl, LinearCommonExpressionsStayLinear) {
  const std::pair<const char*, bool> rows[] = {
      {"v2\n", true},
      {"o2\nn4\nv2\n", true},
      {"o16\no3\no0\nv2\nv1\nn2\n", true},
      {"o54\n3\nv2\no1\nn1\nv2\no2\nv2\nn0.5\n", true},
      {"o2\nv2\nv0\n", false},
      {"o0\nv2\no44\nv2\n", false},
  };
  for (const auto& [row, linear] : rows) {
    const TavFileModel model =
        readText(nlText(std::string("V2 1 0\n0 2\no0\nn3\no16\nv1\nC0\n") + row + "O0 0\nn0\nr\n1 1\nb\n3\n3\n"));
    const Built built(model);
    const auto* sum = dynamic_cast<const TavNumLinTermI*>(built.contents.rows[0].expression.getImpl());
    EXPECT_EQ(sum && sum->isLinear(), linear) << row;
    const std::vector<double> x{0.25, 0.75};
    expectSame(valuesOf(model, x), valuesOf(built.contents, x), row);
  }
}

TEST(Nl, PublicFilesReadBuildAndComeBack) {
  const std::filesystem::path folder = sharedData() / "nl";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no folder " << folder << " (or TAV_SHARED_DATA)";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const TavFileModel model = TavReadModel(entry.path().string());
    const Built built(model);
    const TavFileModel back = readText(writeText(model));
    EXPECT_EQ(writeText(back), writeText(readText(writeText(back)))) << entry.path();
    std::mt19937 random(3);
    const std::vector<double> x = randomPoint(model, random);
    expectSame(valuesOf(model, x), valuesOf(built.contents, x), entry.path().string());
  }
}

}  // namespace
