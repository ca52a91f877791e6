#include "tests/support/fixture.h"

using Product = TavTest;

TEST_F(Product, ValuesPassThroughInFloatingPointAndQuotientsOfIntegersAreCut) {
  const auto d = [&](double v) { return leaf(v); };
  const auto w = [&](double v) { return intLeaf(v); };
  const std::pair<TavNumExprArg, double> kCases[] = {
      {d(2.5) * 4.0, 10},       {d(kInf) * 0.0, kNaN},         {d(3) / 0.0, kInf},
      {d(-7) / 2.0, -3.5},      {1.0 / d(-0.0), -kInf},        {d(kNaN) * d(2), kNaN},
      {d(2.5) * d(2), 5},       {d(0) / d(0), kNaN},           {w(2.5) * w(2), 5},
      {w(2.5) * 2, 5},          {TavDiv(w(-7), 2), -3},        {TavDiv(7, w(-2)), -3},
      {TavDiv(-7, w(2.9)), -3}, {TavDiv(w(7.9), w(-2.9)), -3}, {TavDiv(w(1e300), 2), 4611686018427387904.0},
      {w(7.5) / 2, 3.75}};
  for (const auto& [expression, expected] : kCases) {
    const double value = eval(expression);
    EXPECT_TRUE(value == expected || (value != value && expected != expected)) << plain(expression) << " = " << value;
  }
}

TEST_F(Product, TextsDifferByClass) {
  const TavNumExprArg f = namedLeaf("f"), h = namedLeaf("h");
  const TavIntExprArg g = namedIntLeaf("g");
  const struct {
    TavNumExprArg expression;
    const char* plain;
    const char* library;
  } kCases[] = {{f * 2.5, "f * 2.5", "( f* 2.5) "},
                {f / 4.0, "f/ 4", "( f/ 4) "},
                {TavDiv(g, 4), "g / 4", "( g/ 4) "},
                {TavDiv(3, g), "3 / g", "( 3/ g) "},
                {f * h / f, "f * h / f", "( ( f* h) / f) "}};
  for (const auto& c : kCases) {
    EXPECT_EQ(plain(c.expression), c.plain);
    EXPECT_EQ(library(c.expression), c.library);
  }
}

TEST_F(Product, TheLeftOperandIsEvaluatedFirst) {
  const TavNumVar left(env, 0, 1), right = num("right", 1);
  EXPECT_THROW(eval(left * right), TavAlgorithm::Exception);
  EXPECT_EQ(algorithm.calls, 1);
}
