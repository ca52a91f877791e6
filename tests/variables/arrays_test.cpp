#include "tests/support/fixture.h"

namespace {

class VarArrays : public TavTest {
 protected:
  /// "[lb .. ub] " of every element, behind "i" for an integer one, with its threshold if it has one; "null " for an
  /// empty one.
  template <class Array>
  std::string bounds(const Array& array) {
    std::ostringstream os;
    for (TavInt k = 0; k < array.getSize(); ++k) {
      const TavNumVarI* v = array[k].getImpl();
      if (v) os << (v->getType() == TavNumVar::Float ? "" : "i") << "[" << v->getLB() << " .. " << v->getUB();
      if constexpr (std::is_same_v<Array, TavSemiContVarArray>) {
        if (v) os << " from " << array[k].getSemiContinuousLb();
      }
      os << (v ? "] " : "null ");
    }
    return os.str();
  }
};

TEST_F(VarArrays, AreMadeInBulkByTheRuleOfTheirKind) {
  using Num = TavNumVarArray;
  using Int = TavIntVarArray;
  using Bool = TavBoolVarArray;
  using Semi = TavSemiContVarArray;
  const TestColumn first(env), last(env);
  const TavNumArray two = nums({0.5, 1.5}), three = nums({2.5, 3.5, 9}), low = nums({0.5, 1.5, 2}), none;
  const TavIntArray whole = ints({1, 2}), noInts;
  const auto columns = arrayOf<TavNumColumnArray>({TavAddNumVar(&first), TavAddNumVar(), TavAddNumVar(&last)});
  const TavNumColumnArray noColumns;
  const std::pair<std::string, const char*> kCases[] = {
      {bounds(Num(env, 2, 0.5, 2.5)), "[0.5 .. 2.5] [0.5 .. 2.5] "},
      {bounds(Num(env, 1, 0.5, 0.5, TavNumVar::Bool)), "i[0 .. 0] "},
      {bounds(Num(env, -3, 0.0, 1.0)), ""},
      {bounds(Num(env, two, three)), "[0.5 .. 2.5] [1.5 .. 3.5] "},
      {bounds(Num(env, two, three, TavNumVar::Int)), "i[1 .. 3] i[2 .. 4] "},
      {bounds(Num(env, -1.0, two)), "[-1 .. 0.5] [-1 .. 1.5] "},
      {bounds(Num(env, two, 7.0)), "[0.5 .. 7] [1.5 .. 7] "},
      {bounds(Num(env, columns)), "[0 .. inf] null [0 .. inf] "},
      {bounds(Num(env, columns, three, three)), "[2.5 .. 2.5] null [9 .. 9] "},
      {bounds(Int(env, 2, -1, 4)), "i[-1 .. 4] i[-1 .. 4] "},
      {bounds(Int(env, whole, whole)), "i[1 .. 1] i[2 .. 2] "},
      {bounds(Int(env, 0, whole)), "i[0 .. 1] i[0 .. 2] "},
      {bounds(Int(env, whole, 5)), "i[1 .. 5] i[2 .. 5] "},
      {bounds(Int(env, columns)), "i[0 .. 9.0072e+15] null i[0 .. 9.0072e+15] "},
      {bounds(Int(env, columns, three, three)), "i[2 .. 2] null i[9 .. 9] "},
      {bounds(Bool(env, columns)), "i[0 .. 1] null i[0 .. 1] "},
      {bounds(Semi(env, 2, 1, 9, TavNumVar::Int)), "i[0 .. 9 from 1] i[0 .. 9 from 1] "},
      {bounds(Semi(env, low, three)), "[0 .. 2.5 from 0.5] [0 .. 3.5 from 1.5] [0 .. 9 from 2] "},
      {bounds(Semi(env, columns, low, three)), "[0 .. 2.5 from 0.5] null [0 .. 9 from 2] "}};
  for (const auto& [found, expected] : kCases) EXPECT_EQ(found, expected);
  const TavNumVarArray made(env, columns);
  EXPECT_EQ(last.installed, made[2].getImpl());
  const Semi semis(env, columns, low, three), same(env, 2, 1, 9);
  EXPECT_EQ(last.installed, semis[2].getImpl());
  EXPECT_EQ(same[0].getImpl()->getDomain(), same[1].getImpl()->getDomain());
  refusesEmpty({[&] { Num(env, none, two); }, [&] { Num(env, two, none); }, [&] { Num(env, 0.0, none); },
                [&] { Num(env, none, 1.0); }, [&] { Num(env, noColumns); }, [&] { Num(env, columns, two, none); },
                [&] { Int(env, noInts, whole); }, [&] { Int(env, whole, noInts); }, [&] { Int(env, noColumns); },
                [&] { Bool(env, noColumns); }, [&] { Semi(env, none, three); }, [&] { Semi(env, three, none); },
                [&] { Semi(env, noColumns, three, three); }});
}

/// Array(env, n, e, ..., e) for one to ten elements, with the right n and with a wrong one.
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

TEST_F(VarArrays, ConvertWithTheSameElementsOrNotAtAll) {
  const TavNumVar x(env, 0, 1);
  const TavIntVar i(env, 0, 1), wide(env, 0, 2);
  const TavNumVarArray mixed(env, 2, i, x), whole(env, 2, i, wide), withNull(env, 2, i, TavNumVar());
  const TavIntVarArray shared(env, 1, i), notBool(env, 2, i, wide), ofNull(env, 2, i, TavIntVar()),
      withFloat(mixed.getImpl());
  EXPECT_EQ(mixed.toNumExprArray()[1].getImpl(), x.getImpl());
  EXPECT_EQ(whole.toIntVarArray()[1].getImpl(), wide.getImpl());
  EXPECT_EQ(whole.toIntExprArray()[1].getImpl(), wide.getImpl());
  EXPECT_NE(whole.toIntExprArray().getImpl(), whole.getImpl());
  EXPECT_EQ(ofNull.toIntExprArray().getSize() + ofNull.toNumVarArray().getSize(), 4);
  EXPECT_EQ(TavBoolVarArray(shared).getImpl(), shared.getImpl());
  refuses<TavBadConversion>(
      "", {[&] { mixed.toIntExprArray(); }, [&] { mixed.toIntVarArray(); }, [&] { TavBoolVarArray{notBool}; }});
  refuses<TavWrongUsage>("Using empty handle TavNumVar::getType", {[&] { withNull.toIntVarArray(); }});
  refuses<TavWrongUsage>("Using empty variable", {[&] { TavBoolVarArray{ofNull}; }});
  refuses<TavWrongUsage>("Try to add a float variable to TavBoolVarArray", {[&] { TavBoolVarArray{withFloat}; }});
}

TEST_F(VarArrays, OfExpressionsLockReleaseAndEndTheirElements) {
  const TavInt objects = env.getImpl()->liveObjectCount();
  const auto use = [&](auto array, auto element) {
    for (const auto each : {element, decltype(element)(), element}) array.add(each);
    array.lockExprs();
    EXPECT_EQ(element.getImpl()->getRefCount(), 2);
    array.releaseExprs();  // the second reference takes the element along
  };
  use(TavNumExprArray(env), leaf(1));
  use(TavIntExprArray(env), intLeaf(1));
  exprs({leaf(1)}).endElements();
  intExprs({intLeaf(1)}).endElements();
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
}

TEST_F(VarArrays, FollowTheClonesOfOneEnvironmentOrOfEachElements) {
  const TavIntVar i(env, 0, 1), j(env, 0, 1), inOther(other, 0, 1), atHome(env, 0, 1);
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
  other.getImpl()->setClone(inOther.getImpl(), j.getImpl());  // an element of another environment is asked there
  EXPECT_EQ(TavIntVarArray(env, 1, inOther).getClone(nullptr)[0].getImpl(), j.getImpl());
  check(array.toNumVarArray().getClone(other.getImpl()), inOther, other);
  check(TavBoolVarArray(array.getImpl()).getClone(nullptr), atHome, env);
  TavIntExprArray exprs = array.toIntExprArray();
  TavNumExprArray numExprs = array.toNumVarArray().toNumExprArray();
  const TavIntExprArray before = exprs;
  exprs.replaceByClone(other.getImpl());
  check(exprs, inOther, other);
  EXPECT_EQ(before[0].getImpl(), i.getImpl());
  numExprs.replaceByClone(other.getImpl());
  check(numExprs, inOther, other);
}

}  // namespace
