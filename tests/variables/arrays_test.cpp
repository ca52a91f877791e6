#include "tests/support/fixture.h"

namespace {

using VarArrays = TavTest;

TEST_F(VarArrays, EndVariablesOfTwoEnvironments) {
  const TavNumVar a(env, 0, 1, "a"), b(env, 0, 1, "b"), c(other, 0, 1, "c"), d(other, 0, 1, "d");
  const TavExpr s = a + 2 * b, t = c + 2 * d;
  TavNumVarArray(env, 2, a, d).endElements();
  EXPECT_EQ(shape(s) + ", " + shape(t), "2b 0, 1c 0");
  struct Refusing final : TestColumn {
    using TestColumn::TestColumn;
    void install(TavExtractableI*) const override { throw TavException("refused"); }
  } const refusing(env);
  const TestColumn first(env), second(other);
  const TavInt before = env.getImpl()->liveObjectCount() + other.getImpl()->liveObjectCount();
  EXPECT_THROW(TavNumVarArray(env, arrayOf<TavNumColumnArray>(
                                       {TavAddNumVar(&first), TavAddNumVar(&second), TavAddNumVar(&refusing)})),
               TavException);
  EXPECT_EQ(env.getImpl()->liveObjectCount() + other.getImpl()->liveObjectCount(), before);
  EXPECT_TRUE(std::signbit(TavNumVarArray(env, nums({0.0, -0.0}), 1.0)[1].getLB()));  // a domain of its own
}

TEST_F(VarArrays, OfExpressionsLockReleaseAndEndTheirElements) {
  const TavInt objects = env.getImpl()->liveObjectCount();
  const auto use = [&](auto array, auto element) {
    for (const auto each : {element, decltype(element)(), element}) array.add(each);
    array.lockExprs();
    EXPECT_EQ(element.getImpl()->getRefCount(), 2);
    array.releaseExprs();  // which destroys the element with its second reference
  };
  use(TavNumExprArray(env), leaf(1));
  use(TavIntExprArray(env), intLeaf(1));
  exprs({leaf(1)}).endElements();
  intExprs({intLeaf(1)}).endElements();
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
}

}  // namespace
