#include "tests/support/fixture.h"

class Element : public TavTest {
 protected:
  template <class Array, class T>
  Array array(std::initializer_list<T> elements) {
    Array result(env);
    for (T element : elements) result.add(element);
    return result;
  }
  TavNumArray doubles(std::initializer_list<double> values) { return array<TavNumArray>(values); }
  TavInt bytes() { return env.getImpl()->getMemory()->usedBytes(); }
};

TEST_F(Element, IndexIsCutTowardZero) {
  const TavNumArray values = doubles({10, 20.5, 30});
  const std::pair<double, double> cases[] = {{0, 10}, {1.9, 20.5}, {2.999, 30}, {-0.5, 10}, {kNaN, 10}};
  for (const auto& [index, value] : cases) EXPECT_EQ(eval(values[intLeaf(index)]), value) << index;
  EXPECT_EQ(eval(array<TavNumExprArray>({leaf(5.5), leaf(6.5)})[intLeaf(1.5)]), 6.5);
  EXPECT_EQ(eval(array<TavIntExprArray>({intLeaf(7)})[intLeaf(-0.9)]), 7.0);
  EXPECT_EQ(eval(array<TavIntArray>({TavInt{9007199254740993}})[intLeaf(0)]), 9007199254740992.0);  // as a double
  TavNumArray beyondTheFirstBlock(env);
  for (int i = 0; i < 3000; ++i) beyondTheFirstBlock.add(i * 0.5);
  EXPECT_EQ(eval(beyondTheFirstBlock[intLeaf(2999)]), 1499.5);
}

TEST_F(Element, TheSevenArraysGiveFourClasses) {
  const TavIntExprArg i = intLeaf(1);
  const TavNumVarArray vars(env, 2, num("x", 2), num("y", 3));
  const TavIntVarArray intVars(env, 2, integer("j", 4), integer("k", 5));
  const auto nums = array<TavNumExprArray>({leaf(1), leaf(6)});
  const auto ints = array<TavIntArray>({TavInt{4}, TavInt{-5}});
  const struct {
    TavNumExprArg node;
    const char *library, *plain;
    double value;
  } kCases[] = {
      {nums[i], "TavNumExprArrayIndex(ileaf, [leaf, leaf]) ", "num-exprs[ileaf]", 6},
      {array<TavExprArray>({leaf(1), leaf(6)})[i], "TavNumExprArrayIndex(ileaf, [leaf, leaf]) ", "num-exprs[ileaf]", 6},
      {TavElement(vars, i), "TavNumExprArrayIndex(ileaf, [x[0 .. 10] , y[0 .. 10] ]) ", "num-exprs[ileaf]", 3},
      {array<TavIntExprArray>({i, i})[i], "TavIntExprArrayIndex(ileaf, [ileaf, ileaf]) ", "int-exprs[ileaf]", 1},
      {TavElement(intVars, i), "TavIntExprArrayIndex(ileaf, [j[0 .. 10] , k[0 .. 10] ]) ", "int-exprs[ileaf]", 5},
      {TavElement(ints, i), "TavIntArrayIndex(ileaf, [4, -5]) ", "ints[ileaf]", -5},
      {TavElement(doubles({1, 2.5}), i), "TavNumArrayIndex(ileaf, [1, 2.5]) ", "nums[ileaf]", 2.5}};
  for (const auto& c : kCases) {
    EXPECT_EQ(library(c.node), c.library);
    EXPECT_EQ(plain(c.node), c.plain);
    EXPECT_EQ(eval(c.node), c.value);
  }
  EXPECT_TRUE(doubles({})[i].isInteger());
  EXPECT_FALSE(doubles({1, kInf})[i].isInteger());
  EXPECT_TRUE(TavNumExprArray(env)[i].isInteger());
}

TEST_F(Element, KeepsItsOwnArrayOfWhichACopyOfNumbersStays) {
  const TavIntExpr i(intLeaf(0));
  auto caller = array<TavNumExprArray>({leaf(1), TavNumExprArg()});
  const TavInt before = bytes();
  TavNumExpr node(caller[i]);
  caller.set(0, TavNumExprArg());
  EXPECT_EQ(eval(node), 1.0);
  node.end();
  EXPECT_LT(bytes(), before);  // the element went along

  const TavNumArray numbers = doubles({1, 2});
  const TavInt withNumbers = bytes();
  numbers[i].end();
  EXPECT_EQ(i.getImpl()->getRefCount(), 1);
  EXPECT_GT(bytes(), withNumbers);  // until the environment ends
}

TEST_F(Element, LivesInTheArraysEnvironment) {
  const TavNumArray elsewhere(other, 1);
  EXPECT_EQ(elsewhere[intLeaf(0)].getImpl()->getEnv(), other.getImpl());
  EXPECT_EQ(messageOf<TavEmptyHandleException>([&] { elsewhere[TavIntExprArg()]; }), "");
  EXPECT_EQ(messageOf<TavEmptyHandleException>([&] { TavNumArray()[intLeaf(0)]; }), "");
}
