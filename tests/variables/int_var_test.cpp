#include "tests/support/fixture.h"

namespace {

using IntVar = TavTest;

TEST_F(IntVar, IsAVariableOfTypeIntWithWholeBounds) {
  const TavIntVar v(env, "v"), inverted(env, 3, 2, "v"), odd(env, -5, 5, "v");
  EXPECT_EQ(v.getMax(), 9007199254740991);
  EXPECT_EQ(v.getType(), TavNumVar::Int);
  EXPECT_EQ(plain(inverted), "v[3 .. 2] ");
  EXPECT_EQ(plain(TavIntVar(TavIntRange(env, -4, 4), "v")), "v[-4 .. 4] ");
  TavNumVar(odd).setBounds(-2.5, 2.9);
  EXPECT_EQ(odd.getMin(), -2);
  EXPECT_EQ(odd.getMax(), 2);
}

TEST_F(IntVar, EmptyHandlesAreRefusedInTwoWordings) {
  const TavIntVar none, v(env, 0, 1);
  const TavIntArray values = ints({3});
  refuses<TavWrongUsage>("Using empty TavIntVar handle.",
                         {[&] { none.setMin(1); }, [&] { none.setMax(1); }, [&] { none.setPossibleValues(values); }});
  refuses<TavWrongUsage>("Using empty handle TavIntVar",
                         {[&] { none.setBounds(0, 1); }, [&] { none.getPossibleValues(values); }});
  refuses<TavWrongUsage>("Using empty handle TavIntVar::getType", {[&] { none.getType(); }});
  refuses<TavWrongUsage>("Using empty TavIntArray handle.",
                         {[&] { v.getPossibleValues(TavIntArray()); }, [&] { v.setPossibleValues(TavIntArray()); }});
  v.setPossibleValues(values);
  v.getPossibleValues(values);
  EXPECT_EQ(plain(values), "[3, 3]");
}

TEST_F(IntVar, ConversionsCheckTypeAndBounds) {
  TavEnvI* e = env.getImpl();
  const TavNumVar real(env, 0, 1), unit(env, 0, 1, TavNumVar::Int), one(env, 1, 1, TavNumVar::Int),
      wide(env, 0, 2, TavNumVar::Int), truth(new (e) TavNumVarI(e, new (e) TavBoolVarDomainI(0, 5), nullptr)),
      half(env, 0, 1, TavNumVar::Int);
  const TavIntVar below(env, -1, 0);
  half.setLB(0.5);
  EXPECT_EQ(TavIntVar(truth).getImpl(), truth.getImpl());
  for (const TavNumVar v : {unit, one, truth}) EXPECT_EQ(TavBoolVar(v).getImpl(), v.getImpl());
  EXPECT_EQ(TavBoolVar(TavIntVar(half)).getImpl(), half.getImpl());  // from an integer a range is enough
  refuses<TavWrongUsage>("Try to add a float variable to TavBoolVarArray", {[&] { TavBoolVar{real}; }});
  refuses<TavBadConversion>(
      "", {[&] { TavIntVar{real}; }, [&] { TavBoolVar{wide}; }, [&] { TavBoolVar{half}; },
           [&] { TavBoolVar{TavIntVar(wide)}; }, [&] { TavBoolVar{TavIntVar(truth)}; }, [&] { TavBoolVar{below}; }});
}

TEST_F(IntVar, ABooleanTakesItsBoundsAsGivenAndSharesTheIntegerDomain) {
  const TavBoolVar b(env, "b"), odd(env, -3, 7);
  EXPECT_EQ(b.getType(), TavNumVar::Int);
  EXPECT_EQ(b.getImpl()->getDomain(), TavIntVar(env, 0, 1).getImpl()->getDomain());
  EXPECT_EQ(odd.getMin(), -3);
  const TestColumn column(env);
  const TavAddNumVar add(&column);
  const TavBoolVar byColumn(add, "b");
  EXPECT_EQ(column.installed, byColumn.getImpl());
  EXPECT_EQ(byColumn.getType(), TavNumVar::Bool);
  EXPECT_EQ(plain(byColumn), "b[0 .. 1] ");
  EXPECT_FALSE(byColumn.getImpl()->getDomain()->isShared());
  EXPECT_EQ(plain(TavIntVar(add, -2, 2, "v")), "v[-2 .. 2] ");
  const TavIntVar list(add, ints({0, 1}), "v");
  EXPECT_EQ(column.installed, list.getImpl());
  EXPECT_EQ(plain(list), "v{0, 1} ");
}

}  // namespace
