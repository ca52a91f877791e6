#include "tests/support/samples.h"

namespace {

using Visit = ProtocolTest;

TEST_F(Visit, ShowsTheOperandsInOrderAndEachIsHeldWithOneReferenceUntilTheNodeGoes) {
  TavNumExprI* const operands[] = {world.p.getImpl(), world.q.getImpl(), world.m.getImpl(), world.n.getImpl()};
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    SCOPED_TRACE(sample.facts.name);
    const TavInt objects = env.getImpl()->liveObjectCount(), cells = env.getImpl()->liveTermCount();
    TavExtractableI* node = sample.make(world);
    const std::vector<TavExtractableI*> shown = children(node);
    std::string names;
    for (const TavExtractableI* child : shown) names += std::string(child->getName()) + " ";
    EXPECT_EQ(names, sample.children);
    for (TavNumExprI* operand : operands) {
      EXPECT_EQ(operand->getRefCount(), 1 + std::count(shown.begin(), shown.end(), operand)) << operand->getName();
    }
    if (!node->isRefCountedExpr()) continue;
    node->end();
    for (TavNumExprI* operand : operands) EXPECT_EQ(operand->getRefCount(), 1) << operand->getName();
    EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
    EXPECT_EQ(env.getImpl()->liveTermCount(), cells);
  }
}

}  // namespace
