#include "tests/support/fixture.h"

class ScalProd : public TavTest {
 protected:
  TavNumArray numbers(std::initializer_list<double> values) {
    TavNumArray array(env);
    for (double value : values) array.add(value);
    return array;
  }
  TavIntArray ints(std::initializer_list<TavInt> values) {
    TavIntArray array(env);
    for (TavInt value : values) array.add(value);
    return array;
  }
  /// A sum's library text, behind "#" for an integer one.
  std::string shape(TavNumExprArg sum) {
    return (sum.getImpl()->isType(TavIntLinTermI::GetTypeInfo()) ? "#" : "") + library(sum);
  }
  TavInt objects() { return env.getImpl()->liveObjectCount(); }
  TavInt cells() { return env.getImpl()->liveTermCount(); }

  TavNumVar x = num("x", 2), y = num("y", 3);
  TavIntVar i = integer("i", 4), j = integer("j", 5);
};

TEST_F(ScalProd, OverVariablesIsOneNodeAndOneCellPerPosition) {
  const TavNumVarArray vars(env, 3, x, x, y);
  const TavIntVarArray intVars(env, 2, i, j);
  const TavNumArray c = numbers({1, 0, 2}), halves = numbers({0.5, -1.5});
  const TavIntArray k = ints({1, 0, 2}), k2 = ints({7, 0});
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  EXPECT_EQ(shape(TavScalProd(c, vars)), "( x  + 0  + 2 * y ) ");
  EXPECT_EQ(objects() - objectsBefore, 1);
  EXPECT_EQ(cells() - cellsBefore, 3);
  EXPECT_EQ(shape(TavScalProd(vars, c)), "( x  + 0  + 2 * y ) ");
  EXPECT_EQ(shape(TavScalProd(k, vars)), "( x  + 0  + 2 * y ) ");
  EXPECT_EQ(shape(TavScalProd(vars, k)), "( x  + 0  + 2 * y ) ");
  EXPECT_EQ(shape(TavScalProd(halves, intVars)), "( 0.5 * i  + -1.5 * j ) ");
  EXPECT_EQ(shape(TavScalProd(intVars, halves)), "( 0.5 * i  + -1.5 * j ) ");
  EXPECT_EQ(shape(TavScalProd(k2, intVars)), "#( 7 * i  + 0 ) ");
  EXPECT_EQ(shape(TavScalProd(intVars, k2)), "#( 7 * i  + 0 ) ");
  EXPECT_EQ(shape(TavScalProd(numbers({}), TavNumVarArray(env))), "( ) ");
  EXPECT_EQ(shape(TavScalProd(ints({}), TavIntVarArray(env))), "#( ) ");
  const TavNumExprArg product = TavScalProd(c, vars);
  EXPECT_EQ(eval(product), 8.0);
  EXPECT_EQ(product.getImpl()->getRefCount(), 0);
}

TEST_F(ScalProd, OverExpressionsAppendsOnePartPerPosition) {
  TavNumExprArray a(env), b(env);
  const TavNumExprArg two = TavNumExpr(env, 2.0), p = leaf(7);
  for (TavNumExprArg e : {p, two, p, TavNumExprArg(x)}) a.add(e);
  for (TavNumExprArg e : {p, p, two, two}) b.add(e);
  EXPECT_EQ(shape(TavScalProd(a, b)), "( ( leaf* leaf)  + ( leaf* 2)  + ( leaf* 2)  + ( 2 * x ) ) ");
  TavIntExprArray c(env), d(env);
  const TavIntExprArg one = TavIntExpr(env, 1), m = intLeaf(3);
  for (TavIntExprArg e : {m, one}) c.add(e);
  for (TavIntExprArg e : {one, m}) d.add(e);
  EXPECT_EQ(shape(TavScalProd(c, d)), "#( ( ileaf* ( 1 ) )  + ( ( 1 ) * ileaf) ) ");
}

TEST_F(ScalProd, ElementsStayAsTheyAreEvenUncountedOnes) {
  TavNumExprArray a(env), b(env);
  const TavNumExprArg sum = x + 1, two = TavNumExpr(env, 2.0);
  for (int k = 0; k < 2; ++k) {
    a.add(two);
    b.add(sum);
  }
  EXPECT_EQ(shape(TavScalProd(a, b)), "( ( 2 * x  + 2 )  + ( 2 * x  + 2 ) ) ");
  EXPECT_EQ(shape(TavSum(b)), "( x  + x  + 2 ) ");
  EXPECT_EQ(shape(sum), "( x  + 1 ) ");
  EXPECT_EQ(sum.getImpl()->getRefCount(), 0);
  TavIntExprArray c(env);
  const TavIntExprArg intSum = i + 1;
  for (int k = 0; k < 2; ++k) c.add(intSum);
  EXPECT_EQ(shape(TavSum(c)), "#( i  + i  + 2 ) ");
  EXPECT_EQ(shape(intSum), "#( i  + 1 ) ");
}

TEST_F(ScalProd, OverNumbersIsComputedAtOnce) {
  constexpr TavInt kMax = std::numeric_limits<TavInt>::max();
  EXPECT_EQ(TavScalProd(numbers({1, 2.5}), numbers({4, 2})), 9.0);
  EXPECT_EQ(TavScalProd(ints({1, 2}), numbers({0.5, 2})), 4.5);
  EXPECT_EQ(TavScalProd(numbers({0.5, 2}), ints({1, 2})), 4.5);
  EXPECT_EQ(TavScalProd(ints({kMax, 1}), ints({2, 3})), 1);  // wraps around
  EXPECT_EQ(TavScalProd(numbers({}), numbers({})), 0.0);
  EXPECT_EQ(TavSum(numbers({1e16, 1, -1e16})), 0.0);  // in index order
  EXPECT_EQ(TavSum(ints({kMax, 1})), std::numeric_limits<TavInt>::min());
  EXPECT_EQ(TavSum(ints({})), 0);
  EXPECT_FALSE(std::signbit(TavSum(numbers({-0.0}))));
}

TEST_F(ScalProd, SumsAddTheElementsInOrder) {
  TavNumExprArray exprs(env);
  const TavNumExprArg p = leaf(7);
  const TavIntExprArg k = 3 * i + 2;
  for (TavNumExprArg e : {TavNumExprArg(x), p, TavNumExprArg(k), TavNumExprArg(x)}) exprs.add(e);
  const TavNumExprArg sum = TavSum(exprs);
  EXPECT_EQ(shape(sum), "( x  + 3 * i  + x  + leaf + 2 ) ");
  EXPECT_EQ(sum.getImpl()->getRefCount(), 0);
  EXPECT_EQ(p.getImpl()->getRefCount(), 1);
  EXPECT_EQ(eval(sum), 25.0);
  const TavIntVarArray vars(env, 3, i, j, i);
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  EXPECT_EQ(shape(TavSum(vars)), "#( i  + j  + i ) ");
  EXPECT_EQ(shape(TavSum(vars.toNumVarArray())), "( i  + j  + i ) ");
  EXPECT_EQ(objects() - objectsBefore, 2);
  EXPECT_EQ(cells() - cellsBefore, 6);
  EXPECT_EQ(shape(TavSum(TavIntVarArray(env))), "#( ) ");
  EXPECT_EQ(shape(TavSum(TavNumExprArray(env))), "( ) ");
}

TEST_F(ScalProd, BadArraysAreRefusedAndLeaveNothing) {
  const TavNumVar foreign(other);
  const TavNumVarArray mixed(env, 2, x, foreign), withNull(env, 2), three(env, 3, x, y, foreign);
  const TavIntVarArray mixedInts(env, 2, i, TavIntVar(other));
  const TavNumArray c = numbers({1, 2});
  const TavNumExprArray left = TavNumVarArray(env, 2, x, y).toNumExprArray(), right = mixed.toNumExprArray();
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  EXPECT_EQ(messageOf<TavInvalidScalProdArraysException>([&] { TavScalProd(c, three); }),
            "TavScalProd: arrays have different size");
  EXPECT_THROW(TavScalProd(ints({1}), c), TavInvalidScalProdArraysException);
  EXPECT_THROW(TavScalProd(left, three.toNumExprArray()), TavInvalidScalProdArraysException);
  for (const auto& call : std::initializer_list<std::function<void()>>{[&] { TavScalProd(c, mixed); },
                                                                       [&] {
                                                                         TavScalProd(mixedInts, ints({1, 2}));
                                                                       },
                                                                       [&] { TavScalProd(left, right); },
                                                                       [&] { TavScalProd(right, left); }}) {
    EXPECT_EQ(messageOf<TavWrongUsage>(call), "TavScalProd: mixing mismatch environments");
  }
  const std::string kExpr = "mixing mismatch Environments";
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavSum(mixed); }),
            "TavExpr& TavNumExpr::operator += const TavNumVar arg : " + kExpr);
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavSum(right); }),
            "TavExpr& TavNumExpr::operator += const TavNumExprArg arg : " + kExpr);
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavSum(mixedInts); }),
            "TavIntExprArg operator + const TavIntExprArg const TavIntExprArg: " + kExpr);
  EXPECT_THROW(TavScalProd(c, withNull), TavEmptyHandleException);
  EXPECT_THROW(TavScalProd(TavNumArray(), withNull), TavEmptyHandleException);
  EXPECT_THROW(TavSum(withNull), TavEmptyHandleException);
  EXPECT_THROW(TavSum(TavIntExprArray()), TavEmptyHandleException);
  EXPECT_EQ(objects(), objectsBefore);
  EXPECT_EQ(cells(), cellsBefore);
}
