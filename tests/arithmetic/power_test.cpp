#include "tests/support/fixture.h"

using Power = TavTest;

TEST_F(Power, ANegativeExponentStillCountsAsIntegerAndASumAsBaseHasNoBrackets) {
  const TavIntVar k = integer("k", 2);
  EXPECT_TRUE(TavPower(k, -1).isInteger());
  EXPECT_FALSE(TavPower(k, 2.5).isInteger());
  EXPECT_FALSE(TavPower(0.5, k).isInteger());
  EXPECT_EQ(plain(TavPower(namedLeaf("x") + 1, 2)), "x + 1  ^ 2");
  EXPECT_EQ(library(TavPower(2, leaf(2))), "( 2^ leaf) ");
  EXPECT_TRUE(std::isnan(eval(TavPower(leaf(-4), 0.5))));
  EXPECT_EQ(eval(TavPower(leaf(-0.0), -1)), -kInf);
}

TEST_F(Power, RefusesOperandsOfTwoEnvironments) {
  const TavNumVar x = num("x", 1), foreign(other);
  const TavInt before = env.getImpl()->liveObjectCount();
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavPower(x, foreign); }), "TavPower: mixing mismatch environments");
  EXPECT_THROW(TavPower(x, TavNumExprArg()), TavEmptyHandleException);
  EXPECT_THROW(TavPower(2.0, TavNumVar()), TavEmptyHandleException);
  EXPECT_EQ(env.getImpl()->liveObjectCount(), before);
}
