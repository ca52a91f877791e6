// Expressions nested much deeper than a thread's stack allows: even with frames of two machine words, a recursion would
// overflow the stack many times over.

#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <set>

#include "tests/support/fixture.h"
#include "tests/support/samples.h"

namespace {

#ifdef __SANITIZE_THREAD__
constexpr std::size_t kTaken = std::size_t{1} << 21;  // the sanitizer puts data of its own on a thread's stack
#else
constexpr std::size_t kTaken = 0;
#endif

/// Runs the body on `count` threads at the same time, each with a stack of this size.
void onSmallStack(std::size_t bytes, const std::function<void()>& body, std::size_t count = 1) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes + kTaken), 0);
  const auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  std::vector<pthread_t> threads(count);
  for (pthread_t& thread : threads) {
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)), 0);
  }
  for (const pthread_t thread : threads) pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

/// An environment whose variables have values, and the operands of the samples.
struct World {
  World() {
    env.getImpl()->librarySyntaxDisplay = true;
    at[y] = 0.999999;  // a million factors make 1 / e
    at[leaf] = at[i] = 1.0;
    o.x = o.y = y, o.i = o.j = i, o.v = y, o.w = i;
    o.c = 2, o.d = 1, o.k = 4;
    for (const int k : {0, 1}) o.X.add(y), o.I.add(i), o.C.add(k), o.K.add(1);
    for (const int k : {0, 1, 2}) o.D.add(k);
  }
  TavScopedEnv env;
  TavValues at{env};
  TavIntVar leaf{env, 0, 1, "x"}, y{env, 0, 1, "y"}, i{env, 0, 1, "i"};
  Operands o{env};
};

using E = TavNumExprI*;
TavNumExprArg num(E e) { return TavNumExprArg(e); }
TavIntExprArg whole(E e) { return TavIntExprArg(static_cast<TavIntExprI*>(e)); }

/// A class of nodes, nested in the place of one of its operands.
struct Shape {
  const NodeSample* sample;
  char place;

  E over(World& w, E e) const {
    if (place == 'x') w.o.x = num(e);
    if (place == 'y') w.o.y = num(e);
    if (place == 'i') w.o.i = whole(e);
    if (place == 'j') w.o.j = whole(e);
    if (place == 'X') w.o.X.set(1, num(e));
    if (place == 'I') w.o.I.set(1, whole(e));
    return static_cast<E>(sample->make(w.o));
  }
  std::string name() const { return std::string(sample->name) + " over " + place; }
  /// Whether nodes of the class can be nested there: an operand that must be integer needs an integer node, and the
  /// class must not evaluate or print the operand twice, fold, or divide by zero.
  bool nests() const {
    static const std::set<std::string> kOthers = {"TavDistToIntI over x",          "TavNumTimesCstI over x",
                                                  "TavIntTimesCstI over i",        "TavNumDivCstI over x",
                                                  "TavIntModuloI over j",          "TavIntRecModuloCstI over i",
                                                  "TavConditionalNumExprI over y", "TavConditionalIntExprI over j"};
    const char* cls = sample->name;
    if (!sample->library && !std::strstr(cls, "Lin") && !std::strstr(cls, "Conditional")) return false;
    if (kOthers.count(name()) || (std::strchr("ijI", place) && !sample->isInt)) return false;
    World w;
    const std::vector<TavExtractableI*> children = childrenOf(over(w, w.leaf.getImpl()));
    return std::count(children.begin(), children.end(), w.leaf.getImpl()) == 1;
  }
};

/// Builds, prints, evaluates, clones and ends this many levels of the shape. The expected text and value are computed
/// from a single node.
void liveThrough(const Shape& shape, TavInt levels) {
  SCOPED_TRACE(shape.name());
  World w, copies, single;
  const E one = shape.over(single, single.leaf.getImpl());
  const std::string leaf = TavToString(w.leaf), around = TavToString(num(one));
  const std::size_t at = around.find(leaf);
  double& value = single.at[single.leaf];
  std::string text;
  for (TavInt i = 0; i < levels; ++i) {
    text += around.substr(0, at);
    value = one->eval(single.at);
  }
  text += leaf;
  for (TavInt i = 0; i < levels; ++i) text += around.substr(at + leaf.size());

  const TavInt atFirst = w.env.getImpl()->liveObjectCount();
  E e = w.leaf.getImpl();
  for (TavInt i = 0; i < levels; ++i) e = shape.over(w, e);
  TavNumExpr all{num(e)};
  TavClonePass pass(w.env.getImpl(), copies.env.getImpl());
  const TavNumExpr clone = TavClone(all, pass);
  for (const TavIntVar v : {w.leaf, w.y, w.i}) copies.at[TavClone(v, pass)] = w.at[v];
  for (const auto& [expr, values] : {std::pair{all, &w.at}, std::pair{clone, &copies.at}}) {
    EXPECT_TRUE(TavToString(expr) == text);
    EXPECT_EQ(expr.getImpl()->isInteger(), one->isInteger());
    const double found = expr.eval(*values);
    EXPECT_TRUE(found == value || (found != found && value != value)) << found;
  }
  all.end();
  if (shape.name() == "TavConditionalIntExprI over i") return;  // a condition is never released
  EXPECT_EQ(w.env.getImpl()->liveObjectCount(), atFirst);
}

TEST(Deep, EveryClassNestsBeyondTheStackInThePlaceOfEveryOperand) {
  std::size_t shapes = 0;
  for (const NodeSample& sample : nodeSamples()) {
    for (const char place : {'x', 'y', 'i', 'j', 'X', 'I'}) {
      const Shape shape{&sample, place};
      if (!shape.nests()) continue;
      const bool deepest = shape.name() == "TavNumTimesI over y";
      onSmallStack(std::size_t{1} << (deepest ? 20 : 17), [&] { liveThrough(shape, deepest ? 1'000'000 : 10'000); });
      ++shapes;
    }
  }
  EXPECT_GT(shapes, 60U);
}

template <class Linear, class Part>
E linearOver(E e) {
  auto* linear = new (e->getEnv()) Linear(e->getEnv(), 1);
  linear->append(static_cast<Part*>(e));
  return linear;
}

TEST(Deep, FactorsReachThePartsOfNestedSums) {
  onSmallStack(std::size_t{1} << 17, [] {
    World w;
    E numeric = w.leaf.getImpl(), integral = w.leaf.getImpl(), factors = TavSquare(w.leaf).getImpl();
    for (int i = 0; i < 100'000; ++i) {
      numeric = linearOver<TavNumLinTermI, TavNumExprI>(numeric);
      integral = linearOver<TavIntLinTermI, TavIntExprI>(integral);
      factors = new (w.env.getImpl()) TavNumTimesCstI(w.env.getImpl(), factors, -1.0);
    }
    EXPECT_EQ((num(numeric) / 2.0).eval(w.at), 50'000.5);
    EXPECT_EQ((whole(integral) * 2).eval(w.at), 200'002.0);
    EXPECT_EQ((num(factors) * 2.0).eval(w.at), 2.0);
  });
}

/// Calls `check` with nested absolute values of the leaf, whose value is 1 before and after.
void underAbsoluteValues(std::size_t threads, const std::function<void(World&, TavNumExprArg)>& check) {
  const auto run = [&check] {
    World w;
    TavNumExprArg e = w.leaf;
    for (int i = 0; i < 100'000; ++i) e = TavAbs(e);
    check(w, e);
    EXPECT_EQ(e.eval(w.at), 1.0);
  };
  onSmallStack(std::size_t{1} << 17, run, threads);
}

TEST(Deep, FailuresComeBackFromTheBottomOnEveryThread) {
  underAbsoluteValues(2, [](World& w, TavNumExprArg e) {
    w.at.erase(w.leaf);
    EXPECT_THROW(e.eval(w.at), TavModelEvaluator::Unbound);
    w.at[w.leaf] = 1.0;
  });
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they need memory of their own
TEST(Deep, WithoutMemoryForMoreStackBadAllocComesOut) {
  underAbsoluteValues(1, [](World& w, TavNumExprArg e) {
    rlimit limit;
    getrlimit(RLIMIT_AS, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_AS, &none);
    EXPECT_THROW(e.eval(w.at), std::bad_alloc);
    setrlimit(RLIMIT_AS, &limit);
  });
}
#endif

}  // namespace
