#include "tests/support/fixture.h"

using Power = TavTest;

TEST_F(Power, ANegativeExponentStillCountsAsIntegerAndMismatchHasASmallLetter) {
  const TavIntVar k = integer("k", 2);
  const TavNumVar foreign(other);
  EXPECT_TRUE(TavPower(k, -1).isInteger());
  EXPECT_FALSE(TavPower(k, 2.5).isInteger());
  EXPECT_EQ(plain(TavPower(leaf(1, "x") + 1, 2)), "x + 1  ^ 2");  // no brackets
  expectValue(TavPower(leaf(-4), 0.5), kNaN);
  expectValue(TavPower(leaf(-0.0), -1), -kInf);
  refuses<TavWrongUsage>("TavPower: mixing mismatch environments", {[&] { TavPower(k, foreign); }});
  refusesEmpty({[&] { TavPower(k, TavNumExprArg()); }, [] { TavPower(2.0, TavNumVar()); }});
}
