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
  TavNumLinTermI* numeric = node->toNumLinTermI();
  EXPECT_EQ(shapeOf(numeric), "2i 3j 1i <m> 3");
  EXPECT_EQ(shapeOf(node), "#2i 3j 1i <m> 3");
  EXPECT_EQ(node->toIntLinTermI(), node);
  EXPECT_EQ(m.getImpl()->getRefCount(), 3);
  TavIntExprI* copy = node->intCopy();
  EXPECT_NE(copy, node);
  EXPECT_EQ(node->copy()->getTypeInfo(), TavIntLinTermI::GetTypeInfo());
  EXPECT_EQ(shapeOf(copy), shapeOf(node));
  EXPECT_EQ(shapeOf(m.getImpl()->toIntLinTermI()), "#<m> 0");
  EXPECT_EQ(shapeOf(i.getImpl()->toIntLinTermI()), "#1i 0");
  EXPECT_EQ(m.getImpl()->intCopy(), m.getImpl());
  EXPECT_EQ(node->getNumConstant(), 3.0);
  EXPECT_EQ(eval(TavNumExprArg(node)), 3 + 7 + 4 + 9 + 2);
  EXPECT_TRUE(node->isInteger());
}

TEST_F(IntLinear, MultipliesWithoutASpecialFactorAndWraps) {
  auto* node = linear<TavIntLinTermI>({{2, i}}, {m}, 3);
  node->multiply(0);
  EXPECT_EQ(shapeOf(node), "#0i <TavIntTimesCstI{m * 0}> 0");
  EXPECT_EQ(plain(TavNumExprArg(node)), "m * 0");
  node = linear<TavIntLinTermI>({{2, i}});
  node->setConstant(std::numeric_limits<TavInt>::min());
  node->multiply(-1);
  EXPECT_EQ(shapeOf(node), "#-2i -9223372036854775808");
  EXPECT_EQ(plain(TavNumExprArg(node)), "-2 * i  + -9223372036854775808 ");
}

TEST_F(IntLinear, SplicesAndRemovesAsTheNumericNodeDoes) {
  auto* node = linear<TavIntLinTermI>({{1, i}}, {m}, 1);
  node->append(linear<TavIntLinTermI>({{2, j}, {3, i}}, {m}, 5));
  EXPECT_EQ(shapeOf(node), "#1i 2j 3i <m> <m> 6");
  TavExtractableArray objects(env);
  objects.add(TavExtractable(i));
  objects.add(TavExtractable(m));
  node->remove(objects);  // two hits, the parts first
  EXPECT_EQ(shapeOf(node), "#1i 2j 3i 6");
  node->remove(objects);
  EXPECT_EQ(shapeOf(node), "#2j 6");
  EXPECT_EQ(m.getImpl()->getRefCount(), 1);
  env.getImpl()->oneByOneRemoval = true;
  EXPECT_EQ(changesOf([&] { node->atRemove(j.getImpl(), nullptr); }),
            std::vector<std::string>{"TavIntLinTermRemoveVar"});
  node->prepend(env.getImpl()->newTerm(i.getImpl(), 4));
  EXPECT_EQ(shapeOf(node), "#4i 6");
}

}  // namespace
