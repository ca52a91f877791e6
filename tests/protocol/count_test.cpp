#include <array>
#include <mutex>
#include <set>
#include <thread>

#include "tests/support/samples.h"

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
    EXPECT_EQ(objects(), before + (count > 1 ? 1 : 0));
    if (count > 1) node->end();
    EXPECT_EQ(objects(), before);
  }
  TavNumExprI* node = leaf(1.0).getImpl();
  env.getImpl()->ending = true;
  node->release();
  env.getImpl()->release(node);
  EXPECT_EQ(node->getRefCount(), 0);
  env.getImpl()->ending = false;
  EXPECT_EQ(objects(), before + 1);
  env.getImpl()->release(node);
  EXPECT_EQ(objects(), before);
}

TEST_F(Count, AnInterceptorComesBeforeTheRemovalAndTheRemovalBeforePlainDestruction) {
  struct Interceptor final : TavDeletionInterceptor {
    void takeNode(TavNumExprI* node) override { taken.push_back(node); }
    std::vector<TavNumExprI*> taken;
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
  EXPECT_EQ(interceptor.taken, std::vector<TavNumExprI*>{node});
  EXPECT_EQ(extractor.forgotten, 0);
  env.getImpl()->deletionInterceptor = nullptr;
  node->end();
  EXPECT_EQ(extractor.forgotten, 1);
  env.getImpl()->removeFromAllOnDestroy = false;
  leaf(1.0).getImpl()->end();
  EXPECT_EQ(extractor.forgotten, 1);
}

TEST_F(Count, VariablesAndConstraintsAreNotCountedAndEndForGood) {
  auto* constraint = new (env.getImpl()) TavConstConstraintI(env.getImpl(), nullptr, 1);
  for (TavNumExprI* node : {static_cast<TavNumExprI*>(world.x.getImpl()), static_cast<TavNumExprI*>(constraint)}) {
    const TavInt before = objects();
    EXPECT_FALSE(node->isRefCountedExpr());
    TavNumExpr held{TavNumExprArg(node)};
    (TavNumExprArg(node) * world.p).end();
    held.end();
    node->release();
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(node->getRefCount(), 2);  // parents and handles count up and never down
    node->end();
    EXPECT_EQ(objects(), before - 1);
  }
}

TEST_F(Count, AMillionNodesInAChainGoAwayAndFiftyThousandEvaluateAndPrint) {
  const TavInt before = objects();
  TavNumExprArg chain = world.p;
  for (int k = 0; k < 1000000; ++k) {
    chain = chain / 1.0;
    if (k != 50000) continue;
    EXPECT_EQ(eval(chain), 2.5);
    EXPECT_GT(plain(chain).size(), 150000u);
    EXPECT_GT(library(chain).size(), 150000u);
  }
  EXPECT_EQ(objects(), before + 1000000);
  chain.end();
  EXPECT_EQ(objects(), before);
  EXPECT_EQ(world.p.getImpl()->getRefCount(), 1);
}

template <int N>
class ManyI : public TavNode<ManyI<N>, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "ManyI";
};

/// Asks for the indices of twenty classes.
template <std::size_t... N>
std::array<TavInt, sizeof...(N)> indices(std::index_sequence<N...>) {
  return {ManyI<static_cast<int>(N)>::GetTypeIndex()...};
}

TEST_F(Count, ThreadsAgreeOnTypeIndicesWithAMutexAndWithout) {
  struct Lock final : TavLock {
    void lock() override { mutex.lock(); }
    void unlock() override { mutex.unlock(); }
    std::mutex mutex;
  } lock;
  constexpr auto kClasses = std::make_index_sequence<20>();
  for (TavLock* mutex : {static_cast<TavLock*>(&lock), static_cast<TavLock*>(nullptr)}) {
    TavEnvI::Mutex = mutex;
    [&]<std::size_t... N>(std::index_sequence<N...>) { ((ManyI<static_cast<int>(N)>::_rttiIndex = 0), ...); }
    (kClasses);
    const TavInt last = TavRtti::_counter;
    std::array<std::array<TavInt, 20>, 8> seen;
    std::vector<std::thread> threads;
    for (auto& mine : seen) threads.emplace_back([&mine, kClasses] { mine = indices(kClasses); });
    for (std::thread& thread : threads) thread.join();
    TavEnvI::Mutex = nullptr;
    for (const auto& mine : seen) EXPECT_EQ(mine, seen[0]);
    const std::set<TavInt> distinct(seen[0].begin(), seen[0].end());
    EXPECT_EQ(distinct.size(), 20u);
    EXPECT_GT(*distinct.begin(), last);
    if (mutex) {
      EXPECT_EQ(TavRtti::_counter, last + 20);
    }
  }
}

}  // namespace
