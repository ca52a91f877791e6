// Expressions nested far deeper than the stack of the thread that works on them has room for: at two machine words a
// level the smallest frame of a recursion fills it many times over.

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
constexpr std::size_t kTaken = std::size_t{1} << 21;  // the sanitizer's own data lies on a thread's stack
#else
constexpr std::size_t kTaken = 0;
#endif

/// Runs the body on `count` threads at once, each with a stack of this size.
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
struct World final : TavAlgorithmI {
  World() : World(TavEnv()) {}
  ~World() override { env.end(); }
  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    const std::string name = variable->getName();
    if (name == "nowhere") throw TavAlgorithm::Exception("no value", 0);
    return name == "x" ? x : name == "y" ? 0.999999 : 1.0;  // a million factors make 1 / e
  }

  TavEnv env;
  double x = 1.0;
  TavIntVar leaf{env, 0, 1, "x"}, y{env, 0, 1, "y"}, i{env, 0, 1, "i"};
  Operands o{env};

 private:
  explicit World(TavEnv home) : TavAlgorithmI(home.getImpl()), env(home) {
    env.getImpl()->librarySyntaxDisplay = true;
    o.x = o.y = y, o.i = o.j = i, o.v = y, o.w = i;
    o.c = 2, o.d = 1, o.k = 4;
    for (const int k : {0, 1}) o.X.add(y), o.I.add(i), o.C.add(k), o.K.add(1);
    for (const int k : {0, 1, 2}) o.D.add(k);
  }
};

using E = TavNumExprI*;
TavNumExprArg num(E e) { return TavNumExprArg(e); }
TavIntExprArg whole(E e) { return TavIntExprArg(static_cast<TavIntExprI*>(e)); }

/// A node of a class over another one, which stands in the place of one of its sample's operands.
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
  /// Whether nodes of the class nest there: a node of integer operands is integer itself, and none is asked or printed
  /// twice, folded, or a divisor that becomes zero.
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

std::string textOf(const TavExtractableI* object) {
  std::ostringstream os;
  object->display(os);
  return os.str();
}

/// Builds, prints, evaluates, clones and ends so many levels of the shape; what one level does is learned from one
/// node.
void liveThrough(const Shape& shape, TavInt levels) {
  SCOPED_TRACE(shape.name());
  World w, copies, single;
  const E one = shape.over(single, single.leaf.getImpl());
  const std::string leaf = textOf(w.leaf.getImpl()), around = textOf(one);
  const std::size_t at = around.find(leaf);
  std::string text;
  for (TavInt i = 0; i < levels; ++i) {
    text += around.substr(0, at);
    single.x = one->eval(&single);
  }
  text += leaf;
  for (TavInt i = 0; i < levels; ++i) text += around.substr(at + leaf.size());

  TavEnvI* env = w.env.getImpl();
  const TavInt atFirst = env->liveObjectCount();
  E e = w.leaf.getImpl();
  for (TavInt i = 0; i < levels; ++i) e = shape.over(w, e);
  TavNumExpr all{num(e)};
  auto* clone = static_cast<E>(TavClonePass(env, copies.env.getImpl()).clone(e));
  for (const auto& [node, world] : {std::pair{e, &w}, std::pair{clone, &copies}}) {
    EXPECT_TRUE(textOf(node) == text);
    EXPECT_EQ(node->isInteger(), one->isInteger());
    const double value = node->eval(world);
    EXPECT_TRUE(value == single.x || (value != value && single.x != single.x)) << value;
  }
  all.end();
  if (shape.name() == "TavConditionalIntExprI over i") return;  // a condition is never given back
  EXPECT_EQ(env->liveObjectCount(), atFirst);
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
    EXPECT_EQ((num(numeric) / 2.0).eval(&w), 50'000.5);
    EXPECT_EQ((whole(integral) * 2).eval(&w), 200'002.0);
    EXPECT_EQ((num(factors) * 2.0).eval(&w), 2.0);
  });
}

/// `check` with a tower of absolute values over the leaf, which is 1 before and after.
void underAbsoluteValues(const std::function<void(World&, TavNumExprArg)>& check, std::size_t threads) {
  const auto run = [&check] {
    World w;
    E e = w.leaf.getImpl();
    for (int i = 0; i < 100'000; ++i) e = TavAbs(num(e)).getImpl();
    check(w, num(e));
    EXPECT_EQ(e->eval(&w), 1.0);
  };
  onSmallStack(std::size_t{1} << 17, run, threads);
}

TEST(Deep, FailuresComeBackFromTheBottomOnEveryThread) {
  const auto fail = [](World& w, TavNumExprArg e) {
    w.leaf.setName("nowhere");
    EXPECT_THROW(e.eval(&w), TavAlgorithm::Exception);
    w.leaf.setName("x");
  };
  underAbsoluteValues(fail, 2);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they need room of their own
TEST(Deep, WithoutMemoryForMoreStackBadAllocComesOut) {
  const auto fail = [](World& w, TavNumExprArg e) {
    rlimit limit;
    getrlimit(RLIMIT_AS, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_AS, &none);
    EXPECT_THROW(e.eval(&w), std::bad_alloc);
    setrlimit(RLIMIT_AS, &limit);
  };
  underAbsoluteValues(fail, 1);
}
#endif

}  // namespace
