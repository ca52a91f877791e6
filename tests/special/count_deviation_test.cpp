#include "tests/support/fixture.h"

class CountDeviation : public TavTest {
 protected:
  TavIntExprArray exprs(std::initializer_list<double> values) {
    TavIntExprArray array(env);
    for (double value : values) array.add(intLeaf(value));
    return array;
  }
};

TEST_F(CountDeviation, ComparesAsDoublesAndDeviatesOverThePopulation) {
  EXPECT_EQ(eval(TavCount(exprs({3, 3.0, 2.9999, 4}), 3)), 2.0);
  EXPECT_EQ(eval(TavCount(exprs({-0.0, 0, kNaN}), 0)), 2.0);
  EXPECT_EQ(eval(TavCount(exprs({9007199254740992.0}), 9007199254740993)), 1.0);
  EXPECT_EQ(eval(TavStandardDeviation(exprs({1, 2, 3, 4}))), std::sqrt(1.25));
  EXPECT_EQ(eval(TavStandardDeviation(exprs({5}))), 0.0);
  EXPECT_EQ(eval(TavStandardDeviation(exprs({1e9, 1e9 + 2}))), 1.0);
  EXPECT_TRUE(std::isnan(eval(TavStandardDeviation(exprs({1, kInf})))));
  TavIntExprArray array = exprs({4});
  const auto* leaf = static_cast<IntLeafI*>(array[0].getImpl());
  const TavNumExprArg deviation = TavStandardDeviation(array);
  array.set(0, intLeaf(9));  // the node keeps its own copy
  eval(deviation);
  EXPECT_EQ(leaf->evaluations, 2);  // once for the mean, once for the deviation
}

TEST_F(CountDeviation, ADeviationAndItsCloneKeepTheirBounds) {
  TavClonePass pass(env.getImpl(), other.getImpl());
  const std::pair<TavNumExprArg, std::pair<double, double>> kCases[] = {
      {TavStandardDeviation(exprs({1}), 0.5, 2.5), {0.5, 2.5}}, {TavStandardDeviation(exprs({1})), {-kInf, kInf}}};
  for (const auto& [node, bounds] : kCases) {
    const auto* clone = static_cast<TavStandardDeviationI*>(pass.clone(node.getImpl()));
    EXPECT_EQ(std::pair(clone->getLowerBound(), clone->getUpperBound()), bounds);
  }
}

TEST_F(CountDeviation, TheFirstBadElementDecides) {
  TavIntExprArray emptyFirst = exprs({1}), foreignFirst = exprs({1});
  const TavIntExprArg foreign(new (other.getImpl()) IntLeafI(other.getImpl(), 1));
  for (const TavIntExprArg element : {TavIntExprArg(), foreign}) emptyFirst.add(element);
  for (const TavIntExprArg element : {foreign, TavIntExprArg()}) foreignFirst.add(element);
  TavEnvI* e = env.getImpl();
  const TavNumExprArg none(new (e) TavCountI(e, exprs({}), 1));
  const TavNumExprArg noSpread(new (e) TavStandardDeviationI(e, exprs({}), 0, 1));
  const auto expect = [&](const std::string& name, TavNumExprArg empty, auto build) {
    EXPECT_EQ(messageOf<TavArrayError>([&] { build(exprs({})); }), name + ": array of size 0");
    EXPECT_EQ(messageOf<TavArrayError>([&] { build(emptyFirst); }), name + ": empty handle in array");
    EXPECT_EQ(messageOf<TavWrongUsage>([&] { build(foreignFirst); }), name + ": mixing mismatch Environments");
    EXPECT_EQ(messageOf<TavArrayError>([&] { eval(empty); }), "Array of size 0 in evaluation of " + name);
  };
  expect("TavCount", none, [](TavIntExprArray array) { TavCount(array, 1); });
  expect("TavStandardDeviation", noSpread, [](TavIntExprArray array) { TavStandardDeviation(array, 0, 1); });
}
