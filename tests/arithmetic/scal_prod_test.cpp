#include "tests/support/fixture.h"

class ScalProd : public TavTest {
 protected:
  /// A sum's library text, behind "#" for an integer one.
  std::string shape(TavNumExprArg sum) {
    return std::string(sum.getImpl()->isType(TavIntLinTermI::GetTypeInfo()) ? "#" : "").append(library(sum));
  }
  TavNumVar x = num("x", 2), y = num("y", 3);
  TavIntVar i = integer("i", 4), j = integer("j", 5);
};

TEST_F(ScalProd, HasOneTermOrPartPerPositionAndLeavesItsElementsAsTheyAre) {
  const TavNumVarArray vars(env, 3, x, x, y);
  const TavIntVarArray intVars(env, 2, i, j), three(env, 3, i, j, i);
  const TavNumArray c = nums({1, 0, 2}), halves = nums({0.5, -1.5});
  const TavIntArray k = ints({1, 0, 2}), k2 = ints({7, 0});
  const TavNumExprArg two = TavNumExpr(env, 2.0), p = leaf(7), sum = x + 1;
  const TavIntExprArg one = TavIntExpr(env, 1), m = intLeaf(3), intSum = i + 1;
  const TavInt objects = env.getImpl()->liveObjectCount(), cells = env.getImpl()->liveTermCount();
  const std::pair<std::vector<TavNumExprArg>, const char*> kVariables[] = {
      {{TavScalProd(c, vars), TavScalProd(vars, c), TavScalProd(k, vars), TavScalProd(vars, k)},
       "( x  + 0  + 2 * y ) "},
      {{TavScalProd(halves, intVars), TavScalProd(intVars, halves)}, "( 0.5 * i  + -1.5 * j ) "},
      {{TavScalProd(k2, intVars), TavScalProd(intVars, k2)}, "#( 7 * i  + 0 ) "},
      {{TavSum(three)}, "#( i  + j  + i ) "},
      {{TavSum(three.toNumVarArray())}, "( i  + j  + i ) "}};
  EXPECT_EQ(env.getImpl()->liveObjectCount() - objects, 10);
  EXPECT_EQ(env.getImpl()->liveTermCount() - cells, 4 * 3 + 4 * 2 + 2 * 3);
  const std::pair<TavNumExprArg, const char*> kExpressions[] = {
      {TavScalProd(exprs({p, two, p, x}), exprs({p, p, two, two})),
       "( ( leaf* leaf)  + ( leaf* 2)  + ( leaf* 2)  + ( 2 * x ) ) "},
      {TavScalProd(intExprs({m, one}), intExprs({one, m})), "#( ( ileaf* ( 1 ) )  + ( ( 1 ) * ileaf) ) "},
      {TavScalProd(exprs({two, sum}), exprs({sum, two})), "( ( 2 * x  + 2 )  + ( 2 * x  + 2 ) ) "},
      {TavSum(exprs({x, p, 3 * i + 2, x})), "( x  + 3 * i  + x  + leaf + 2 ) "},
      {TavSum(exprs({sum, sum})), "( x  + x  + 2 ) "},
      {TavSum(intExprs({intSum, intSum})), "#( i  + i  + 2 ) "},
      {sum, "( x  + 1 ) "},
      {intSum, "#( i  + 1 ) "},
      {TavScalProd(nums({}), TavNumVarArray(env)), "( ) "},
      {TavSum(TavIntVarArray(env)), "#( ) "}};
  for (const auto& [nodes, expected] : kVariables) {
    for (const TavNumExprArg node : nodes) EXPECT_EQ(shape(node), expected);
  }
  for (const auto& [node, expected] : kExpressions) {
    EXPECT_EQ(shape(node), expected);
    EXPECT_EQ(node.getImpl()->getRefCount(), 0);
  }
  const TavNumExprArg held = x + 1;
  const TavIntExprArg heldInt = i + 1;
  TavSum(exprs({held, held}));
  TavScalProd(exprs({held, two}), exprs({two, held}));
  TavSum(intExprs({heldInt, heldInt}));
  EXPECT_EQ(held.getImpl()->getRefCount() + TavNumExprArg(heldInt).getImpl()->getRefCount(), 0);
}

TEST_F(ScalProd, OverNumbersIsComputedAtOnce) {
  EXPECT_EQ(TavScalProd(nums({1, 2.5}), nums({4, 2})), 9.0);
  EXPECT_EQ(TavScalProd(ints({1, 2}), nums({0.5, 2})), 4.5);
  EXPECT_EQ(TavScalProd(nums({0.5, 2}), ints({1, 2})), 4.5);
  EXPECT_EQ(TavScalProd(ints({kMaxInt, 1}), ints({2, 3})), 1);  // wraps around
  EXPECT_EQ(TavSum(nums({1e16, 1, -1e16})), 0.0);               // in index order
  EXPECT_FALSE(std::signbit(TavSum(nums({-0.0}))));
  EXPECT_EQ(TavSum(ints({kMaxInt, 1})), -kMaxInt - 1);
}

TEST_F(ScalProd, BadArraysAreRefusedAndLeaveNothing) {
  const TavNumVar foreign(other);
  const TavIntVar foreignInt(other);
  const TavNumVarArray mixed(env, 2, x, foreign), withNull(env, 2), three(env, 3, x, y, foreign);
  const TavIntVarArray mixedInts(env, 2, i, foreignInt);
  const TavNumArray c = nums({1, 2});
  const TavIntArray k = ints({1, 2});
  const TavNumExprArray good = exprs({x, y}), bad = exprs({x, foreign});
  refuses<TavInvalidScalProdArraysException>("TavScalProd: arrays have different size",
                                             {[&] { TavScalProd(c, three); }, [&] { TavScalProd(ints({1}), c); },
                                              [&] { TavScalProd(good, three.toNumExprArray()); }});
  refuses<TavWrongUsage>("TavScalProd: mixing mismatch environments",
                         {[&] { TavScalProd(c, mixed); }, [&] { TavScalProd(mixedInts, k); },
                          [&] { TavScalProd(good, bad); }, [&] { TavScalProd(bad, good); }});
  refuses<TavWrongUsage>("TavExpr& TavNumExpr::operator += const TavNumVar arg : mixing mismatch Environments",
                         {[&] { TavSum(mixed); }});
  refuses<TavWrongUsage>("TavExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments",
                         {[&] { TavSum(bad); }});
  refuses<TavWrongUsage>(
      "TavIntExprArg operator + const TavIntExprArg const TavIntExprArg: mixing mismatch Environments",
      {[&] { TavSum(mixedInts); }});
  refusesEmpty({[&] { TavScalProd(c, withNull); }, [&] { TavScalProd(TavNumArray(), withNull); },
                [&] { TavSum(withNull); }, [] { TavSum(TavIntExprArray()); }});
}
