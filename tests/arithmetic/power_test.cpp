#include "tests/support/fixture.h"

class Power : public TavTest {};

TEST_F(Power, ValuesAreThoseOfPow) {
  EXPECT_EQ(eval(TavPower(2.0, leaf(10))), 1024.0);
  EXPECT_EQ(eval(TavPower(leaf(10), 2)), 100.0);
  EXPECT_EQ(eval(TavPower(leaf(2), leaf(-1))), 0.5);
  EXPECT_TRUE(std::isnan(eval(TavPower(leaf(-4), 0.5))));
  EXPECT_EQ(eval(TavPower(leaf(-0.0), -1)), -kInf);
  EXPECT_EQ(eval(TavPower(leaf(kNaN), 0)), 1.0);
  const TavNumExprArg x = leaf(3);
  EXPECT_EQ(eval(TavPower(x, x)), 27.0);
  EXPECT_EQ(x.getImpl()->getRefCount(), 2);
}

TEST_F(Power, Texts) {
  struct Case {
    TavNumExprArg node;
    const char *type, *library, *plain;
  };
  for (const Case& c :
       {Case{TavPower(leaf(2), 0.5), "TavNumPowerCstI", "( leaf^ 0.5) ", "leaf ^ 0.5"},
        {TavPower(2, leaf(2)), "TavNumRecPowerCstI", "( 2^ leaf) ", "2 ^ leaf"},
        {TavPower(leaf(2), intLeaf(3)), "TavNumPowerI", "( leaf^ ileaf) ", "leaf ^ ileaf"},
        {TavPower(num("x", 1) + num("y", 1), 2), "TavNumPowerCstI", "( ( x  + y ) ^ 2) ", "x  + y  ^ 2"}}) {
    EXPECT_STREQ(c.node.getImpl()->getRttiTypeName(), c.type);
    EXPECT_EQ(library(c.node), c.library);
    EXPECT_EQ(plain(c.node), c.plain);
  }
}

TEST_F(Power, CountsAsIntegerWhenBothSidesDoEvenWithANegativeExponent) {
  const TavIntVar k = integer("k", 2);
  EXPECT_TRUE(TavPower(k, 2).isInteger());
  EXPECT_TRUE(TavPower(k, -1).isInteger());
  EXPECT_FALSE(TavPower(k, 2.5).isInteger());
  EXPECT_FALSE(TavPower(leaf(2), 2).isInteger());
  EXPECT_TRUE(TavPower(3.0, k).isInteger());
  EXPECT_FALSE(TavPower(0.5, k).isInteger());
  EXPECT_TRUE(TavPower(k, k).isInteger());
  EXPECT_FALSE(TavPower(k, num("x", 1)).isInteger());
}

TEST_F(Power, RefusesOperandsOfTwoEnvironments) {
  const TavNumVar x = num("x", 1), foreign(other);
  const TavInt before = env.getImpl()->liveObjectCount();
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavPower(x, foreign); }), "TavPower: mixing mismatch environments");
  EXPECT_THROW(TavPower(x, TavNumExprArg()), TavEmptyHandleException);
  EXPECT_THROW(TavPower(2.0, TavNumVar()), TavEmptyHandleException);
  EXPECT_EQ(env.getImpl()->liveObjectCount(), before);
}
