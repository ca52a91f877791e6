#include "tests/support/fixture.h"

namespace {

using Modulo = TavTest;

TEST_F(Modulo, TheRemainderHasTheDividendsSignAndOperandsAreCutFirst) {
  const auto w = [&](double v) { return intLeaf(v); };
  constexpr double kBig = 9223372036854775807.0;
  const std::pair<TavIntExprArg, double> kCases[] = {{w(7) % w(3), 1},    {w(-7) % w(3), -1},   {w(7) % w(-3), 1},
                                                     {w(-7) % w(-3), -1}, {w(7.9) % w(3.2), 1}, {w(7) % 4, 3},
                                                     {w(-7.9) % 4, -3},   {20 % w(-6.5), 2},    {-20 % w(6), -2},
                                                     {w(kBig) % 10, 7},   {w(kNaN) % 5, 0}};
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(eval(expression), expected) << plain(expression);
}

TEST_F(Modulo, TextsDifferByClassAndSyntax) {
  const TavIntExprArg g = namedIntLeaf("g"), l = namedIntLeaf("l");
  const TavIntExprArg kExpressions[] = {g % l, g % 4, 4 % g};
  const char* const kPlain[] = {"g % l", "g% 4", "4 % g"};
  const char* const kLibrary[] = {"( g% l) ", "( g% 4) ", "(4% g)"};
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(plain(kExpressions[k]), kPlain[k]);
    EXPECT_EQ(library(kExpressions[k]), kLibrary[k]);
    EXPECT_TRUE(kExpressions[k].isInteger());
  }
}

}  // namespace
