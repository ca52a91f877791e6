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
    SCOPED_TRACE(truth);
    const bool taken = truth == 1.0;
    const TavIntExprArg a = intLeaf(3), b = intLeaf(4);
    EXPECT_EQ(eval(ints(leaf(truth), a, b)), taken ? 3 : 4);
    EXPECT_EQ(static_cast<IntLeafI*>(a.getImpl())->evaluations, taken);  // the other branch is left alone
    EXPECT_EQ(static_cast<IntLeafI*>(b.getImpl())->evaluations, !taken);
    EXPECT_EQ(eval(ints(leaf(truth), {}, {})), taken ? 7 : -8);
    EXPECT_EQ(eval(nums(leaf(truth), leaf(0.5), {})), taken ? 0.5 : -8);
    EXPECT_EQ(eval(nums(leaf(truth), {}, leaf(kInf))), taken ? 7 : kInf);
  }
}

TEST_F(Conditional, TextsRepeatAndOmitAndClonesPrintTheSame) {
  TavClonePass pass(env.getImpl(), other.getImpl());
  const std::pair<TavNumExprArg, const char*> kCases[] = {
      {ints(leaf(1), intLeaf(1), intLeaf(2)), "leaf ? ileaf : ileaf7 : ileaf"},
      {ints(leaf(1), intLeaf(1), {}), "leaf ? ileaf : -87 : "},
      {ints(leaf(1), {}, intLeaf(2)), "leaf ? 7 : ileaf"},
      {ints(leaf(1), {}, {}), "leaf ? 7 : "},
      {nums(leaf(1, true), intLeaf(1), leaf(2, true)), "leaf ? ileaf : leaf7 : leaf"},
      {nums(leaf(1), leaf(1), {}), "leaf ? leaf : -87 : "},
      {nums(leaf(1), {}, leaf(2)), "leaf ? 7 : leaf"},
      {nums(leaf(1), {}, {}), "leaf ? 7 : "}};
  for (const auto& [node, expected] : kCases) {
    EXPECT_EQ(plain(node), expected);
    EXPECT_EQ(library(node), expected);
    EXPECT_EQ(text(pass.clone(node.getImpl())), expected);
    EXPECT_EQ(node.isInteger(), node.getImpl()->isType(TavIntExprI::GetTypeInfo()));
  }
}

TEST_F(Conditional, GivesItsBranchesBackButNotItsCondition) {
  const TavNumExpr condition(leaf(1)), a(leaf(2));
  TavNumExprArg node = nums(condition, a, a);
  EXPECT_EQ(a.getImpl()->getRefCount(), 3);
  node.end();
  EXPECT_EQ(a.getImpl()->getRefCount(), 1);
  EXPECT_EQ(condition.getImpl()->getRefCount(), 2);
}
