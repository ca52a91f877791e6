#include "tests/support/fixture.h"

using IntLinear = TavTest;

TEST_F(IntLinear, ConvertsToANumericNodeStaysAsItIsReportsARemovalAndWraps) {
  const TavIntVar i = integer("i", 2), j = integer("j", 3);
  const TavIntExprArg m = intLeaf(7, "m");
  auto* node = linear<TavIntLinTermI>({{2, i}, {3, j}, {1, i}}, {m}, 3);
  EXPECT_EQ(shape(node->toNumLinTermI()), "2i 3j 1i <m> 3");
  EXPECT_EQ(shape(node->intCopy()), "#2i 3j 1i <m> 3");
  EXPECT_EQ(node->toIntLinTermI(), node);
  EXPECT_EQ(m.getImpl()->getRefCount(), 3);
  EXPECT_EQ(shape(m.getImpl()->toIntLinTermI()), "#<m> 0");
  EXPECT_EQ(shape(i.getImpl()->toIntLinTermI()), "#1i 0");
  EXPECT_EQ(m.getImpl()->intCopy(), m.getImpl());
  env.getImpl()->oneByOneRemoval = true;
  EXPECT_EQ(records([&] { node->atRemove(j.getImpl(), nullptr); }), "#RemoveVar j; ");
  node->setConstant(-kMaxInt - 1);
  node->multiply(-1);
  EXPECT_EQ(shape(node), "#-2i -1i <TavIntTimesCstI{m * -1}> -9223372036854775808");
}
