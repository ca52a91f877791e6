#include "tests/support/fixture.h"

class SemiContVar : public TavTest {};

TEST_F(SemiContVar, BoundsLieInTheDomainAndTheThresholdInTheVariable) {
  const TavSemiContVar x(env, 2, 10);
  EXPECT_EQ(x.getSemiContinuousLb(), 2.0);
  EXPECT_EQ(x.getLB(), 0.0);
  EXPECT_EQ(x.getUB(), 10.0);
  EXPECT_EQ(x.getType(), TavNumVar::Float);
  EXPECT_EQ(x.getImpl()->getDomain(), TavNumVar(env, 0, 10).getImpl()->getDomain());
  EXPECT_EQ(TavSemiContVar(env, 2, 3.5, TavNumVar::Int).getUB(), 4.0);
  EXPECT_EQ(TavSemiContVar(env, 2, 0.5, TavNumVar::Bool).getUB(), 0.0);  // truncated first
  algorithm.set(x, 7);
  EXPECT_EQ(eval(x), 7.0);
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

TEST_F(SemiContVar, PrintsTheSameInEitherSyntax) {
  const TavSemiContVar x(env, 2.5, 10, TavNumVar::Float, "x"), anonymous(env, 2, 10, TavNumVar::Int);
  const std::string id = std::to_string(anonymous.getId());
  EXPECT_EQ(plain(x), "TavSemiContI (x)\nx[0 .. 10]   _threshold 2.5\n");
  EXPECT_EQ(library(x), plain(x));
  EXPECT_EQ(plain(anonymous), "TavSemiContI (" + id + ")\nTavIntVar(" + id + ")[0 .. 10]   _threshold 2\n");
}

TEST_F(SemiContVar, ACloneKeepsTheThresholdAlone) {
  const TavSemiContVar x(env, 2, 10, TavNumVar::Int, "x");
  TavClonePass pass(env.getImpl(), other.getImpl());
  auto* clone = static_cast<TavSemiContVarI*>(pass.clone(x.getImpl()));
  EXPECT_EQ(x.getClone().getImpl(), clone);
  EXPECT_EQ(x.getClone(other).getImpl(), clone);
  EXPECT_EQ(clone->getEnv(), other.getImpl());
  EXPECT_EQ(clone->getThreshold(), 2.0);
  EXPECT_EQ(clone->getUB(), kInf);
  EXPECT_EQ(clone->getType(), TavNumVar::Float);
  EXPECT_EQ(clone->getName(), nullptr);
  const TavSemiContVar replacement(other, 1, 1);
  x.setClone(replacement, other);
  EXPECT_EQ(x.getClone(other).getImpl(), replacement.getImpl());
  EXPECT_EQ(x.getClone().getImpl(), clone);
  EXPECT_THROW(TavSemiContVar().setClone(replacement), TavEmptyHandleException);
}

TEST_F(SemiContVar, ArraysAreMadeInBulkByColumnsOrWrittenOut) {
  struct Column final : TavAddExtractable {
    explicit Column(TavEnv home) : env(home.getImpl()) {}
    void install(TavExtractableI* variable) const override { installed.push_back(variable); }
    TavEnvI* getEnv() const override { return env; }
    TavEnvI* env;
    mutable std::vector<TavExtractableI*> installed;
  } column(env);
  TavNumArray sclbs(env), ubs(env);
  for (double sclb : {0.5, 1.5, 2.5}) sclbs.add(sclb);
  for (double ub : {10.0, 20.0, 30.0}) ubs.add(ub);
  TavNumColumnArray columns(env, 3);
  columns.set(0, TavAddNumVar(&column));
  columns.set(2, TavAddNumVar(&column));
  const TavSemiContVarArray same(env, 2, 1, 9, TavNumVar::Int), each(env, sclbs, ubs),
      byColumn(env, columns, sclbs, ubs);
  EXPECT_EQ(same[0].getImpl()->getDomain(), same[1].getImpl()->getDomain());
  EXPECT_NE(same[0].getImpl(), same[1].getImpl());
  EXPECT_EQ(same[1].getType(), TavNumVar::Int);
  ASSERT_EQ(each.getSize(), 3);
  EXPECT_EQ(each[2].getSemiContinuousLb(), 2.5);
  EXPECT_EQ(each[2].getUB(), 30.0);
  EXPECT_FALSE(byColumn[1]);
  EXPECT_EQ(column.installed, (std::vector<TavExtractableI*>{byColumn[0].getImpl(), byColumn[2].getImpl()}));
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
