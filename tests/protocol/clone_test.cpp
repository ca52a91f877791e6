#include "tests/support/samples.h"

namespace {

class Clone : public ProtocolTest {};

TEST_F(Clone, IsOfTheSameClassInTheOtherEnvironmentAndNamelessUnlessItIsAPlainVariable) {
  NamedValues otherValues(other);
  forEachNode([&](const NodeSample& sample, TavExtractableI* node) {
    TavClonePass pass(env.getImpl(), other.getImpl());
    TavExtractableI* clone = pass.clone(node);
    ASSERT_NE(clone, node);
    EXPECT_EQ(clone->getTypeInfo(), node->getTypeInfo());
    const bool atHome = node->isType(TavConstConstraintI::GetTypeInfo());
    EXPECT_EQ(clone->getEnv(), (atHome ? env : other).getImpl());
    if (sample.sameText) {
      EXPECT_EQ(text(clone), text(node));
    }
    if (clone->isType(TavNumExprI::GetTypeInfo())) {
      const double value = static_cast<TavNumExprI*>(node)->eval(&values);
      const double copied = static_cast<TavNumExprI*>(clone)->eval(&otherValues);
      EXPECT_TRUE(copied == value || (copied != copied && value != value)) << copied << " for " << value;
      EXPECT_EQ(static_cast<TavNumExprI*>(clone)->getRefCount(), 0);
    }
    const std::vector<TavExtractableI*> sources = children(node), copies = children(clone);
    ASSERT_EQ(copies.size(), sources.size());
    for (std::size_t k = 0; k < copies.size(); ++k) EXPECT_EQ(copies[k], other.getImpl()->getClone(sources[k]));

    TavExtractableI* named = sample.make(world);
    if (!named->getName()) named->setName("named");
    const bool kept = named->getTypeInfo() == TavNumVarI::GetTypeInfo();
    EXPECT_EQ(pass.clone(named)->getName() != nullptr, kept);
  });
}

TEST_F(Clone, FindsItsOperandsInItsOwnEnvironmentOrLinearNodesInTheTarget) {
  forEachNode([&](const NodeSample& sample, TavExtractableI* node) {
    if (!*sample.children) return;
    for (const bool inTarget : {false, true}) {
      for (TavExtractableI* child : children(node)) {
        (inTarget ? other : env).getImpl()->setClone(child, child->makeClone(other.getImpl()));
      }
      if (sample.lookup == NodeSample::kTargetOrNull ||
          (inTarget ? NodeSample::kTarget : NodeSample::kOwn) == sample.lookup) {
        const std::size_t found = sample.lookup == NodeSample::kTargetOrNull && !inTarget ? 0 : children(node).size();
        EXPECT_EQ(children(node->makeClone(other.getImpl())).size(), found);
      } else {
        EXPECT_THROW(node->makeClone(other.getImpl()), TavEmptyHandleException);
      }
      env.getImpl()->endCloning();
      other.getImpl()->endCloning();
    }
  });
}

TEST_F(Clone, HandlesFindAndRecordClones) {
  TavNumExpr expression(world.x * world.y);
  EXPECT_EQ(expression.getClone().getImpl(), nullptr);
  TavNumExpr copy(world.x * world.y);
  expression.setClone(copy);
  EXPECT_EQ(expression.getClone().getImpl(), copy.getImpl());
  EXPECT_EQ(expression.getClone(other).getImpl(), nullptr);
  expression.setClone(copy, other);
  EXPECT_EQ(expression.getClone(other).getImpl(), copy.getImpl());
  EXPECT_EQ(copy.getImpl()->getRefCount(), 1);
}

TEST_F(Clone, AZeroTermIsKeptInAPassAndLeftOutWhereItsVariableHasNoClone) {
  TavNumLinTermI* node = linear({{2, world.x}, {0, world.y}});
  const auto cloned = [&](TavExtractableI* clone) { return shape(TavNumExprArg(static_cast<TavNumLinTermI*>(clone))); };
  EXPECT_EQ(cloned(TavClonePass(env.getImpl(), other.getImpl()).clone(node)), "2x 0y 0");
  other.getImpl()->setClone(world.x.getImpl(), world.x.getImpl()->makeClone(other.getImpl()));
  EXPECT_EQ(cloned(node->makeClone(other.getImpl())), "2x 0");
}

}  // namespace
