#include "tests/support/fixture.h"

using SemiContVar = TavTest;

TEST_F(SemiContVar, ANewThresholdIsReportedWithTheOldOne) {
  const TavSemiContVar x(env, 2, 10, TavNumVar::Float, "x");
  EXPECT_EQ(records([&] {
              for (double threshold : {2.0, 3.0, 3.0, kNaN, kNaN, 0.0, -0.0}) x.setSemiContinuousLb(threshold);
            }),
            "threshold 2 3; threshold 3 nan; threshold nan nan; threshold nan 0; ");
  EXPECT_EQ(records([&] { x.setUB(20); }), "bounds x 0 20; ");
}

TEST_F(SemiContVar, ACloneKeepsTheThresholdAlone) {
  const TavSemiContVar x(env, 2, 10, TavNumVar::Int, "x"), later(env, 0, 1), replacement(other, 1, 1);
  TavClonePass pass(env.getImpl(), other.getImpl());
  auto* clone = static_cast<TavSemiContVarI*>(pass.clone(x.getImpl()));
  EXPECT_EQ(clone->getThreshold(), 2.0);
  EXPECT_EQ(clone->getDomain(), nullptr);
  EXPECT_EQ(x.getClone(other).getImpl(), clone);
  x.setClone(replacement, other);
  EXPECT_EQ(x.getClone(other).getImpl(), replacement.getImpl());
  EXPECT_EQ(x.getClone().getImpl(), clone);
  auto* laterClone = pass.clone(later.getImpl());  // both environments hear of it, whatever else they were told
  EXPECT_EQ(later.getClone().getImpl(), laterClone);
  EXPECT_EQ(later.getClone(other).getImpl(), laterClone);
  x.setClone(replacement);
  EXPECT_EQ(x.getClone().getImpl(), replacement.getImpl());
}
