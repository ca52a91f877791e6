#include "tests/support/fixture.h"

namespace {

using IntVar = TavTest;

TEST_F(IntVar, IsAVariableOfTypeIntWithWholeBounds) {
  const TavIntVar v(env);
  EXPECT_EQ(v.getMin(), 0);
  EXPECT_EQ(v.getMax(), 9007199254740991);
  EXPECT_EQ(v.getType(), TavNumVar::Int);
  const TavIntVar inverted(env, 3, 2);
  EXPECT_EQ(inverted.getMin(), 3);
  EXPECT_EQ(TavIntVar(TavIntRange(env, -4, 4)).getMin(), -4);
  const TavIntVar odd(env, -5, 5);
  TavNumVar(odd).setBounds(-2.5, 2.9);
  EXPECT_EQ(odd.getMin(), -2);
  EXPECT_EQ(odd.getMax(), 2);
  EXPECT_EQ(TavNumVar(odd).getImpl(), odd.getImpl());
}

TEST_F(IntVar, EmptyHandlesAreRefusedInTwoWordings) {
  const TavIntVar empty, v(env, 0, 1);
  TavIntArray values(env);
  values.add(3);
  const std::pair<const char*, std::function<void()>> kCases[] = {
      {"Using empty TavIntVar handle.", [&] { empty.setMin(1); }},
      {"Using empty TavIntVar handle.", [&] { empty.setMax(1); }},
      {"Using empty TavIntVar handle.", [&] { empty.setPossibleValues(values); }},
      {"Using empty handle TavIntVar", [&] { empty.setBounds(0, 1); }},
      {"Using empty handle TavIntVar", [&] { empty.getPossibleValues(values); }},
      {"Using empty handle TavIntVar::getType", [&] { empty.getType(); }},
      {"Using empty TavIntArray handle.", [&] { v.getPossibleValues(TavIntArray()); }},
      {"Using empty TavIntArray handle.", [&] { v.setPossibleValues(TavIntArray()); }}};
  for (const auto& [message, call] : kCases) EXPECT_EQ(messageOf<TavWrongUsage>(call), message);
  v.setPossibleValues(values);
  v.getPossibleValues(values);
  EXPECT_EQ(plain(values), "[3, 3]");
}

TEST_F(IntVar, ConversionsCheckTypeAndBounds) {
  TavEnvI* e = env.getImpl();
  const TavNumVar real(env, 0, 1), unit(env, 0, 1, TavNumVar::Int), one(env, 1, 1, TavNumVar::Int),
      wide(env, 0, 2, TavNumVar::Int), truth(new (e) TavNumVarI(e, new (e) TavBoolVarDomainI(0, 5), nullptr));
  const TavNumVar half(env, 0, 1, TavNumVar::Int);
  half.setLB(0.5);
  EXPECT_THROW(TavIntVar{real}, TavBadConversion);
  EXPECT_EQ(TavIntVar(truth).getImpl(), truth.getImpl());
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { TavBoolVar{real}; }), "Try to add a float variable to TavBoolVarArray");
  for (const TavNumVar v : {unit, one, truth}) EXPECT_EQ(TavBoolVar(v).getImpl(), v.getImpl());
  for (const TavNumVar v : {wide, half}) EXPECT_THROW(TavBoolVar{v}, TavBadConversion);
  EXPECT_EQ(TavBoolVar(TavIntVar(half)).getImpl(), half.getImpl());  // from an integer a range is enough
  for (const TavNumVar v : {wide, truth}) EXPECT_THROW(TavBoolVar{TavIntVar(v)}, TavBadConversion);
  EXPECT_THROW(TavBoolVar{TavIntVar(env, -1, 0)}, TavBadConversion);
}

TEST_F(IntVar, ABooleanTakesItsBoundsAsGivenAndSharesTheIntegerDomain) {
  const TavBoolVar b(env, "b"), odd(env, -3, 7);
  EXPECT_EQ(b.getType(), TavNumVar::Int);
  EXPECT_EQ(b.getImpl()->getDomain(), TavIntVar(env, 0, 1).getImpl()->getDomain());
  EXPECT_EQ(odd.getMin(), -3);
  const TestColumn column(env);
  const TavBoolVar byColumn{TavAddNumVar(&column)};
  EXPECT_EQ(column.installed, byColumn.getImpl());
  EXPECT_EQ(byColumn.getType(), TavNumVar::Bool);
  EXPECT_FALSE(byColumn.getImpl()->getDomain()->isShared());
  const TavIntVar whole(TavAddNumVar(&column), -2, 2);
  EXPECT_EQ(column.installed, whole.getImpl());
  TavIntArray values(env, 2);
  EXPECT_EQ(plain(TavIntVar(TavAddNumVar(&column), values, "v")), "v{0, 0} ");
}

}  // namespace
