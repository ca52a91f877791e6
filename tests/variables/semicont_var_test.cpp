#include "tests/support/fixture.h"

using SemiContVar = TavTest;

TEST_F(SemiContVar, BoundsLieInTheDomainAndTheThresholdInTheVariable) {
  const TavSemiContVar x(env, 2, 10), whole(env, 2.5, 10, TavNumVar::Int);
  EXPECT_EQ(x.getSemiContinuousLb(), 2.0);
  EXPECT_EQ(x.getImpl()->getDomain(), TavNumVar(env, 0, 10).getImpl()->getDomain());
  EXPECT_EQ(TavSemiContVar(env, 2, 3.5, TavNumVar::Int).getUB(), 4.0);
  EXPECT_EQ(TavSemiContVar(env, 2, 0.5, TavNumVar::Bool).getUB(), 0.0);  // truncated first
  const std::string id = std::to_string(whole.getId());
  EXPECT_EQ(plain(whole), "TavSemiContI (" + id + ")\nTavIntVar(" + id + ")[0 .. 10]   _threshold 2.5\n");
  EXPECT_EQ(library(whole), plain(whole));
  EXPECT_EQ(plain(TavSemiContVar(env, 1, 2, TavNumVar::Float, "s")), "TavSemiContI (s)\ns[0 .. 2]   _threshold 1\n");
}

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
  refusesEmpty({[&] { TavSemiContVar().setClone(replacement); }});
}
