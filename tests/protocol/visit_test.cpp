#include "tests/support/samples.h"

namespace {

using Visit = ProtocolTest;

TEST_F(Visit, ShowsTheOperandsInOrderBetweenBeginAndEnd) {
  struct Visitor final : TavExtractableVisitor {
    void beginVisit(TavExtractableI* parent) override { log << (parent == self ? "(" : "?"); }
    void visitChild(TavExtractableI* parent, TavExtractableI* child) override {
      EXPECT_EQ(parent, self);
      log << child->getName() << " ";
    }
    void endVisit(TavExtractableI* parent) override { log << (parent == self ? ")" : "?"); }
    TavExtractableI* self = nullptr;
    std::ostringstream log;
  };
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    Visitor visitor;
    visitor.self = sample.make(world);
    visitor.self->visitSubExtractables(&visitor);
    EXPECT_EQ(visitor.log.str(), std::string("(") + sample.children + ")") << sample.facts.name;
  }
}

TEST_F(Visit, EveryOperandIsHeldWithOneReferenceUntilTheNodeGoes) {
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    SCOPED_TRACE(sample.facts.name);
    TavNumExprI* const operands[] = {world.p.getImpl(), world.q.getImpl(), world.m.getImpl(), world.n.getImpl()};
    const TavInt objects = env.getImpl()->liveObjectCount();
    const TavInt cells = env.getImpl()->liveTermCount();
    TavExtractableI* node = sample.make(world);
    const std::vector<TavExtractableI*> shown = children(node);
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
