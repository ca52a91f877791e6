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
  const TavSemiContVar x(env, 2, 10, TavNumVar::Int, "x"), replacement(other, 1, 1);
  TavClonePass pass(env.getImpl(), other.getImpl());
  auto* clone = static_cast<TavSemiContVarI*>(pass.clone(x.getImpl()));
  EXPECT_EQ(clone->getThreshold(), 2.0);
  EXPECT_EQ(clone->getDomain(), nullptr);
  EXPECT_EQ(x.getClone(other).getImpl(), clone);
  x.setClone(replacement, other);
  EXPECT_EQ(x.getClone(other).getImpl(), replacement.getImpl());
  EXPECT_EQ(x.getClone().getImpl(), clone);
  x.setClone(replacement);
  EXPECT_EQ(x.getClone().getImpl(), replacement.getImpl());
  refusesEmpty({[&] { TavSemiContVar().setClone(replacement); }});
}

TEST_F(SemiContVar, ArraysAreMadeInBulkOrByColumns) {
  const TestColumn first(env), last(env);
  const TavNumArray sclbs = nums({0.5, 1.5, 2.5}), ubs = nums({10, 20, 30}), none;
  const auto columns = arrayOf<TavNumColumnArray>({TavAddNumVar(&first), TavAddNumVar(), TavAddNumVar(&last)});
  const TavSemiContVarArray same(env, 2, 1, 9, TavNumVar::Int), each(env, sclbs, ubs),
      byColumn(env, columns, sclbs, ubs);
  EXPECT_EQ(same[0].getImpl()->getDomain(), same[1].getImpl()->getDomain());
  EXPECT_NE(same[0].getImpl(), same[1].getImpl());
  EXPECT_EQ(same[1].getType(), TavNumVar::Int);
  for (const TavSemiContVarArray& array : {each, byColumn}) {
    ASSERT_EQ(array.getSize(), 3);
    EXPECT_EQ(array[2].getSemiContinuousLb(), 2.5);
    EXPECT_EQ(array[2].getUB(), 30.0);
  }
  EXPECT_FALSE(byColumn[1]);
  EXPECT_EQ(first.installed, byColumn[0].getImpl());
  EXPECT_EQ(last.installed, byColumn[2].getImpl());
  refusesEmpty({[&] { TavSemiContVarArray(env, none, ubs); }, [&] { TavSemiContVarArray(env, sclbs, none); },
                [&] { TavSemiContVarArray(env, TavNumColumnArray(), sclbs, ubs); }});
}
