#include "tests/support/fixture.h"

using Modulo = TavTest;

TEST_F(Modulo, TheRemainderHasTheDividendsSignAndOperandsAreCutFirst) {
  const auto w = [&](double v) { return intLeaf(v); };
  constexpr double kBig = 9223372036854775807.0;
  const std::pair<TavIntExprArg, double> kCases[] = {
      {w(7) % w(3), 1},  {w(-7) % w(3), -1}, {w(7) % w(-3), 1}, {w(-7) % w(-3), -1}, {w(7.9) % w(3.2), 1},
      {w(-7.9) % 4, -3}, {20 % w(-6.5), 2},  {-20 % w(6), -2},  {w(kBig) % 10, 7},   {w(kNaN) % 5, 0}};
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(eval(expression), expected) << plain(expression);
}

TEST_F(Modulo, TextsHaveBlanksOfTheirOwn) {
  const TavIntExprArg w = intLeaf(1);
  EXPECT_EQ(plain(w % w) + ", " + plain(w % 4) + ", " + plain(4 % w), "ileaf % ileaf, ileaf% 4, 4 % ileaf");
  EXPECT_EQ(library(w % w) + ", " + library(w % 4) + ", " + library(4 % w),
            "( ileaf% ileaf) , ( ileaf% 4) , (4% ileaf)");
}
