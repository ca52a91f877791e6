#include "tests/support/fixture.h"

class CountDeviation : public TavTest {
 protected:
  TavIntExprArray leaves(std::initializer_list<double> values) {
    TavIntExprArray array(env);
    for (double value : values) array.add(intLeaf(value));
    return array;
  }
};

TEST_F(CountDeviation, ComparesAsDoublesAndDeviatesOverThePopulation) {
  expectValue(TavCount(leaves({3, 3.0, 2.9999, 4}), 3), 2);
  expectValue(TavCount(leaves({-0.0, 0, kNaN}), 0), 2);
  expectValue(TavCount(leaves({9007199254740992.0}), 9007199254740993), 1);
  expectValue(TavStandardDeviation(leaves({1, 2, 3, 4})), std::sqrt(1.25));
  expectValue(TavStandardDeviation(leaves({5})), 0);
  expectValue(TavStandardDeviation(leaves({1e9, 1e9 + 2})), 1);
  expectValue(TavStandardDeviation(leaves({1, kInf})), kNaN);
}

TEST_F(CountDeviation, ADeviationAndItsCloneKeepTheirBounds) {
  TavClonePass pass(env.getImpl(), other.getImpl());
  const std::pair<TavNumExprArg, std::pair<double, double>> kCases[] = {
      {TavStandardDeviation(leaves({1}), 0.5, 2.5), {0.5, 2.5}}, {TavStandardDeviation(leaves({1})), {-kInf, kInf}}};
  for (const auto& [node, bounds] : kCases) {
    const auto* clone = static_cast<TavStandardDeviationI*>(pass.clone(node.getImpl()));
    EXPECT_EQ(std::pair(clone->getLowerBound(), clone->getUpperBound()), bounds);
  }
}

TEST_F(CountDeviation, TheFirstBadElementDecides) {
  const TavIntExprArg good = intLeaf(1), empty, foreign(new (other.getImpl()) IntLeafI(other.getImpl(), 1, "f"));
  const TavIntExprArray none = intExprs({}), emptyFirst = intExprs({good, empty, foreign}),
                        foreignFirst = intExprs({good, foreign, empty});
  TavEnvI* e = env.getImpl();
  const auto check = [&](const std::string& name, TavNumExprI* node, auto build) {
    refuses<TavArrayError>(name + ": array of size 0", {[&] { build(none); }});
    refuses<TavArrayError>(name + ": empty handle in array", {[&] { build(emptyFirst); }});
    refuses<TavWrongUsage>(name + ": mixing mismatch Environments", {[&] { build(foreignFirst); }});
    refuses<TavArrayError>("Array of size 0 in evaluation of " + name, {[&] { eval(TavNumExprArg(node)); }});
  };
  check("TavCount", new (e) TavCountI(e, intExprs({}), 1), [](TavIntExprArray array) { TavCount(array, 1); });
  check("TavStandardDeviation", new (e) TavStandardDeviationI(e, intExprs({}), 0, 1),
        [](TavIntExprArray array) { TavStandardDeviation(array, 0, 1); });
  refusesEmpty({[] { TavCount(TavIntExprArray(), 1); }});
}
