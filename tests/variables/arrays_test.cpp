#include <list>

#include "tests/support/fixture.h"

namespace {

class VarArrays : public TavTest {
 protected:
  VarArrays() {
    for (const double v : {0.5, 1.5}) nums.add(v);
    for (const double v : {2.5, 3.5, 9.0}) moreNums.add(v);
    for (const TavInt v : {1, 2}) ints.add(v);
    for (int k = 0; k < 3; ++k) columns.add(k == 1 ? TavAddNumVar() : TavAddNumVar(&made.emplace_back(env)));
  }
  /// "[lb .. ub] " of every element, "null " for an empty one.
  template <class Array>
  std::string bounds(const Array& array) {
    std::ostringstream os;
    for (TavInt k = 0; k < array.getSize(); ++k) {
      if (const auto* v = array[k].getImpl()) {
        os << "[" << v->getLB() << " .. " << v->getUB() << "]" << (v->getType() == TavNumVar::Float ? "" : "i") << " ";
        EXPECT_EQ(v->getName(), nullptr);
      } else {
        os << "null ";
      }
    }
    return os.str();
  }

  TavNumArray nums{env}, moreNums{env};
  TavIntArray ints{env};
  TavNumColumnArray columns{env};
  std::list<TestColumn> made;
};

TEST_F(VarArrays, AreMadeInBulkByTheRuleOfTheirKind) {
  using Num = TavNumVarArray;
  using Int = TavIntVarArray;
  const std::pair<std::string, const char*> kCases[] = {
      {bounds(Num(env, 2, 0.5, 2.5)), "[0.5 .. 2.5] [0.5 .. 2.5] "},
      {bounds(Num(env, 1, 0.5, 0.5, TavNumVar::Bool)), "[0 .. 0]i "},
      {bounds(Num(env, 0, 0.0, 1.0)), ""},
      {bounds(Num(env, -3, 0.0, 1.0)), ""},
      {bounds(Num(env, nums, moreNums)), "[0.5 .. 2.5] [1.5 .. 3.5] "},
      {bounds(Num(env, nums, moreNums, TavNumVar::Int)), "[1 .. 3]i [2 .. 4]i "},
      {bounds(Num(env, -1.0, nums)), "[-1 .. 0.5] [-1 .. 1.5] "},
      {bounds(Num(env, nums, 7.0)), "[0.5 .. 7] [1.5 .. 7] "},
      {bounds(Num(env, columns)), "[0 .. inf] null [0 .. inf] "},
      {bounds(Num(env, columns, moreNums, moreNums)), "[2.5 .. 2.5] null [9 .. 9] "},
      {bounds(Int(env, 2, -1, 4)), "[-1 .. 4]i [-1 .. 4]i "},
      {bounds(Int(env, ints, ints)), "[1 .. 1]i [2 .. 2]i "},
      {bounds(Int(env, 0, ints)), "[0 .. 1]i [0 .. 2]i "},
      {bounds(Int(env, ints, 5)), "[1 .. 5]i [2 .. 5]i "},
      {bounds(Int(env, columns)), "[0 .. 9.0072e+15]i null [0 .. 9.0072e+15]i "},
      {bounds(Int(env, columns, moreNums, moreNums)), "[2 .. 2]i null [9 .. 9]i "},
      {bounds(TavBoolVarArray(env, columns)), "[0 .. 1]i null [0 .. 1]i "}};
  for (const auto& [found, expected] : kCases) EXPECT_EQ(found, expected);
  const TavNumVarArray last(env, columns);
  EXPECT_EQ(made.back().installed, last[2].getImpl());
  const TavNumArray none;
  const TavNumColumnArray noColumns;
  EXPECT_THROW(Num(env, none, nums), TavEmptyHandleException);
  EXPECT_THROW(Num(env, nums, none), TavEmptyHandleException);
  EXPECT_THROW(Num(env, 0.0, none), TavEmptyHandleException);
  EXPECT_THROW(Num(env, none, 1.0), TavEmptyHandleException);
  EXPECT_THROW(Num(env, noColumns), TavEmptyHandleException);
  EXPECT_THROW(Num(env, columns, nums, none), TavEmptyHandleException);
  EXPECT_THROW(Int(env, TavIntArray(), ints), TavEmptyHandleException);
  EXPECT_THROW(Int(env, ints, TavIntArray()), TavEmptyHandleException);
  EXPECT_THROW(Int(env, noColumns), TavEmptyHandleException);
  EXPECT_THROW(TavBoolVarArray(env, noColumns), TavEmptyHandleException);
}

/// The messages of Array(env, n, e, ..., e) for one to ten elements, n being wrong; and checks the right n.
template <class Array, class Element, std::size_t... K>
std::vector<std::string> countMessages(TavEnv env, Element e, std::index_sequence<K...>) {
  std::vector<std::string> messages;
  const auto one = [&]<std::size_t... J>(std::index_sequence<J...>) {
    constexpr TavInt k = sizeof...(J);
    const Array array(env, k, (static_cast<void>(J), e)...);
    EXPECT_EQ(array.getSize(), k);
    EXPECT_EQ(array[k - 1].getImpl(), e.getImpl());
    messages.push_back(messageOf<TavWrongUsage>([&] { Array(env, k == 1 ? 2 : 1, (static_cast<void>(J), e)...); }));
  };
  (one(std::make_index_sequence<K + 1>()), ...);
  return messages;
}

TEST_F(VarArrays, AreWrittenOutWithTheirCount) {
  constexpr auto kTen = std::make_index_sequence<10>();
  const TavIntVar i(env, 0, 1);
  const std::pair<std::string, std::vector<std::string>> kFamilies[] = {
      {"TavNumVarArray", countMessages<TavNumVarArray>(env, TavNumVar(i), kTen)},
      {"TavIntVarArray", countMessages<TavIntVarArray>(env, i, kTen)},
      {"TavBoolVarArray", countMessages<TavBoolVarArray>(env, TavBoolVar(i), kTen)},
      {"TavConstraintArray", countMessages<TavConstraintArray>(env, TavConstraint(), kTen)}};
  for (const auto& [name, messages] : kFamilies) {
    for (std::size_t k = 1; k <= 10; ++k) {
      const std::string blank = name == "TavNumVarArray" && k == 1 ? " " : "";
      EXPECT_EQ(messages[k - 1], name + "::" + name + ": n !=" + blank + std::to_string(k));
    }
  }
  EXPECT_EQ(TavNumVarArray(env, 2, i, TavNumVar())[1].getImpl(), nullptr);
}

TEST_F(VarArrays, ConvertWithTheSameElementsOrNotAtAll) {
  const TavNumVar x(env, 0, 1);
  const TavIntVar i(env, 0, 1), wide(env, 0, 2);
  const TavNumVarArray mixed(env, 2, i, x), whole(env, 2, i, wide);
  EXPECT_EQ(mixed.toNumExprArray()[1].getImpl(), x.getImpl());
  EXPECT_EQ(whole.toIntVarArray()[1].getImpl(), wide.getImpl());
  EXPECT_EQ(whole.toIntExprArray()[1].getImpl(), wide.getImpl());
  EXPECT_NE(whole.toIntExprArray().getImpl(), whole.getImpl());
  EXPECT_THROW(mixed.toIntExprArray(), TavBadConversion);
  EXPECT_THROW(mixed.toIntVarArray(), TavBadConversion);
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavNumVarArray(env, 2, i, TavNumVar()).toIntVarArray(); }),
            "Using empty handle TavNumVar::getType");
  const TavIntVarArray ofNull(env, 2, i, TavIntVar());
  EXPECT_EQ(ofNull.toIntExprArray().getSize() + ofNull.toNumVarArray().getSize(), 4);
  EXPECT_EQ(TavBoolVarArray(TavIntVarArray(env, 1, i)).getSize(), 1);
  const TavIntVarArray shared(env, 1, i);
  EXPECT_EQ(TavBoolVarArray(shared).getImpl(), shared.getImpl());
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavBoolVarArray{ofNull}; }), "Using empty variable");
  EXPECT_THROW(TavBoolVarArray(TavIntVarArray(env, 2, i, wide)), TavBadConversion);
  const TavIntVarArray withFloat(mixed.getImpl());
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavBoolVarArray{withFloat}; }),
            "Try to add a float variable to TavBoolVarArray");
}

TEST_F(VarArrays, OfExpressionsLockReleaseAndEndTheirElements) {
  const auto use = [&](auto array, auto element) {
    array.add(element);
    array.add(decltype(element)());
    array.add(element);
    array.lockExprs();
    EXPECT_EQ(element.getImpl()->getRefCount(), 2);
    array.releaseExprs();  // the second reference takes the element along
    EXPECT_EQ(array.getSize(), 3);
  };
  const TavInt objects = env.getImpl()->liveObjectCount();
  use(TavNumExprArray(env), leaf(1));
  use(TavIntExprArray(env), intLeaf(1));
  TavNumExprArray array(env);
  array.add(leaf(1));
  array.endElements();
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
}

TEST_F(VarArrays, FollowTheClonesOfOneEnvironmentOrOfEachElements) {
  const TavIntVar i(env, 0, 1), j(env, 0, 1);
  TavIntVar inOther(other, 0, 1), atHome(env, 0, 1);
  other.getImpl()->setClone(i.getImpl(), inOther.getImpl());
  env.getImpl()->setClone(i.getImpl(), atHome.getImpl());
  const TavIntVarArray array(env, 3, i, TavIntVar(), j);
  const auto check = [&](auto clones, TavIntVar expected, TavEnv home) {
    ASSERT_EQ(clones.getSize(), 3);
    EXPECT_EQ(clones[0].getImpl(), expected.getImpl());
    EXPECT_EQ(clones[1].getImpl(), nullptr);
    EXPECT_EQ(clones[2].getImpl(), nullptr);
    EXPECT_EQ(clones.getEnv(), home);
  };
  check(array.getClone(other.getImpl()), inOther, other);
  check(array.getClone(nullptr), atHome, env);
  check(array.toNumVarArray().getClone(other.getImpl()), inOther, other);
  check(TavBoolVarArray(array.getImpl()).getClone(nullptr), atHome, env);
  TavIntExprArray exprs = array.toIntExprArray();
  const TavIntExprArray before = exprs;
  exprs.replaceByClone(other.getImpl());
  check(exprs, inOther, other);
  EXPECT_EQ(before[0].getImpl(), i.getImpl());
  TavNumExprArray nums2 = array.toNumVarArray().toNumExprArray();
  nums2.replaceByClone(other.getImpl());
  check(nums2, inOther, other);
}

TEST_F(VarArrays, EndingTheElementsTakesThemOutOfEverySumInOneBatch) {
  TavNumVar x = num("x", 1), y = num("y", 1), z = num("z", 1);
  TavExpr e = x + y + z + x;
  TavNumVarArray array(env, 4, x, TavNumVar(), y, x);
  const TavInt objects = env.getImpl()->liveObjectCount();
  array.endElements();
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects - 2);
  EXPECT_EQ(shape(e), "1z 0");
}

}  // namespace
