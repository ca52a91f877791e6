#include <array>
#include <mutex>
#include <set>
#include <thread>

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

TEST_F(Count, VariablesAndConstraintsAreNotCountedAndEndForGood) {
  for (TavNumExprI* node : {TavNumExprArg(o.v).getImpl(), TavNumExprArg(TavIntExprArg(o.truth)).getImpl()}) {
    const TavInt before = objects();
    EXPECT_FALSE(node->isRefCountedExpr());
    TavNumExpr held{TavNumExprArg(node)};
    (TavNumExprArg(node) * o.x).end();
    held.end();
    node->release();
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(node->getRefCount(), 2);  // parents and handles count up and never down
    node->end();
    EXPECT_EQ(objects(), before - 1);
  }
}

template <std::size_t N>
class ManyI : public TavNode<ManyI<N>, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "ManyI";
};

TEST_F(Count, ThreadsAgreeOnTypeIndicesWithAMutexAndWithout) {
  struct Lock final : TavLock {
    void lock() override { mutex.lock(); }
    void unlock() override { mutex.unlock(); }
    std::mutex mutex;
  } lock;
  const auto askAll = [&]<std::size_t... N>(std::index_sequence<N...>) {
    ((ManyI<N>::_rttiIndex = 0), ...);
    std::array<std::set<TavInt>, 8> seen;
    std::vector<std::thread> threads;
    for (auto& mine : seen) threads.emplace_back([&mine] { mine = {ManyI<N>::GetTypeIndex()...}; });
    for (std::thread& thread : threads) thread.join();
    for (const auto& mine : seen) EXPECT_EQ(mine, seen[0]);
    EXPECT_EQ(seen[0].size(), sizeof...(N));
  };
  const TavInt last = TavRtti::_counter;
  TavEnvI::Mutex = &lock;
  askAll(std::make_index_sequence<20>());
  EXPECT_EQ(TavRtti::_counter - last, 20);
  TavEnvI::Mutex = nullptr;
  askAll(std::make_index_sequence<20>());
}

}  // namespace
