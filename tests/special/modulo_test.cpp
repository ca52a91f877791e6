#include "tests/support/fixture.h"

using Modulo = TavTest;

TEST_F(Modulo, TheRemainderHasTheDividendsSignAndOperandsAreCutFirst) {
  const auto w = [&](double v) { return intLeaf(v); };
  const std::pair<TavIntExprArg, double> kCases[] = {{w(-7) % w(3), -1},  {w(7) % w(-3), 1},  {w(-7.9) % 4, -3},
                                                     {20 % w(-6.5), 2},   {w(1e300) % 10, 7}, {kMaxInt % w(10), 7},
                                                     {w(7) % kMaxInt, 7}, {w(kNaN) % 5, 0}};
  for (const auto& [expression, expected] : kCases) expectValue(expression, expected);
}
