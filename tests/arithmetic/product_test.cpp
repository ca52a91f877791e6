#include "tests/support/fixture.h"

using Product = TavTest;

TEST_F(Product, ValuesPassThroughInFloatingPointAndQuotientsOfIntegersAreCut) {
  const auto d = [&](double v) { return leaf(v); };
  const auto w = [&](double v) { return intLeaf(v); };
  const std::pair<TavNumExprArg, double> kCases[] = {{d(kInf) * 0.0, kNaN},
                                                     {d(3) / 0.0, kInf},
                                                     {1.0 / d(-0.0), -kInf},
                                                     {d(0) / d(0), kNaN},
                                                     {w(2.5) * w(2), 5},
                                                     {w(2.5) * 2, 5},
                                                     {TavDiv(w(-7), 2), -3},
                                                     {TavDiv(7, w(-2)), -3},
                                                     {TavDiv(w(7.9), w(-2.9)), -3},
                                                     {w(7.5) / 2, 3.75},
                                                     {TavDiv(kMaxInt, w(1e300)), 1},
                                                     {TavDiv(w(1e300), 2), 4611686018427387904.0}};
  for (const auto& [expression, expected] : kCases) expectValue(expression, expected);
  EXPECT_EQ(library(d(1) * d(2) / d(3)), "( ( leaf* leaf) / leaf) ");
}
