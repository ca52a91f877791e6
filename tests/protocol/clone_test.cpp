#include "tests/support/protocol.h"

namespace {

using Clone = ProtocolTest;

TEST_F(Clone, IsOfTheSameClassInTheOtherEnvironmentAndNamelessUnlessItIsAPlainVariable) {
  forEachNode([&](const NodeSample& sample, TavExtractableI* node) {
    TavClonePass pass(env.getImpl(), other.getImpl());
    node->setName("named");
    TavExtractableI* clone = pass.clone(node);
    ASSERT_NE(clone, node);
    EXPECT_EQ(clone->getTypeInfo(), node->getTypeInfo());
    EXPECT_EQ(clone->getEnv(), (node == o.truth.getImpl() ? env : other).getImpl());
    EXPECT_EQ(clone->getName() != nullptr, std::string(sample.name) == "TavNumVarI");
    const std::vector<TavExtractableI*> sources = childrenOf(node), copies = childrenOf(clone);
    ASSERT_EQ(copies.size(), sources.size());
    for (std::size_t k = 0; k < copies.size(); ++k) EXPECT_EQ(copies[k], other.getImpl()->getClone(sources[k]));
    node->setName(node == o.v.getImpl() ? "v" : nullptr);
  });
}

TEST_F(Clone, FindsOperandsInItsOwnEnvironmentAndThoseOfSumsAndArraysInTheTarget) {
  forEachNode([&](const NodeSample& sample, TavExtractableI* node) {
    if (childrenOf(node).empty() || node->isType(TavConversionI::GetTypeInfo())) return;
    const bool conditional = std::strstr(sample.name, "Conditional");
    const std::string text = sample.library ? sample.library : conditional ? "%x" : "%X";
    const auto has = [&text](const char* operand) { return text.find(operand) != text.npos; };
    const bool single = has("%x") || has("%i"), array = has("%X") || has("%I");
    for (const bool inTarget : {false, true}) {
      for (TavExtractableI* child : childrenOf(node)) {
        (inTarget ? other : env).getImpl()->setClone(child, child->makeClone(other.getImpl()));
      }
      if (inTarget ? single : array && !sample.library && !conditional) {
        EXPECT_THROW(node->makeClone(other.getImpl()), TavEmptyHandleException);
      } else {  // an array's elements without a clone stay empty
        const std::size_t found = !array || inTarget ? childrenOf(node).size() : single;
        EXPECT_EQ(childrenOf(node->makeClone(other.getImpl())).size(), found);
      }
      env.getImpl()->endCloning();
      other.getImpl()->endCloning();
    }
  });
}

TEST_F(Clone, HandlesFindAndRecordClonesAlsoWhileAPassGoesOn) {
  TavNumExpr expression(o.x * o.y), copy(o.x * o.y);
  EXPECT_EQ(expression.getClone().getImpl(), nullptr);
  expression.setClone(copy);
  EXPECT_EQ(expression.getClone().getImpl(), copy.getImpl());
  EXPECT_EQ(expression.getClone(other).getImpl(), nullptr);
  expression.setClone(copy, other);
  EXPECT_EQ(expression.getClone(other).getImpl(), copy.getImpl());
  EXPECT_EQ(copy.getImpl()->getRefCount(), 1);

  const TavSemiContVar x(env, 2, 10, TavNumVar::Int, "x"), later(env, 0, 1), replacement(other, 1, 1);
  TavClonePass pass(env.getImpl(), other.getImpl());
  auto* clone = static_cast<TavSemiContVarI*>(pass.clone(x.getImpl()));
  EXPECT_EQ(clone->getThreshold(), 2.0);
  EXPECT_EQ(clone->getDomain(), nullptr);
  EXPECT_EQ(x.getClone(other).getImpl(), clone);
  x.setClone(replacement, other);
  EXPECT_EQ(x.getClone(other).getImpl(), replacement.getImpl());
  EXPECT_EQ(x.getClone().getImpl(), clone);
  auto* laterClone = pass.clone(later.getImpl());  // both environments find it although setClone was called
  EXPECT_EQ(later.getClone().getImpl(), laterClone);
  EXPECT_EQ(later.getClone(other).getImpl(), laterClone);
  x.setClone(replacement);
  EXPECT_EQ(x.getClone().getImpl(), replacement.getImpl());
}

TEST_F(Clone, OfASumHoldsAConstraintWhoseCloneStaysInTheOtherEnvironment) {
  auto* truth = new (env.getImpl()) TavConstConstraintI(env.getImpl(), nullptr, 1);
  TavExpr sum(o.v + TavIntExprArg(truth));
  TavClonePass pass(env.getImpl(), other.getImpl());
  TavExpr clone(static_cast<TavNumLinTermI*>(pass.clone(sum.getImpl())));
  TavNumExprI* const part = clone.getImpl()->getFirstPart()->expr;
  EXPECT_EQ(part->getEnv(), env.getImpl());
  TavNumVar twin(other, 0, 1);  // the variable with the identifier that the constraint has in its own environment
  while (twin.getId() != part->getId()) twin = TavNumVar(other, 0, 1);
  const TavExtractableArray twins = arrayOf<TavExtractableArray>({static_cast<TavExtractable>(twin)});
  clone.remove(twins);
  other.getImpl()->markRemoved(twin.getImpl());
  clone.getImpl()->removeMarked();
  twin.end();
  EXPECT_EQ(plain(clone), "v  + TrueConstraint ");
  TavExpr copy = clone.copy();
  copy *= 2.0;
  EXPECT_EQ(plain(copy.copy()), "2 * v  + TrueConstraint  * 2");
  clone.remove(arrayOf<TavExtractableArray>({TavExtractable(part)}));
  EXPECT_EQ(plain(clone), "v ");
}

TEST_F(Clone, OfASumThatFailsTakesNoReference) {
  const TavIntExprArg part = intLeaf(1);
  auto* copy = new (other.getImpl()) IntLeafI(other.getImpl(), 1, "copy");
  other.getImpl()->setClone(part.getImpl(), copy);
  TavNumLinTermI* node = linear({}, {part, intLeaf(2)});
  refusesEmpty({[&] { node->makeClone(other.getImpl()); }});
  EXPECT_EQ(copy->getRefCount(), 0);
}

TEST_F(Clone, ObjectsThatAreDestroyedLeaveThePassAndTheMapsAsSourceAndAsClone) {
  TavClonePass pass(env.getImpl(), other.getImpl());
  for (const char* name : {"a", "b", "c"}) {  // each variable and row has the address of the one before
    TavNumVar v(env, 0, 1, name);
    TavExpr row = 2 * v + 1;
    EXPECT_EQ(shape(static_cast<TavNumExprI*>(pass.clone(row.getImpl()))), std::string("2") + name + " 1");
    row.end();
    v.end();
  }
  TavNumVar v(env, 0, 1), w(env, 0, 1);
  for (TavEnv home : {env, other}) {
    TavExtractableI* first = pass.clone(v.getImpl());
    TavNumVar second(home, 0, 1), third(home, 0, 1);
    home.getImpl()->setClone(v.getImpl(), second.getImpl());
    home.getImpl()->setClone(w.getImpl(), second.getImpl());
    home.getImpl()->setClone(second.getImpl(), third.getImpl());
    EXPECT_EQ(home.getImpl()->getClone(v.getImpl()), second.getImpl());
    second.end();
    EXPECT_EQ(home.getImpl()->getClone(v.getImpl()), first);
    EXPECT_EQ(home.getImpl()->getClone(w.getImpl()), nullptr);
    EXPECT_EQ(home.getImpl()->getClone(TavNumVar(home, 0, 1).getImpl()), nullptr);
  }
  TavEnv third;
  env.getImpl()->setClone(w.getImpl(), TavNumVar(third, 0, 1).getImpl());
  third.end();
  EXPECT_EQ(env.getImpl()->getClone(w.getImpl()), nullptr);
}

TEST_F(Clone, AZeroTermIsKeptInAPassAndLeftOutWhereItsVariableHasNoClone) {
  TavNumLinTermI* node = linear({{2, o.v}, {0, o.w}});
  const auto cloned = [&](TavExtractableI* clone) { return shape(static_cast<TavNumLinTermI*>(clone)); };
  EXPECT_EQ(cloned(TavClonePass(env.getImpl(), other.getImpl()).clone(node)), "2v 0w 0");
  other.getImpl()->setClone(o.v.getImpl(), o.v.getImpl()->makeClone(other.getImpl()));
  EXPECT_EQ(cloned(node->makeClone(other.getImpl())), "2v 0");
}

}  // namespace
