#include "tests/support/fixture.h"

class Rounding : public TavTest {
 protected:
  /// Gives another value each time.
  class UnsteadyI : public LeafI {
   public:
    explicit UnsteadyI(TavEnvI* env) : LeafI(env, 0) {}
    double eval(TavAlgorithm) const override { return ++evaluations == 1 ? 2.4 : 10.0; }
  };
};

TEST_F(Rounding, TiesSignedZerosAndValuesBeyondTheIntegers) {
  constexpr double k63 = 9223372036854775808.0;  // where 64-bit integers end
  constexpr std::size_t kPoints = 11;
  const double x[kPoints] = {2.75, -2.75, 2.5, 3.5, -0.5, -0.0, 0.49999999999999994, 1e19, -1e19, kInf, kNaN};
  struct Case {
    TavNumExprArg (*build)(TavNumExprArg);
    const char* name;
    double values[kPoints];
  };
  const Case cases[] = {
      {TavCeil, "TavCeil", {3, -2, 3, 4, -0.0, -0.0, 1, 1e19, -1e19, kInf, kNaN}},
      {TavFloor, "TavFloor", {2, -3, 2, 3, -1, -0.0, 0, 1e19, -1e19, kInf, kNaN}},
      {TavTrunc, "TavTrunc", {2, -2, 2, 3, 0, 0, 0, k63, -k63, k63, 0}},
      {TavFract, "TavFract", {.75, -.75, .5, .5, -.5, -0.0, x[6], 1e19 - k63, k63 - 1e19, kInf, kNaN}},
      {TavVurRound, "TavVurRound", {3, -3, 2, 4, -0.0, -0.0, 0, 1e19, -1e19, kInf, kNaN}},
      {TavDistToInt, "TavDistToInt", {.25, .25, .5, .5, .5, 0, x[6], 0, 0, kNaN, kNaN}},
  };
  for (const Case& c : cases) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      const double value = eval(c.build(leaf(x[i]))), expected = c.values[i];
      EXPECT_TRUE(std::isnan(expected) ? std::isnan(value)
                                       : value == expected && std::signbit(value) == std::signbit(expected))
          << c.name << " of " << x[i] << " is " << value;
    }
  }
}

TEST_F(Rounding, DistanceEvaluatesItsOperandTwice) {
  EXPECT_EQ(eval(TavDistToInt(TavNumExprArg(new (env.getImpl()) UnsteadyI(env.getImpl())))), 8.0);  // |2 - 10|
}

TEST_F(Rounding, ConversionTakesWholeValuesOnly) {
  const TavIntExprArg three = TavNumToInt(leaf(3.0));
  EXPECT_EQ(plain(three % 2), "numToInt(leaf)% 2");  // stands where integer expressions stand
  EXPECT_EQ(eval(three), 3.0);
  EXPECT_EQ(eval(TavNumToInt(leaf(1e300))), 9223372036854775808.0);
  EXPECT_FALSE(std::signbit(eval(TavNumToInt(leaf(-0.0)))));
  for (double x : {3.5, -0.5, 3.0000000000000004, kInf, -kInf, kNaN}) {
    EXPECT_EQ(messageOf<TavWrongUsage>([&] { eval(TavNumToInt(leaf(x))); }),
              "TavNumToIntI::eval : expr is not IntExpr");
  }
}
