#include "tests/support/fixture.h"

using SquareAbsSgn = TavTest;

TEST_F(SquareAbsSgn, ValuesFollowIeeeAndNothingIsTruncated) {
  const struct {
    double value, square, abs, sign;
  } kCases[] = {{2.5, 6.25, 2.5, 1}, {-3, 9, 3, -1}, {-0.0, 0, 0, 0}, {-kInf, kInf, kInf, -1}};
  for (const auto& c : kCases) {
    EXPECT_EQ(eval(TavSquare(leaf(c.value))), c.square);
    EXPECT_EQ(eval(TavSquare(intLeaf(c.value))), c.square);
    for (TavNumExprArg abs : {TavAbs(leaf(c.value)), TavNumExprArg(TavAbs(intLeaf(c.value)))}) {
      EXPECT_EQ(eval(abs), c.abs);
      EXPECT_FALSE(std::signbit(eval(abs)));
    }
    EXPECT_EQ(eval(TavSgn(leaf(c.value))), c.sign);
  }
  EXPECT_TRUE(std::isnan(eval(TavAbs(intLeaf(kNaN)))));
  EXPECT_EQ(eval(TavSgn(leaf(kNaN))), 0.0);
  EXPECT_THROW(TavSquare(TavNumExprArg()), TavEmptyHandleException);
  EXPECT_THROW(TavSgn(TavNumVar()), TavEmptyHandleException);
}
