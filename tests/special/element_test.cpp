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

TEST_F(Element, TextsValuesAndClonesOfTheSevenArrays) {
  const TavIntExprArg i = intLeaf(1);
  const TavNumVarArray vars(env, 2, num("x", 2), num("y", 3));
  const TavIntVarArray intVars(env, 2, integer("j", 4), integer("k", 5));
  struct Case {
    TavNumExprArg node;
    const char *type, *name, *array, *plain;
    double value;
  };
  const Case cases[] = {
      {array<TavNumExprArray>({leaf(1), leaf(6)})[i], "TavNumExprArrayElementI", "TavNumExprArray", "[leaf, leaf]",
       "num-exprs", 6},
      {array<TavExprArray>({leaf(1), leaf(6)})[i], "TavNumExprArrayElementI", "TavNumExprArray", "[leaf, leaf]",
       "num-exprs", 6},
      {TavElement(vars, i), "TavNumExprArrayElementI", "TavNumExprArray", "[x[0 .. 10] , y[0 .. 10] ]", "num-exprs", 3},
      {array<TavIntExprArray>({i, i})[i], "TavIntExprArrayElementI", "TavIntExprArray", "[ileaf, ileaf]", "int-exprs",
       1},
      {TavElement(intVars, i), "TavIntExprArrayElementI", "TavIntExprArray", "[j[0 .. 10] , k[0 .. 10] ]", "int-exprs",
       5},
      {TavElement(array<TavIntArray>({TavInt{4}, TavInt{-5}}), i), "TavIntArrayElementI", "TavIntArray", "[4, -5]",
       "ints", -5},
      {TavElement(doubles({1, 2.5}), i), "TavNumArrayElementI", "TavNumArray", "[1, 2.5]", "nums", 2.5},
  };
  TavClonePass pass(env.getImpl(), other.getImpl());
  for (const Case& c : cases) {
    EXPECT_STREQ(c.node.getImpl()->getRttiTypeName(), c.type);
    EXPECT_EQ(library(c.node), std::string(c.name) + "Index(ileaf, " + c.array + ") ");
    EXPECT_EQ(plain(c.node), std::string(c.plain) + "[ileaf]");
    EXPECT_EQ(eval(c.node), c.value);
    other.getImpl()->librarySyntaxDisplay = true;
    EXPECT_EQ(text(pass.clone(c.node.getImpl())), library(c.node));
  }
}

TEST_F(Element, IntegralityIsThatOfTheElements) {
  const TavIntExprArg i = intLeaf(0);
  EXPECT_FALSE(doubles({1, 2.5})[i].isInteger());
  EXPECT_FALSE(doubles({1, kInf})[i].isInteger());
  EXPECT_TRUE(doubles({1, 2})[i].isInteger());
  EXPECT_TRUE(doubles({})[i].isInteger());
  EXPECT_TRUE(array<TavNumExprArray>({leaf(1.5, true)})[i].isInteger());
  EXPECT_FALSE(array<TavNumExprArray>({leaf(1, true), leaf(1)})[i].isInteger());
  EXPECT_TRUE(TavNumExprArray(env)[i].isInteger());
  EXPECT_TRUE(TavIntExprArray(env)[i].isInteger());
}

TEST_F(Element, KeepsItsOwnArrayAndGivesItBack) {
  const TavNumExprArg x = leaf(1);
  const TavIntExprArg i = intLeaf(0);
  const TavNumExpr holdsX(x), holdsI(i);
  auto caller = array<TavNumExprArray>({x, x, TavNumExprArg()});
  const TavInt before = bytes();
  TavNumExpr node(caller[i]);
  caller.set(0, TavNumExprArg());
  EXPECT_EQ(eval(node), 1.0);
  EXPECT_EQ(x.getImpl()->getRefCount(), 3);
  EXPECT_EQ(children(node.getImpl()), (std::vector<TavExtractableI*>{i.getImpl(), x.getImpl(), x.getImpl()}));
  node.end();
  EXPECT_EQ(x.getImpl()->getRefCount() + i.getImpl()->getRefCount(), 2);
  EXPECT_EQ(bytes(), before);

  const TavNumArray numbers = doubles({1, 2});
  const TavInt withNumbers = bytes();
  numbers[i].end();
  EXPECT_EQ(i.getImpl()->getRefCount(), 1);
  EXPECT_GT(bytes(), withNumbers);  // a copy of numbers stays until the environment ends
}

TEST_F(Element, LivesInTheArraysEnvironment) {
  const TavNumArray elsewhere(other, 1);
  EXPECT_EQ(elsewhere[intLeaf(0)].getImpl()->getEnv(), other.getImpl());
  EXPECT_EQ(messageOf<TavEmptyHandleException>([&] { elsewhere[TavIntExprArg()]; }), "");
  EXPECT_EQ(messageOf<TavEmptyHandleException>([&] { TavNumArray()[intLeaf(0)]; }), "");
}
