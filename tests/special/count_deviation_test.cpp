#include "tests/support/fixture.h"

class CountDeviation : public TavTest {
 protected:
  TavIntExprArray exprs(std::initializer_list<double> values) {
    TavIntExprArray array(env);
    for (double value : values) array.add(intLeaf(value));
    return array;
  }
};

TEST_F(CountDeviation, Values) {
  EXPECT_EQ(eval(TavCount(exprs({3, 3.0, 2.9999, 4}), 3)), 2.0);
  EXPECT_EQ(eval(TavCount(exprs({2.0000001}), 2)), 0.0);
  EXPECT_EQ(eval(TavCount(exprs({-0.0, 0, kNaN}), 0)), 2.0);
  EXPECT_EQ(eval(TavCount(exprs({9007199254740992.0}), 9007199254740993)), 1.0);  // compared as doubles
  EXPECT_EQ(eval(TavStandardDeviation(exprs({1, 2, 3, 4}))), std::sqrt(1.25));
  EXPECT_EQ(eval(TavStandardDeviation(exprs({5}))), 0.0);
  EXPECT_EQ(eval(TavStandardDeviation(exprs({1e9, 1e9 + 2}))), 1.0);
  EXPECT_TRUE(std::isnan(eval(TavStandardDeviation(exprs({1, kInf})))));
}

TEST_F(CountDeviation, OneExpressionTwice) {
  const TavIntExprArg x = intLeaf(4);
  TavIntExprArray array(env);
  array.add(x);
  array.add(x);
  const auto* leaf = static_cast<IntLeafI*>(x.getImpl());
  TavNumExpr count(TavCount(array, 4)), deviation(TavStandardDeviation(array));
  array.set(0, intLeaf(9));  // the nodes keep their own copies
  EXPECT_EQ(eval(count), 2.0);
  EXPECT_EQ(leaf->evaluations, 2);
  EXPECT_EQ(eval(deviation), 0.0);
  EXPECT_EQ(leaf->evaluations, 6);  // the deviation evaluates every element twice
  EXPECT_EQ(x.getImpl()->getRefCount(), 4);
  deviation.end();
  EXPECT_EQ(x.getImpl()->getRefCount(), 2);
}

TEST_F(CountDeviation, Texts) {
  const TavIntExprArg count = TavCount(exprs({1, 2}), -3);
  const TavNumExprArg deviation = TavStandardDeviation(exprs({1, 2}), 0.5, 2.5);
  EXPECT_EQ(library(count), "TavCount( [ileaf, ileaf], -3) ");
  EXPECT_EQ(plain(count), "count([ileaf, ileaf], -3)");
  EXPECT_EQ(library(deviation), "TavStandardDeviation( [ileaf, ileaf]) ");
  EXPECT_EQ(plain(deviation), "stddev([ileaf, ileaf])");
  EXPECT_TRUE(count.isInteger());
  EXPECT_FALSE(deviation.isInteger());
}

TEST_F(CountDeviation, Messages) {
  TavIntExprArray emptyFirst = exprs({1}), foreignFirst = exprs({1});
  const TavIntExprArg foreign(new (other.getImpl()) IntLeafI(other.getImpl(), 1));
  emptyFirst.add(TavIntExprArg());
  emptyFirst.add(foreign);
  foreignFirst.add(foreign);
  foreignFirst.add(TavIntExprArg());
  const auto count = [](TavIntExprArray a) { return [a] { TavCount(a, 1); }; };
  const auto deviation = [](TavIntExprArray a) { return [a] { TavStandardDeviation(a, 0, 1); }; };
  EXPECT_EQ(messageOf<TavArrayError>(count(exprs({}))), "TavCount: array of size 0");
  EXPECT_EQ(messageOf<TavArrayError>(count(emptyFirst)), "TavCount: empty handle in array");
  EXPECT_EQ(messageOf<TavWrongUsage>(count(foreignFirst)), "TavCount: mixing mismatch Environments");
  EXPECT_EQ(messageOf<TavArrayError>(deviation(exprs({}))), "TavStandardDeviation: array of size 0");
  EXPECT_EQ(messageOf<TavArrayError>(deviation(emptyFirst)), "TavStandardDeviation: empty handle in array");
  EXPECT_EQ(messageOf<TavWrongUsage>(deviation(foreignFirst)), "TavStandardDeviation: mixing mismatch Environments");

  TavEnvI* e = env.getImpl();
  const TavNumExprArg none(new (e) TavCountI(e, exprs({}), 1));
  const TavNumExprArg noSpread(new (e) TavStandardDeviationI(e, exprs({}), 0, 1));
  EXPECT_EQ(messageOf<TavArrayError>([&] { eval(none); }), "Array of size 0 in evaluation of TavCount");
  EXPECT_EQ(messageOf<TavArrayError>([&] { eval(noSpread); }), "Array of size 0 in evaluation of TavStandardDeviation");
}

TEST_F(CountDeviation, ClonesKeepTheNumbers) {
  TavClonePass pass(env.getImpl(), other.getImpl());
  EXPECT_EQ(static_cast<TavCountI*>(pass.clone(TavCount(exprs({1, 2}), 2).getImpl()))->eval(&algorithm), 1.0);
  const auto boundsOfClone = [&](TavNumExprArg node) {
    auto* clone = static_cast<TavStandardDeviationI*>(pass.clone(node.getImpl()));
    return std::pair(clone->getLowerBound(), clone->getUpperBound());
  };
  EXPECT_EQ(boundsOfClone(TavStandardDeviation(exprs({1}), 0.5, 2.5)), std::pair(0.5, 2.5));
  EXPECT_EQ(boundsOfClone(TavStandardDeviation(exprs({1}))), std::pair(-kInf, kInf));
}
