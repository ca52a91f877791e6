#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

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
  TestObject* objects[4];
  for (TestObject*& object : objects) {
    std::string name = "first";
    object = makeObject(env, name.c_str());
    name = "other";
    object->destroyed = &destroyed;
    EXPECT_STREQ(object->getName(), "first");  // a copy
  }
  impl()->destroy(objects[1], 0);
  EXPECT_EQ(destroyed, 1);
  impl()->markRemoved(objects[2]);  // a mark that nobody took back
  objects[3]->setName(objects[3]->getName());
  EXPECT_STREQ(objects[3]->getName(), "first");
  objects[3]->setName(nullptr);
  EXPECT_EQ(objects[3]->getName(), nullptr);
  EXPECT_EQ(impl()->liveObjectCount(), 3);
  env.end();
  EXPECT_EQ(destroyed, 4);
  EXPECT_EQ(env.getImpl(), nullptr);
}

TEST_F(Environment, IdentifiersAreUsedAgainAndMarkArraysHaveAnEntryForEach) {
  std::set<TavInt> ids;
  std::vector<TestObject*> objects;
  for (int i = 0; i < 100; ++i) ids.insert((objects.emplace_back(makeObject(env)))->getId());
  EXPECT_EQ(ids.size(), objects.size());
  for (std::size_t i = 0; i < objects.size(); i += 2) impl()->destroy(objects[i], 0);
  for (std::size_t i = 0; i < objects.size(); i += 2) EXPECT_TRUE(ids.count(makeObject(env)->getId()));
  EXPECT_EQ(impl()->liveObjectCount(), 100);
  for (int round = 0; round < 3; ++round) {  // an array that comes back is used again when there are more
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

TEST_F(Environment, ABatchIsRemovedInOneSweepOrOneByOneAndRepeatsCountOnce) {
  for (const bool oneByOne : {false, true}) {
    impl()->oneByOneRemoval = oneByOne;
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
    std::vector<TavExtractableI*>& told = holder->removals;
    if (oneByOne && told.size() > 2) told.resize(2);  // a repeat may be told again
    EXPECT_EQ(told, (oneByOne ? std::vector<TavExtractableI*>{a, b} : std::vector<TavExtractableI*>{a}));
    EXPECT_EQ(algorithm.forgotten, std::vector<TavExtractableI*>{b});
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(array.getSize(), 4);
    EXPECT_EQ(impl()->oneByOneRemoval, oneByOne);
  }
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
  std::make_unique<TestAlgorithm>(env).reset();  // one that is gone hears nothing
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
  EXPECT_EQ(change.applied, 2);
  impl()->setChangeListener([](const TavChange&) { throw TavException("listener"); });
  first.failure = second.failure = nullptr;
  EXPECT_THROW(impl()->change(change), TavException);
  EXPECT_EQ(first.changes + second.changes, 4);
  impl()->setChangeListener(nullptr);
  TavExtractableArray array(env, 2);  // of an array: who has one element
  array.add(TavExtractable(makeObject(env)));
  array.add(TavExtractable(object));
  const TestChange ofArray(array.getImpl());
  EXPECT_EQ(ofArray.getChangedExtractable(), nullptr);
  EXPECT_EQ(ofArray.getChangedExtractableArray(), array.getImpl());
  impl()->change(ofArray);
  EXPECT_EQ(first.changes + second.changes, 6);
  EXPECT_EQ(stranger.changes, 0);
  env.end();
  EXPECT_EQ(first.getEnv(), nullptr);
}

TEST_F(Environment, ChainsAreDestroyedAndClonedWithoutRecursionAndSharedObjectsOnce) {
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
  TestObject* chain = nullptr;
  const TavInt objects = impl()->liveObjectCount();
  for (int i = 0; i < 10000; ++i) {
    auto* next = makeObject(env);
    next->next = std::exchange(chain, next);
  }
  impl()->destroy(chain, 0);
  EXPECT_EQ(impl()->liveObjectCount(), objects);
  TestObject* object = makeObject(env);
  EXPECT_EQ(impl()->getClone(object), nullptr);
  EXPECT_THROW(object->TavExtractableI::makeClone(target.getImpl()), TavNotImplemented);
  target.end();
}

TEST_F(Environment, ATypeIndexIsTestedAgainUnderTheMutex) {
  struct Mutex final : TavLock {
    void lock() override { ++taken, TestChange::_rttiIndex = 77; }  // another thread was first
    void unlock() override { ++given; }
    int taken = 0, given = 0;
  } mutex;
  TavEnvI::Mutex = &mutex;
  const TavInt last = TavRtti::_counter;
  EXPECT_EQ(TestChange::GetTypeIndex(), 77);
  EXPECT_EQ(TestChange::GetTypeIndex(), 77);
  EXPECT_EQ(TavRtti::_counter, last);
  EXPECT_EQ(mutex.taken, 1);
  EXPECT_EQ(mutex.given, 1);
  TavEnvI::Mutex = nullptr;
  TestChange::_rttiIndex = 0;
}

TEST(Numbers, TruncationSaturatesAndIntegersWrap) {
  constexpr TavInt kMax = std::numeric_limits<TavInt>::max();
  constexpr TavInt kMin = std::numeric_limits<TavInt>::min();
  const std::pair<double, TavInt> kCases[] = {{-2.5, -2},       {9223372036854774784.0, 9223372036854774784},
                                              {0x1p63, kMax},   {-0x1p63, kMin},
                                              {HUGE_VAL, kMax}, {-HUGE_VAL, kMin},
                                              {1e300, kMax},    {std::nan(""), 0}};
  for (const auto& [x, expected] : kCases) EXPECT_EQ(TavTrunc(x), expected) << x;
  EXPECT_EQ(TavWrapAdd(kMax, 1), kMin);
  EXPECT_EQ(TavWrapMul(kMin, -1), kMin);
  EXPECT_EQ(TavWrapNegate(kMin), kMin);
}

TEST(Numbers, OneRoundingGoesAwayFromZeroTheOtherToEven) {
  const double kCases[][3] = {{0.5, 1, 0},
                              {1.5, 2, 2},
                              {-0.5, -1, -0.0},
                              {-2.5, -3, -2},
                              {2.49, 2, 2},
                              {-2.7, -3, -3},
                              {0x1p52 + 1, 0x1p52 + 1, 0x1p52 + 1},
                              {0.49999999999999994, 0, 0},
                              {HUGE_VAL, HUGE_VAL, HUGE_VAL}};
  for (const auto& [x, away, even] : kCases) {
    EXPECT_EQ(TavRound(x), away) << x;
    EXPECT_EQ(TavVurRound(x), even) << x;
    EXPECT_EQ(std::signbit(TavVurRound(x)), std::signbit(even)) << x;
  }
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
