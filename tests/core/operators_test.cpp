#include "tests/support/fixture.h"

namespace {

// Which node an operator makes of which operands is held by the random programs; here stand the literal cases.
class Operators : public TavTest {
 protected:
  TavNumVar x = num("x", 2), y = num("y", 3);
  TavIntVar i = integer("i", 2), j = integer("j", 3);
};

TEST_F(Operators, MakeTheseNodes) {
  const TavNumExprArg f = leaf(0.5, "f"), four = TavNumExpr(env, 4.0);
  const TavIntExprArg g = intLeaf(7, "g"), five = TavIntExpr(env, 5);
  const std::pair<TavNumExprArg, const char*> kCases[] = {// The number's type says whether a sum stays integer.
                                                          {i + 2, "#1i 2"},
                                                          {i + 2.0, "1i 2"},
                                                          {2.0 - i, "-1i 2"},
                                                          {-0.0 - x, "-1x 0"},
                                                          {2 * i + 1.5, "2i 1.5"},
                                                          {2 * x - 3u, "2x -3"},
                                                          {(i + j) * 0, "#0i 0j 0"},
                                                          {(i + j) / 2, "0.5i 0.5j 0"},
                                                          {x / 0, "infx 0"},
                                                          {-(x + y), "-1x -1y -0"},
                                                          {i + kMaxInt + 1, "#1i -9223372036854775808"},
                                                          // Constants fold on the numeric side alone.
                                                          {g * kMaxInt * 2, "TavIntTimesCstI{g * -2}"},
                                                          {f * 2 / 4, "TavNumDivCstI{f * 2/ 4}"},
                                                          {x * four, "4x 0"},
                                                          {five * four, "20"},
                                                          {f * five, "TavNumTimesCstI{f * 5}"},
                                                          {g * five, "TavIntTimesI{g * 5 }"},
                                                          {f / four, "TavNumDivI{f / 4 }"},
                                                          {f * 0, "TavNumTimesCstI{f * 0}"}};
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(shape(expression), expected);
  const auto term = 2 * x;
  EXPECT_EQ(shape(-term), "-2x 0");
  EXPECT_EQ(term.getCoef(), -2.0);  // one cell
}

TEST_F(Operators, OperandsOfTwoEnvironmentsAreRefusedBeforeAnythingChanges) {
  const TavNumVar foreign(other, 0.0, 1.0, "foreign");
  const TavIntVar foreignInt(other, 0, 1, "foreignInt");
  TavExpr num(x + 1.0);
  const TavNumExprArg four = TavNumExpr(env, 4.0), a = foreign;
  const TavIntExprArg whole = i + 1, b = foreignInt;
  const auto t = 2 * foreign, home = 2 * x;
  const auto u = 2 * foreignInt, homeInt = 2 * i;
  const std::string arg = " const TavNumExprArg", intArg = " const TavIntExprArg", term = " const TavNumLinExprTerm",
                    intTerm = " const TavIntLinExprTerm", mixed = ": mixing mismatch Environments";
  const auto sums = [&](const std::string& operands, auto left, auto right) {  // a difference has the sum's words
    const std::string kind = operands.find("Num") != operands.npos ? "TavNumExprArg" : "TavIntExprArg";
    refuses<TavWrongUsage>(kind + " operator +" + operands + mixed, {[=] { left + right; }, [=] { left - right; }});
  };
  sums(arg + arg, num, a);
  sums(arg + arg, foreign, x);
  sums(arg + term, num, t);
  sums(arg + intTerm, num, u);
  sums(term + arg, t, num);
  sums(intTerm + arg, u, num);
  sums(term + term, home, t);
  sums(intTerm + term, homeInt, t);
  sums(term + intTerm, home, u);
  sums(intArg + intArg, whole, b);
  sums(intArg + intTerm, whole, u);
  sums(intTerm + intArg, u, whole);
  sums(intTerm + intTerm, homeInt, u);
  refuses<TavWrongUsage>("TavNumExprArg operator *" + arg + arg + mixed, {[&] { num* a; }, [&] { four* a; }});
  refuses<TavWrongUsage>("TavIntExprArg operator *" + intArg + intArg + mixed, {[&] { whole* b; }});
  refuses<TavWrongUsage>("TavNumExprArg operator /" + arg + arg + mixed, {[&] { num / a; }});
  refuses<TavWrongUsage>("TavIntExprArg operator %" + intArg + intArg + mixed, {[&] { whole % b; }});
  refuses<TavWrongUsage>("TavDiv" + mixed, {[&] { TavDiv(whole, b); }});
  EXPECT_EQ(shape(num) + shape(whole), "1x 1#1i 1");
  EXPECT_EQ(t.getCoef() + u.getCoef() + home.getCoef() + homeInt.getCoef(), 8.0);
  refusesEmpty({[&] { num + TavNumExprArg(); }, [] { TavIntExprArg() + 1; }, [] { 2 * TavNumVar(); }});
  const TavNumLinExprTerm noTerm;
  const TavIntLinExprTerm noIntTerm;
  refusesEmpty({[=] { -noTerm; }, [=] { -noIntTerm; }, [=] { noTerm + 1; }, [=] { 1 - noIntTerm; }, [=] { 2 * noTerm; },
                [&] { x - noTerm; }, [&] { i + noIntTerm; }, [&] { num += noIntTerm; }, [=] { TavIntExpr{noIntTerm}; },
                [=] { noTerm + noIntTerm; }});
}

}  // namespace
