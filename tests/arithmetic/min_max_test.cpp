#include "tests/support/fixture.h"

using MinMax = TavTest;

TEST_F(MinMax, TiesAndNotANumbersGiveTheSecondOperandButOfAnArrayTheFirst) {
  const struct {
    double a, b, min, max, arrayMin, arrayMax;
  } kCases[] = {{2.5, 2, 2, 2.5, 2, 2.5},
                {0.0, -0.0, -0.0, -0.0, 0.0, 0.0},
                {kNaN, 3, 3, 3, kNaN, kNaN},
                {3, kNaN, kNaN, kNaN, 3, 3}};
  for (const auto& c : kCases) {
    const TavNumExprArg a = leaf(c.a), b = leaf(c.b);
    const TavIntExprArg i = intLeaf(c.a), j = intLeaf(c.b);
    for (const TavNumExprArg min : {TavMin(a, b), TavMin(a, c.b), TavNumExprArg(TavMin(i, j))}) expectValue(min, c.min);
    for (const TavNumExprArg max : {TavMax(a, b), TavMax(c.b, a), TavNumExprArg(TavMax(i, j))}) expectValue(max, c.max);
    expectValue(TavMin(exprs({a, b})), c.arrayMin);
    expectValue(TavMax(exprs({a, b})), c.arrayMax);
    expectValue(TavMin(intExprs({i, j})), c.arrayMin);
    expectValue(TavMax(intExprs({i, j})), c.arrayMax);
  }
  expectValue(TavMin(intLeaf(kNaN), -7), -7);
  expectValue(TavMin(intLeaf(-0.0), 0), 0);
  expectValue(TavMax(2, intLeaf(2.5)), 2.5);
}

TEST_F(MinMax, EmptyArraysFailWhereTheyAreUsed) {
  const auto eval = [this](auto node) { return [this, node] { this->eval(node); }; };
  refuses<TavArrayError>("Array of size 0 in evaluation of TavMin",
                         {eval(TavMin(exprs({}))), eval(TavMin(TavIntVarArray(env)))});
  refuses<TavArrayError>("Array of size 0 in evaluation of TavMax",
                         {eval(TavMax(TavNumVarArray(env))), eval(TavMax(intExprs({})))});
  refuses<TavArrayError>("Array of size 0 in call to TavMin", {[&] { TavMin(nums({})); }, [&] { TavMin(ints({})); }});
  refuses<TavArrayError>("Array of size 0 in call to TavMax", {[&] { TavMax(nums({})); }, [&] { TavMax(ints({})); }});
  EXPECT_EQ(TavMin(nums({2, -1, kNaN})), -1.0);
  EXPECT_EQ(TavMax(nums({2, kNaN, 3})), 3.0);
  EXPECT_EQ(TavMin(ints({3, 9, 9, -1})), -1);
  EXPECT_EQ(TavMax(ints({3, 9, 9, -1})), 9);
}

TEST_F(MinMax, BadOperandsAreRefusedBeforeAnythingIsMade) {
  const TavNumVar x = num("x", 1), foreign(other);
  const TavIntVar i = integer("i", 1), foreignInt(other);
  const TavNumExprArray mixed = exprs({x, foreign}), withNull = exprs({x, TavNumExprArg()});
  const TavNumVarArray vars(env, 2, x, foreign), nullVar(env, 1);
  const TavIntVarArray intVars(env, 2, i, foreignInt);
  const TavIntExprArray mixedInts = intVars.toIntExprArray();
  const TavInt bytes = env.getImpl()->getMemory()->usedBytes();
  const auto mismatch = [&](const std::string& name, auto bound) {
    refuses<TavWrongUsage>(
        name + ": mixing mismatch Environments",
        {[&] { bound(x, foreign); }, [&] { bound(foreign, x); }, [&] { bound(i, foreignInt); }, [&] { bound(mixed); },
         [&] { bound(mixedInts); }, [&] { bound(vars); }, [&] { bound(intVars); }});
  };
  mismatch("TavMin", [](auto... a) { TavMin(a...); });
  mismatch("TavMax", [](auto... a) { TavMax(a...); });
  refusesEmpty({[&] { TavMin(withNull); }, [&] { TavMax(nullVar); }, [] { TavMin(TavIntExprArray()); },
                [] { TavMax(TavNumArray()); }, [&] { TavMin(x, TavNumVar()); }, [] { TavMax(TavIntVar(), 1); }});
  EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), bytes);
}

TEST_F(MinMax, TheEnvironmentMayEndTheElementsBeforeTheArrayNode) {
  TavNumExprArg first = leaf(1);
  const TavNumExprArg element = leaf(2);
  first.end();  // its identifier goes to the next node: the newest identifier, the element's, is destroyed first
  EXPECT_LT(TavMin(exprs({element})).getImpl()->getId(), element.getImpl()->getId());
}
