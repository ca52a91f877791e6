#include "tests/support/fixture.h"

class Elementary : public TavTest {};

TEST_F(Elementary, ValuesAndTexts) {
  struct Case {
    TavNumExprArg (*build)(TavNumExprArg);
    const char *type, *name, *plainName;
    double at, value, outside, valueOutside;
  };
  const Case cases[] = {
      {TavSin, "TavSinI", "TavSin", "sin", 1, 0.8414709848078965, kInf, kNaN},
      {TavCos, "TavCosI", "TavCos", "cos", 1, 0.5403023058681398, kInf, kNaN},
      {TavTan, "TavTanI", "TavTan", "tan", 1, 1.5574077246549023, kInf, kNaN},
      {TavArcSin, "TavArcSinI", "TavArcSin", "arc-sin", 1, 1.5707963267948966, 2, kNaN},
      {TavArcCos, "TavArcCosI", "TavArcCos", "arc-cos", -1, 3.141592653589793, 1.5, kNaN},
      {TavArcTan, "TavArcTanI", "TavArcTan", "arc-tan", 1, 0.7853981633974483, kInf, 1.5707963267948966},
      {TavLog, "TavLogI", "TavLog", "log", 2, 0.6931471805599453, 0, -kInf},
      {TavLog, "TavLogI", "TavLog", "log", 1, 0, -1, kNaN},
      {TavExponent, "TavExponentI", "TavExponent", "exp", 1, 2.718281828459045, 1000, kInf},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    const TavNumExprArg node = c.build(leaf(c.at, true));
    EXPECT_STREQ(node.getImpl()->getRttiTypeName(), c.type);
    EXPECT_EQ(library(node), std::string(c.name) + "(leaf) ");
    EXPECT_EQ(plain(node), std::string(c.plainName) + "(leaf)");
    EXPECT_DOUBLE_EQ(eval(node), c.value);
    EXPECT_FALSE(node.isInteger());  // although the operand is
    const double beyond = eval(c.build(leaf(c.outside)));
    EXPECT_TRUE(std::isnan(c.valueOutside) ? std::isnan(beyond) : beyond == c.valueOutside) << beyond;
    EXPECT_TRUE(std::isnan(eval(c.build(leaf(kNaN)))));
  }
  EXPECT_EQ(plain(TavSin(TavNumExpr(env, 2.0))), "sin(2 )");  // nothing folds
  EXPECT_EQ(plain(TavSin(TavArcSin(leaf(0)))), "sin(arc-sin(leaf))");
  EXPECT_EQ(messageOf<TavEmptyHandleException>([] { TavCos(TavNumExprArg()); }), "");
}

TEST_F(Elementary, OtherLogarithmsAreQuotientsOfTheNaturalOne) {
  const TavNumExprArg two = TavLog2(leaf(8)), ten = TavLog10(leaf(1000));
  EXPECT_EQ(library(two), "( TavLog(leaf) / 0.693147) ");
  EXPECT_EQ(plain(ten), "log(leaf)/ 2.30259");
  ASSERT_STREQ(two.getImpl()->getRttiTypeName(), "TavNumDivCstI");
  EXPECT_EQ(static_cast<TavNumDivCstI*>(two.getImpl())->getConstant(), 0.69314718055994530942);
  EXPECT_EQ(static_cast<TavNumDivCstI*>(ten.getImpl())->getConstant(), 2.30258509299404568402);
  EXPECT_EQ(eval(two), 3.0);
  EXPECT_EQ(eval(ten), 2.9999999999999996);  // not what a logarithm of base 10 gives
}
