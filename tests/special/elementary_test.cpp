#include "tests/support/fixture.h"

using Elementary = TavTest;

TEST_F(Elementary, IeeeValuesPassThrough) {
  const struct {
    TavNumExprArg (*build)(TavNumExprArg);
    double at, value, outside, valueOutside;
  } kCases[] = {
      {TavSin, 1, 0.8414709848078965, kInf, kNaN},    {TavCos, 1, 0.5403023058681398, kInf, kNaN},
      {TavTan, 1, 1.5574077246549023, kInf, kNaN},    {TavArcSin, 1, 1.5707963267948966, 2, kNaN},
      {TavArcCos, -1, 3.141592653589793, 1.5, kNaN},  {TavArcTan, 1, 0.7853981633974483, kInf, 1.5707963267948966},
      {TavLog, 2, 0.6931471805599453, 0, -kInf},      {TavLog, 1, 0, -1, kNaN},
      {TavExponent, 1, 2.718281828459045, 1000, kInf}};
  for (const auto& c : kCases) {
    const TavNumExprArg node = c.build(leaf(c.at));
    SCOPED_TRACE(plain(node));
    EXPECT_DOUBLE_EQ(eval(node), c.value);
    const double beyond = eval(c.build(leaf(c.outside)));
    EXPECT_TRUE(std::isnan(c.valueOutside) ? std::isnan(beyond) : beyond == c.valueOutside) << beyond;
    EXPECT_TRUE(std::isnan(eval(c.build(leaf(kNaN)))));
    EXPECT_THROW(c.build(TavNumExprArg()), TavEmptyHandleException);
  }
}

TEST_F(Elementary, OtherLogarithmsAreQuotientsOfTheNaturalOne) {
  const TavNumExprArg two = TavLog2(leaf(8)), ten = TavLog10(leaf(1000));
  EXPECT_EQ(library(two), "( TavLog(leaf) / 0.693147) ");
  EXPECT_EQ(plain(ten), "log(leaf)/ 2.30259");
  EXPECT_EQ(eval(two), 3.0);
  EXPECT_EQ(eval(ten), 2.9999999999999996);  // not what a logarithm of base 10 gives
}
