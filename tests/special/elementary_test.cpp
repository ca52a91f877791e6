#include "tests/support/fixture.h"

using Elementary = TavTest;

TEST_F(Elementary, IeeeValuesPassThroughAndOtherLogarithmsAreQuotients) {
  const struct {
    TavNumExprArg (*build)(TavNumExprArg);
    double at, value;
  } kCases[] = {{TavSin, kInf, kNaN},
                {TavCos, kInf, kNaN},
                {TavTan, kInf, kNaN},
                {TavArcSin, 2, kNaN},
                {TavArcCos, 1.5, kNaN},
                {TavArcTan, kInf, 1.5707963267948966},
                {TavLog, 0, -kInf},
                {TavLog, -1, kNaN},
                {TavExponent, 1000, kInf},
                {TavLog2, 8, 3},
                {TavLog10, 1000, 2.9999999999999996}};  // not what a logarithm of base 10 gives
  for (const auto& c : kCases) {
    expectValue(c.build(leaf(c.at)), c.value);
    refusesEmpty({[&] { c.build(TavNumExprArg()); }});
  }
  EXPECT_EQ(library(TavLog2(leaf(8))), "( TavLog(leaf) / 0.693147) ");
  EXPECT_EQ(plain(TavLog10(leaf(1000))), "log(leaf)/ 2.30259");
}
