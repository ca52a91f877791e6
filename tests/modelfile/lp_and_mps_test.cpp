/// What the text of LP and MPS files means, and where files are refused.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "model_text.h"
#include "same_again.h"

namespace {

/// The model as text; for a file that is refused its place, L:C.
std::string reading(const std::string& text, TavFileFormat format) {
  TavReadOptions options;
  options.format = format;
  try {
    return textOf(TavReadModelText(text, "f", options));
  } catch (const TavFileError& error) {
    const std::string message = error.getMessage();
    EXPECT_TRUE(message.size() < 500 && message.find('\n') == message.npos) << message.size();
    return "refused " + std::to_string(error.place().line) + ':' + std::to_string(error.place().column);
  }
}

struct Row {
  const char* text;
  const char* wanted;
};

/// Of an LP file: a row of a model whose objective is x + y.
std::string lpRow(const char* row) { return "min\nx + y\nst\n" + std::string(row) + "\nend"; }
/// Of an LP file: sections behind one row.
std::string lpSections(const char* sections) {
  return "min\nx + y\nst\nc: x + y >= 1\n" + std::string(sections) + "\nend\n";
}
/// Of an MPS file: what stands behind the columns.
std::string mpsSections(const char* sections) {
  return "NAME\nROWS\n N obj\n L a\n G b\n E c\nCOLUMNS\n x obj 1 a 1\n x b 1 c 1\n M 'MARKER' 'INTORG'\n y a 1\n"
         " M 'MARKER' 'INTEND'\n" +
         std::string(sections) + "\nENDATA\n";
}

constexpr const char* kMps = "vars x y | min obj: 1 x | a: 1 x 1 y ";

}  // namespace

TEST(LpFiles, RowsMeanWhatAlgebraSays) {
  const Row rows[] = {
      {"c: 3x+2 y<=4", "c: 3 x 2 y [-inf,4]"},
      {"x - 1 >= 2", ": 1 x [3,inf]"},
      {"2 x + 3 <= y - 4 + x", ": 1 x -1 y [-inf,-7]"},
      {"4 >= x", ": 1 x [-inf,4]"},
      {"c: 1 <= x + y\n + 2 <= 3", "c: 1 x 1 y [-1,1]"},
      {"3 >= x + y >= 1", ": 1 x 1 y [1,3]"},
      {"x >= -inf", ": 1 x [-inf,inf]"},
      {"end: x =< 1e3 \\ end", "end: 1 x [-inf,1000]"},
      {"x + y <= 5\n-x + y => .5", ": 1 x 1 y [-inf,5] | : -1 x 1 y [0.5,inf]"},
      {"a: x = 5 b: y < 2", "a: 1 x [5,5] | b: 1 y [-inf,2]"},
      {"x + x + y - y = 2", ": 2 x [2,2]"},
      {"x + [ x^2 - 2 x*y + x * x ] <= 1", ": 1 x [-inf,1] | : 2 x*x -2 x*y"},
      {"c: x = 1 -> 0 <= y <= 2", "c: 1 y [0,2] | if x=1 c"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(reading(lpRow(row.text), TavFileFormat::Lp), std::string("vars x y | min : 1 x 1 y | ") + row.wanted)
        << row.text;
  }
}

TEST(LpFiles, ObjectivesAndNames) {
  const Row files[] = {
      {"MAXIMISE\n obj: 3x - 2.5 x_1.y# + 4 + [ x^2 + 4 x*x[1] ] / 2\nSuch That\nEnd",
       "vars x x_1.y# x[1] | max obj: 3 x -2.5 x_1.y# +4 0.5 x*x 2 x*x[1]"},
      {"minimum\nst\nend", "vars | min :"},
      {"\\Problem name: p q\r\nMin\r\n a(b) + 3 e5\r\nSubject To\r\nEnd",
       "vars a(b) e5 | min : 1 a(b) 3 e5 | name p q"},
      {"min a\nst\nfree + bounds >= 2\nend", "vars a free bounds | min : 1 a | : 1 free 1 bounds [2,inf]"},
  };
  for (const Row& file : files) EXPECT_EQ(reading(file.text, TavFileFormat::Lp), file.wanted) << file.text;
}

TEST(LpFiles, Sections) {
  const Row rows[] = {
      {"bounds\n-1 <= x <= 4\ny free", " | x[-1,4] | y[-inf,inf]"},
      {"bound\nx = 3\n-Infinity<=y<=-2", " | x[3,3] | y[-inf,-2]"},
      {"bounds\n4 >= x\nx >= 1\ny <= 1e20", " | x[1,4]"},
      {"gen\nx\nbounds\nx <= 3", " | int x[0,3]"},
      {"int x bin y", " | int x[0,inf] | bin y[0,1]"},
      {"semi-continuous\nx\nbounds\n1 <= x <= 9\ngenerals\nx", " | semi int x[1,9]"},
      {"sos\ns: S2:: x:1 y:2.5\nS1:: y:1", " | sos2 s: x:1 y:2.5 | sos1 : y:1"},
      {"sos1\ns: x:1\n y:2", " | sos1 s: x:1 y:2"},
      {"sos\ns2::S2:: x:1", " | sos2 : | sos2 : x:1"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(reading(lpSections(row.text), TavFileFormat::Lp),
              std::string("vars x y | min : 1 x 1 y | c: 1 x 1 y [1,inf]") + row.wanted)
        << row.text;
  }
}

TEST(LpFiles, AreRefusedWhereTheyAreInDoubt) {
  const Row rows[] = {
      {"- - 2x >= 1", "4:3"},
      {"x >= 1e400", "4:6"},
      {"nan + x >= 1", "4:1"},
      {"2 inf x >= 1", "4:3"},
      {"x >= inf", "5:1"},
      {"1 <= x >= 2", "4:10"},
      {"x >= y >= 2", "4:10"},
      {"x = 1e-400", "4:5"},
      {"2 (x + y) >= 1", "4:3"},
      {"x[1 >= 2", "4:1"},
      {"3 [ x^2 ] >= 1", "4:3"},
      {"[ x^2 ] / 2 >= 1", "4:9"},
      {"[ x^3 ] >= 1", "4:5"},
      {"x y >= 1", "4:3"},
      {"a: x >= 1\na: y >= 1", "5:1"},
      {"x + 1e308 + 1e308 >= 1", "4:19"},
      {"x >= 1 \x01", "4:8"},
      {"bounds\nz <= 1", "5:1"},
      {"bounds\nx <= -1", "5:6"},
      {"bounds\nx <= 1\nx <= 2", "6:6"},
      {"bounds\nx >= 1e20", "5:6"},
      {"gen\nz", "5:1"},
      {"lazy constraints", "4:1"},
      {"end\nx", "5:1"},
      {"general\nx y end", "6:1"},
      {"x == 1", "4:4"},
      {"sos\ns: x:1", "5:4"},
      {"c: x = 2 -> y >= 1", "4:10"},
      {"3 inf >= x", "4:3"},
      {"x + inf >= 1", "4:5"},
      {"1e308 x + 1e308 x >= 1\nd: y >= 1", "4:1"},
      {"x <= -inf", "5:1"},
      {"inf <= inf", "5:1"},
      {"1 <= x <= y", "5:1"},
      {"1 <= inf + x", "4:12"},
      {"[ x y ] <= 1", "4:5"},
      {"[ x^2 y^2 ] <= 1", "4:7"},
      {"x >= 1\nx", "6:1"},
      {"1 <= inf <= 2", "5:1"},
      {"bounds\nx >= 1\nx >= 2", "6:6"},
      {"bounds\nx <= -1e30", "5:6"},
      {"bounds\nx fre", "5:3"},
      {"bounds\n1 <= x >= 0", "5:10"},
      {"bounds\n1 x", "5:3"},
      {"sos\ns: S3:: x:1", "5:4"},
      {"sos\ns: S1:: x:1 x:2", "5:13"},
      {"sos\ns: S1:: x:1\ns: S1:: y:1", "6:1"},
      {"sos1\ns x:1", "5:3"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(reading(lpRow(row.text), TavFileFormat::Lp), std::string("refused ") + row.wanted) << row.text;
  EXPECT_EQ(reading("min\nx\nst\nx >= 1\n", TavFileFormat::Lp), "refused 5:1") << "no End: the file may be cut off";
  EXPECT_EQ(reading("min x [ x^2 ]\nst\nend", TavFileFormat::Lp), "refused 1:7");
  // A line longer than the blocks in which files are read.
  const std::string blanks(1'000'000, ' ');
  EXPECT_EQ(reading("min\nx\nst\nx >= 1\n" + blanks + "y >= 1" + blanks + "x == 1\n", TavFileFormat::Lp),
            "refused 5:2000010");
  EXPECT_EQ(reading("min\nx" + std::string(1'000'000, '[') + "\nst\nend", TavFileFormat::Lp), "refused 2:1");
}

TEST(MpsFiles, Sections) {
  const Row rows[] = {
      {"", "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | int y[0,1]"},
      {"RHS\n R a 4 b 1\n R c 3\nRANGES\n N a -2 b 2\n N c -1", "[2,4] | b: 1 x [1,3] | c: 1 x [2,3] | int y[0,1]"},
      {"RANGES\n c 5\nRHS\n c 3 obj -7", "[-inf,0] | b: 1 x [0,inf] | c: 1 x [3,8] | int y[0,1]"},
      {"BOUNDS\n UP B x -4\n PL B y", "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | x[-inf,-4] | int y[0,inf]"},
      {"BOUNDS\n LO x 1d1\n UI x 2.5D1 $ note\n BV y",
       "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | int x[10,25] | bin y[0,1]"},
      {"BOUNDS\n SC B x 1e30\n LO B x 2\n SI B y 8",
       "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | semi x[2,inf] | semi int y[0,8]"},
      {"BOUNDS\n FR x\n FX B y 3", "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | x[-inf,inf] | int y[3,3]"},
      {"QCMATRIX a\n x y 2\n y x 2\n x x 3", "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | a: 4 x*y 3 x*x | int y[0,1]"},
      {"QSECTION a\n x x 3\n x y 2", "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | a: 1.5 x*x 2 x*y | int y[0,1]"},
      {"SOS\n S1 SOS s 5\n SOS x 1\n y 2\nINDICATORS\n IF b y 0",
       "[-inf,0] | b: 1 x [0,inf] | c: 1 x [0,0] | int y[0,1] | if y=0 b | sos1 s: x:1 y:2"},
  };
  for (const Row& row : rows) {
    std::string wanted = std::string(kMps) + row.wanted;
    if (std::string(row.text).find("obj -7") != std::string::npos) wanted.replace(wanted.find("1 x |"), 5, "1 x +7 |");
    EXPECT_EQ(reading(mpsSections(row.text), TavFileFormat::Mps), wanted) << row.text;
  }
}

TEST(MpsFiles, MatricesOfTheObjectiveMeanTheSameAsInLpFiles) {
  const std::string wanted = reading("min o: x + y + [ 3 x^2 + 4 x * y ] / 2\nst\nend", TavFileFormat::Lp);
  for (const std::string matrix :
       {"QUADOBJ\n x x 3\n x y 2", "QMATRIX\n x x 3\n x y 2\n y x 2", "QSECTION o\n x x 3\n y x 2"}) {
    EXPECT_EQ(reading("ROWS\n N o\nCOLUMNS\n x o 1\n y o 1\n" + matrix + "\nENDATA", TavFileFormat::Mps), wanted)
        << matrix;
  }
}

TEST(MpsFiles, FixedAndFreeFormatAreToldApart) {
  const Row files[] = {
      {"NAME          B\nROWS\n N  COST\n G  R 1\nCOLUMNS\n    X Y       COST               1.0   R 1                "
       "2.0\nRHS\n"
       "    RHS       R 1                4.0\nENDATA\n",
       "vars X Y | min COST: 1 X Y | R 1: 2 X Y [4,inf] | name B"},
      {"NAME T free\nOBJSENSE\n MAX\nROWS\n N obj $c\n N *f\n G c *c\nCOLUMNS\n x obj 1 *f 2 $ c\nENDATA",
       "vars x | max obj: 1 x | *f: 2 x [-inf,inf] | c: [0,inf] | name T"},
      {"ROWS\n N  O\n E  A\nCOLUMNS\n    X Y 1     A         1\nENDATA", "refused 5:5"},
      {"ROWS\n N  O\n E  A\n E  B\nCOLUMNS\n    X         A                  1.    B                  2.\n"
       "    Y Z       A                  3.\nENDATA",
       "vars X Y Z | min O: | A: 1 X 3 Y Z [0,0] | B: 2 X [0,0]"},
  };
  for (const Row& file : files) EXPECT_EQ(reading(file.text, TavFileFormat::Mps), file.wanted) << file.text;
}

TEST(MpsFiles, AreRefusedWhereTheyAreInDoubt) {
  const Row rows[] = {
      {"RHS\n R a 1\n S b 1", "15:2"},
      {"RHS\n a 1\n a 1", "15:2"},
      {"RHS\n b 1e30", "14:4"},
      {"RHS\n c nan", "14:4"},
      {"RANGES\n obj 1", "14:2"},
      {"BOUNDS\n UP x", "14:6"},
      {"BOUNDS\n XX x 1", "14:2"},
      {"BOUNDS\n UP x 1\n UP x 2", "15:7"},
      {"BOUNDS\n UP x 1\n PL x", "15:1"},
      {"BOUNDS\n LO x 1e20", "14:7"},
      {"QMATRIX\n x y 1", "14:2"},
      {"CSECTION", "13:1"},
      {"RHS\nRHS", "14:1"},
      {"COLUMNS", "13:1"},
      {"BOUNDS\n UP B z 1", "14:7"},
      {"INDICATORS\n IF a y 2", "14:9"},
      {"SOS\n x 1", "14:2"},
      {"BOUNDS\n SC x -1", "14:7"},
      {"QUADOBJ\n x x 1e999", "14:6"},
      {"RHS\n zz 1", "14:2"},
      {"ENDATA\nx", "14:1"},
      {"RHS all", "13:5"},
      {"QCMATRIX obj", "13:10"},
      {"QSECTION a\n x x 1\nQSECTION a", "15:10"},
      {"QUADOBJ\n x x", "14:2"},
      {"QMATRIX\n x x", "14:2"},
      {"BOUNDS\n UP", "14:2"},
      {"BOUNDS\n LO x 1\n LO x 2", "15:7"},
      {"BOUNDS\n UP x -1e30", "14:7"},
      {"BOUNDS\n SC x 5\n LO x -1", "16:1"},
      {"BOUNDS\n BV x\n UP x 4", "16:1"},
      {"SOS\n S1", "14:2"},
      {"SOS\n S1 s\n S2 s", "15:5"},
      {"SOS\n S1 s\n x 1\n x 2", "16:2"},
      {"INDICATORS\n IF obj y 1", "14:5"},
      {"INDICATORS\n IF a y 1\n IF a x 0", "15:5"},
      {"INDICATORS\n a y 1", "14:2"},
      {"RHS\n a", "14:2"},
      {"RHS\n a 1 b", "14:4"},
      {"RANGES\n a 1\n a 2", "15:2"},
      {"RHS\n a inf\nRANGES\n a 1", "17:1"},
      {"COLUMNS x", "13:1"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(reading(mpsSections(row.text), TavFileFormat::Mps), std::string("refused ") + row.wanted) << row.text;
  const Row files[] = {
      {"ROWS\n N o\n E a\nCOLUMNS\n x a 1 a 2\nENDATA", "5:8"},
      {"ROWS\n N o\n E a\nCOLUMNS\n x a 1\n y a 1\n x o 1\nENDATA", "7:2"},
      {"ROWS\n N o\n E a\n E b\nCOLUMNS\n x b 1 a 2\n y b 1 a 2\n y b 3\nENDATA", "8:4"},
      {"ROWS\n N o\n E r2\n E r3\n E r4\nCOLUMNS\n x r3 1 r2 0\n x r4 1 r2 1\nENDATA", "8:9"},
      {"ROWS\n N o\n E a\n L a\nENDATA", "4:4"},
      {"ROWS\n N o\nCOLUMNS\n x q 1\nENDATA", "4:4"},
      {"ROWS\n N o\nCOLUMNS\n x o 1\n x o 2\n", "5:4"},
      {"ROWS\n N o\n E a\nCOLUMNS\n x a 1\n y q 1\nENDATA", "6:4"},
      {"ROWS\n N o\n E a\nCOLUMNS\n x a 1\r a 2\nENDATA", "5:7"},
      {"ROWS\n N o\n E a\nCOLUMNS\n x a 1 o 1e999\nENDATA", "5:10"},
      {"ROWS\n N o\nCOLUMNS\n x o 1\n", "5:1"},
      {"", "1:1"},
      {" x 1\n", "1:2"},
      {"ROWS\n Q a\nENDATA", "2:2"},
      {"ROWS\n N\nENDATA", "2:2"},
      {"COLUMNS\nENDATA", "1:1"},
      {"ROWS\nBOUNDS\nENDATA", "2:1"},
      {"OBJSENSE\n MAXI\nROWS\nENDATA", "2:2"},
      {"OBJSENSE MAX\n MIN", "2:2"},
      {"ROWS\n N o\nOBJNAME o\nENDATA", "3:1"},
      {"OBJNAME\n a\n b\nENDATA", "3:2"},
      {"OBJNAME q\nROWS\n N o\nCOLUMNS\nENDATA", "4:1"},
      {"ROWS\n N o\nCOLUMNS\n M 'MARKER' 'INTEND'\nENDATA", "4:13"},
      {"ROWS\n N o\nCOLUMNS\n M 'MARKER' 'INTORG' $ x\n M 'MARKER' 'INTEND' x o 1\nENDATA", "5:22"},
      {"ROWS\n N o\nCOLUMNS\n M 'MARKER' 'INTORG'\n x o 1\nENDATA", "6:1"},
      {"ROWS\n N o\nCOLUMNS\n x o\nENDATA", "4:2"},
      {"ROWS\n N o\n N o\nENDATA", "3:4"},
      {"ROWS\n E a\nNAME\n x\nENDATA", "4:2"},
  };
  for (const Row& file : files)
    EXPECT_EQ(reading(file.text, TavFileFormat::Mps), std::string("refused ") + file.wanted) << file.text;
}

TEST(ModelFiles, FilesOfTheSharedFolderAreAcceptedOrRefusedAsTheyShould) {
  const std::filesystem::path folder = sharedData();
  if (!std::filesystem::exists(folder / "models")) GTEST_SKIP() << "no folder " << folder << " (or TAV_SHARED_DATA)";
  const std::string refused =
      " 1448.lp 1449a.lp garbage.lp nan0.mps nan1.mps abort-bound-1e100.mps abort-cost-inf.lp abort-osi1200.lp "
      "abort-sc-ub-below-threshold.lp hang-1082.lp hang-2962.lp rhsbig.mps ";
  for (const char* part : {"models", "malformed"}) {
    for (const auto& entry : std::filesystem::directory_iterator(folder / part)) {
      const std::string name = entry.path().filename().string();
      const bool wanted = refused.find(' ' + name + ' ') == std::string::npos;
      EXPECT_EQ(reading((std::ostringstream() << std::ifstream(entry.path()).rdbuf()).str(),
                        name.ends_with(".mps") ? TavFileFormat::Mps : TavFileFormat::Lp)
                        .rfind("refused", 0) != 0,
                wanted)
          << name;
      if (wanted) {
        const std::string bytes = (std::ostringstream() << std::ifstream(entry.path()).rdbuf()).str();
        EXPECT_EQ(wrongWith(bytes, name.ends_with(".mps") ? TavFileFormat::Mps : TavFileFormat::Lp), "") << name;
      }
    }
  }
}
