#include "tests/support/fixture.h"

class Power : public TavTest {};

TEST_F(Power, ValuesAreThoseOfPow) {
  EXPECT_EQ(eval(TavPower(2.0, leaf(10))), 1024.0);
  EXPECT_EQ(eval(TavPower(leaf(10), 2)), 100.0);
  EXPECT_EQ(eval(TavPower(leaf(2), leaf(-1))), 0.5);
  EXPECT_TRUE(std::isnan(eval(TavPower(leaf(-4), 0.5))));
  EXPECT_EQ(eval(TavPower(leaf(-0.0), -1)), -kInf);
  const TavNumExprArg x = leaf(3);
  EXPECT_EQ(eval(TavPower(x, x)), 27.0);
  EXPECT_EQ(x.getImpl()->getRefCount(), 2);
}

TEST_F(Power, Texts) {
  const auto expect = [&](TavNumExprArg node, const char* libraryText, const char* plainText) {
    EXPECT_EQ(library(node), libraryText);
    EXPECT_EQ(plain(node), plainText);
  };
  expect(TavPower(leaf(2), 0.5), "( leaf^ 0.5) ", "leaf ^ 0.5");
  expect(TavPower(2, leaf(2)), "( 2^ leaf) ", "2 ^ leaf");
  expect(TavPower(leaf(2), intLeaf(3)), "( leaf^ ileaf) ", "leaf ^ ileaf");
  expect(TavPower(num("x", 1) + num("y", 1), 2), "( ( x  + y ) ^ 2) ", "x  + y  ^ 2");
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
