// Expressions nested far deeper than the stack of the thread that works on them has room for: at two machine words a
// level the smallest frame of a recursion fills it many times over.

#include <pthread.h>
#include <sys/resource.h>

#include <new>

#include "examples/draw/draw.h"
#include "tests/support/fixture.h"

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
  template <class Node, class... Args>
  Node* make(Args... args) const {
    return new (env.getImpl()) Node(env.getImpl(), args...);
  }

  TavEnv env;
  double x = 0.75;
  TavIntVar leaf{env, 0, 1, "x"}, y{env, 0, 1, "y"}, i{env, 0, 1, "i"};
  TavNumArray numbers{env, 2};
  TavIntArray ones{env, 2};

 private:
  explicit World(TavEnv home) : TavAlgorithmI(home.getImpl()), env(home) {
    env.getImpl()->librarySyntaxDisplay = true;
    numbers.set(1, 1.0);
    ones.set(0, 1);
    ones.set(1, 1);
  }
};

/// A node over another one.
struct Shape {
  const char* name;
  TavNumExprI* (*over)(const World&, TavNumExprI*);
  bool releases = true;
};

TavNumExprArg num(TavNumExprI* e) { return TavNumExprArg(e); }
TavIntExprArg whole(TavNumExprI* e) { return TavIntExprArg(static_cast<TavIntExprI*>(e)); }

/// make(array) for an array of y and e.
template <class Array, class Make>
TavNumExprI* withArray(const World& w, TavNumExprI* e, Make make) {
  Array array(w.env);
  array.add(w.y);
  array.add(decltype(array[0])(static_cast<decltype(array[0].getImpl())>(e)));
  TavNumExprI* node = make(array).getImpl();
  array.end();
  return node;
}

template <class Linear, class Part>
TavNumExprI* linearOver(const World& w, TavNumExprI* e) {
  auto* linear = w.make<Linear>(1);
  linear->append(static_cast<Part*>(e));
  return linear;
}

using W = const World&;
using E = TavNumExprI*;

const Shape kMainShapes[] = {
    {"sine", [](W, E e) { return TavSin(num(e)).getImpl(); }},
    {"product on the left", [](W w, E e) { return (num(e) * TavNumExprArg(w.y)).getImpl(); }},
    {"product on the right", [](W w, E e) { return (TavNumExprArg(w.y) * num(e)).getImpl(); }},
    {"minimum", [](W w, E e) { return TavMin(num(e), TavNumExprArg(w.y)).getImpl(); }},
};

const Shape kOtherShapes[] = {
    {"ceiling", [](W, E e) { return TavCeil(num(e)).getImpl(); }},
    {"number times", [](W w, E e) -> E { return w.make<TavNumTimesCstI>(e, -1.0); }},
    {"number over", [](W, E e) { return (2.0 / num(e)).getImpl(); }},
    {"power", [](W w, E e) { return TavPower(num(e), TavNumExprArg(w.y)).getImpl(); }},
    {"remainder", [](W, E e) -> E { return (whole(e) % 4).getImpl(); }},
    {"sum", linearOver<TavNumLinTermI, TavNumExprI>},
    {"integer sum", linearOver<TavIntLinTermI, TavIntExprI>},
    {"maximum of an array",
     [](W w, E e) { return withArray<TavNumExprArray>(w, e, [](auto a) { return TavMax(a); }); }},
    {"count", [](W w, E e) { return withArray<TavIntExprArray>(w, e, [](auto a) { return TavCount(a, 1); }); }},
    {"element of numbers", [](W w, E e) -> E { return w.ones[whole(e)].getImpl(); }},
    {"element of expressions",
     [](W w, E e) { return withArray<TavNumExprArray>(w, e, [&w](auto a) { return a[TavIntExprArg(w.i)]; }); }},
    {"piecewise",
     [](W w, E e) { return TavPiecewiseLinear(num(e), w.numbers, TavNumArray(w.env, 3), 0, 1).getImpl(); }},
    {"monotonic",
     [](W, E e) {
       return TavMonotonicIncreasingNumExpr(
                  num(e), [](double v) { return v / 2; }, nullptr)
           .getImpl();
     }},
    {"branch", [](W w, E e) -> E { return w.make<TavConditionalNumExprI>(w.i.getImpl(), e, nullptr, 0.5, 0.5); }},
    {"condition", [](W w, E e) -> E { return w.make<TavConditionalNumExprI>(e, nullptr, nullptr, 1.0, 0.5); }, false},
};

std::string textOf(const TavExtractableI* object) {
  std::ostringstream os;
  object->display(os);
  return os.str();
}

/// Counts lines.
class LineCount final : public std::streambuf {
 public:
  std::size_t count = 0;

 private:
  int_type overflow(int_type c) override {
    if (c == '\n') ++count;
    return c;
  }
};

/// What one level of a shape does, learned from a single node, told for many.
struct Expected {
  Expected(const Shape& shape, TavInt levels) {
    World w;
    const std::string leaf = textOf(w.leaf.getImpl());
    TavNumExprI* one = shape.over(w, w.leaf.getImpl());
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
  EXPECT_EQ(e->eval(const_cast<World*>(&w)), expected.value);
}

void liveThrough(const Shape& shape, TavInt levels) {
  SCOPED_TRACE(shape.name);
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
  if (shape.releases) {
    EXPECT_EQ(env->liveObjectCount(), built - levels + levels / 2);
  }
  expectWhole(Expected(shape, levels / 2), w, lowerHalf.getImpl());
  lowerHalf.end();
  if (shape.releases) {
    EXPECT_EQ(env->liveObjectCount(), atFirst);
  }
}

class DeepShape : public ::testing::TestWithParam<std::size_t> {};

TEST_P(DeepShape, LivesAMillionLevelsDeepOnOneMebibyteOfStack) {
  onSmallStack(std::size_t{1} << 20, [] { liveThrough(kMainShapes[GetParam()], 1'000'000); });
}

INSTANTIATE_TEST_SUITE_P(Deep, DeepShape, ::testing::Range(std::size_t{0}, std::size(kMainShapes)));

TEST(Deep, EveryNodeThatNestsDoesSoBeyondTheStack) {
  for (const Shape& shape : kOtherShapes) {
    onSmallStack(std::size_t{1} << 17, [&] { liveThrough(shape, 30'000); });
  }
}

TEST(Deep, AMillionLevelsAreClonedByHandAndDrawn) {
  onSmallStack(std::size_t{1} << 17, [] {
    const World w, copies;
    TavEnvI* env = w.env.getImpl();
    TavNumExprI* e = w.leaf.getImpl();
    const auto clone = [&] {
      TavExtractableI* copy = e->makeClone(copies.env.getImpl());
      env->setClone(e, copy);
      return copy;
    };
    clone();
    for (int i = 0; i < 1'000'000; ++i) {
      e = TavSin(num(e)).getImpl();
      clone();
    }
    LineCount lines;
    std::ostream drawing(&lines);
    drawGraph(drawing, TavExtractable(env->getClone(e)));
    EXPECT_EQ(lines.count, 2'000'006U);  // one for each node and each edge, four before them and one behind
  });
}

TEST(Deep, FactorsReachThePartsOfNestedSums) {
  onSmallStack(std::size_t{1} << 17, [] {
    World w;
    TavNumExprI* numeric = w.leaf.getImpl();
    TavNumExprI* integral = w.leaf.getImpl();
    TavNumExprI* factors = TavSquare(w.leaf).getImpl();
    for (int i = 0; i < 100'000; ++i) {
      numeric = linearOver<TavNumLinTermI, TavNumExprI>(w, numeric);
      integral = linearOver<TavIntLinTermI, TavIntExprI>(w, integral);
      factors = w.make<TavNumTimesCstI>(factors, -1.0);
    }
    EXPECT_EQ((num(numeric) / 2.0).eval(&w), 50'000.375);
    EXPECT_EQ((whole(integral) * 2).eval(&w), 200'001.5);
    EXPECT_EQ((num(factors) * 2.0).eval(&w), 2 * 0.75 * 0.75);
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
        EXPECT_EQ(e->eval(&w), 0.75);
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
    EXPECT_EQ(num(e).eval(&w), 0.75);
  });
}
#endif

}  // namespace
