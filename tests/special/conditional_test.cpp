#include "tests/support/fixture.h"

class Conditional : public TavTest {
 protected:
  template <class Node, class Arg>
  TavNumExprArg make(TavNumExprArg condition, Arg a, Arg b) {
    TavEnvI* e = env.getImpl();
    return TavNumExprArg(new (e) Node(e, condition.getImpl(), a.getImpl(), b.getImpl(), 7, -8));
  }
  TavNumExprArg ints(TavNumExprArg condition, TavIntExprArg a, TavIntExprArg b) {
    return make<TavConditionalIntExprI>(condition, a, b);
  }
  TavNumExprArg nums(TavNumExprArg condition, TavNumExprArg a, TavNumExprArg b) {
    return make<TavConditionalNumExprI>(condition, a, b);
  }
};

TEST_F(Conditional, OnlyExactlyOneIsTrue) {
  for (double truth : {1.0, 0.999, 2.0, 0.0, -1.0, kInf, kNaN}) {
    const bool taken = truth == 1.0;
    expectValue(ints(leaf(truth), intLeaf(3), intLeaf(4)), taken ? 3 : 4);
    expectValue(ints(leaf(truth), {}, {}), taken ? 7 : -8);
    expectValue(nums(leaf(truth), leaf(0.5), {}), taken ? 0.5 : -8);
    expectValue(nums(leaf(truth), {}, leaf(kInf)), taken ? 7 : kInf);
  }
}

TEST_F(Conditional, TextsRepeatAndOmitAndClonesPrintTheSame) {
  TavClonePass pass(env.getImpl(), other.getImpl());
  const TavNumExprArg c = leaf(1, "c"), a = leaf(1, "a"), b = leaf(2, "b");
  const TavIntExprArg i = intLeaf(1, "i"), j = intLeaf(2, "j");
  const std::pair<TavNumExprArg, const char*> kCases[] = {
      {ints(c, i, j), "c ? i : j7 : j"}, {ints(c, i, {}), "c ? i : -87 : "}, {ints(c, {}, j), "c ? 7 : j"},
      {nums(c, a, b), "c ? a : b7 : b"}, {nums(c, a, {}), "c ? a : -87 : "}, {nums(c, {}, {}), "c ? 7 : "}};
  for (const auto& [node, expected] : kCases) {
    EXPECT_EQ(plain(node), expected);
    EXPECT_EQ(library(node), expected);
    EXPECT_EQ(plain(pass.clone(node.getImpl())), expected);
    EXPECT_EQ(node.isInteger(), node.getImpl()->isType(TavIntExprI::GetTypeInfo()));
  }
  EXPECT_EQ(children(nums(c, a, b).getImpl()).size(), 3u);
}

TEST_F(Conditional, GivesItsBranchesBackButNotItsCondition) {
  const TavNumExpr condition(leaf(1)), a(leaf(2));
  TavNumExprArg node = nums(condition, a, a);
  EXPECT_EQ(a.getImpl()->getRefCount(), 3);
  node.end();
  EXPECT_EQ(a.getImpl()->getRefCount(), 1);
  EXPECT_EQ(condition.getImpl()->getRefCount(), 2);
}
