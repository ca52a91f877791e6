#include <utility>

#include "tests/support/fixture.h"

namespace {

/// Operands of every kind, uncounted or held by a handle, made afresh for each combination.
class Operators : public TavTest {
 protected:
  enum Kind { kVariable, kNumLinear, kIntLinear, kOther };
  /// The operand of a kind for the left (0) or right (1) side.
  TavNumExprArg numeric(int kind, int side) {
    switch (kind) {
      case kVariable:
        return side ? y : x;
      case kNumLinear:
        return side ? 5 * z + f[1] + 7.0 : 4 * z + f[0] + 6.0;
      case kIntLinear:
        return whole(kIntLinear, side);
      default:
        return f[side];
    }
  }
  /// kNumLinear stands for no integer operand.
  TavIntExprArg whole(int kind, int side) {
    if (kind == kVariable) return side ? j : i;
    if (kind == kIntLinear) return side ? 3 * k + g[1] + 9 : 2 * k + g[0] + 8;
    return g[side];
  }

  TavNumVar x = num("x", 2), y = num("y", 3), z = num("z", 5);
  TavIntVar i = integer("i", 2), j = integer("j", 3), k = integer("k", 5);
  TavNumExprArg f[2] = {namedLeaf("f", 0.5), namedLeaf("h", 0.25)};
  TavIntExprArg g[2] = {namedIntLeaf("g", 7), namedIntLeaf("l", 11)};
};

TEST_F(Operators, SumsOfNumericOperandsFollowTheTable) {
  const char* const kShapes[4][4] = {{"1x 1y 0", "1x 5z <h> 7", "1x 3k <l> 9", "1x <h> 0"},
                                     {"4z 1y <f> 6", "4z 5z <f> <h> 13", "4z 3k <f> <l> 15", "4z <f> <h> 6"},
                                     {"2k 1y <g> 8", "2k 5z <g> <h> 15", "2k 3k <g> <l> 17", "2k <g> <h> 8"},
                                     {"1y <f> 0", "5z <h> <f> 7", "3k <l> <f> 9", "<f> <h> 0"}};
  for (int a = 0; a < 4; ++a) {
    for (int b = 0; b < 4; ++b) {
      SCOPED_TRACE(kShapes[a][b]);
      const TavNumExprArg left = numeric(a, 0), right = numeric(b, 1);
      const TavNumExprI* const inPlace = a == kNumLinear                      ? left.getImpl()
                                         : b == kNumLinear && a != kIntLinear ? right.getImpl()
                                                                              : nullptr;
      const TavInt objects = env.getImpl()->liveObjectCount();
      const TavNumExprArg sum = left + right;
      EXPECT_EQ(shape(sum), kShapes[a][b]);
      EXPECT_EQ(sum.getImpl()->getRefCount(), 0);
      if (inPlace) {
        EXPECT_EQ(sum.getImpl(), inPlace);
      }
      // Two linear nodes become one: a merged-in temporary is gone, and so is the conversion of an integer one.
      const int merged = a == kNumLinear && b == kNumLinear, fresh = !inPlace && !(a == kIntLinear && b == kNumLinear);
      EXPECT_EQ(env.getImpl()->liveObjectCount(), objects + fresh - merged);

      const TavNumExpr heldLeft(numeric(a, 0)), heldRight(numeric(b, 1));  // counted operands stay as they are
      const std::string before = shape(heldLeft) + "|" + shape(heldRight);
      const TavNumExprArg copied = TavNumExprArg(heldLeft) + heldRight;
      EXPECT_EQ(shape(copied), kShapes[a][b]);
      EXPECT_EQ(shape(heldLeft) + "|" + shape(heldRight), before);
      EXPECT_TRUE(copied.getImpl() != heldLeft.getImpl() && copied.getImpl() != heldRight.getImpl());
    }
  }
}

TEST_F(Operators, DifferencesNegateTheRightOperandOnly) {
  const char* const kShapes[4][4] = {{"1x -1y 0", "1x -5z <TavNumTimesCstI{h * -1}> -7",
                                      "1x -3k <TavNumTimesCstI{l * -1}> -9", "1x <TavNumTimesCstI{h * -1}> 0"},
                                     {"4z -1y <f> 6", "4z -5z <f> <TavNumTimesCstI{h * -1}> -1",
                                      "4z -3k <f> <TavNumTimesCstI{l * -1}> -3", "4z <f> <TavNumTimesCstI{h * -1}> 6"},
                                     {"2k -1y <g> 8", "2k -5z <g> <TavNumTimesCstI{h * -1}> 1",
                                      "2k -3k <g> <TavNumTimesCstI{l * -1}> -1", "2k <g> <TavNumTimesCstI{h * -1}> 8"},
                                     {"-1y <f> 0", "-5z <TavNumTimesCstI{h * -1}> <f> -7",
                                      "-3k <TavNumTimesCstI{l * -1}> <f> -9", "<f> <TavNumTimesCstI{h * -1}> 0"}};
  for (int a = 0; a < 4; ++a) {
    for (int b = 0; b < 4; ++b) {
      EXPECT_EQ(shape(numeric(a, 0) - numeric(b, 1)), kShapes[a][b]) << a << b;
      const TavNumExpr left(numeric(a, 0)), right(numeric(b, 1));
      const std::string before = shape(left) + "|" + shape(right);
      EXPECT_EQ(shape(TavNumExprArg(left) - right), kShapes[a][b]) << a << b;
      EXPECT_EQ(shape(left) + "|" + shape(right), before);
    }
  }
}

TEST_F(Operators, SumsOfIntegerOperandsStayIntegerAndFollowTheSameTable) {
  const int kKinds[] = {kVariable, kIntLinear, kOther};
  const char* const kSums[3][3] = {{"#1i 1j 0", "#1i 3k <l> 9", "#1i <l> 0"},
                                   {"#2k 1j <g> 8", "#2k 3k <g> <l> 17", "#2k <g> <l> 8"},
                                   {"#1j <g> 0", "#3k <l> <g> 9", "#<g> <l> 0"}};
  const char* const kDifferences[3][3] = {
      {"#1i -1j 0", "#1i -3k <TavIntTimesCstI{l * -1}> -9", "#1i <TavIntTimesCstI{l * -1}> 0"},
      {"#2k -1j <g> 8", "#2k -3k <g> <TavIntTimesCstI{l * -1}> -1", "#2k <g> <TavIntTimesCstI{l * -1}> 8"},
      {"#-1j <g> 0", "#-3k <TavIntTimesCstI{l * -1}> <g> -9", "#<g> <TavIntTimesCstI{l * -1}> 0"}};
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      EXPECT_EQ(shape(whole(kKinds[a], 0) + whole(kKinds[b], 1)), kSums[a][b]);
      EXPECT_EQ(shape(whole(kKinds[a], 0) - whole(kKinds[b], 1)), kDifferences[a][b]);
    }
  }
}

TEST_F(Operators, TermsAreTakenAsTheyAre) {
  const char* const kLeft[] = {"1x 2i 0", "4z 2i <f> 6", "2k 2i <g> 8", "2i <f> 0"};
  const char* const kRight[] = {"2i 1y 0", "2i 5z <h> 7", "2i 3k <l> 9", "2i <h> 0"};
  const char* const kLess[] = {"2i -1y 0", "2i -5z <TavNumTimesCstI{h * -1}> -7", "2i -3k <TavNumTimesCstI{l * -1}> -9",
                               "2i <TavNumTimesCstI{h * -1}> 0"};
  const auto minus = [](std::string expected) { return expected.insert(expected.find("2i"), "-"); };
  for (int kind = 0; kind < 4; ++kind) {
    SCOPED_TRACE(kind);
    EXPECT_EQ(shape(numeric(kind, 0) + 2.0 * i), kLeft[kind]);
    EXPECT_EQ(shape(2.0 * i + numeric(kind, 1)), kRight[kind]);
    EXPECT_EQ(shape(numeric(kind, 0) + 2 * i), kLeft[kind]);
    EXPECT_EQ(shape(2 * i + numeric(kind, 1)), kRight[kind]);
    EXPECT_EQ(shape(numeric(kind, 0) - 2.0 * i), minus(kLeft[kind]));
    EXPECT_EQ(shape(numeric(kind, 0) - 2 * i), minus(kLeft[kind]));
    EXPECT_EQ(shape(2.0 * i - numeric(kind, 1)), kLess[kind]);
    EXPECT_EQ(shape(2 * i - numeric(kind, 1)), kLess[kind]);
  }
  EXPECT_EQ(shape(whole(kIntLinear, 0) + 4 * i), "#2k 4i <g> 8");
  EXPECT_EQ(shape(4 * i - whole(kIntLinear, 1)), "#4i -3k <TavIntTimesCstI{l * -1}> -9");
  EXPECT_EQ(shape(2 * x + 3 * y), "2x 3y 0");
  EXPECT_EQ(shape(2 * x - 3 * i), "2x -3i 0");
  EXPECT_EQ(shape(2 * i - 3 * x), "2i -3x 0");
  EXPECT_EQ(shape(2 * i - 3 * j), "#2i -3j 0");
  const auto term = 2 * x;
  const auto turned = -term;
  EXPECT_EQ(term.getCoef(), -2.0);  // one cell
  EXPECT_EQ(shape(turned), "-2x 0");
  EXPECT_EQ(shape(-x), "-1x 0");
  EXPECT_EQ(shape(-i), "#-1i 0");
}

TEST_F(Operators, NumbersKeepOrLeaveTheIntegersByTheirType) {
  const std::pair<TavNumExprArg, const char*> kCases[] = {{x + 2, "1x 2"},
                                                          {2 - x, "-1x 2"},
                                                          {2 * x + 3, "2x 3"},
                                                          {3 - 2 * x, "-2x 3"},
                                                          {2 * x - 3u, "2x -3"},
                                                          {i + 2, "#1i 2"},
                                                          {i + 2.0, "1i 2"},
                                                          {2 - i, "#-1i 2"},
                                                          {2.0 - i, "-1i 2"},
                                                          {2 * i + 1, "#2i 1"},
                                                          {2 * i + 1.5, "2i 1.5"},
                                                          {1 - 2 * i, "#-2i 1"},
                                                          {2.5 * i, "2.5i 0"},
                                                          {f[0] + 1, "<f> 1"},
                                                          {1 - f[0], "<TavNumTimesCstI{f * -1}> 1"},
                                                          {g[0] + 1, "#<g> 1"},
                                                          {g[0] - 1.5, "<g> -1.5"},
                                                          {numeric(kIntLinear, 0) + 0.5, "2k <g> 8.5"},
                                                          {numeric(kNumLinear, 0) + 1, "4z <f> 7"},
                                                          {whole(kIntLinear, 0) - 10, "#2k <g> -2"},
                                                          {x / 2, "0.5x 0"},
                                                          {x / 0, "infx 0"},
                                                          {(x + y) * 0, "0x 0y 0"},
                                                          {(i + j) * 0, "#0i 0j 0"},
                                                          {(i + j) * 0.5, "0.5i 0.5j 0"},
                                                          {(i + j) / 2, "0.5i 0.5j 0"},
                                                          {-(x + y), "-1x -1y -0"},
                                                          {-(i + 1), "#-1i -1"}};
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(shape(expression), expected);
  constexpr TavInt kMax = std::numeric_limits<TavInt>::max();
  EXPECT_EQ(shape(i + kMax + 1), "#1i -9223372036854775808");  // wraps
  EXPECT_EQ(shape(i - std::numeric_limits<TavInt>::min()), "#1i -9223372036854775808");
}

TEST_F(Operators, ProductsFoldConstantsOnTheNumericSideAlone) {
  const TavNumExprArg four = TavNumExpr(env, 4.0);
  const TavIntExprArg five = TavIntExpr(env, 5);
  const std::pair<TavNumExprArg, const char*> kCases[] = {{f[0] * 2 * 3, "TavNumTimesCstI{f * 6}"},
                                                          {g[0] * 2 * 3, "TavIntTimesCstI{g * 6}"},
                                                          {g[0] * 2 * 1.5, "TavNumTimesCstI{g * 3}"},
                                                          {f[0] * 2 / 4, "TavNumDivCstI{f * 2/ 4}"},
                                                          {f[0] / 2 / 4, "TavNumDivCstI{f/ 2/ 4}"},
                                                          {f[0] * four, "TavNumTimesCstI{f * 4}"},
                                                          {four * f[0], "TavNumTimesCstI{f * 4}"},
                                                          {x * four, "4x 0"},
                                                          {four * five, "20"},
                                                          {five * four, "20"},
                                                          {f[0] * five, "TavNumTimesCstI{f * 5}"},
                                                          {g[0] * five, "TavIntTimesI{g * 5 }"},
                                                          {five * five, "TavIntTimesI{5  * 5 }"},
                                                          {f[0] * x, "TavNumTimesI{f * x[0 .. 10] }"},
                                                          {f[0] / four, "TavNumDivI{f / 4 }"},
                                                          {1 / f[0], "TavNumRecDivCstI{1 / f}"},
                                                          {f[0] * 0, "TavNumTimesCstI{f * 0}"},
                                                          {f[0] * 1, "TavNumTimesCstI{f * 1}"},
                                                          {TavDiv(g[0], g[1]), "TavIntDivI{g / l}"},
                                                          {TavDiv(five, 5), "TavIntDivCstI{5  / 5}"},
                                                          {TavDiv(7, g[0]), "TavIntRecDivCstI{7 / g}"},
                                                          {g[0] % g[1], "TavIntModuloI{g % l}"},
                                                          {g[0] % 3, "TavIntModuloCstI{g% 3}"},
                                                          {3 % g[0], "TavIntRecModuloCstI{3 % g}"}};
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(shape(expression), expected);
  EXPECT_EQ(shape(g[0] * std::numeric_limits<TavInt>::max() * 2), "TavIntTimesCstI{g * -2}");
  const TavNumExprArg sum = f[0] + x;
  EXPECT_EQ((sum * 2).getImpl(), sum.getImpl());
  EXPECT_EQ((sum / 2).getImpl(), sum.getImpl());
}

TEST_F(Operators, AnUncountedOperandMayStandOnBothSides) {
  const auto sum = [&] { return x + 2 * y + f[0]; };
  TavNumExprArg a = sum();
  EXPECT_EQ(shape(a + a), "1x 2y 1x 2y <f> <f> 0");
  a = sum();
  EXPECT_EQ(shape(a - a), "1x 2y -1x -2y <f> <TavNumTimesCstI{f * -1}> 0");
  a = f[1];
  EXPECT_EQ(shape(a + a), "<h> <h> 0");
  TavIntExprArg b = i + 3;
  EXPECT_EQ(shape(b + b), "#1i 1i 6");
  b = i + 3;
  EXPECT_EQ(shape(b - b), "#1i -1i 0");
  EXPECT_EQ(shape(x + x), "1x 1x 0");
  EXPECT_EQ(shape(x - x), "1x -1x 0");
  const TavNumExprArg whole = i + 3;  // an integer sum that the numeric side converts twice
  EXPECT_EQ(shape(whole + whole), "1i 1i 6");
  EXPECT_EQ(shape(whole - whole), "1i -1i 0");
}

TEST_F(Operators, OperandsOfTwoEnvironmentsAreRefusedBeforeAnythingChanges) {
  const TavNumVar foreign(other, 0.0, 1.0, "foreign");
  const TavIntVar foreignInt(other, 0, 1, "foreignInt");
  const TavNumExprArg num = x + 1.0, a = foreign;
  const TavIntExprArg whole = i + 1, b = foreignInt;
  const auto t = 2 * foreign;
  const auto u = 2 * foreignInt;
  const auto home = 2 * x;
  const auto homeInt = 2 * i;
  const std::string n = "TavNumExprArg operator ", w = "TavIntExprArg operator ";
  const std::string arg = " const TavNumExprArg", intArg = " const TavIntExprArg", term = " const TavNumLinExprTerm",
                    intTerm = " const TavIntLinExprTerm";
  std::vector<std::pair<std::string, std::function<void()>>> cases = {
      {n + "*" + arg + arg, [&] { num* a; }},
      {n + "*" + arg + arg, [&] { TavNumExprArg(TavNumExpr(env, 4.0)) * a; }},
      {w + "*" + intArg + intArg, [&] { whole* b; }},
      {n + "/" + arg + arg, [&] { num / a; }},
      {w + "%" + intArg + intArg, [&] { whole % b; }}};
  const auto sums = [&cases](const std::string& message, auto left, auto right) {  // a difference has the sum's words
    cases.emplace_back(message, [=] { left + right; });
    cases.emplace_back(message, [=] { left - right; });
  };
  sums(n + "+" + arg + arg, num, a);
  sums(n + "+" + arg + arg, foreign, x);
  sums(n + "+" + arg + term, num, t);
  sums(n + "+" + arg + intTerm, num, u);
  sums(n + "+" + term + arg, t, num);
  sums(n + "+" + intTerm + arg, u, num);
  sums(n + "+" + term + term, home, t);
  sums(n + "+" + intTerm + term, homeInt, t);
  sums(n + "+" + term + intTerm, home, u);
  sums(w + "+" + intArg + intArg, whole, b);
  sums(w + "+" + intArg + intTerm, whole, u);
  sums(w + "+" + intTerm + intArg, u, whole);
  sums(w + "+" + intTerm + intTerm, homeInt, u);
  const TavInt objects = env.getImpl()->liveObjectCount() + 1, foreigners = other.getImpl()->liveObjectCount();
  for (const auto& [message, call] : cases) {
    EXPECT_EQ(messageOf<TavWrongUsage>(call), message + ": mixing mismatch Environments");
  }
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavDiv(whole, b); }), "TavDiv: mixing mismatch Environments");
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
  EXPECT_EQ(other.getImpl()->liveObjectCount(), foreigners);
  EXPECT_EQ(shape(num) + shape(whole), "1x 1#1i 1");
  EXPECT_EQ(t.getCoef() + u.getCoef() + home.getCoef() + homeInt.getCoef(), 8.0);
  EXPECT_THROW(num + TavNumExprArg(), TavEmptyHandleException);
  EXPECT_THROW(TavIntExprArg() + 1, TavEmptyHandleException);
  EXPECT_THROW(2 * TavNumVar(), TavEmptyHandleException);
}

}  // namespace
