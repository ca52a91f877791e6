#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <sstream>
#include <utility>

#include "tests/host/objects.h"

namespace {

class Environment : public ::testing::Test {
 protected:
  ~Environment() override { env.end(); }
  TavEnvI* impl() { return env.getImpl(); }
  TavInt objects() { return impl()->liveObjectCount(); }
  TavEnv env;
};

TEST_F(Environment, EndRunsEveryDestructorOnceWhateverStateTheObjectIsIn) {
  std::vector<TavInt> destroyed;
  TestObject* objects[3];
  for (TestObject*& object : objects) {
    std::string name = "first";
    object = makeObject(env, name.c_str());
    name = "other";
    object->destroyed = &destroyed;
    object->setName(object->getName());
    EXPECT_STREQ(object->getName(), "first");  // a copy
  }
  impl()->destroy(objects[1], 0);
  impl()->markRemoved(objects[2]);  // never unmarked
  objects[0]->setName(nullptr);
  EXPECT_EQ(objects[0]->getName(), nullptr);
  makeObject(env)->destroyed = makeObject(env)->destroyed = &destroyed;  // identifiers 1 and 3
  EXPECT_EQ(destroyed, (std::vector<TavInt>{1}));
  env.end();
  EXPECT_EQ(destroyed, (std::vector<TavInt>{1, 3, 2, 1, 0}));  // the newest identifier first
  EXPECT_EQ(env.getImpl(), nullptr);
}

TEST_F(Environment, IdentifiersAreUsedAgainAndMarkArraysHaveAnEntryForEach) {
  for (int round = 0; round < 3; ++round) {  // a released array is used again, and grows
    for (int i = 0; i < 1000; ++i) impl()->destroy(makeObject(env), 0), makeObject(env);
    void** marks = impl()->getMarkArray();
    for (TavInt id = 0; id < objects(); ++id) marks[id] = this;
    impl()->releaseMarkArray(marks);
    const TavInt next = makeObject(env)->getId();
    EXPECT_EQ(next, objects() - 1);
  }
}

TEST_F(Environment, RemovalMarksNestAndAreTakenBack) {
  TestObject *a = makeObject(env), *b = makeObject(env), *c = makeObject(env), *d = makeObject(env);
  const std::size_t outer = impl()->markedCount();
  impl()->markRemoved(a);
  const std::size_t inner = impl()->markedCount();
  for (TestObject* object : {a, b, c, d}) impl()->markRemoved(object);  // a is marked already
  EXPECT_TRUE(impl()->isRemoved(a) && impl()->isRemoved(b));
  impl()->destroy(c, 0);  // a marked object may be destroyed
  TestObject* successor = makeObject(env);
  EXPECT_FALSE(impl()->isRemoved(successor));
  impl()->destroy(d, 0);  // its identifier stays free
  impl()->restoreMarks(inner);
  EXPECT_TRUE(impl()->isRemoved(a) && !impl()->isRemoved(b) && !impl()->isRemoved(successor));
  impl()->restoreMarks(outer);
  EXPECT_FALSE(impl()->isRemoved(a));
  EXPECT_EQ(objects(), 3);
}

TEST_F(Environment, AHookMayDestroyAndRemoveObjectsThatAreBeingRemoved) {
  std::vector<TavInt> destroyed;
  TestObject* made[6];
  for (TestObject*& object : made) object = makeObject(env), object->destroyed = &destroyed;
  const auto& [watcher, a, b, c, inner, d] = made;
  int notified = 0;
  a->onRemoval = [&](TavExtractableI*) { ++notified; };  // never: it is being removed
  watcher->onRemoval = [&, &b = b, &c = c, &inner = inner](TavExtractableI* removed) {
    if (removed == inner) {
      impl()->destroy(b, 0);  // of the outer removal
    } else {
      impl()->destroy(c, 0);
      inner->end();
    }
  };
  TavExtractableI* batch[] = {a, b, a, c, d};
  impl()->removeFromAllAndDestroy(std::begin(batch), std::end(batch));
  EXPECT_EQ(destroyed, (std::vector<TavInt>{3, 2, 4, 1, 5}));  // c, b, inner, a, d
  EXPECT_EQ(notified, 0);

  // Of two environments: all are destroyed, and the failure in one of them comes out.
  TavEnv other;
  makeObject(other)->onRemoval = [](TavExtractableI*) { throw TavException("from a hook"); };
  watcher->onRemoval = nullptr, watcher->destroyed = nullptr;
  TavExtractableI* both[] = {makeObject(env), makeObject(other)};
  EXPECT_THROW(TavEnvI::removeAcrossEnvs(std::begin(both), std::end(both)), TavException);
  EXPECT_EQ(objects() + other.getImpl()->liveObjectCount(), 2);
  other.end();
}

TEST_F(Environment, ObjectsThatNestDeeplyAndDestroySeveralOthersLeaveNone) {
  TestObject* top = makeObject(env);
  for (int level = 0; level < 100; ++level) {
    top = makeObject(env, nullptr, {top, makeObject(env)});
    top->destroysChildren = true;
  }
  impl()->destroy(top, 0);
  EXPECT_EQ(objects(), 0);
}

TEST_F(Environment, ARecordReachesTheListenerAndEveryAlgorithmThatWantsIt) {
  TestObject* object = makeObject(env);
  std::make_unique<TestAlgorithm>(env).reset();  // a destroyed algorithm is not notified
  TestAlgorithm first(env), second(env), stranger(env);
  first.extracted = second.extracted = object;
  first.failure = "first";
  second.failure = "second";
  const TestChange change(object);
  const auto failureOf = [](auto call) {
    try {
      call();
    } catch (const TavException& failure) {
      return std::string(failure.getMessage());
    }
    return std::string();
  };
  const TavChange* received = nullptr;
  impl()->setChangeListener([&](const TavChange& record) {
    EXPECT_EQ(first.changes, 0);
    received = &record;
  });
  EXPECT_EQ(failureOf([&] { object->notify(change); }), "first");
  EXPECT_EQ(received, &change);
  EXPECT_EQ(first.changes + second.changes + change.applied, 4);
  impl()->setChangeListener([](const TavChange&) { throw TavException("listener"); });
  EXPECT_EQ(failureOf([&] { impl()->change(change); }), "listener");
  impl()->setChangeListener(nullptr);
  first.failure = second.failure = nullptr;
  TavExtractableArray array(env, 2);  // an algorithm that has one element is notified
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

TEST_F(Environment, SharedObjectsAreClonedOnce) {
  TavEnv target;
  TestObject *shared = makeObject(env, "shared"), *left = makeObject(env, nullptr, {shared});
  TestObject* root = makeObject(env, "root", {left, shared, shared, makeObject(env, "last")});
  {
    TavClonePass pass(impl(), target.getImpl());
    auto* copy = static_cast<TestObject*>(pass.clone(root));
    ASSERT_EQ(copy->children.size(), 4u);
    EXPECT_LT(copy->children[0]->getId(), copy->children[3]->getId());  // the first operand is cloned first
    EXPECT_EQ(copy->children[1], copy->children[2]);
    EXPECT_EQ(static_cast<TestObject*>(copy->children[0])->children[0], copy->children[1]);
    EXPECT_EQ(shared->clones, 1);
    EXPECT_EQ(pass.clone(root), copy);
    EXPECT_EQ(pass.clone(nullptr), nullptr);
    for (TavEnvI* each : {impl(), target.getImpl()}) EXPECT_EQ(each->getClone(shared), copy->children[1]);
    EXPECT_EQ(impl()->getClone(nullptr), nullptr);
  }
  EXPECT_EQ(impl()->getClone(shared), nullptr);
  EXPECT_THROW(shared->TavExtractableI::makeClone(target.getImpl()), TavNotImplemented);
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

TEST(Failures, CarryTheirMessageOrASentence) {
  EXPECT_STREQ(TavWrongUsage("message", 0).what(), "message");
  const TavEmptyHandleException empty;
  EXPECT_EQ(empty.getMessage(), nullptr);
  std::ostringstream os;
  empty.print(os);
  EXPECT_EQ(os.str(), empty.what());
}

}  // namespace
