#include "tests/support/fixture.h"

using SquareAbsSgn = TavTest;

TEST_F(SquareAbsSgn, NothingIsTruncatedAndSignsOfZeroAndNotANumberAreZero) {
  const std::pair<TavNumExprArg, double> kCases[] = {{TavSquare(intLeaf(2.5)), 6.25}, {TavAbs(leaf(-0.0)), 0},
                                                     {TavAbs(intLeaf(-2.5)), 2.5},    {TavSgn(leaf(-0.0)), 0},
                                                     {TavSgn(leaf(-kInf)), -1},       {TavSgn(leaf(kNaN)), 0}};
  for (const auto& [expression, expected] : kCases) expectValue(expression, expected);
  refusesEmpty({[] { TavSquare(TavNumExprArg()); }, [] { TavSgn(TavNumVar()); }});
}
