#include "tests/support/fixture.h"

using Rounding = TavTest;

TEST_F(Rounding, TiesSignedZerosAndValuesBeyondTheIntegers) {
  constexpr double k63 = 9223372036854775808.0;  // where 64-bit integers end
  const std::vector<double> x = {2.75, -2.75, 2.5, 3.5, -0.5, -0.0, 0.49999999999999994, 1e19, -1e19, kInf, kNaN};
  const std::pair<TavNumExprArg (*)(TavNumExprArg), std::vector<double>> kCases[] = {
      {TavCeil, {3, -2, 3, 4, -0.0, -0.0, 1, 1e19, -1e19, kInf, kNaN}},
      {TavFloor, {2, -3, 2, 3, -1, -0.0, 0, 1e19, -1e19, kInf, kNaN}},
      {TavTrunc, {2, -2, 2, 3, 0, 0, 0, k63, -k63, k63, 0}},
      {TavFract, {.75, -.75, .5, .5, -.5, -0.0, x[6], 1e19 - k63, k63 - 1e19, kInf, kNaN}},
      {TavVurRound, {3, -3, 2, 4, -0.0, -0.0, 0, 1e19, -1e19, kInf, kNaN}},
      {TavDistToInt, {.25, .25, .5, .5, .5, 0, x[6], 0, 0, kNaN, kNaN}}};
  for (const auto& [build, values] : kCases) {
    for (std::size_t at = 0; at < x.size(); ++at) expectValue(build(leaf(x[at])), values[at]);
  }
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
