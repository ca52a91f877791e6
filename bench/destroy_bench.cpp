// Ending a chain of n products by ending its root.

#include "bench/race.h"

namespace {

struct LibraryChain {
  Pair& pair;
  TavInt length;
  TavNumExpr root;

  void prepare() {
    TavNumExprArg chain = pair.vars[0];
    for (TavInt i = 0; i < length; ++i) chain = chain * pair.vars[1];
    root = TavNumExpr(chain);
  }
  void run() { root.end(); }
  void finish() {}
};

/// Hand-written code that frees its operands first would need stack for every level, so this one walks the chain.
struct HandChain {
  Pair& pair;
  TavInt length;
  hand::Node* root = nullptr;

  void prepare() {
    root = pair.handVars[0];
    for (TavInt i = 0; i < length; ++i) root = hand::times(root, pair.handVars[1]);
    ++root->count;
  }
  void run() {
    hand::Node* stop = pair.handVars[0];
    while (root != stop) {
      auto* product = static_cast<hand::Product*>(root);
      hand::Node* next = product->left;
      ++next->count;
      hand::release(product);
      root = next;
    }
    --stop->count;
  }
  void finish() {}
};

void destroyChain(benchmark::State& state) {
  Pair pair(2);
  LibraryChain library{pair, state.range(0), {}};
  HandChain byHand{pair, state.range(0)};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(destroyChain)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

void buildChain(benchmark::State& state) {
  struct Library : LibraryChain {
    void prepare() {}
    void run() { LibraryChain::prepare(); }
    void finish() { root.end(); }
  };
  struct Hand : HandChain {
    void prepare() {}
    void run() { HandChain::prepare(); }
    void finish() { HandChain::run(); }
  };
  Pair pair(2);
  Library library{{pair, state.range(0), {}}};
  Hand byHand{{pair, state.range(0)}};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(buildChain)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

}  // namespace
