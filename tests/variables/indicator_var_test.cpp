#include "tests/support/fixture.h"

using IndicatorVar = TavTest;

TEST_F(IndicatorVar, IsAnIntegerVariableWithItsConstraintsTextAndTheAlgorithmsValue) {
  const TavConstraint c(new (env.getImpl()) TavConstConstraintI(env.getImpl(), "c", 1));
  const TavNumVar b(c);
  EXPECT_EQ(b.getType(), TavNumVar::Int);
  EXPECT_EQ(b.getName(), nullptr);
  EXPECT_EQ(b.getImpl()->getDomain(), env.getImpl()->getOrMakeSharedDomain(TavInt{0}, TavInt{1}));
  algorithm.set(b, 0);  // the algorithm decides, not the constraint
  EXPECT_EQ(eval(2 * b), 0.0);
  EXPECT_EQ(library(b + 2 * b), "( TrueConstraint  + 2 * TrueConstraint ) ");
  EXPECT_EQ(childrenOf(b.getImpl()), std::vector<TavExtractableI*>{c.getImpl()});
  b.setBounds(1, 1);
  auto* clone = static_cast<TavNumVarI*>(TavClonePass(env.getImpl(), other.getImpl()).clone(b.getImpl()));
  EXPECT_EQ(clone->getLB(), 0.0);  // fresh bounds
}
