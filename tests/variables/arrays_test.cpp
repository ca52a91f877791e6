#include "tests/support/fixture.h"

namespace {

using VarArrays = TavTest;

/// Calls Array(env, n, e, ..., e) with one to ten elements, once with the right n and once with a wrong one.
template <class Array, class Element, std::size_t... K>
void checkCounts(TavEnv env, const std::string& name, Element e, std::index_sequence<K...>) {
  const auto one = [&]<std::size_t... J>(std::index_sequence<J...>) {
    constexpr TavInt k = sizeof...(J);
    const Array array(env, k, (static_cast<void>(J), e)...);
    EXPECT_EQ(array.getSize(), k);
    EXPECT_EQ(array[k - 1].getImpl(), e.getImpl());
    const std::string number = (name == "TavNumVarArray" && k == 1 ? " " : "") + std::to_string(k);
    EXPECT_EQ(messageOf<TavWrongUsage>([&] { Array(env, k == 1 ? 2 : 1, (static_cast<void>(J), e)...); }),
              name + "::" + name + ": n !=" + number);
  };
  (one(std::make_index_sequence<K + 1>()), ...);
}

TEST_F(VarArrays, AreWrittenOutWithTheirCount) {
  constexpr auto kTen = std::make_index_sequence<10>();
  const TavIntVar i(env, 0, 1);
  checkCounts<TavNumVarArray>(env, "TavNumVarArray", TavNumVar(i), kTen);
  checkCounts<TavIntVarArray>(env, "TavIntVarArray", i, kTen);
  checkCounts<TavBoolVarArray>(env, "TavBoolVarArray", TavBoolVar(i), kTen);
  checkCounts<TavSemiContVarArray>(env, "TavSemiContVarArray", TavSemiContVar(env, 0, 1), kTen);
  checkCounts<TavConstraintArray>(env, "TavConstraintArray", TavConstraint(), kTen);
}

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
