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

TEST_F(ScalProd, OverVariablesIsOneNodeAndOneCellPerPosition) {
  const TavNumVarArray vars(env, 3, x, x, y);
  const TavIntVarArray intVars(env, 2, i, j);
  const TavNumArray c = numbers({1, 0, 2}), halves = numbers({0.5, -1.5});
  const TavIntArray k = ints({1, 0, 2}), k2 = ints({7, 0});
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  const TavNumExprArg product = TavScalProd(c, vars);
  EXPECT_EQ(objects() - objectsBefore, 1);
  EXPECT_EQ(cells() - cellsBefore, 3);
  EXPECT_EQ(eval(product), 8.0);
  EXPECT_EQ(product.getImpl()->getRefCount(), 0);
  for (TavNumExprArg e : {product, TavScalProd(vars, c), TavScalProd(k, vars), TavScalProd(vars, k)}) {
    EXPECT_EQ(shape(e), "( x  + 0  + 2 * y ) ");
  }
  EXPECT_EQ(shape(TavScalProd(halves, intVars)), "( 0.5 * i  + -1.5 * j ) ");
  EXPECT_EQ(shape(TavScalProd(intVars, halves)), "( 0.5 * i  + -1.5 * j ) ");
  EXPECT_EQ(shape(TavScalProd(k2, intVars)), "#( 7 * i  + 0 ) ");
  EXPECT_EQ(shape(TavScalProd(intVars, k2)), "#( 7 * i  + 0 ) ");
  EXPECT_EQ(shape(TavScalProd(numbers({}), TavNumVarArray(env))), "( ) ");
}

TEST_F(ScalProd, OverExpressionsAppendsOnePartPerPosition) {
  const TavNumExprArg two = TavNumExpr(env, 2.0), p = leaf(7);
  EXPECT_EQ(shape(TavScalProd(exprs({p, two, p, x}), exprs({p, p, two, two}))),
            "( ( leaf* leaf)  + ( leaf* 2)  + ( leaf* 2)  + ( 2 * x ) ) ");
  const TavIntExprArg one = TavIntExpr(env, 1), m = intLeaf(3);
  EXPECT_EQ(shape(TavScalProd(intExprs({m, one}), intExprs({one, m}))), "#( ( ileaf* ( 1 ) )  + ( ( 1 ) * ileaf) ) ");
}

TEST_F(ScalProd, ElementsStayAsTheyAreEvenUncountedOnes) {
  const TavNumExprArg sum = x + 1, two = TavNumExpr(env, 2.0);
  EXPECT_EQ(shape(TavScalProd(exprs({two, sum}), exprs({sum, two}))), "( ( 2 * x  + 2 )  + ( 2 * x  + 2 ) ) ");
  EXPECT_EQ(shape(TavSum(exprs({sum, sum}))), "( x  + x  + 2 ) ");
  EXPECT_EQ(shape(sum), "( x  + 1 ) ");
  EXPECT_EQ(sum.getImpl()->getRefCount(), 0);
  const TavIntExprArg intSum = i + 1;
  EXPECT_EQ(shape(TavSum(intExprs({intSum, intSum}))), "#( i  + i  + 2 ) ");
  EXPECT_EQ(shape(intSum), "#( i  + 1 ) ");
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

TEST_F(ScalProd, SumsAddTheElementsInOrder) {
  const TavNumExprArg p = leaf(7);
  const TavNumExprArg sum = TavSum(exprs({x, p, 3 * i + 2, x}));
  EXPECT_EQ(shape(sum), "( x  + 3 * i  + x  + leaf + 2 ) ");
  EXPECT_EQ(eval(sum), 25.0);
  EXPECT_EQ(sum.getImpl()->getRefCount(), 0);
  EXPECT_EQ(p.getImpl()->getRefCount(), 1);
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
  const TavIntArray k = ints({1, 2});
  const TavNumExprArray good = exprs({x, y}), bad = exprs({x, foreign});
  const TavInt objectsBefore = objects(), cellsBefore = cells();
  const auto thrown = [](const std::function<void()>& call) { return messageOf<TavWrongUsage>(call); };
  EXPECT_EQ(messageOf<TavInvalidScalProdArraysException>([&] { TavScalProd(c, three); }),
            "TavScalProd: arrays have different size");
  EXPECT_THROW(TavScalProd(ints({1}), c), TavInvalidScalProdArraysException);
  EXPECT_THROW(TavScalProd(good, three.toNumExprArray()), TavInvalidScalProdArraysException);
  EXPECT_EQ(thrown([&] { TavScalProd(c, mixed); }), "TavScalProd: mixing mismatch environments");
  EXPECT_EQ(thrown([&] { TavScalProd(mixedInts, k); }), "TavScalProd: mixing mismatch environments");
  EXPECT_EQ(thrown([&] { TavScalProd(good, bad); }), "TavScalProd: mixing mismatch environments");
  EXPECT_EQ(thrown([&] { TavScalProd(bad, good); }), "TavScalProd: mixing mismatch environments");
  EXPECT_EQ(thrown([&] { TavSum(mixed); }),
            "TavExpr& TavNumExpr::operator += const TavNumVar arg : mixing mismatch Environments");
  EXPECT_EQ(thrown([&] { TavSum(bad); }),
            "TavExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments");
  EXPECT_EQ(thrown([&] { TavSum(mixedInts); }),
            "TavIntExprArg operator + const TavIntExprArg const TavIntExprArg: mixing mismatch Environments");
  EXPECT_THROW(TavScalProd(c, withNull), TavEmptyHandleException);
  EXPECT_THROW(TavScalProd(TavNumArray(), withNull), TavEmptyHandleException);
  EXPECT_THROW(TavSum(withNull), TavEmptyHandleException);
  EXPECT_THROW(TavSum(TavIntExprArray()), TavEmptyHandleException);
  EXPECT_EQ(objects(), objectsBefore);
  EXPECT_EQ(cells(), cellsBefore);
}
