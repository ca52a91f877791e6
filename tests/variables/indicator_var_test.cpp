#include "tests/support/fixture.h"

class IndicatorVar : public TavTest {
 protected:
  TavConstraint constraint(bool truth) {
    return TavConstraint(new (env.getImpl()) TavConstConstraintI(env.getImpl(), "c", truth));
  }
};

TEST_F(IndicatorVar, IsAnIntegerVariableThatPrintsItsConstraintAndHasTheAlgorithmsValue) {
  const TavNumVar b(constraint(true)), d(constraint(false));
  EXPECT_EQ(b.getType(), TavNumVar::Int);
  EXPECT_EQ(b.getName(), nullptr);
  EXPECT_EQ(b.getImpl()->getDomain(), env.getImpl()->getOrMakeSharedDomain(TavInt{0}, TavInt{1}));
  EXPECT_EQ(plain(b), "TrueConstraint ");
  algorithm.set(b, 0);  // the algorithm decides, not the constraint
  algorithm.set(d, 1);
  EXPECT_EQ(eval(b + 2 * d), 2.0);
  EXPECT_EQ(library(b + 2 * d), "( TrueConstraint  + 2 * FalseConstraint ) ");
  EXPECT_THROW(TavNumVar{TavConstraint()}, TavEmptyHandleException);
}

TEST_F(IndicatorVar, ACloneTakesTheConstraintFromTheTargetsRegistryAndFreshBounds) {
  const TavConstraint c = constraint(true);
  const TavNumVar b(c);
  b.setBounds(1, 1);
  auto* foreign = new (other.getImpl()) TavConstConstraintI(other.getImpl(), nullptr, false);
  env.getImpl()->setClone(c.getImpl(), c.getImpl());
  EXPECT_THROW(b.getImpl()->makeClone(other.getImpl()), TavEmptyHandleException);
  other.getImpl()->setClone(c.getImpl(), foreign);
  auto* clone = static_cast<TavConstraintIndVarI*>(b.getImpl()->makeClone(other.getImpl()));
  EXPECT_EQ(clone->getConstraint(), foreign);
  EXPECT_EQ(clone->getLB(), 0.0);
}
