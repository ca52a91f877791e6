#include <utility>

#include "tests/support/fixture.h"

namespace {

// Which node an operator makes of which operands is held by the random programs; here stand the literal cases.
class Operators : public TavTest {
 protected:
  TavNumVar x = num("x", 2), y = num("y", 3);
  TavIntVar i = integer("i", 2), j = integer("j", 3);
  TavNumExprArg f = namedLeaf("f", 0.5);
  TavIntExprArg g = namedIntLeaf("g", 7);
};

TEST_F(Operators, MakeTheseNodes) {
  constexpr TavInt kMax = std::numeric_limits<TavInt>::max();
  const TavNumExprArg four = TavNumExpr(env, 4.0), integerSum = i + 3, numericSum = x + f;
  const TavIntExprArg five = TavIntExpr(env, 5);
  const std::pair<TavNumExprArg, const char*> kCases[] = {
      // Parts keep their place, a term that comes to a node that is none goes before it.
      {f + x, "1x <f> 0"},
      {(x + f) - (y + g + 2), "1x -1y <f> <TavNumTimesCstI{g * -1}> -2"},
      {f - (y + g + 2), "-1y <TavNumTimesCstI{g * -1}> <f> -2"},
      {(i + g) - (j + 2), "#1i -1j <g> -2"},
      {2.0 * i + f, "2i <f> 0"},
      {f - 2.0 * i, "-2i <f> 0"},
      {2 * i - 3 * x, "2i -3x 0"},
      {numericSum + numericSum, "1x 1x <f> <f> 0"},
      {integerSum - integerSum, "1i -1i 0"},
      // The number's type says whether a sum stays integer.
      {i + 2, "#1i 2"},
      {i + 2.0, "1i 2"},
      {2.0 - i, "-1i 2"},
      {2 * i + 1.5, "2i 1.5"},
      {2.5 * i, "2.5i 0"},
      {2 * x - 3u, "2x -3"},
      {(i + j) * 0, "#0i 0j 0"},
      {(i + j) / 2, "0.5i 0.5j 0"},
      {x / 0, "infx 0"},
      {-(x + y), "-1x -1y -0"},
      {i + kMax + 1, "#1i -9223372036854775808"},
      {g * kMax * 2, "TavIntTimesCstI{g * -2}"},
      // Constants fold on the numeric side alone.
      {f * 2 * 3, "TavNumTimesCstI{f * 6}"},
      {f * 2 / 4, "TavNumDivCstI{f * 2/ 4}"},
      {four * f, "TavNumTimesCstI{f * 4}"},
      {x * four, "4x 0"},
      {five * four, "20"},
      {f * five, "TavNumTimesCstI{f * 5}"},
      {g * five, "TavIntTimesI{g * 5 }"},
      {five * five, "TavIntTimesI{5  * 5 }"},
      {f / four, "TavNumDivI{f / 4 }"},
      {f * 0, "TavNumTimesCstI{f * 0}"}};
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(shape(expression), expected);
  const auto term = 2 * x;
  const auto turned = -term;
  EXPECT_EQ(term.getCoef(), -2.0);  // one cell
  EXPECT_EQ(shape(turned), "-2x 0");
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
