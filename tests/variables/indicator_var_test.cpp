#include "tests/support/fixture.h"

class IndicatorVar : public TavTest {
 protected:
  TavConstraint constraint(bool truth) {
    return TavConstraint(new (env.getImpl()) TavConstConstraintI(env.getImpl(), "c", truth));
  }
};

TEST_F(IndicatorVar, IsAnIntegerVariableThatPrintsAndShowsItsConstraint) {
  const TavConstraint c = constraint(true);
  const TavNumVar b(c);
  EXPECT_EQ(b.getType(), TavNumVar::Int);
  EXPECT_EQ(b.getLB(), 0.0);
  EXPECT_EQ(b.getUB(), 1.0);
  EXPECT_TRUE(b.isInteger());
  EXPECT_EQ(b.getName(), nullptr);
  EXPECT_EQ(b.getImpl()->getDomain(), env.getImpl()->getOrMakeSharedDomain(TavInt{0}, TavInt{1}));
  EXPECT_EQ(plain(b), "TrueConstraint ");
  EXPECT_EQ(library(TavNumVar(constraint(false))), "FalseConstraint ");
  EXPECT_EQ(children(b.getImpl()), std::vector<TavExtractableI*>{c.getImpl()});
  EXPECT_THROW(TavNumVar{TavConstraint()}, TavEmptyHandleException);
}

TEST_F(IndicatorVar, ItsValueIsTheAlgorithmsAndTermsTakeItAsAVariable) {
  const TavNumVar b(constraint(true)), d(constraint(true));
  algorithm.set(b, 0);  // the algorithm decides, not the constraint
  algorithm.set(d, 1);
  const TavExpr count = b + 2 * d;
  EXPECT_EQ(eval(count), 2.0);
  EXPECT_EQ(library(count), "( TrueConstraint  + 2 * TrueConstraint ) ");
}

TEST_F(IndicatorVar, ACloneTakesTheConstraintFromTheTargetsRegistry) {
  const TavConstraint c = constraint(true);
  const TavNumVar b(c);
  b.setBounds(1, 1);
  auto* foreign = new (other.getImpl()) TavConstConstraintI(other.getImpl(), nullptr, false);
  EXPECT_THROW(b.getImpl()->makeClone(other.getImpl()), TavEmptyHandleException);
  other.getImpl()->setClone(c.getImpl(), foreign);
  env.getImpl()->setClone(c.getImpl(), c.getImpl());
  auto* clone = static_cast<TavConstraintIndVarI*>(b.getImpl()->makeClone(other.getImpl()));
  EXPECT_EQ(clone->getConstraint(), foreign);
  EXPECT_EQ(clone->getLB(), 0.0);
  EXPECT_EQ(text(clone), "FalseConstraint ");
}
