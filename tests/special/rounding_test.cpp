#include "tests/support/fixture.h"

using Rounding = TavTest;

TEST_F(Rounding, TiesSignedZerosAndValuesBeyondTheIntegers) {
  constexpr double k63 = 9223372036854775808.0;  // where 64-bit integers end
  const std::pair<TavNumExprArg, double> kCases[] = {
      {TavCeil(leaf(-0.5)), -0.0},        {TavFloor(leaf(-0.0)), -0.0},  {TavTrunc(leaf(1e19)), k63},
      {TavTrunc(leaf(-0.5)), 0},          {TavTrunc(leaf(kNaN)), 0},     {TavFract(leaf(-2.75)), -.75},
      {TavFract(leaf(1e19)), 1e19 - k63}, {TavVurRound(leaf(2.5)), 2},   {TavVurRound(leaf(-0.5)), -0.0},
      {TavDistToInt(leaf(2.5)), .5},      {TavDistToInt(leaf(1e19)), 0}, {TavDistToInt(leaf(kInf)), kNaN}};
  for (const auto& [expression, expected] : kCases) expectValue(expression, expected);
}

TEST_F(Rounding, ConversionTakesWholeValuesOnly) {
  const TavIntExprArg three = TavNumToInt(leaf(3.0));
  EXPECT_EQ(plain(three % 2), "numToInt(leaf)% 2");  // stands where integer expressions stand
  expectValue(three, 3);
  expectValue(TavNumToInt(leaf(1e300)), 9223372036854775808.0);
  expectValue(TavNumToInt(leaf(-0.0)), 0.0);
  for (double x : {3.5, -0.5, 3.0000000000000004, kInf, -kInf, kNaN}) {
    const TavIntExprArg node = TavNumToInt(leaf(x));
    refuses<TavWrongUsage>("TavNumToIntI::eval : expr is not IntExpr", {[&] { eval(node); }});
  }
}
