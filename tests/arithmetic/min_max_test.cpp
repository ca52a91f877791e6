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
  for (const Case& c : {Case{1, 2, 1, 2},
                        {2, 1, 1, 2},
                        {0.0, -0.0, -0.0, -0.0},
                        {-0.0, 0.0, 0.0, 0.0},
                        {kNaN, 3, 3, 3},
                        {3, kNaN, kNaN, kNaN},
                        {-kInf, kInf, -kInf, kInf},
                        {2.5, 3, 2.5, 3}}) {
    SCOPED_TRACE(testing::Message() << c.a << " and " << c.b);
    const auto same = [](double value, double expected) {
      return std::isnan(expected) ? std::isnan(value)
                                  : value == expected && std::signbit(value) == std::signbit(expected);
    };
    EXPECT_TRUE(same(eval(TavMin(leaf(c.a), leaf(c.b))), c.min));
    EXPECT_TRUE(same(eval(TavMax(leaf(c.a), leaf(c.b))), c.max));
    EXPECT_TRUE(same(eval(TavMin(intLeaf(c.a), intLeaf(c.b))), c.min));
    EXPECT_TRUE(same(eval(TavMax(intLeaf(c.a), intLeaf(c.b))), c.max));
    EXPECT_TRUE(same(eval(TavMin(leaf(c.a), c.b)), c.min));
    EXPECT_TRUE(same(eval(TavMax(c.b, leaf(c.a))), c.max));  // the constant counts as second from either side
  }
  EXPECT_EQ(eval(TavMin(intLeaf(2.5), 3)), 2.5);
  EXPECT_EQ(eval(TavMax(intLeaf(kNaN), -7)), -7.0);
  const TavNumExprArg x = leaf(4);
  EXPECT_EQ(eval(TavMin(x, x)), 4.0);
  EXPECT_EQ(x.getImpl()->getRefCount(), 2);
}

TEST_F(MinMax, Texts) {
  struct Case {
    TavNumExprArg node;
    const char *type, *library, *plain;
  };
  const TavNumExprArray two = exprs({leaf(1), leaf(2)});
  const TavIntExprArray ints = intExprs({intLeaf(1), intLeaf(2)});
  const TavIntExprArg i = intLeaf(1);
  for (const Case& c : {
           Case{TavMin(leaf(1), 3.0), "TavNumMinCstI", "TavMin( leaf, 3) ", "min( leaf, 3)"},
           {TavMin(3.5, i), "TavNumMinCstI", "TavMin( ileaf, 3.5) ", "min( ileaf, 3.5)"},
           {TavMax(leaf(1), 3), "TavNumMaxCstI", "TavMax( leaf, 3) ", "max(leaf, 3)"},
           {TavMin(5, i), "TavIntMinCstI", "( ileaf, 5) ", "min(ileaf, 5)"},
           {TavMax(i, 5u), "TavIntMaxCstI", "( ileaf, 5) ", "max(ileaf, 5)"},
           {TavMin(leaf(1), i), "TavNumMinI", "TavMin( leaf, ileaf) ", "min(leaf, ileaf)"},
           {TavMax(i, leaf(1)), "TavNumMaxI", "TavMax( ileaf, leaf) ", "max(ileaf, leaf)"},
           {TavMin(i, i), "TavIntMinI", "TavMin( ileaf, ileaf) ", "min(ileaf, ileaf)"},
           {TavMax(i, i), "TavIntMaxI", "TavMax( ileaf, ileaf) ", "max(ileaf, ileaf)"},
           {TavMin(two), "TavNumMinArrayI", "TavMin( [leaf, leaf]) ", "min( [leaf, leaf])"},
           {TavMax(two), "TavNumMaxArrayI", "TavMax( [leaf, leaf]) ", "max([leaf, leaf])"},
           {TavMin(ints), "TavIntMinArrayI", "TavMin( [ileaf, ileaf]) ", "min([ileaf, ileaf])"},
           {TavMax(ints), "TavIntMaxArrayI", "TavMax( [ileaf, ileaf]) ", "max([ileaf, ileaf])"},
           {TavMax(exprs({})), "TavNumMaxArrayI", "TavMax( []) ", "max([])"},
       }) {
    EXPECT_STREQ(c.node.getImpl()->getRttiTypeName(), c.type);
    EXPECT_EQ(library(c.node), c.library);
    EXPECT_EQ(plain(c.node), c.plain);
  }
  TavNumExprArray eleven = exprs({});
  for (int k = 0; k < 11; ++k) eleven.add(leaf(k));
  EXPECT_EQ(plain(TavMax(eleven)), "max([leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf, leaf,\nleaf])");
}

TEST_F(MinMax, IntegralityFollowsTheOperands) {
  EXPECT_TRUE(TavMin(leaf(1, true), 3.0).isInteger());
  EXPECT_FALSE(TavMin(leaf(1, true), 3.5).isInteger());
  EXPECT_FALSE(TavMax(leaf(1), 3.0).isInteger());
  EXPECT_FALSE(TavMax(leaf(1, true), kInf).isInteger());
  EXPECT_TRUE(TavMax(leaf(1, true), leaf(2, true)).isInteger());
  EXPECT_FALSE(TavMin(leaf(1, true), leaf(2)).isInteger());
  EXPECT_TRUE(TavMin(exprs({})).isInteger());
  EXPECT_TRUE(TavMax(exprs({leaf(1, true), leaf(1, true)})).isInteger());
  EXPECT_FALSE(TavMax(exprs({leaf(1, true), leaf(1)})).isInteger());
}

TEST_F(MinMax, AnArrayKeepsTheFirstOfEqualValuesAndEvaluatesElementZeroTwice) {
  const TavNumExprArg first = leaf(2), second = leaf(5);
  EXPECT_EQ(eval(TavMin(exprs({first, second}))), 2.0);
  EXPECT_EQ(static_cast<LeafI*>(first.getImpl())->evaluations, 2);
  EXPECT_EQ(static_cast<LeafI*>(second.getImpl())->evaluations, 1);
  EXPECT_EQ(eval(TavMax(exprs({second}))), 5.0);
  EXPECT_EQ(static_cast<LeafI*>(second.getImpl())->evaluations, 2);
  EXPECT_TRUE(std::signbit(eval(TavMin(exprs({leaf(-0.0), leaf(0.0)})))));
  EXPECT_FALSE(std::signbit(eval(TavMax(exprs({leaf(0.0), leaf(-0.0)})))));
  EXPECT_EQ(eval(TavMax(exprs({leaf(1), leaf(kNaN), leaf(3)}))), 3.0);
  EXPECT_TRUE(std::isnan(eval(TavMin(exprs({leaf(kNaN), leaf(1)})))));
  EXPECT_EQ(eval(TavMin(intExprs({intLeaf(7), intLeaf(2.5)}))), 2.5);
  EXPECT_EQ(eval(TavMax(TavNumVarArray(env, 2, num("x", 1), num("y", 4)))), 4.0);
  EXPECT_EQ(eval(TavMin(TavIntVarArray(env, 2, integer("i", 1), integer("j", 4)))), 1.0);
}

TEST_F(MinMax, ArrayNodeKeepsItsOwnCopyAndGivesEveryReferenceBack) {
  const TavNumExprArg x = leaf(1), y = leaf(2);
  TavNumExpr heldX(x), heldY(y);
  TavNumExprArray array = exprs({x, y, x});
  TavNumExpr node(TavMin(array));
  EXPECT_EQ(x.getImpl()->getRefCount(), 3);
  array.set(0, y);
  array.end();
  EXPECT_EQ(eval(node), 1.0);
  EXPECT_EQ(children(node.getImpl()), (std::vector<TavExtractableI*>{x.getImpl(), y.getImpl(), x.getImpl()}));
  const TavInt bytes = env.getImpl()->getMemory()->usedBytes();
  node.end();
  EXPECT_EQ(x.getImpl()->getRefCount(), 1);
  EXPECT_EQ(y.getImpl()->getRefCount(), 1);
  EXPECT_LT(env.getImpl()->getMemory()->usedBytes(), bytes - static_cast<TavInt>(sizeof(TavNumMinArrayI)));
}

TEST_F(MinMax, ACloneOfAnArrayNodeHoldsTheClonesOfItsElements) {
  TavIntExpr node(TavMax(intExprs({intLeaf(1), integer("i", 2)})));
  TavClonePass pass(env.getImpl(), other.getImpl());
  auto* clone = static_cast<TavIntMaxArrayI*>(pass.clone(node.getImpl()));
  ASSERT_EQ(clone->getExprs().getSize(), 2);
  EXPECT_EQ(clone->getExprs()[0].getImpl()->getEnv(), other.getImpl());
  EXPECT_EQ(clone->getExprs()[0].getImpl()->getRefCount(), 1);
  EXPECT_EQ(text(clone), plain(node));
  TavClonePass empty(env.getImpl(), other.getImpl());
  EXPECT_THROW(node.getImpl()->makeClone(other.getImpl()), TavEmptyHandleException);
}

TEST_F(MinMax, BadOperandsAreRefusedBeforeAnythingIsMade) {
  const TavNumVar x = num("x", 1), foreign(other);
  const TavIntVar i = integer("i", 1), foreignInt(other);
  const TavNumExprArray mixed = exprs({x, foreign}), withNull = exprs({x, TavNumExprArg()});
  const TavNumVarArray mixedVars(env, 2, x, foreign), withNullVar(env, 1);
  const TavIntVarArray mixedInts(env, 2, i, foreignInt);
  const TavInt objects = env.getImpl()->liveObjectCount(), bytes = env.getImpl()->getMemory()->usedBytes();
  for (const auto& call : std::initializer_list<std::function<void()>>{
           [&] { TavMin(x, foreign); }, [&] { TavMin(i, foreignInt); }, [&] { TavMin(mixed); },
           [&] { TavMin(mixedVars); }, [&] { TavMin(mixedInts); }, [&] { TavMin(mixedInts.toIntExprArray()); }}) {
    EXPECT_EQ(messageOf<TavWrongUsage>(call), "TavMin: mixing mismatch Environments");
  }
  for (const auto& call : std::initializer_list<std::function<void()>>{
           [&] { TavMax(foreign, x); }, [&] { TavMax(i, foreignInt); }, [&] { TavMax(mixed); },
           [&] { TavMax(mixedVars); }, [&] { TavMax(mixedInts); }, [&] { TavMax(mixedInts.toIntExprArray()); }}) {
    EXPECT_EQ(messageOf<TavWrongUsage>(call), "TavMax: mixing mismatch Environments");
  }
  EXPECT_THROW(TavMin(withNull), TavEmptyHandleException);
  EXPECT_THROW(TavMax(withNullVar), TavEmptyHandleException);
  EXPECT_THROW(TavMin(TavIntExprArray()), TavEmptyHandleException);
  EXPECT_THROW(TavMax(TavNumArray()), TavEmptyHandleException);
  EXPECT_THROW(TavMin(x, TavNumVar()), TavEmptyHandleException);
  EXPECT_THROW(TavMax(TavIntVar(), 1), TavEmptyHandleException);
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
  EXPECT_GT(env.getImpl()->getMemory()->usedBytes(), bytes - 1);
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
