#include "tests/support/samples.h"

namespace {

class Clone : public ProtocolTest {
 protected:
  Clone() : otherValues(other) {}
  /// "text|text|value" in both syntaxes.
  static std::string describe(TavExtractableI* object, NamedValues& from) {
    std::ostringstream os;
    for (const bool syntax : {false, true}) {
      object->getEnv()->librarySyntaxDisplay = syntax;
      os << text(object) << "|";
    }
    object->getEnv()->librarySyntaxDisplay = false;
    if (object->isType(TavNumExprI::GetTypeInfo())) os << static_cast<TavNumExprI*>(object)->eval(&from);
    return os.str();
  }
  NamedValues otherValues;
};

TEST_F(Clone, HasTheSameTextsAndValueInTheOtherEnvironment) {
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    SCOPED_TRACE(sample.facts.name);
    TavExtractableI* node = sample.make(world);
    TavClonePass pass(env.getImpl(), other.getImpl());
    TavExtractableI* clone = pass.clone(node);
    ASSERT_NE(clone, node);
    EXPECT_EQ(clone->getTypeInfo(), node->getTypeInfo());
    const bool atHome = node->isType(TavConstConstraintI::GetTypeInfo());
    EXPECT_EQ(clone->getEnv(), (atHome ? env : other).getImpl());
    if (sample.sameText) {
      EXPECT_EQ(describe(clone, otherValues), describe(node, values));
    }
    if (clone->isType(TavNumExprI::GetTypeInfo())) {
      EXPECT_EQ(static_cast<TavNumExprI*>(clone)->getRefCount(), 0);
    }
    const std::vector<TavExtractableI*> sources = children(node), copies = children(clone);
    ASSERT_EQ(copies.size(), sources.size());
    for (std::size_t k = 0; k < copies.size(); ++k) EXPECT_EQ(copies[k], other.getImpl()->getClone(sources[k]));
  }
}

TEST_F(Clone, LosesTheNameUnlessItIsAPlainVariable) {
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    TavExtractableI* node = sample.make(world);
    if (!node->getName()) node->setName("named");
    TavClonePass pass(env.getImpl(), other.getImpl());
    const bool kept = node->getTypeInfo() == TavNumVarI::GetTypeInfo();
    EXPECT_EQ(pass.clone(node)->getName() != nullptr, kept) << sample.facts.name;
  }
}

TEST_F(Clone, FindsItsOperandsInItsOwnEnvironmentOrLinearNodesInTheTarget) {
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make || !*sample.children) continue;
    SCOPED_TRACE(sample.facts.name);
    TavExtractableI* node = sample.make(world);
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
  }
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
