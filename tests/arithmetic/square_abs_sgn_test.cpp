#include "tests/support/fixture.h"

using SquareAbsSgn = TavTest;

TEST_F(SquareAbsSgn, ValuesFollowIeeeAndNothingIsTruncated) {
  const struct {
    double value, square, abs, sign;
  } kCases[] = {{2.5, 6.25, 2.5, 1}, {-3, 9, 3, -1}, {-0.0, 0, 0, 0}, {-kInf, kInf, kInf, -1}, {kNaN, kNaN, kNaN, 0}};
  for (const auto& c : kCases) {
    for (const TavNumExprArg x : {leaf(c.value), TavNumExprArg(intLeaf(c.value))}) {
      expectValue(TavSquare(x), c.square);
      expectValue(TavAbs(x), c.abs);
      expectValue(TavSgn(x), c.sign);
    }
    expectValue(TavSquare(intLeaf(c.value)), c.square);
    expectValue(TavAbs(intLeaf(c.value)), c.abs);
  }
  refusesEmpty({[] { TavSquare(TavNumExprArg()); }, [] { TavSgn(TavNumVar()); }});
}
