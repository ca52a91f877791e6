#include "tests/support/fixture.h"

namespace {

class IntLinear : public TavTest {
 protected:
  IntLinear() { m.getImpl()->retain(); }
  static std::string shapeOf(TavNumExprI* node) { return shape(TavNumExprArg(node)); }

  TavIntVar i = integer("i", 2), j = integer("j", 3);
  TavIntExprArg m = namedIntLeaf("m", 7);
};

TEST_F(IntLinear, ConvertsToANumericNodeAndStaysAsItIs) {
  auto* node = linear<TavIntLinTermI>({{2, i}, {3, j}, {1, i}}, {m}, 3);
  EXPECT_EQ(shapeOf(node->toNumLinTermI()), "2i 3j 1i <m> 3");
  EXPECT_EQ(shapeOf(node->intCopy()), "#2i 3j 1i <m> 3");
  EXPECT_EQ(node->toIntLinTermI(), node);
  EXPECT_EQ(shapeOf(node), "#2i 3j 1i <m> 3");
  EXPECT_EQ(m.getImpl()->getRefCount(), 4);
  EXPECT_EQ(shapeOf(m.getImpl()->toIntLinTermI()), "#<m> 0");
  EXPECT_EQ(shapeOf(i.getImpl()->toIntLinTermI()), "#1i 0");
  EXPECT_EQ(m.getImpl()->intCopy(), m.getImpl());
  EXPECT_EQ(node->getNumConstant(), 3.0);
}

TEST_F(IntLinear, ReportsARemovalAndWraps) {
  auto* node = linear<TavIntLinTermI>({{2, j}, {4, i}});
  env.getImpl()->oneByOneRemoval = true;
  EXPECT_EQ(changesOf([&] { node->atRemove(j.getImpl(), nullptr); }),
            std::vector<std::string>{"TavIntLinTermRemoveVar"});
  node->setConstant(std::numeric_limits<TavInt>::min());
  node->multiply(-1);
  EXPECT_EQ(plain(TavNumExprArg(node)), "-4 * i  + -9223372036854775808 ");
}

}  // namespace
