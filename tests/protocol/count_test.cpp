#include "tests/support/protocol.h"

namespace {

class Count : public ProtocolTest {
 protected:
  TavInt objects() { return env.getImpl()->liveObjectCount(); }
};

TEST_F(Count, EndDecrementsFirstAndDestroysAtZeroOrBelowButNotWhileTheEnvironmentEnds) {
  const TavInt before = objects();
  for (const int count : {2, 1, 0, -1}) {
    SCOPED_TRACE(count);
    TavNumExprI* node = leaf(1.0).getImpl();
    for (int k = 0; k < count; ++k) node->retain();
    if (count < 0) node->lower();
    node->end();
    EXPECT_EQ(objects(), before + (count > 1));
    if (count > 1) node->end();
    EXPECT_EQ(objects(), before);
  }
  const TavInt atFirst = o.v.getImpl()->getRefCount();
  env.getImpl()->release(o.v.getImpl());
  EXPECT_EQ(o.v.getImpl()->getRefCount(), atFirst);  // variables are not counted
  TavNumExprI* node = leaf(1.0).getImpl();
  env.getImpl()->ending = true;
  node->release();
  env.getImpl()->release(node);
  EXPECT_EQ(node->getRefCount(), 0);
  env.getImpl()->ending = false;
  env.getImpl()->release(node);
  EXPECT_EQ(objects(), before);
}

TEST_F(Count, AnInterceptorComesBeforeTheRemovalAndTheRemovalBeforePlainDestruction) {
  struct Interceptor final : TavDeletionInterceptor {
    void takeNode(TavNumExprI* node) override { taken = node; }
    TavNumExprI* taken = nullptr;
  } interceptor;
  struct Extractor final : TavAlgorithmI {
    using TavAlgorithmI::TavAlgorithmI;
    double getValue(const TavNumVarI*) const override { return 0; }
    bool hasExtracted(const TavExtractableI*) const override { return true; }
    void forget(TavExtractableI*) override { ++forgotten; }
    int forgotten = 0;
  } extractor(env.getImpl());
  TavNumExprI* node = leaf(1.0).getImpl();
  env.getImpl()->removeFromAllOnDestroy = true;
  env.getImpl()->deletionInterceptor = &interceptor;
  node->end();
  EXPECT_EQ(interceptor.taken, node);
  EXPECT_EQ(extractor.forgotten, 0);
  env.getImpl()->deletionInterceptor = nullptr;
  node->end();
  EXPECT_EQ(extractor.forgotten, 1);
  env.getImpl()->removeFromAllOnDestroy = false;
  leaf(1.0).getImpl()->end();
  EXPECT_EQ(extractor.forgotten, 1);
}

TEST_F(Count, AnEndedNodeReleasesAllExceptTheArrayOfAnElementOfNumbersAndACondition) {
  const auto references = [&] {
    return o.x.getImpl()->getRefCount() + o.y.getImpl()->getRefCount() + o.i.getImpl()->getRefCount() +
           o.j.getImpl()->getRefCount();
  };
  for (const NodeSample& sample : nodeSamples()) {
    SCOPED_TRACE(sample.name);
    const bool conditional = std::strstr(sample.name, "Conditional");
    if (!sample.library && !conditional) continue;
    const TavInt nodes = objects(), bytes = env.getImpl()->getMemory()->usedBytes(), held = references();
    sample.make(o)->end();
    EXPECT_EQ(objects(), nodes);
    EXPECT_EQ(references(), held + conditional);
    const bool keeps =
        !conditional && std::strstr(sample.library, "ArrayIndex") && !std::strstr(sample.library, "Expr");
    EXPECT_EQ(env.getImpl()->getMemory()->usedBytes() > bytes, keeps);
  }
  const TavInt bytes = env.getImpl()->getMemory()->usedBytes();
  TavNumVar list(env, o.C), own(env, 0, 10);
  own.setUB(1);  // two domains that are not shared
  list.end();
  own.end();
  EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), bytes);
}

TEST_F(Count, TheEnvironmentMayEndTheElementsBeforeTheArrayNode) {
  TavNumExprArg first = leaf(1);
  const TavNumExprArg element = leaf(2);
  first.end();  // the array node gets this identifier, so that the element has the newest one and is destroyed first
  EXPECT_LT(TavMin(exprs({element})).getImpl()->getId(), element.getImpl()->getId());
}

}  // namespace
