#include "tests/support/fixture.h"

class SquareAbsSgn : public TavTest {};

TEST_F(SquareAbsSgn, ValuesFollowIeeeAndNothingIsTruncated) {
  struct Case {
    double value, square, abs, sign;
  };
  for (const Case& c : {Case{2.5, 6.25, 2.5, 1},
                        {-3, 9, 3, -1},
                        {0.0, 0, 0, 0},
                        {-0.0, 0, 0, 0},
                        {-kInf, kInf, kInf, -1},
                        {1e200, kInf, 1e200, 1},
                        {5e-324, 0, 5e-324, 1}}) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(eval(TavSquare(leaf(c.value))), c.square);
    EXPECT_EQ(eval(TavSquare(intLeaf(c.value))), c.square);
    for (TavNumExprArg abs : {TavAbs(leaf(c.value)), TavNumExprArg(TavAbs(intLeaf(c.value)))}) {
      EXPECT_EQ(eval(abs), c.abs);
      EXPECT_FALSE(std::signbit(eval(abs)));
    }
    EXPECT_EQ(eval(TavSgn(leaf(c.value))), c.sign);
  }
  EXPECT_TRUE(std::isnan(eval(TavSquare(leaf(kNaN)))));
  EXPECT_TRUE(std::isnan(eval(TavAbs(intLeaf(kNaN)))));
  EXPECT_EQ(eval(TavSgn(leaf(kNaN))), 0.0);
}

TEST_F(SquareAbsSgn, TextsAndIntegrality) {
  struct Case {
    TavNumExprArg node;
    const char *type, *library, *plain;
    bool isInteger;
  };
  for (const Case& c : {Case{TavSquare(leaf(2)), "TavNumSquareI", "TavSquare(leaf) ", "square(leaf)", false},
                        {TavSquare(leaf(2, true)), "TavNumSquareI", "TavSquare(leaf) ", "square(leaf)", true},
                        {TavSquare(intLeaf(2)), "TavIntSquareI", "TavSquare(ileaf) ", "square(ileaf)", true},
                        {TavAbs(leaf(2)), "TavNumAbsI", "TavAbs(leaf) ", "abs(leaf)", false},
                        {TavAbs(leaf(2, true)), "TavNumAbsI", "TavAbs(leaf) ", "abs(leaf)", true},
                        {TavAbs(intLeaf(2)), "TavIntAbsI", "TavAbs(ileaf) ", "abs(ileaf)", true},
                        {TavSgn(leaf(2)), "TavSgnI", "TavSgn(leaf) ", "sgn(leaf)", true}}) {
    EXPECT_STREQ(c.node.getImpl()->getRttiTypeName(), c.type);
    EXPECT_EQ(library(c.node), c.library);
    EXPECT_EQ(plain(c.node), c.plain);
    EXPECT_EQ(c.node.isInteger(), c.isInteger) << c.type;
  }
}

TEST_F(SquareAbsSgn, NothingIsSimplifiedAndADyingNodeTakesItsOperandsAlong) {
  const TavInt before = env.getImpl()->liveObjectCount();
  TavNumExpr nested(TavAbs(TavAbs(TavSquare(TavSquare(leaf(3))))));
  EXPECT_EQ(env.getImpl()->liveObjectCount(), before + 5);
  nested.end();
  EXPECT_EQ(env.getImpl()->liveObjectCount(), before);
  EXPECT_THROW(TavSquare(TavNumExprArg()), TavEmptyHandleException);
  EXPECT_THROW(TavSgn(TavNumVar()), TavEmptyHandleException);
}
