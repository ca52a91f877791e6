#include "tests/support/fixture.h"

using Element = TavTest;

TEST_F(Element, IndexIsCutTowardZero) {
  const TavNumArray values = nums({10, 20.5, 30});
  const std::pair<double, double> cases[] = {{0, 10}, {1.9, 20.5}, {2.999, 30}, {-0.5, 10}, {kNaN, 10}};
  for (const auto& [index, value] : cases) expectValue(values[intLeaf(index)], value);
  expectValue(exprs({leaf(5.5), leaf(6.5)})[intLeaf(1.5)], 6.5);
  expectValue(ints({9007199254740993})[intLeaf(0)], 9007199254740992.0);  // as a double
  TavNumArray beyondTheFirstBlock(env);
  for (int i = 0; i < 3000; ++i) beyondTheFirstBlock.add(i * 0.5);
  expectValue(beyondTheFirstBlock[intLeaf(2999)], 1499.5);
  EXPECT_TRUE(nums({})[intLeaf(0)].isInteger());
  EXPECT_FALSE(nums({1, kInf})[intLeaf(0)].isInteger());
}

TEST_F(Element, ArraysOfVariablesGiveTheClassesOfExpressions) {
  const TavIntExprArg i = intLeaf(1);
  const TavNumVarArray vars(env, 2, num("x", 2), num("y", 3));
  const TavIntVarArray intVars(env, 2, integer("j", 4), integer("k", 5));
  const std::pair<TavNumExprArg, const char*> kCases[] = {
      {arrayOf<TavExprArray>({leaf(1), leaf(3)})[i], "TavNumExprArrayIndex(ileaf, [leaf, leaf]) "},
      {TavElement(vars, i), "TavNumExprArrayIndex(ileaf, [x[0 .. 10] , y[0 .. 10] ]) "},
      {TavElement(intVars, i), "TavIntExprArrayIndex(ileaf, [j[0 .. 10] , k[0 .. 10] ]) "}};
  for (const auto& [node, expected] : kCases) {
    EXPECT_EQ(library(node), expected);
    expectValue(node, node.isInteger() ? 5 : 3);
  }
}

TEST_F(Element, LivesInTheArraysEnvironment) {
  const TavNumArray elsewhere(other, 1);
  const TavIntExprArg i = intLeaf(0);
  EXPECT_EQ(elsewhere[i].getImpl()->getEnv(), other.getImpl());
  refusesEmpty({[&] { elsewhere[TavIntExprArg()]; }, [&] { TavNumArray()[i]; }});
}
