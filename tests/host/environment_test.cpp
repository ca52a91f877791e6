#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <set>
#include <sstream>

#include "tests/host/objects.h"

namespace {

class Environment : public ::testing::Test {
 protected:
  ~Environment() override { env.end(); }
  TavEnvI* impl() { return env.getImpl(); }
  TavEnv env;
};

TEST_F(Environment, EndRunsEveryDestructorOnceWhateverStateTheObjectIsIn) {
  int destroyed = 0;
  TestObject* objects[5];
  for (TestObject*& object : objects) {
    object = makeObject(env, "named");
    object->destroyed = &destroyed;
  }
  impl()->destroy(objects[1], 0);
  EXPECT_EQ(destroyed, 1);
  impl()->markRemoved(objects[2]);  // a mark that nobody took back
  objects[3]->setName(nullptr);
  EXPECT_EQ(impl()->liveObjectCount(), 4);
  env.end();
  EXPECT_EQ(destroyed, 5);
  EXPECT_EQ(env.getImpl(), nullptr);
}

TEST_F(Environment, AnAlgorithmMayGoBeforeOrAfterItsEnvironment) {
  auto first = std::make_unique<TestAlgorithm>(env);
  auto second = std::make_unique<TestAlgorithm>(env);
  first.reset();
  TestObject* object = makeObject(env);
  second->extracted = object;
  object->notify(TestChange(object));
  EXPECT_EQ(second->changes, 1);
  env.end();
  EXPECT_EQ(second->getEnv(), nullptr);
}

TEST_F(Environment, IdentifiersAreUniqueAndUsedAgain) {
  std::set<TavInt> ids;
  std::vector<TestObject*> objects;
  for (int i = 0; i < 100; ++i) ids.insert((objects.emplace_back(makeObject(env)))->getId());
  EXPECT_EQ(ids.size(), 100u);
  for (int i = 0; i < 50; ++i) impl()->destroy(objects[static_cast<std::size_t>(2 * i)], 0);
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(ids.count(makeObject(env)->getId()));
  EXPECT_EQ(impl()->liveObjectCount(), 100);
}

TEST_F(Environment, ChainsAreDestroyedWithoutRecursion) {
  int destroyed = 0;
  TestObject* chain = nullptr;
  for (int i = 0; i < 300000; ++i) {
    TestObject* object = makeObject(env);
    object->destroyed = &destroyed;
    object->next = chain;
    chain = object;
  }
  impl()->destroy(chain, 0);
  EXPECT_EQ(destroyed, 300000);
  EXPECT_EQ(impl()->liveObjectCount(), 0);
}

TEST_F(Environment, NamesAreCopied) {
  std::string name = "first";
  TestObject* object = makeObject(env, name.c_str());
  name = "other";
  EXPECT_STREQ(object->getName(), "first");
  object->setName(object->getName());
  EXPECT_STREQ(object->getName(), "first");
  object->setName(nullptr);
  EXPECT_EQ(object->getName(), nullptr);
}

TEST_F(Environment, MarkArraysHaveAnEntryPerIdentifier) {
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 1000; ++i) makeObject(env);
    void** marks = impl()->getMarkArray();
    for (TavInt id = 0; id < impl()->liveObjectCount(); ++id) marks[id] = this;
    impl()->releaseMarkArray(marks);
  }
}

TEST_F(Environment, RemovalMarksNestAndAreTakenBack) {
  TestObject* a = makeObject(env);
  TestObject* b = makeObject(env);
  TestObject* c = makeObject(env);
  const std::size_t outer = impl()->markedCount();
  impl()->markRemoved(a);
  const std::size_t inner = impl()->markedCount();
  impl()->markRemoved(a);  // marked already: belongs to the outer one
  impl()->markRemoved(b);
  impl()->markRemoved(c);
  EXPECT_TRUE(impl()->isRemoved(a) && impl()->isRemoved(b));
  impl()->destroy(c, 0);  // an object may go while it is marked
  TestObject* heir = makeObject(env);
  EXPECT_FALSE(impl()->isRemoved(heir));
  impl()->restoreMarks(inner);
  EXPECT_TRUE(impl()->isRemoved(a));
  EXPECT_FALSE(impl()->isRemoved(b));
  EXPECT_FALSE(impl()->isRemoved(heir));
  impl()->restoreMarks(outer);
  EXPECT_FALSE(impl()->isRemoved(a));
  EXPECT_EQ(impl()->liveObjectCount(), 3);
}

TEST_F(Environment, ABatchIsRemovedInOneSweepAndRepeatsCountOnce) {
  TestObject* holder = makeObject(env);
  TestObject* a = makeObject(env);
  TestObject* b = makeObject(env);
  TestAlgorithm algorithm(env);
  algorithm.extracted = b;
  int destroyed = 0;
  a->destroyed = b->destroyed = &destroyed;
  TavExtractableArray array(env);
  for (TestObject* element : {a, b, a}) array.add(TavExtractable(element));
  array.add(TavExtractable());
  array.endElements();
  EXPECT_EQ(holder->removals, std::vector<TavExtractableI*>{a});
  EXPECT_EQ(algorithm.forgotten, std::vector<TavExtractableI*>{b});
  EXPECT_EQ(destroyed, 2);
  EXPECT_EQ(array.getSize(), 4);
}

TEST_F(Environment, RemovalOneByOneTellsOfEachObject) {
  impl()->oneByOneRemoval = true;
  TestObject* holder = makeObject(env);
  TestObject* a = makeObject(env);
  TestObject* b = makeObject(env);
  TavExtractableI* batch[] = {a, b};
  impl()->removeFromAllAndDestroy(batch, batch + 2);
  ASSERT_GE(holder->removals.size(), 2u);
  EXPECT_EQ(holder->removals[0], a);
  EXPECT_EQ(holder->removals[1], b);
  EXPECT_TRUE(impl()->oneByOneRemoval);
}

TEST_F(Environment, AFailingSweepStillDestroysAndTheFailureGoesOn) {
  TestObject* refusing = makeObject(env);
  TestObject* holder = makeObject(env);
  refusing->throwsAtRemove = true;
  TestObject* gone = makeObject(env);
  EXPECT_THROW(gone->end(), TavException);
  EXPECT_EQ(holder->removals.size(), 1u);
  EXPECT_EQ(impl()->liveObjectCount(), 2);
}

TEST_F(Environment, ARecordReachesTheListenerAndEveryAlgorithmThatWantsIt) {
  TestObject* object = makeObject(env);
  TestAlgorithm first(env), second(env), stranger(env);
  first.extracted = second.extracted = object;
  first.failure = "first";
  second.failure = "second";
  std::vector<const TavChange*> heard;
  impl()->setChangeListener([&](const TavChange& change) {
    EXPECT_EQ(first.changes, 0);
    heard.push_back(&change);
  });
  const TestChange change(object);
  try {
    object->notify(change);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const TavException& failure) {
    EXPECT_STREQ(failure.getMessage(), "first");
  }
  EXPECT_EQ(heard, std::vector<const TavChange*>{&change});
  EXPECT_EQ(first.changes + second.changes, 2);
  EXPECT_EQ(stranger.changes, 0);
  EXPECT_EQ(change.applied, 2);
  impl()->setChangeListener([](const TavChange&) { throw TavException("listener"); });
  first.failure = nullptr;
  EXPECT_THROW(impl()->change(change), TavException);
  EXPECT_EQ(first.changes + second.changes, 4);
}

TEST_F(Environment, ARecordOfAnArrayReachesWhoHasOneElement) {
  TestObject* object = makeObject(env);
  TestAlgorithm algorithm(env), stranger(env);
  algorithm.extracted = object;
  TavExtractableArray array(env, 2);
  array.add(TavExtractable(makeObject(env)));
  array.add(TavExtractable(object));
  const TestChange change(array.getImpl());
  EXPECT_TRUE(change.isApplyingOnArray());
  EXPECT_EQ(change.getChangedExtractable(), nullptr);
  EXPECT_EQ(change.getChangedExtractableArray(), array.getImpl());
  impl()->change(change);
  EXPECT_EQ(algorithm.changes, 1);
  EXPECT_EQ(stranger.changes, 0);
}

TEST_F(Environment, ACloningPassClonesSharedObjectsOnceAndDeepChainsWithoutRecursion) {
  TavEnv target;
  {
    TestObject* shared = makeObject(env, "shared");
    TestObject* left = makeObject(env, nullptr, {shared});
    TestObject* root = makeObject(env, "root", {left, shared, shared});
    TavClonePass pass(impl(), target.getImpl());
    auto* copy = static_cast<TestObject*>(pass.clone(root));
    ASSERT_EQ(copy->children.size(), 3u);
    EXPECT_EQ(copy->children[1], copy->children[2]);
    EXPECT_EQ(static_cast<TestObject*>(copy->children[0])->children[0], copy->children[1]);
    EXPECT_EQ(shared->clones, 1);
    EXPECT_EQ(pass.clone(root), copy);
    EXPECT_EQ(pass.clone(nullptr), nullptr);
    EXPECT_EQ(impl()->getClone(shared), copy->children[1]);
    EXPECT_EQ(target.getImpl()->getClone(shared), copy->children[1]);
    EXPECT_EQ(impl()->getClone(nullptr), nullptr);
    TestObject* chain = shared;
    for (int i = 0; i < 100000; ++i) chain = makeObject(env, nullptr, {chain});
    EXPECT_NE(pass.clone(chain), nullptr);
    EXPECT_EQ(target.getImpl()->liveObjectCount(), 100003);
  }
  TestObject* object = makeObject(env);
  EXPECT_EQ(impl()->getClone(object), nullptr);
  EXPECT_THROW(object->TavExtractableI::makeClone(target.getImpl()), TavNotImplemented);
  target.end();
}

TEST_F(Environment, TypeIndicesAreGivenOutOnceAndTestedAgainUnderTheMutex) {
  struct Mutex final : TavLock {
    void lock() override {
      ++taken;
      if (otherWasFirst) TestChange::_rttiIndex = 77;
    }
    void unlock() override { ++given; }
    int taken = 0, given = 0;
    bool otherWasFirst = false;
  } mutex;
  TavEnvI::Mutex = &mutex;
  const TestChange change(static_cast<TavArrayI*>(nullptr));
  EXPECT_EQ(change.getTypeIndex(), 0);
  const TavInt last = TavRtti::_counter;
  EXPECT_EQ(TestChange::GetTypeIndex(), last + 1);
  EXPECT_EQ(TestChange::GetTypeIndex(), last + 1);
  EXPECT_EQ(change.getTypeIndex(), last + 1);
  EXPECT_EQ(mutex.taken, 1);
  TestChange::_rttiIndex = 0;
  mutex.otherWasFirst = true;
  EXPECT_EQ(TestChange::GetTypeIndex(), 77);
  EXPECT_EQ(TavRtti::_counter, last + 1);
  EXPECT_EQ(mutex.given, 2);
  TavEnvI::Mutex = nullptr;
}

TEST(Numbers, TruncationSaturates) {
  constexpr TavInt kMax = std::numeric_limits<TavInt>::max();
  constexpr TavInt kMin = std::numeric_limits<TavInt>::min();
  const std::pair<double, TavInt> kCases[] = {{0.9, 0},          {-0.9, 0},
                                              {2.5, 2},          {-2.5, -2},
                                              {1e300, kMax},     {-1e300, kMin},
                                              {HUGE_VAL, kMax},  {-HUGE_VAL, kMin},
                                              {std::nan(""), 0}, {9223372036854774784.0, 9223372036854774784},
                                              {0x1p63, kMax},    {-0x1p63, kMin}};
  for (const auto& [x, expected] : kCases) EXPECT_EQ(TavTrunc(x), expected) << x;
  EXPECT_EQ(TavWrapAdd(kMax, 1), kMin);
  EXPECT_EQ(TavWrapMul(kMin, -1), kMin);
  EXPECT_EQ(TavWrapNegate(kMin), kMin);
}

TEST(Numbers, OneRoundingGoesAwayFromZeroTheOtherToEven) {
  const double kCases[][3] = {{0.5, 1, 0},
                              {1.5, 2, 2},
                              {2.5, 3, 2},
                              {-0.5, -1, -0.0},
                              {-2.5, -3, -2},
                              {-3.5, -4, -4},
                              {2.49, 2, 2},
                              {2.6, 3, 3},
                              {-2.7, -3, -3},
                              {0x1p52 + 1, 0x1p52 + 1, 0x1p52 + 1},
                              {0.49999999999999994, 0, 0}};
  for (const auto& [x, away, even] : kCases) {
    EXPECT_EQ(TavRound(x), away) << x;
    EXPECT_EQ(TavVurRound(x), even) << x;
    EXPECT_EQ(std::signbit(TavVurRound(x)), std::signbit(even)) << x;
  }
  EXPECT_EQ(TavVurRound(HUGE_VAL), HUGE_VAL);
  EXPECT_TRUE(std::isnan(TavVurRound(std::nan(""))));
}

TEST(Failures, CarryTheirMessageOrASentence) {
  const TavWrongUsage usage("message", 0);
  EXPECT_STREQ(usage.getMessage(), "message");
  EXPECT_STREQ(usage.what(), "message");
  const TavEmptyHandleException empty;
  EXPECT_EQ(empty.getMessage(), nullptr);
  ASSERT_NE(empty.what(), nullptr);
  std::ostringstream os;
  empty.print(os);
  EXPECT_EQ(os.str(), empty.what());
}

}  // namespace
