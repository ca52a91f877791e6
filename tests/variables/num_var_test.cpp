#include "tests/support/fixture.h"

namespace {

class NumVar : public TavTest {
 protected:
  template <class Array, class Value>
  Array arrayOf(std::initializer_list<Value> values) {
    Array array(env);
    for (const Value value : values) array.add(value);
    return array;
  }
  TavNumVar bare(const char* name = nullptr) { return TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), name)); }
  TestColumn column{env};
};

TEST_F(NumVar, BoundsBecomeADomainByTheirTypeInTwoWays) {
  const auto kOther = static_cast<TavNumVar::Type>(7);  // neither 1 nor 2: Boolean
  const struct {
    double lb, ub;
    TavNumVar::Type type;
    double byBounds[2], byType[2];
  } kCases[] = {{0.2, 3.7, TavNumVar::Float, {0.2, 3.7}, {0.2, 3.7}},
                {0.2, 3.7, TavNumVar::Int, {1, 4}, {1, 4}},
                {-2.5, -1.5, TavNumVar::Int, {-2, -1}, {-2, -1}},
                {0.5, 0.5, TavNumVar::Bool, {0, 1}, {0, 0}},
                {-3, 7, TavNumVar::Bool, {0, 1}, {0, 1}},
                {1.5, 1.5, TavNumVar::Bool, {1, 1}, {1, 1}},
                {-1, -0.5, TavNumVar::Bool, {0, 0}, {0, 0}},
                {1, 0, TavNumVar::Bool, {1, 0}, {1, 0}},
                {0.5, 0.5, kOther, {0, 1}, {0, 0}},
                {1.0, 1.0, kOther, {1, 1}, {1, 1}}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::Message() << c.lb << " " << c.ub << " " << c.type);
    const TavNumVar direct(env, c.lb, c.ub, c.type), byColumn(TavAddNumVar(&column), c.lb, c.ub, c.type);
    EXPECT_EQ(direct.getLB(), c.byBounds[0]);
    EXPECT_EQ(direct.getUB(), c.byBounds[1]);
    EXPECT_EQ(byColumn.getLB(), c.byType[0]);
    EXPECT_EQ(byColumn.getUB(), c.byType[1]);
    const bool isFloat = c.type == TavNumVar::Float;
    EXPECT_EQ(direct.getType(), isFloat ? TavNumVar::Float : TavNumVar::Int);
    EXPECT_EQ(direct.isInteger(), !isFloat);
    EXPECT_EQ(column.installed, byColumn.getImpl());
    EXPECT_TRUE(direct.getImpl()->getDomain()->isShared());
  }
  EXPECT_EQ(TavNumVar(env, -kInf, kInf, TavNumVar::Int).getUB(),
            static_cast<double>(std::numeric_limits<TavInt>::max()));
  EXPECT_EQ(TavNumVar(TavNumRange(env, 1, 2)).getUB(), 2.0);
  EXPECT_EQ(TavNumVar(env).getUB(), kInf);
}

TEST_F(NumVar, WithoutADomainItIsContinuousFromZeroOn) {
  TavNumVar v = bare();
  EXPECT_EQ(v.getType(), TavNumVar::Float);
  EXPECT_FALSE(v.isInteger());
  EXPECT_EQ(v.getImpl()->getNumValues().getImpl(), nullptr);
  TavNumVar lower = bare("lower"), upper = bare("upper"), both = bare("both");
  lower.setLB(-2);
  upper.setUB(5);
  both.setBounds(-1, 1);
  EXPECT_EQ(plain(lower) + plain(upper) + plain(both), "lower[-2 .. inf] upper[0 .. 5] both[-1 .. 1] ");
  EXPECT_TRUE(both.getImpl()->getDomain()->isShared());
  EXPECT_EQ(plain(bare("v")), "v[0 .. inf] ");
}

TEST_F(NumVar, PrintsItsNameOrKindAndItsDomainInEitherSyntax) {
  TavAnyArray objects(env, 1);
  TavNumVar any(new (env.getImpl()) TavNumVarI(env.getImpl(), objects, nullptr));
  const auto id = [](TavNumVar v) { return "(" + std::to_string(v.getId()) + ")"; };
  const TavNumVar whole(env, 0, 9, TavNumVar::Int), list(env, arrayOf<TavNumArray>({1.5, 0.5}));
  const std::pair<TavNumVar, std::string> kCases[] = {{whole, "TavIntVar" + id(whole) + "[0 .. 9] "},
                                                      {any, "TavAnyVar" + id(any) + "{0} "},
                                                      {list, "TavNumVar" + id(list) + "{1.5, 0.5} "}};
  for (const auto& [variable, expected] : kCases) {
    EXPECT_EQ(plain(variable), expected);
    EXPECT_EQ(library(variable), expected);
  }
}

TEST_F(NumVar, AChangeOfOneVariableLeavesThoseThatShareItsDomain) {
  TavNumVar a(env, 0, 5), b(env, 0, 5);
  EXPECT_EQ(a.getImpl()->getDomain(), b.getImpl()->getDomain());
  a.setUB(9);
  EXPECT_EQ(a.getUB(), 9);
  EXPECT_EQ(b.getUB(), 5);
  EXPECT_FALSE(a.getImpl()->getDomain()->isShared());
  EXPECT_EQ(TavNumVar(env, 0, 5).getImpl()->getDomain(), b.getImpl()->getDomain());
  const TavVarDomainI* const own = a.getImpl()->getDomain();
  a.setBounds(7, 3);  // nobody checks
  EXPECT_EQ(a.getImpl()->getDomain(), own);
  EXPECT_EQ(a.getLB(), 7);
  EXPECT_EQ(a.getUB(), 3);
  const TavInt bytes = env.getImpl()->getMemory()->usedBytes();
  TavNumVar(env, arrayOf<TavNumArray>({1.0, 2.0})).end();
  TavNumVar c(env, 0, 5);
  c.setUB(1);
  c.end();
  EXPECT_LT(env.getImpl()->getMemory()->usedBytes() - bytes, 300);  // of which the argument array stays
}

TEST_F(NumVar, MakeDomainKeepsTheTypeAndSaysNothing) {
  TavNumVar real(env, 0, 5), whole(env, 0, 5, TavNumVar::Int);
  TavNumVar truth(new (env.getImpl()) TavNumVarI(env.getImpl(), new (env.getImpl()) TavBoolVarDomainI(0, 1), nullptr));
  const auto sent = changesOf([&] {
    real.getImpl()->makeDomain(0.5, 7.5);
    whole.getImpl()->makeDomain(0.5, 7.5);
    truth.getImpl()->makeDomain(0.5, 0.5);
  });
  EXPECT_TRUE(sent.empty());
  for (const TavNumVar v : {real, whole}) EXPECT_EQ(std::pair(v.getLB(), v.getUB()), std::pair(0.5, 7.5));
  EXPECT_EQ(std::pair(truth.getLB(), truth.getUB()), std::pair(0.0, 1.0));
  for (const TavNumVar v : {real, whole, truth}) EXPECT_FALSE(v.getImpl()->getDomain()->isShared());
  EXPECT_EQ(real.getType() + whole.getType() + truth.getType(), 2 + 1 + 3);
}

TEST_F(NumVar, ValueListsAreCopiedAndFitTheirType) {
  const auto nums = arrayOf<TavNumArray>({3.5, -1.0});
  const auto ints = arrayOf<TavIntArray>({7, 4, 9});
  const auto fromInts = [&](TavNumVar::Type type) {
    return TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), ints, type, "n"));
  };
  TavNumVar v(env, nums, TavNumVar::Float, "v");
  nums.getImpl()->set(0, 99.0);
  EXPECT_EQ(plain(v), "v{3.5, -1} ");
  EXPECT_EQ(v.getLB(), -1.0);
  EXPECT_TRUE(v.getImpl()->isEnumerated());
  EXPECT_EQ(plain(fromInts(TavNumVar::Int)), "n{7, 4, 9} ");
  EXPECT_EQ(plain(fromInts(TavNumVar::Float)), "n{7, 4, 9} ");
  EXPECT_EQ(fromInts(TavNumVar::Float).getType(), TavNumVar::Float);
  const TavNumVar byColumn(TavAddNumVar(&column), nums, TavNumVar::Float);
  EXPECT_EQ(column.installed, byColumn.getImpl());
  const TavInt objects = env.getImpl()->liveObjectCount();
  EXPECT_EQ(messageOf<TavNotSupportedOperation>([&] { TavNumVar(env, nums, TavNumVar::Int); }),
            "You cannot create a integer variable by giving it an array of double");
  EXPECT_EQ(messageOf<TavNotSupportedOperation>([&] { TavNumVar(env, nums, TavNumVar::Bool); }),
            "You cannot create a boolean variable by giving it an array of values");
  EXPECT_EQ(messageOf<TavNotImplemented>([&] { fromInts(TavNumVar::Bool); }),
            "You cannot create a boolean variable by giving it an array of values");
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
  auto out = arrayOf<TavNumArray>({0.0});
  v.getPossibleValues(out);
  EXPECT_EQ(plain(out), "[0, 3.5, -1]");
  TavNumVar(env, 0, 1).getPossibleValues(out);
  EXPECT_EQ(out.getSize(), 3);
}

TEST_F(NumVar, EmptyHandlesAreRefusedWithTheirOwnWords) {
  const TavNumVar empty, v(env, 0, 1), whole(env, 0, 1, TavNumVar::Int);
  const auto values = arrayOf<TavNumArray>({1.0});
  const std::pair<const char*, std::function<void()>> kCases[] = {
      {"Using empty handle TavNumVar::getType", [&] { empty.getType(); }},
      {"Using empty handle TavNumVar", [&] { empty.getPossibleValues(values); }},
      {"Using empty TavNumArray handle.", [&] { v.getPossibleValues(TavNumArray()); }},
      {"Using empty TavNumVar handle.", [&] { empty.setPossibleValues(values); }},
      {"Using empty TavNumArray handle.", [&] { v.setPossibleValues(TavNumArray()); }}};
  for (const auto& [message, call] : kCases) EXPECT_EQ(messageOf<TavWrongUsage>(call), message);
  EXPECT_EQ(messageOf<TavNotSupportedOperation>([&] { whole.setPossibleValues(values); }),
            "You cannot change the domain of an integer variable by giving it a floating point variable");
}

TEST_F(NumVar, TheAlgorithmsValueComesFirstAndItsFailureLast) {
  TavNumVar v(env, 0, 1, "v");
  const TavModelEvaluator evaluator = env.getImpl()->getModelEvaluator();
  const TavAlgorithm handle(&algorithm);
  EXPECT_EQ(messageOf<TavAlgorithm::Exception>([&] { eval(v); }), "no value");
  evaluator.activate([&](TavIntExprI* node) {
    EXPECT_EQ(node, v.getImpl());
    return TavInt{7};
  });
  EXPECT_EQ(eval(v), 7.0);
  algorithm.set(v, 0.25);
  EXPECT_EQ(eval(v), 0.25);
  TavNumVar w(env, 0, 1, "w");
  evaluator.activate([](TavIntExprI*) -> TavInt { throw TavModelEvaluator::Unbound(); });
  EXPECT_EQ(messageOf<TavAlgorithm::Exception>([&] { eval(w); }), "no value");  // the first failure
  evaluator.activate([](TavIntExprI*) -> TavInt { throw 5; });
  EXPECT_EQ(messageOf<TavAlgorithm::Exception>([&] { eval(w); }), "no value");
  evaluator.deactivate();
  EXPECT_THROW(evaluator.evaluate(TavIntExprArg(w.getImpl())), TavModelEvaluator::Unbound);
  EXPECT_EQ(handle.getValue(v), 0.25);
  EXPECT_EQ(handle.getValue(TavIntExprArg(v.getImpl())), 0.25);
  EXPECT_THROW(handle.getValue(TavIntExprArg(intLeaf(1))), TavAlgorithm::Exception);
  EXPECT_THROW(TavAlgorithm().getValue(v), TavEmptyHandleException);
}

TEST_F(NumVar, AClonesDomainIsACopyOfItsOwn) {
  TavNumVar v(env, 0, 5, "v"), none = bare("none");
  const TavNumVar copy(static_cast<TavNumVarI*>(v.getImpl()->makeClone(other.getImpl())));
  EXPECT_FALSE(copy.getImpl()->getDomain()->isShared());
  EXPECT_EQ(static_cast<TavNumVarI*>(none.getImpl()->makeClone(other.getImpl()))->getDomain(), nullptr);
}

}  // namespace
