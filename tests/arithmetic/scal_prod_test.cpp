#include "tests/support/fixture.h"

class ScalProd : public TavTest {
 protected:
  template <class Array, class T>
  Array arrayOf(std::initializer_list<T> elements) {
    Array array(env);
    for (T element : elements) array.add(element);
    return array;
  }
  TavNumArray numbers(std::initializer_list<double> values) { return arrayOf<TavNumArray>(values); }
  TavIntArray ints(std::initializer_list<TavInt> values) { return arrayOf<TavIntArray>(values); }
  TavNumExprArray exprs(std::initializer_list<TavNumExprArg> nodes) { return arrayOf<TavNumExprArray>(nodes); }
  TavIntExprArray intExprs(std::initializer_list<TavIntExprArg> nodes) { return arrayOf<TavIntExprArray>(nodes); }
  /// A sum's library text, behind "#" for an integer one.
  std::string shape(TavNumExprArg sum) {
    return std::string(sum.getImpl()->isType(TavIntLinTermI::GetTypeInfo()) ? "#" : "").append(library(sum));
  }
  TavInt objects() { return env.getImpl()->liveObjectCount(); }
  TavInt cells() { return env.getImpl()->liveTermCount(); }

  TavNumVar x = num("x", 2), y = num("y", 3);
  TavIntVar i = integer("i", 4), j = integer("j", 5);
};

TEST_F(ScalProd, HasOneTermOrPartPerPositionAndLeavesItsElementsAsTheyAre) {
  const TavNumVarArray vars(env, 3, x, x, y);
  const TavIntVarArray intVars(env, 2, i, j), three(env, 3, i, j, i);
  const TavNumArray c = numbers({1, 0, 2}), halves = numbers({0.5, -1.5});
  const TavIntArray k = ints({1, 0, 2}), k2 = ints({7, 0});
  const TavNumExprArg two = TavNumExpr(env, 2.0), p = leaf(7), sum = x + 1;
  const TavIntExprArg one = TavIntExpr(env, 1), m = intLeaf(3), intSum = i + 1;
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  const std::pair<TavNumExprArg, const char*> kVariables[] = {
      {TavScalProd(c, vars), "( x  + 0  + 2 * y ) "},
      {TavScalProd(vars, c), "( x  + 0  + 2 * y ) "},
      {TavScalProd(k, vars), "( x  + 0  + 2 * y ) "},
      {TavScalProd(vars, k), "( x  + 0  + 2 * y ) "},
      {TavScalProd(halves, intVars), "( 0.5 * i  + -1.5 * j ) "},
      {TavScalProd(intVars, halves), "( 0.5 * i  + -1.5 * j ) "},
      {TavScalProd(k2, intVars), "#( 7 * i  + 0 ) "},
      {TavScalProd(intVars, k2), "#( 7 * i  + 0 ) "},
      {TavSum(three), "#( i  + j  + i ) "},
      {TavSum(three.toNumVarArray()), "( i  + j  + i ) "}};
  EXPECT_EQ(objects() - objectsBefore, 10);
  EXPECT_EQ(cells() - cellsBefore, 4 * 3 + 4 * 2 + 2 * 3);
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
      {TavScalProd(numbers({}), TavNumVarArray(env)), "( ) "},
      {TavSum(TavIntVarArray(env)), "#( ) "},
      {TavSum(TavNumExprArray(env)), "( ) "}};
  for (const auto& [node, expected] : kVariables) EXPECT_EQ(shape(node), expected);
  for (const auto& [node, expected] : kExpressions) EXPECT_EQ(shape(node), expected);
}

TEST_F(ScalProd, OverNumbersIsComputedAtOnce) {
  constexpr TavInt kMax = std::numeric_limits<TavInt>::max();
  EXPECT_EQ(TavScalProd(numbers({1, 2.5}), numbers({4, 2})), 9.0);
  EXPECT_EQ(TavScalProd(ints({1, 2}), numbers({0.5, 2})), 4.5);
  EXPECT_EQ(TavScalProd(numbers({0.5, 2}), ints({1, 2})), 4.5);
  EXPECT_EQ(TavScalProd(ints({kMax, 1}), ints({2, 3})), 1);  // wraps around
  EXPECT_EQ(TavScalProd(ints({}), ints({})), 0);
  EXPECT_EQ(TavSum(numbers({1e16, 1, -1e16})), 0.0);  // in index order
  EXPECT_FALSE(std::signbit(TavSum(numbers({-0.0}))));
  EXPECT_EQ(TavSum(ints({kMax, 1})), std::numeric_limits<TavInt>::min());
}

TEST_F(ScalProd, BadArraysAreRefusedAndLeaveNothing) {
  const TavNumVar foreign(other);
  const TavNumVarArray mixed(env, 2, x, foreign), withNull(env, 2), three(env, 3, x, y, foreign);
  const TavIntVarArray mixedInts(env, 2, i, TavIntVar(other));
  const TavNumArray c = numbers({1, 2});
  const TavIntArray k = ints({1, 2});
  const TavNumExprArray good = exprs({x, y}), bad = exprs({x, foreign});
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  EXPECT_EQ(messageOf<TavInvalidScalProdArraysException>([&] { TavScalProd(c, three); }),
            "TavScalProd: arrays have different size");
  EXPECT_THROW(TavScalProd(ints({1}), c), TavInvalidScalProdArraysException);
  EXPECT_THROW(TavScalProd(good, three.toNumExprArray()), TavInvalidScalProdArraysException);
  const char* const kMixed = "TavScalProd: mixing mismatch environments";
  const std::pair<const char*, std::function<void()>> kCases[] = {
      {kMixed, [&] { TavScalProd(c, mixed); }},
      {kMixed, [&] { TavScalProd(mixedInts, k); }},
      {kMixed, [&] { TavScalProd(good, bad); }},
      {kMixed, [&] { TavScalProd(bad, good); }},
      {"TavExpr& TavNumExpr::operator += const TavNumVar arg : mixing mismatch Environments", [&] { TavSum(mixed); }},
      {"TavExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments", [&] { TavSum(bad); }},
      {"TavIntExprArg operator + const TavIntExprArg const TavIntExprArg: mixing mismatch Environments",
       [&] { TavSum(mixedInts); }}};
  for (const auto& [message, call] : kCases) EXPECT_EQ(messageOf<TavWrongUsage>(call), message);
  EXPECT_THROW(TavScalProd(c, withNull), TavEmptyHandleException);
  EXPECT_THROW(TavScalProd(TavNumArray(), withNull), TavEmptyHandleException);
  EXPECT_THROW(TavSum(withNull), TavEmptyHandleException);
  EXPECT_THROW(TavSum(TavIntExprArray()), TavEmptyHandleException);
  EXPECT_EQ(objects(), objectsBefore);
  EXPECT_EQ(cells(), cellsBefore);
}
