// Expressions nested far deeper than the stack of the thread that works on them has room for: at two machine words a
// level the smallest frame of a recursion fills it many times over.

#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <set>

#include "examples/draw/draw.h"
#include "tests/support/fixture.h"
#include "tests/support/samples.h"

namespace {

#ifdef __SANITIZE_THREAD__
constexpr std::size_t kTaken = std::size_t{1} << 21;  // the sanitizer's own data lies on a thread's stack
#else
constexpr std::size_t kTaken = 0;
#endif

/// Runs the body on `threads` threads at once, each with a stack of this size.
void onSmallStack(std::size_t bytes, const std::function<void()>& body, std::size_t threads = 1) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes + kTaken), 0);
  const auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  std::vector<pthread_t> all(threads);
  for (pthread_t& thread : all) {
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)), 0);
  }
  for (const pthread_t thread : all) pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

/// An environment whose variables have values, and the operands of the samples.
struct World final : TavAlgorithmI {
  World() : World(TavEnv()) {}
  ~World() override { env.end(); }

  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    switch (*variable->getName()) {
      case 'x':
        return x;
      case 'y':
        return 0.999999;  // a million factors make 1 / e
      case 'i':
        return 1.0;
    }
    throw TavAlgorithm::Exception("no value", 0);
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
  std::string name() const { return std::string(sample->facts.name) + " over " + place; }
  /// Whether nodes of the class nest there: a node of integer operands is integer itself, and none is asked or printed
  /// twice, folded, or a divisor that becomes zero.
  bool nests() const {
    static const std::set<std::string> kOthers = {"TavDistToIntI over x",          "TavNumTimesCstI over x",
                                                  "TavIntTimesCstI over i",        "TavNumDivCstI over x",
                                                  "TavIntModuloI over j",          "TavIntRecModuloCstI over i",
                                                  "TavConditionalNumExprI over y", "TavConditionalIntExprI over j"};
    const char* cls = sample->facts.name;
    if (!sample->library && !std::strstr(cls, "Lin") && !std::strstr(cls, "Conditional")) return false;
    if (kOthers.count(name())) return false;
    if (std::strchr("ijI", place) && !sample->isInt) return false;
    World w;
    const std::vector<TavExtractableI*> children = childrenOf(over(w, w.leaf.getImpl()));
    return std::count(children.begin(), children.end(), w.leaf.getImpl()) == 1;
  }
  /// A condition is never given back.
  bool releases() const { return name() != "TavConditionalIntExprI over i"; }
};

std::string textOf(const TavExtractableI* object) {
  std::ostringstream os;
  object->display(os);
  return os.str();
}

/// What one level of a shape does, learned from a single node, told for many.
struct Expected {
  Expected(const Shape& shape, TavInt levels) {
    World w;
    const std::string leaf = textOf(w.leaf.getImpl());
    const E one = shape.over(w, w.leaf.getImpl());
    const std::string around = textOf(one);
    const std::size_t at = around.find(leaf);
    for (TavInt i = 0; i < levels; ++i) {
      text += around.substr(0, at);
      w.x = one->eval(&w);
    }
    text += leaf;
    for (TavInt i = 0; i < levels; ++i) text += around.substr(at + leaf.size());
    value = w.x;
    isInteger = one->isInteger();
  }
  std::string text;
  double value;
  bool isInteger;
};

/// Whether the expression prints, evaluates and answers as expected.
void expectWhole(const Expected& expected, const World& w, const TavNumExprI* e) {
  EXPECT_TRUE(textOf(e) == expected.text);
  EXPECT_EQ(e->isInteger(), expected.isInteger);
  const double value = e->eval(const_cast<World*>(&w));
  EXPECT_TRUE(value == expected.value || (value != value && expected.value != expected.value)) << value;
}

void liveThrough(const Shape& shape, TavInt levels) {
  SCOPED_TRACE(shape.name());
  const Expected expected(shape, levels);
  World w, copies;
  TavEnvI* env = w.env.getImpl();
  const TavInt atFirst = env->liveObjectCount();
  std::vector<TavNumExprI*> nodes{w.leaf.getImpl()};
  for (TavInt i = 0; i < levels; ++i) nodes.push_back(shape.over(w, nodes.back()));
  const TavInt built = env->liveObjectCount();
  TavNumExpr all{num(nodes.back())}, lowerHalf{num(nodes[nodes.size() / 2])};
  expectWhole(expected, w, nodes.back());

  const auto* clone = TavClonePass(env, copies.env.getImpl()).clone(nodes.back());
  expectWhole(expected, copies, static_cast<const TavNumExprI*>(clone));
  all.end();
  if (shape.releases()) {
    EXPECT_EQ(env->liveObjectCount(), built - levels + levels / 2);
  }
  expectWhole(Expected(shape, levels / 2), w, lowerHalf.getImpl());
  lowerHalf.end();
  if (shape.releases()) {
    EXPECT_EQ(env->liveObjectCount(), atFirst);
  }
}

class DeepShape : public ::testing::TestWithParam<const char*> {};

std::vector<Shape> shapes() {
  std::vector<Shape> all;
  for (const NodeSample& sample : nodeSamples()) {
    for (const char place : {'x', 'y', 'i', 'j', 'X', 'I'}) {
      if (const Shape shape{&sample, place}; shape.nests()) all.push_back(shape);
    }
  }
  return all;
}

TEST_P(DeepShape, LivesAMillionLevelsDeepOnOneMebibyteOfStack) {
  for (const Shape& shape : shapes()) {
    if (shape.name() == GetParam()) onSmallStack(std::size_t{1} << 20, [&] { liveThrough(shape, 1'000'000); });
  }
}

INSTANTIATE_TEST_SUITE_P(Deep, DeepShape,
                         ::testing::Values("TavSinI over x", "TavNumTimesI over x", "TavNumTimesI over y",
                                           "TavNumMinI over x"));

TEST(Deep, EveryClassNestsBeyondTheStackInThePlaceOfEveryOperand) {
  const std::vector<Shape> all = shapes();
  EXPECT_GT(all.size(), 60u);
  for (const Shape& shape : all) onSmallStack(std::size_t{1} << 17, [&] { liveThrough(shape, 10'000); });
}

TEST(Deep, ChainsAreClonedByHandAndDrawn) {
  onSmallStack(std::size_t{1} << 17, [] {
    World w, copies;
    TavEnvI* env = w.env.getImpl();
    E e = w.leaf.getImpl();
    env->setClone(e, e->makeClone(copies.env.getImpl()));
    for (int i = 0; i < 100'000; ++i) {
      e = TavSin(num(e)).getImpl();
      env->setClone(e, e->makeClone(copies.env.getImpl()));
    }
    std::ostringstream drawing;
    drawGraph(drawing, TavExtractable(env->getClone(e)));
    const std::string text = drawing.str();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 200'006);  // four, one for each node and edge, one
  });
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

TEST(Deep, FailuresComeBackFromTheBottomOnEveryThread) {
  onSmallStack(
      std::size_t{1} << 17,
      [] {
        World w;
        TavNumExprI* e = w.leaf.getImpl();
        for (int i = 0; i < 100'000; ++i) e = TavAbs(num(e)).getImpl();
        w.leaf.setName("nowhere");
        EXPECT_THROW(e->eval(&w), TavAlgorithm::Exception);
        w.leaf.setName("x");
        EXPECT_EQ(e->eval(&w), 1.0);
      },
      2);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they need room of their own
TEST(Deep, WithoutMemoryForMoreStackBadAllocComesOut) {
  onSmallStack(std::size_t{1} << 17, [] {
    World w;
    TavNumExprI* e = w.leaf.getImpl();
    for (int i = 0; i < 100'000; ++i) e = TavAbs(num(e)).getImpl();
    rlimit limit;
    getrlimit(RLIMIT_AS, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_AS, &none);
    EXPECT_THROW(num(e).eval(&w), std::bad_alloc);
    setrlimit(RLIMIT_AS, &limit);
    EXPECT_EQ(num(e).eval(&w), 1.0);
  });
}
#endif

}  // namespace
