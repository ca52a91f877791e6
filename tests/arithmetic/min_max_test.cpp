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
  struct Case {
    double a, b, min, max;
  };
  for (const Case& c :
       {Case{1, 2, 1, 2}, {2.5, 2, 2, 2.5}, {0.0, -0.0, -0.0, -0.0}, {kNaN, 3, 3, 3}, {3, kNaN, kNaN, kNaN}}) {
    SCOPED_TRACE(testing::Message() << c.a << " and " << c.b);
    const auto same = [&](TavNumExprArg node, double expected) {
      const double value = eval(node);
      return std::isnan(expected) ? std::isnan(value)
                                  : value == expected && std::signbit(value) == std::signbit(expected);
    };
    EXPECT_TRUE(same(TavMin(leaf(c.a), leaf(c.b)), c.min));
    EXPECT_TRUE(same(TavMax(leaf(c.a), leaf(c.b)), c.max));
    EXPECT_TRUE(same(TavMin(intLeaf(c.a), intLeaf(c.b)), c.min));
    EXPECT_TRUE(same(TavMax(intLeaf(c.a), intLeaf(c.b)), c.max));
    EXPECT_TRUE(same(TavMin(leaf(c.a), c.b), c.min));
    EXPECT_TRUE(same(TavMax(c.b, leaf(c.a)), c.max));  // the constant counts as second from either side
  }
  EXPECT_EQ(eval(TavMin(intLeaf(2.5), 3)), 2.5);
  EXPECT_EQ(eval(TavMin(intLeaf(kNaN), -7)), -7.0);
  EXPECT_EQ(eval(TavMax(2, intLeaf(2.5))), 2.5);
  EXPECT_EQ(eval(TavMax(intLeaf(kNaN), -7)), -7.0);
  const TavNumExprArg x = leaf(4);
  EXPECT_EQ(eval(TavMin(x, x)), 4.0);
  EXPECT_EQ(x.getImpl()->getRefCount(), 2);
}

TEST_F(MinMax, Texts) {
  const auto expect = [&](TavNumExprArg node, const char* type, const char* libraryText, const char* plainText) {
    EXPECT_STREQ(node.getImpl()->getRttiTypeName(), type);
    EXPECT_EQ(library(node), libraryText);
    EXPECT_EQ(plain(node), plainText);
  };
  const TavNumExprArg x = leaf(1);
  const TavIntExprArg i = intLeaf(1);
  expect(TavMin(x, 3.0), "TavNumMinCstI", "TavMin( leaf, 3) ", "min( leaf, 3)");
  expect(TavMin(3.5, i), "TavNumMinCstI", "TavMin( ileaf, 3.5) ", "min( ileaf, 3.5)");
  expect(TavMax(x, 3), "TavNumMaxCstI", "TavMax( leaf, 3) ", "max(leaf, 3)");
  expect(TavMin(5, i), "TavIntMinCstI", "( ileaf, 5) ", "min(ileaf, 5)");
  expect(TavMax(i, 5u), "TavIntMaxCstI", "( ileaf, 5) ", "max(ileaf, 5)");
  expect(TavMin(x, i), "TavNumMinI", "TavMin( leaf, ileaf) ", "min(leaf, ileaf)");
  expect(TavMax(i, x), "TavNumMaxI", "TavMax( ileaf, leaf) ", "max(ileaf, leaf)");
  expect(TavMin(i, i), "TavIntMinI", "TavMin( ileaf, ileaf) ", "min(ileaf, ileaf)");
  expect(TavMax(i, i), "TavIntMaxI", "TavMax( ileaf, ileaf) ", "max(ileaf, ileaf)");
  expect(TavMin(exprs({x, i})), "TavNumMinArrayI", "TavMin( [leaf, ileaf]) ", "min( [leaf, ileaf])");
  expect(TavMax(exprs({x})), "TavNumMaxArrayI", "TavMax( [leaf]) ", "max([leaf])");
  expect(TavMin(intExprs({i, i})), "TavIntMinArrayI", "TavMin( [ileaf, ileaf]) ", "min([ileaf, ileaf])");
  expect(TavMax(intExprs({})), "TavIntMaxArrayI", "TavMax( []) ", "max([])");
  EXPECT_EQ(plain(TavMax(exprs({x, x, x, x, x, x, x, x, x, x, i}))),
            "max([leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf,\nileaf])");
}

TEST_F(MinMax, IntegralityFollowsTheOperands) {
  const TavNumExprArg whole = leaf(1, true), x = leaf(1);
  EXPECT_TRUE(TavMin(whole, 3.0).isInteger());
  EXPECT_FALSE(TavMin(whole, 3.5).isInteger());
  EXPECT_FALSE(TavMax(x, 3.0).isInteger());
  EXPECT_FALSE(TavMax(whole, kInf).isInteger());
  EXPECT_TRUE(TavMax(whole, whole).isInteger());
  EXPECT_FALSE(TavMax(x, whole).isInteger());
  EXPECT_FALSE(TavMin(whole, x).isInteger());
  EXPECT_TRUE(TavMin(exprs({})).isInteger());
  EXPECT_TRUE(TavMax(exprs({whole, whole})).isInteger());
  EXPECT_FALSE(TavMax(exprs({whole, x})).isInteger());
}

TEST_F(MinMax, AnArrayKeepsTheFirstOfEqualValuesAndEvaluatesElementZeroTwice) {
  const TavNumExprArg first = leaf(2), second = leaf(5);
  EXPECT_EQ(eval(TavMin(exprs({first, second}))), 2.0);
  EXPECT_EQ(static_cast<LeafI*>(first.getImpl())->evaluations, 2);
  EXPECT_EQ(eval(TavMax(exprs({second}))), 5.0);
  EXPECT_EQ(static_cast<LeafI*>(second.getImpl())->evaluations, 2);  // once each
  EXPECT_TRUE(std::signbit(eval(TavMin(exprs({leaf(-0.0), leaf(0.0)})))));
  EXPECT_FALSE(std::signbit(eval(TavMax(exprs({leaf(0.0), leaf(-0.0)})))));
  EXPECT_EQ(eval(TavMax(exprs({leaf(1), leaf(kNaN), leaf(3)}))), 3.0);
  EXPECT_TRUE(std::isnan(eval(TavMin(exprs({leaf(kNaN), leaf(1)})))));
  EXPECT_EQ(eval(TavMin(intExprs({intLeaf(7), intLeaf(2.5)}))), 2.5);
  EXPECT_EQ(eval(TavMax(TavNumVarArray(env, 2, num("x", 1), num("y", 4)))), 4.0);
  EXPECT_EQ(eval(TavMin(TavIntVarArray(env, 2, integer("i", 1), integer("j", 4)))), 1.0);
}

TEST_F(MinMax, ArrayNodeKeepsItsOwnCopyAndGivesEverythingBack) {
  TavNumExpr x(leaf(1)), y(leaf(2));
  const auto used = [&] { return env.getImpl()->getMemory()->usedBytes(); };
  TavNumExprArray array = exprs({x, y, x});
  const TavInt before = used();
  TavNumExpr node(TavMin(array));
  EXPECT_EQ(x.getImpl()->getRefCount(), 3);
  array.set(0, y);
  EXPECT_EQ(children(node.getImpl()), (std::vector<TavExtractableI*>{x.getImpl(), y.getImpl(), x.getImpl()}));
  node.end();
  EXPECT_EQ(x.getImpl()->getRefCount(), 1);
  EXPECT_EQ(y.getImpl()->getRefCount(), 1);
  EXPECT_EQ(used(), before);
}

TEST_F(MinMax, ACloneOfAnArrayNodeHoldsTheClonesOfItsElements) {
  const TavIntExpr node(TavMax(intExprs({intLeaf(1), integer("i", 2)})));
  {
    TavClonePass pass(env.getImpl(), other.getImpl());
    const auto* clone = static_cast<TavIntMaxArrayI*>(pass.clone(node.getImpl()));
    ASSERT_EQ(clone->getExprs().getSize(), 2);
    EXPECT_EQ(clone->getExprs()[0].getImpl()->getEnv(), other.getImpl());
    EXPECT_EQ(clone->getExprs()[0].getImpl()->getRefCount(), 1);
    EXPECT_EQ(text(clone), plain(node));
  }
  EXPECT_THROW(node.getImpl()->makeClone(other.getImpl()), TavEmptyHandleException);
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
  for (const auto& call : Calls{[&] { TavMin(x, foreign); }, [&] { TavMin(i, foreignInt); }, [&] { TavMin(mixed); },
                                [&] { TavMin(mixedInts); }, [&] { TavMin(vars); }, [&] { TavMin(ints); }}) {
    EXPECT_EQ(messageOf<TavWrongUsage>(call), "TavMin: mixing mismatch Environments");
  }
  for (const auto& call : Calls{[&] { TavMax(foreign, x); }, [&] { TavMax(i, foreignInt); }, [&] { TavMax(mixed); },
                                [&] { TavMax(mixedInts); }, [&] { TavMax(vars); }, [&] { TavMax(ints); }}) {
    EXPECT_EQ(messageOf<TavWrongUsage>(call), "TavMax: mixing mismatch Environments");
  }
  for (const auto& call :
       Calls{[&] { TavMin(withNull); }, [&] { TavMax(nullVar); }, [&] { TavMin(TavIntExprArray()); },
             [&] { TavMax(TavNumArray()); }, [&] { TavMin(x, TavNumVar()); }, [&] { TavMax(TavIntVar(), 1); }}) {
    EXPECT_THROW(call(), TavEmptyHandleException);
  }
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
  EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), bytes);
}

TEST_F(MinMax, EmptyArraysFailWhereTheyAreUsed) {
  const auto atEval = [&](TavNumExprArg node) { return messageOf<TavArrayError>([&] { eval(node); }); };
  EXPECT_EQ(atEval(TavMin(exprs({}))), "Array of size 0 in evaluation of TavMin");
  EXPECT_EQ(atEval(TavMin(TavIntVarArray(env))), "Array of size 0 in evaluation of TavMin");
  EXPECT_EQ(atEval(TavMax(TavNumVarArray(env))), "Array of size 0 in evaluation of TavMax");
  EXPECT_EQ(atEval(TavMax(intExprs({}))), "Array of size 0 in evaluation of TavMax");
  TavNumArray numbers(env);
  TavIntArray ints(env);
  EXPECT_EQ(messageOf<TavArrayError>([&] { TavMin(numbers); }), "Array of size 0 in call to TavMin");
  EXPECT_EQ(messageOf<TavArrayError>([&] { TavMin(ints); }), "Array of size 0 in call to TavMin");
  EXPECT_EQ(messageOf<TavArrayError>([&] { TavMax(numbers); }), "Array of size 0 in call to TavMax");
  EXPECT_EQ(messageOf<TavArrayError>([&] { TavMax(ints); }), "Array of size 0 in call to TavMax");
  for (double number : {2.0, kNaN, -1.0}) numbers.add(number);
  for (TavInt number : {3, 9, 9, -1}) ints.add(number);
  EXPECT_EQ(TavMin(numbers), -1.0);
  EXPECT_EQ(TavMax(numbers), 2.0);
  EXPECT_EQ(TavMin(ints), -1);
  EXPECT_EQ(TavMax(ints), 9);
}

TEST_F(MinMax, TheEnvironmentMayEndTheElementsBeforeTheArrayNode) {
  TavNumExprArg first = leaf(1);
  const TavNumExprArg element = leaf(2);
  first.end();  // its identifier goes to the next node: the newest identifier, the element's, is destroyed first
  const TavNumExprArg node = TavMin(exprs({element}));
  EXPECT_LT(node.getImpl()->getId(), element.getImpl()->getId());
}
