#include "tests/support/fixture.h"

class MinMax : public TavTest {
 protected:
  TavNumExprArray exprs(std::initializer_list<TavNumExprArg> elements) {
    TavNumExprArray array(env);
    for (TavNumExprArg element : elements) array.add(element);
    return array;
  }
  TavIntExprArray intExprs(std::initializer_list<TavIntExprArg> elements) {
    TavIntExprArray array(env);
    for (TavIntExprArg element : elements) array.add(element);
    return array;
  }
};

TEST_F(MinMax, TiesAndNotANumbersGiveTheSecondOperand) {
  const auto expect = [&](TavNumExprArg node, double expected) {
    const double value = eval(node);
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(value)
                                     : value == expected && std::signbit(value) == std::signbit(expected))
        << node.getImpl()->getRttiTypeName() << " gives " << value << " for " << expected;
  };
  const struct {
    double a, b, min, max;
  } kCases[] = {{2.5, 2, 2, 2.5}, {0.0, -0.0, -0.0, -0.0}, {kNaN, 3, 3, 3}, {3, kNaN, kNaN, kNaN}};
  for (const auto& c : kCases) {
    expect(TavMin(leaf(c.a), leaf(c.b)), c.min);
    expect(TavMax(leaf(c.a), leaf(c.b)), c.max);
    expect(TavMin(intLeaf(c.a), intLeaf(c.b)), c.min);
    expect(TavMax(intLeaf(c.a), intLeaf(c.b)), c.max);
    expect(TavMin(leaf(c.a), c.b), c.min);
    expect(TavMax(c.b, leaf(c.a)), c.max);  // the constant counts as second from either side
  }
  expect(TavMin(intLeaf(kNaN), -7), -7);
  expect(TavMax(2, intLeaf(2.5)), 2.5);
  // An array keeps the first of equal values instead.
  expect(TavMin(exprs({leaf(-0.0), leaf(0.0)})), -0.0);
  expect(TavMax(exprs({leaf(0.0), leaf(-0.0)})), 0.0);
  expect(TavMax(exprs({leaf(1), leaf(kNaN), leaf(3)})), 3);
  expect(TavMin(exprs({leaf(kNaN), leaf(1)})), kNaN);
  const TavNumExprArg first = leaf(2);
  expect(TavMin(exprs({first, leaf(5)})), 2);
  EXPECT_EQ(static_cast<LeafI*>(first.getImpl())->evaluations, 2);  // element 0, also to start with
}

TEST_F(MinMax, TextsHaveBlanksOfTheirOwn) {
  const TavNumExprArg x = leaf(1);
  const TavIntExprArg i = intLeaf(1);
  const struct {
    TavNumExprArg node;
    const char *library, *plain;
  } kCases[] = {{TavMin(x, 3.0), "TavMin( leaf, 3) ", "min( leaf, 3)"},
                {TavMax(x, 3), "TavMax( leaf, 3) ", "max(leaf, 3)"},
                {TavMin(5, i), "( ileaf, 5) ", "min(ileaf, 5)"},
                {TavMax(i, 5u), "( ileaf, 5) ", "max(ileaf, 5)"},
                {TavMin(x, i), "TavMin( leaf, ileaf) ", "min(leaf, ileaf)"},
                {TavMin(exprs({x, i})), "TavMin( [leaf, ileaf]) ", "min( [leaf, ileaf])"},
                {TavMin(intExprs({i, i})), "TavMin( [ileaf, ileaf]) ", "min([ileaf, ileaf])"},
                {TavMax(exprs({x, x, x, x, x, x, x, x, x, x, i})),
                 "TavMax( [leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf,\nileaf]) ",
                 "max([leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf,\nileaf])"}};
  for (const auto& c : kCases) {
    EXPECT_EQ(library(c.node), c.library);
    EXPECT_EQ(plain(c.node), c.plain);
  }
}

TEST_F(MinMax, EmptyArraysFailWhereTheyAreUsed) {
  TavNumArray numbers(env);
  TavIntArray ints(env);
  const std::pair<const char*, std::function<void()>> kCases[] = {
      {"evaluation of TavMin", [&] { eval(TavMin(exprs({}))); }},
      {"evaluation of TavMin", [&] { eval(TavMin(TavIntVarArray(env))); }},
      {"evaluation of TavMax", [&] { eval(TavMax(TavNumVarArray(env))); }},
      {"evaluation of TavMax", [&] { eval(TavMax(intExprs({}))); }},
      {"call to TavMin", [&] { TavMin(numbers); }},
      {"call to TavMin", [&] { TavMin(ints); }},
      {"call to TavMax", [&] { TavMax(numbers); }},
      {"call to TavMax", [&] { TavMax(ints); }}};
  for (const auto& [place, call] : kCases) {
    EXPECT_EQ(messageOf<TavArrayError>(call), std::string("Array of size 0 in ") + place);
  }
  for (double number : {2.0, kNaN, -1.0}) numbers.add(number);
  for (TavInt number : {3, 9, 9, -1}) ints.add(number);
  EXPECT_EQ(TavMin(numbers), -1.0);
  EXPECT_EQ(TavMax(numbers), 2.0);
  EXPECT_EQ(TavMin(ints), -1);
  EXPECT_EQ(TavMax(ints), 9);
}

TEST_F(MinMax, BadOperandsAreRefusedBeforeAnythingIsMade) {
  const TavNumVar x = num("x", 1), foreign(other);
  const TavIntVar i = integer("i", 1), foreignInt(other);
  const TavNumExprArray mixed = exprs({x, foreign}), withNull = exprs({x, TavNumExprArg()});
  const TavNumVarArray vars(env, 2, x, foreign), nullVar(env, 1);
  const TavIntVarArray ints(env, 2, i, foreignInt);
  const TavIntExprArray mixedInts = ints.toIntExprArray();
  const TavInt objects = env.getImpl()->liveObjectCount(), bytes = env.getImpl()->getMemory()->usedBytes();
  using Calls = std::initializer_list<std::function<void()>>;
  const auto refuse = [&](const char* message, auto bound) {
    for (const auto& call :
         Calls{[&] { bound(x, foreign); }, [&] { bound(foreign, x); }, [&] { bound(i, foreignInt); },
               [&] { bound(mixed); }, [&] { bound(mixedInts); }, [&] { bound(vars); }, [&] { bound(ints); }}) {
      EXPECT_EQ(messageOf<TavWrongUsage>(call), message);
    }
  };
  refuse("TavMin: mixing mismatch Environments", [](auto... a) { TavMin(a...); });
  refuse("TavMax: mixing mismatch Environments", [](auto... a) { TavMax(a...); });
  for (const auto& call :
       Calls{[&] { TavMin(withNull); }, [&] { TavMax(nullVar); }, [&] { TavMin(TavIntExprArray()); },
             [&] { TavMax(TavNumArray()); }, [&] { TavMin(x, TavNumVar()); }, [&] { TavMax(TavIntVar(), 1); }}) {
    EXPECT_THROW(call(), TavEmptyHandleException);
  }
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
  EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), bytes);
}

TEST_F(MinMax, TheEnvironmentMayEndTheElementsBeforeTheArrayNode) {
  TavNumExprArg first = leaf(1);
  const TavNumExprArg element = leaf(2);
  first.end();  // its identifier goes to the next node: the newest identifier, the element's, is destroyed first
  const TavNumExprArg node = TavMin(exprs({element}));
  EXPECT_LT(node.getImpl()->getId(), element.getImpl()->getId());
}
