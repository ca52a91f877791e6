#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/host/objects.h"

namespace {

class Arrays : public ::testing::Test {
 protected:
  ~Arrays() override { env.end(); }
  static std::vector<TavInt> contents(TavIntArray array) {
    std::vector<TavInt> words;
    for (TavInt i = 0; i < array.getSize(); ++i) words.push_back(array[i]);
    return words;
  }
  template <class Array, class T>
  Array arrayOf(std::initializer_list<T> elements) {
    Array array(env);
    for (T element : elements) array.add(element);
    return array;
  }
  TavEnv env;
};

TEST_F(Arrays, FollowAPlainVectorThroughRandomEdits) {
  std::mt19937 random(7);
  const TavInt used = env.getImpl()->getMemory()->usedBytes();
  TavIntArray array(env, 1);
  TavArrayI* impl = array.getImpl();
  std::vector<TavInt> model{0};
  for (int step = 0; step < 400; ++step) {
    const TavInt size = array.getSize(), i = static_cast<TavInt>(random()) % size,
                 n = static_cast<TavInt>(random() % 300), count = std::min(n, size - 1 - i) + (i > 0);
    switch (random() % 4) {
      case 0:
        for (TavInt k = 0; k < n; ++k) array.add(k), model.push_back(k);
        break;
      case 1:  // the added words lie in the block, which may be reallocated
        if (size > 4000) break;
        impl->addArray(impl);
        model.insert(model.end(), model.begin(), model.begin() + size);
        break;
      case 2:
        impl->add(impl->at(i));
        model.push_back(model[static_cast<std::size_t>(i)]);
        break;
      default:
        array.remove(i, count);
        model.erase(model.begin() + i, model.begin() + i + count);
    }
    ASSERT_EQ(contents(array), model) << step;
  }
  TavIntArray twins[] = {arrayOf<TavIntArray>({TavInt{7}}), arrayOf<TavIntArray>({TavInt{7}})};
  for (int step = 1; step < 2000; ++step) {
    for (TavIntArray twin : twins) twin.getImpl()->add(twin.getImpl()->at(0));  // also when the block is reallocated
  }
  for (TavIntArray& twin : twins) {
    EXPECT_EQ(contents(twin), std::vector<TavInt>(2000, 7));
    twin.end();
  }
  array.end();
  EXPECT_EQ(array.getImpl(), nullptr);
  for (const TavInt size : {0, 1024, 10000}) {
    TavIntArray zeros(env, size);
    EXPECT_EQ(contents(zeros), std::vector<TavInt>(static_cast<std::size_t>(size), 0));
    zeros.end();
    EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), used) << size;
  }
}

TEST_F(Arrays, DropMarkedObjectsAndEmptyElements) {
  const TavExtractable a(makeObject(env)), b(makeObject(env));
  auto array = arrayOf<TavExtractableArray>({a, b, a, TavExtractable()});
  env.getImpl()->markRemoved(a.getImpl());
  array.removeMarked(env.getImpl());
  ASSERT_EQ(array.getSize(), 2);
  EXPECT_EQ(array[0], b);
}

}  // namespace
