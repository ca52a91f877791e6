#include "tests/support/fixture.h"

class SquareAbsSgn : public TavTest {};

TEST_F(SquareAbsSgn, ValuesFollowIeeeAndNothingIsTruncated) {
  struct Case {
    double value, square, abs, sign;
  };
  for (const Case& c : {Case{2.5, 6.25, 2.5, 1}, {-3, 9, 3, -1}, {-0.0, 0, 0, 0}, {-kInf, kInf, kInf, -1}}) {
    SCOPED_TRACE(c.value);
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
}

TEST_F(SquareAbsSgn, TextsAndIntegrality) {
  const auto expect = [&](TavNumExprArg node, const char* libraryText, const char* plainText, bool isInteger) {
    EXPECT_EQ(library(node), libraryText);
    EXPECT_EQ(plain(node), plainText);
    EXPECT_EQ(node.isInteger(), isInteger) << node.getImpl()->getRttiTypeName();
  };
  expect(TavSquare(leaf(2)), "TavSquare(leaf) ", "square(leaf)", false);
  expect(TavSquare(leaf(2, true)), "TavSquare(leaf) ", "square(leaf)", true);
  expect(TavSquare(intLeaf(2)), "TavSquare(ileaf) ", "square(ileaf)", true);
  expect(TavAbs(leaf(2)), "TavAbs(leaf) ", "abs(leaf)", false);
  expect(TavAbs(leaf(2, true)), "TavAbs(leaf) ", "abs(leaf)", true);
  expect(TavAbs(intLeaf(2)), "TavAbs(ileaf) ", "abs(ileaf)", true);
  expect(TavSgn(leaf(2)), "TavSgn(leaf) ", "sgn(leaf)", true);
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
