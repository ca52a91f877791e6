#include "tests/support/fixture.h"

namespace {

struct CountingLock final : TavLock {
  void lock() override { ++taken, ++held; }
  void unlock() override { --held; }
  int taken = 0, held = 0;
};

// The results and records of edits are in docs/edits.md, which is executed.
class NumLinear : public TavTest {
 protected:
  NumLinear() { env.getImpl()->markLock = &lock; }
  ~NumLinear() override { EXPECT_EQ(lock.held, 0); }
  TavNumVar x = num("x", 2), y = num("y", 3), z = num("z", 5);
  CountingLock lock;
};

TEST_F(NumLinear, MarkFieldsAreLockedAndReadBeforeAListenerUsesThem) {
  env.getImpl()->markArraysAvailable = false;
  linear({{1, x}, {2, x}})->normalize();
  EXPECT_EQ(lock.taken, 1);
  TavNumLinTermI *node = linear({{1, x}, {2, y}}), *listeners = linear({{3, y}});
  node->normalize(), listeners->normalize();
  const TavNumVarArray both(env, 2, x, y), one(env, 1, y);
  env.getImpl()->setChangeListener([&](const TavChange&) { listeners->setCoef(one, nums({4}), TavNumArray()); });
  node->setCoef(both, nums({0, 5}), TavNumArray());
  EXPECT_EQ(shape(node) + ", " + shape(listeners), "0x 5y 0, 4y 0");  // each edit uses the marks of its own node
  EXPECT_EQ(lock.taken, 5);
}

TEST_F(NumLinear, IsNotNormalizedAfterAZeroFactorNorWhereNormalisationIsOff) {
  TavNumLinTermI *zeros = linear({{1, x}}), *node = linear({{1, x}, {1, x}});
  zeros->normalize();
  zeros->multiply(0.0);
  EXPECT_FALSE(zeros->isNormalized());
  env.getImpl()->normalizationSkipped = true;
  EXPECT_EQ(node->normalize(), 0);
  EXPECT_EQ(shape(node), "1x 1x 0");
}

TEST_F(NumLinear, RemovesNoObjectsOfAnotherEnvironment) {
  TavExtractableArray objects(env);
  for (int k = 0; k < 1000; ++k)
    objects.add(TavNumVar(other, 0, 1));  // with identifiers that this environment uses, and others
  TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}});
  node->remove(objects);
  EXPECT_EQ(shape(node), "1x 2y 3x 0");
}

TEST_F(NumLinear, ARemovedVariableLeavesEverySumInOneSweepOrOneByOne) {
  for (const bool oneByOne : {false, true}) {
    env.getImpl()->oneByOneRemoval = oneByOne;
    TavNumVar ended = num("ended", 1);
    TavNumLinTermI* node = linear({{1, ended}, {2, y}, {3, ended}}, {intLeaf(7, "p")});
    TavIntLinTermI* whole = linear<TavIntLinTermI>({{1, ended}, {2, y}});
    const std::string sent = records([&] { ended.end(); });
    EXPECT_EQ(shape(node) + shape(whole), "2y <p> 0#2y 0");
    EXPECT_EQ(env.getImpl()->oneByOneRemoval, oneByOne);
    for (const char* record : {"IntLinTermRemoveVar ended; ", "NumLinTermRemoveVar ended; "}) {
      EXPECT_EQ(sent.find(record) != sent.npos, oneByOne) << sent;
    }
  }
  TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}});
  EXPECT_EQ(records([&] { node->atRemove(x.getImpl(), nullptr); }), "NumLinTermRemoveVar x; ");
  EXPECT_EQ(shape(node), "2y 3x 0");
  EXPECT_EQ(records([&] { node->atRemove(z.getImpl(), nullptr); }),
            "NumLinTermRemoveVar z; ");  // reported although the sum does not have it
}

}  // namespace
