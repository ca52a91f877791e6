#include "tests/support/fixture.h"

using SemiContVar = TavTest;

TEST_F(SemiContVar, BoundsLieInTheDomainAndTheThresholdInTheVariable) {
  const TavSemiContVar x(env, 2, 10);
  EXPECT_EQ(x.getSemiContinuousLb(), 2.0);
  EXPECT_EQ(x.getLB(), 0.0);
  EXPECT_EQ(x.getUB(), 10.0);
  EXPECT_EQ(x.getImpl()->getDomain(), TavNumVar(env, 0, 10).getImpl()->getDomain());
  EXPECT_EQ(TavSemiContVar(env, 2, 3.5, TavNumVar::Int).getUB(), 4.0);
  EXPECT_EQ(TavSemiContVar(env, 2, 0.5, TavNumVar::Bool).getUB(), 0.0);  // truncated first
  const TavSemiContVar whole(env, 2.5, 10, TavNumVar::Int);
  const std::string id = std::to_string(whole.getId());
  EXPECT_EQ(plain(whole), "TavSemiContI (" + id + ")\nTavIntVar(" + id + ")[0 .. 10]   _threshold 2.5\n");
  EXPECT_EQ(library(whole), plain(whole));
}

TEST_F(SemiContVar, ANewThresholdIsReportedWithTheOldOne) {
  const TavSemiContVar x(env, 2, 10);
  std::vector<std::string> seen;
  env.getImpl()->setChangeListener([&](const TavChange& change) {
    ASSERT_TRUE(change.isType(TavSetSemiContBound::GetTypeInfo()));
    const auto& record = static_cast<const TavSetSemiContBound&>(change);
    EXPECT_EQ(record.getVar(), x.getImpl());
    EXPECT_EQ(record.getChangedExtractable(), x.getImpl());
    seen.push_back(std::to_string(record.getOldThreshold()) + " " + std::to_string(record.getNewThreshold()));
  });
  for (double threshold : {2.0, 3.0, 3.0, kNaN, kNaN, 0.0, -0.0}) x.setSemiContinuousLb(threshold);
  EXPECT_EQ(seen, (std::vector<std::string>{"2.000000 3.000000", "3.000000 nan", "nan nan", "nan 0.000000"}));
  env.getImpl()->setChangeListener([](const TavChange&) { throw TavWrongUsage("no"); });
  EXPECT_THROW(x.setSemiContinuousLb(5), TavWrongUsage);
  EXPECT_EQ(x.getSemiContinuousLb(), 5.0);
  env.getImpl()->setChangeListener(nullptr);
  EXPECT_EQ(changesOf([&] { x.setUB(20); }), std::vector<std::string>{"TavSetNumVarBounds"});
}

TEST_F(SemiContVar, ACloneKeepsTheThresholdAlone) {
  const TavSemiContVar x(env, 2, 10, TavNumVar::Int, "x");
  TavClonePass pass(env.getImpl(), other.getImpl());
  auto* clone = static_cast<TavSemiContVarI*>(pass.clone(x.getImpl()));
  EXPECT_EQ(x.getClone().getImpl(), clone);
  EXPECT_EQ(x.getClone(other).getImpl(), clone);
  EXPECT_EQ(clone->getThreshold(), 2.0);
  EXPECT_EQ(clone->getUB(), kInf);
  EXPECT_EQ(clone->getType(), TavNumVar::Float);
  const TavSemiContVar replacement(other, 1, 1);
  x.setClone(replacement, other);
  EXPECT_EQ(x.getClone(other).getImpl(), replacement.getImpl());
  EXPECT_EQ(x.getClone().getImpl(), clone);
  EXPECT_THROW(TavSemiContVar().setClone(replacement), TavEmptyHandleException);
}

TEST_F(SemiContVar, ArraysAreMadeInBulkByColumnsOrWrittenOut) {
  const TestColumn first(env), last(env);
  TavNumArray sclbs(env), ubs(env);
  for (double sclb : {0.5, 1.5, 2.5}) sclbs.add(sclb);
  for (double ub : {10.0, 20.0, 30.0}) ubs.add(ub);
  TavNumColumnArray columns(env, 3);
  columns.set(0, TavAddNumVar(&first));
  columns.set(2, TavAddNumVar(&last));
  const TavSemiContVarArray same(env, 2, 1, 9, TavNumVar::Int), each(env, sclbs, ubs),
      byColumn(env, columns, sclbs, ubs);
  EXPECT_EQ(same[0].getImpl()->getDomain(), same[1].getImpl()->getDomain());
  EXPECT_NE(same[0].getImpl(), same[1].getImpl());
  EXPECT_EQ(same[1].getType(), TavNumVar::Int);
  ASSERT_EQ(each.getSize(), 3);
  EXPECT_EQ(each[2].getSemiContinuousLb(), 2.5);
  EXPECT_EQ(each[2].getUB(), 30.0);
  EXPECT_FALSE(byColumn[1]);
  EXPECT_EQ(first.installed, byColumn[0].getImpl());
  EXPECT_EQ(last.installed, byColumn[2].getImpl());
  EXPECT_EQ(byColumn[2].getSemiContinuousLb(), 2.5);
  EXPECT_EQ(TavSemiContVarArray(env, 0, 1, 9).getSize(), 0);
  EXPECT_THROW(TavSemiContVarArray(env, TavNumArray(), ubs), TavEmptyHandleException);
  EXPECT_THROW(TavSemiContVarArray(env, sclbs, TavNumArray()), TavEmptyHandleException);
  EXPECT_THROW(TavSemiContVarArray(env, TavNumColumnArray(), sclbs, ubs), TavEmptyHandleException);

  const TavSemiContVar x(env, 1, 2);
  EXPECT_EQ((TavSemiContVarArray(env, 2, x, TavSemiContVar())[0].getImpl()), x.getImpl());
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavSemiContVarArray(env, 2, x); }),
            "TavSemiContVarArray::TavSemiContVarArray: n !=1");
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavSemiContVarArray(env, 9, x, x, x, x, x, x, x, x, x, x); }),
            "TavSemiContVarArray::TavSemiContVarArray: n !=10");
}
