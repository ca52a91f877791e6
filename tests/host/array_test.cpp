#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>

#include "tests/host/objects.h"

namespace {

class Arrays : public ::testing::Test {
 protected:
  ~Arrays() override { env.end(); }
  template <class T>
  static std::string print(const T& object) {
    std::ostringstream os;
    if constexpr (std::is_pointer_v<T>) {
      object->display(os);
    } else {
      os << object;
    }
    return os.str();
  }
  static std::vector<TavInt> contents(TavIntArray array) {
    std::vector<TavInt> words;
    for (TavInt i = 0; i < array.getSize(); ++i) words.push_back(array[i]);
    return words;
  }
  TavEnv env;
};

TEST_F(Arrays, FollowAPlainVectorThroughRandomEdits) {
  std::mt19937 random(7);
  TavIntArray array(env);
  std::vector<TavInt> model{1};
  array.add(1);
  for (int step = 0; step < 400; ++step) {
    const TavInt size = array.getSize(), i = static_cast<TavInt>(random()) % size,
                 n = static_cast<TavInt>(random() % 300);
    switch (random() % 4) {
      case 0:
        for (TavInt k = 0; k < n; ++k) array.add(k), model.push_back(k);
        break;
      case 1:  // what is added lies in the block that may move
        if (size > 4000) break;
        array.getImpl()->addArray(array.getImpl());
        model.insert(model.end(), model.begin(), model.begin() + size);
        break;
      case 2:
        array.getImpl()->add(array.getImpl()->at(i));
        model.push_back(model[static_cast<std::size_t>(i)]);
        break;
      default:
        array.remove(i, std::min(n, size - 1 - i) + (i > 0));
        model.erase(model.begin() + i, model.begin() + i + std::min(n, size - 1 - i) + (i > 0));
    }
    ASSERT_EQ(contents(array), model) << step;
  }
  TavArrayI* copy = new (array.getImpl()->getMemory()) TavArrayI(array.getImpl()->getMemory(), array.getImpl());
  array.add(1);
  EXPECT_EQ(contents(TavIntArray(copy)), model);
  array.end();
  EXPECT_EQ(array.getImpl(), nullptr);
}

TEST_F(Arrays, StartWithZerosAndGiveTheirMemoryBack) {
  const TavInt used = env.getImpl()->getMemory()->usedBytes();
  for (const TavInt size : {0, 1024, 10000}) {
    TavIntArray array(env, size);
    EXPECT_EQ(contents(array), std::vector<TavInt>(static_cast<std::size_t>(size), 0));
    array.end();
    EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), used) << size;
  }
}

TEST_F(Arrays, PrintWithALineBreakAfterEveryTenth) {
  TavIntArray array(env);
  EXPECT_EQ(print(array), "[]");
  for (TavInt i = 1; i <= 10; ++i) array.add(i);
  EXPECT_EQ(print(array), "[1, 2, 3, 4, 5, 6, 7, 8, 9, 10]");
  for (TavInt i = 11; i <= 21; ++i) array.add(i);
  EXPECT_EQ(print(array), "[1, 2, 3, 4, 5, 6, 7, 8, 9, 10,\n11, 12, 13, 14, 15, 16, 17, 18, 19, 20,\n21]");
  array.remove(2, 19);
  array[1] = -7;
  EXPECT_EQ(print(array.toNumArray()), "[1, -7]");
  TavExtractableArray objects(env, 1);
  objects.add(TavExtractable(makeObject(env)));
  EXPECT_EQ(print(objects), "[, TavExtractableI(0)]");
}

TEST_F(Arrays, DropMarkedObjectsAndFollowClones) {
  TestObject* a = makeObject(env);
  TestObject* b = makeObject(env);
  TavExtractableArray array(env);
  for (TestObject* element : {a, b, a}) array.add(TavExtractable(element));
  array.add(TavExtractable());
  const TavExtractableArray before = array;
  env.getImpl()->setClone(a, b);
  array.replaceByClone(env.getImpl());
  EXPECT_EQ(before[0].getImpl(), a);
  EXPECT_EQ(array.getSize(), 4);
  EXPECT_EQ(array[0].getImpl(), b);
  EXPECT_EQ(array[1].getImpl(), nullptr);
  env.getImpl()->markRemoved(a);
  array = before;
  array.removeMarked(env.getImpl());
  ASSERT_EQ(array.getSize(), 2);
  EXPECT_EQ(array[0].getImpl(), b);
}

TEST_F(Arrays, DomainsAreSharedByTheBitsOfTheirBounds) {
  TavEnvI* e = env.getImpl();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  TavVarDomainI* domain = e->getOrMakeSharedDomain(0.0, 5.0);
  EXPECT_TRUE(domain->isShared());
  EXPECT_EQ(e->getOrMakeSharedDomain(0.0, 5.0), domain);
  EXPECT_EQ(e->getOrMakeSharedDomain(TavNumRange(env, 0.0, 5.0).getImpl()), domain);
  EXPECT_NE(e->getOrMakeSharedDomain(TavInt{0}, TavInt{5}), domain);
  EXPECT_EQ(e->getOrMakeSharedDomain(TavInt{0}, TavInt{5}), e->getOrMakeSharedDomain(TavIntRange(env, 0, 5).getImpl()));
  EXPECT_EQ(e->getOrMakeSharedDomain(TavInt{0}, TavInt{1})->getType(), TavNumVarKind::Int);
  EXPECT_NE(e->getOrMakeSharedDomain(-0.0, 5.0), domain);
  EXPECT_TRUE(std::signbit(e->getOrMakeSharedDomain(-0.0, 5.0)->getLB()));
  EXPECT_EQ(e->getOrMakeSharedDomain(kNaN, 5.0), e->getOrMakeSharedDomain(kNaN, 5.0));
  domain->setUB(9.0);  // an edit in place: the key lies from now on
  TavVarDomainI* fresh = e->getOrMakeSharedDomain(0.0, 5.0);
  EXPECT_NE(fresh, domain);
  EXPECT_EQ(fresh->getUB(), 5.0);
  EXPECT_EQ(domain->getUB(), 9.0);
  EXPECT_EQ(e->getOrMakeSharedDomain(0.0, 5.0), fresh);
}

TEST_F(Arrays, CopiesOfDomainsArePrivateAndKeepKindBoundsAndValues) {
  TavEnv other;
  TavEnvI* e = env.getImpl();
  TavNumArray nums(env);
  for (const double v : {3.5, -1.0, 2.0}) nums.add(v);
  TavIntArray ints(env);
  for (const TavInt v : {7, 4}) ints.add(v);
  TavIntArray any(env, 2);
  struct Case {
    TavVarDomainI* domain;
    const char* text;
    TavNumVarKind::Type type;
    bool enumerated, any;
    TavInt size;
    double inside, outside;
  };
  const Case kCases[] = {
      {e->getOrMakeSharedDomain(-1.5, 2.0), "[-1.5 .. 2] ", TavNumVarKind::Float, false, false, -1, 0.5, 2.5},
      {e->getOrMakeSharedDomain(TavInt{1}, TavInt{3}), "[1 .. 3] ", TavNumVarKind::Int, false, false, 3, 2, 2.5},
      {new (e) TavBoolVarDomainI(0, 1), "[0 .. 1] ", TavNumVarKind::Bool, false, false, 2, 1, 2},
      {new (e) TavNumVarDomainI(nums), "{3.5, -1, 2} ", TavNumVarKind::Float, true, false, 3, 3.5, 3},
      {new (e) TavIntVarDomainI(ints, 0), "{7, 4} ", TavNumVarKind::Int, true, false, 2, 7, 5},
      {new (e) TavIntVarDomainI(any, 1), "{0, 0} ", TavNumVarKind::Int, true, true, 2, 0, 1}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    TavVarDomainI* copy = c.domain->makeCopy(other.getImpl());
    EXPECT_FALSE(copy->isShared());
    EXPECT_EQ(TavMemory::of(copy), other.getImpl()->getMemory());
    EXPECT_EQ(print(copy), c.text);
    EXPECT_EQ(copy->getType(), c.type);
    EXPECT_EQ(copy->isEnumerated(), c.enumerated);
    EXPECT_EQ(copy->isAnyDomain(), c.any);
    EXPECT_EQ(copy->getSize(), c.size);
    EXPECT_TRUE(copy->contains(c.inside));
    EXPECT_FALSE(copy->contains(c.outside));
    copy->setLB(-99.0);
    EXPECT_EQ(print(c.domain), c.text);
    TavVarDomainI* second = copy->makeCopy(other.getImpl());  // bounds need not be those of the list
    EXPECT_EQ(second->getLB(), -99.0);
    EXPECT_EQ(second->getUB(), c.domain->getUB());
    second->end(other.getImpl());
    copy->end(other.getImpl());
  }
  EXPECT_EQ(other.getImpl()->getMemory()->usedBytes(), 0);
  EXPECT_EQ(kCases[3].domain->getLB(), -1.0);
  EXPECT_EQ(kCases[3].domain->getUB(), 3.5);
  other.end();
}

}  // namespace
