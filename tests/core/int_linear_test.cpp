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

TEST_F(IntLinear, RemovesAsTheNumericNodeDoesAndWraps) {
  auto* node = linear<TavIntLinTermI>({{1, i}, {2, j}, {3, i}}, {m, m}, std::numeric_limits<int>::min());
  TavExtractableArray objects(env);
  objects.add(TavExtractable(i));
  objects.add(TavExtractable(m));
  node->remove(objects);  // two hits, the parts first
  EXPECT_EQ(shapeOf(node), "#1i 2j 3i -2147483648");
  node->remove(objects);
  EXPECT_EQ(m.getImpl()->getRefCount(), 1);
  env.getImpl()->oneByOneRemoval = true;
  EXPECT_EQ(changesOf([&] { node->atRemove(j.getImpl(), nullptr); }),
            std::vector<std::string>{"TavIntLinTermRemoveVar"});
  node->prepend(env.getImpl()->newTerm(i.getImpl(), 4));
  node->setConstant(std::numeric_limits<TavInt>::min());
  node->multiply(-1);
  EXPECT_EQ(plain(TavNumExprArg(node)), "-4 * i  + -9223372036854775808 ");
}

}  // namespace
