#include "tests/support/fixture.h"

namespace {

class NumVar : public TavTest {
 protected:
  TavNumVar bare(const char* name) { return TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), name)); }
  static const TavVarDomainI* domain(TavNumVar v) { return v.getImpl()->getDomain(); }
};

TEST_F(NumVar, BoundsBecomeADomainByTheirTypeInTwoWays) {
  const TestColumn column(env);
  const auto kOther = static_cast<TavNumVar::Type>(7);  // neither 1 nor 2: Boolean
  const struct {
    double lb, ub;
    TavNumVar::Type type;
    const char *byBounds, *byType;
  } kCases[] = {{0.2, 3.7, TavNumVar::Float, "v[0.2 .. 3.7] ", "v[0.2 .. 3.7] "},
                {0.2, 3.7, TavNumVar::Int, "v[1 .. 4] ", "v[1 .. 4] "},
                {-2.5, -1.5, TavNumVar::Int, "v[-2 .. -1] ", "v[-2 .. -1] "},
                {0.5, 0.5, TavNumVar::Bool, "v[0 .. 1] ", "v[0 .. 0] "},
                {-3, 7, TavNumVar::Bool, "v[0 .. 1] ", "v[0 .. 1] "},
                {1.5, 1.5, TavNumVar::Bool, "v[1 .. 1] ", "v[1 .. 1] "},
                {-1, -0.5, TavNumVar::Bool, "v[0 .. 0] ", "v[0 .. 0] "},
                {0.5, 0.5, kOther, "v[0 .. 1] ", "v[0 .. 0] "}};
  for (const auto& c : kCases) {
    const TavNumVar direct(env, c.lb, c.ub, c.type, "v"), byColumn(TavAddNumVar(&column), c.lb, c.ub, c.type, "v");
    EXPECT_EQ(plain(direct), c.byBounds);
    EXPECT_EQ(plain(byColumn), c.byType);
    EXPECT_EQ(direct.getType(), c.type == TavNumVar::Float ? TavNumVar::Float : TavNumVar::Int);
    EXPECT_EQ(direct.isInteger(), c.type != TavNumVar::Float);
    EXPECT_EQ(column.installed, byColumn.getImpl());
    EXPECT_TRUE(domain(direct)->isShared());
  }
  EXPECT_EQ(TavNumVar(env, -kInf, kInf, TavNumVar::Int).getUB(), static_cast<double>(kMaxInt));
  EXPECT_EQ(plain(TavNumVar(TavNumRange(env, 1, 2), "r")), "r[1 .. 2] ");
  EXPECT_EQ(TavNumVar(env).getUB(), kInf);
}

TEST_F(NumVar, WithoutADomainItIsContinuousFromZeroOn) {
  const TavNumVar v = bare("v"), lower = bare("lower"), upper = bare("upper"), both = bare("both");
  EXPECT_EQ(v.getType(), TavNumVar::Float);
  EXPECT_FALSE(v.isInteger());
  EXPECT_EQ(v.getImpl()->getNumValues().getImpl(), nullptr);
  EXPECT_EQ(static_cast<TavNumVarI*>(v.getImpl()->makeClone(other.getImpl()))->getDomain(), nullptr);
  lower.setLB(-2);
  upper.setUB(5);
  both.setBounds(-1, 1);
  EXPECT_EQ(plain(v) + plain(lower) + plain(upper) + plain(both),
            "v[0 .. inf] lower[-2 .. inf] upper[0 .. 5] both[-1 .. 1] ");
  EXPECT_TRUE(domain(both)->isShared());
}

TEST_F(NumVar, PrintsItsNameOrKindAndItsDomainInEitherSyntax) {
  const TavNumVar any(new (env.getImpl()) TavNumVarI(env.getImpl(), TavAnyArray(env, 1), nullptr));
  const TavNumVar whole(env, 0, 9, TavNumVar::Int), list(env, nums({1.5, 0.5}));
  const std::pair<TavNumVar, std::pair<std::string, std::string>> kCases[] = {
      {whole, {"TavIntVar(", ")[0 .. 9] "}}, {any, {"TavAnyVar(", "){0} "}}, {list, {"TavNumVar(", "){1.5, 0.5} "}}};
  for (const auto& [variable, text] : kCases) {
    EXPECT_EQ(plain(variable), text.first + std::to_string(variable.getId()) + text.second);
    EXPECT_EQ(library(variable), plain(variable));
  }
}

TEST_F(NumVar, AChangeOfOneVariableLeavesThoseThatShareItsDomain) {
  TavNumVar a(env, 0, 5), b(env, 0, 5, "b");
  EXPECT_EQ(domain(a), domain(b));
  EXPECT_FALSE(static_cast<TavNumVarI*>(a.getImpl()->makeClone(other.getImpl()))->getDomain()->isShared());
  a.setUB(9);
  EXPECT_EQ(a.getUB(), 9);
  EXPECT_EQ(plain(b), "b[0 .. 5] ");
  EXPECT_FALSE(domain(a)->isShared());
  EXPECT_EQ(domain(TavNumVar(env, 0, 5)), domain(b));
  const TavVarDomainI* const own = domain(a);
  a.setBounds(7, 3);  // nobody checks
  EXPECT_EQ(domain(a), own);
  EXPECT_EQ(a.getLB() - a.getUB(), 4);
  const TavNumArray values = nums({1, 2});
  const TavInt bytes = env.getImpl()->getMemory()->usedBytes();
  TavNumVar list(env, values), c(env, 0, 5);
  c.setUB(1);
  list.end();
  c.end();
  EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), bytes);
}

TEST_F(NumVar, MakeDomainKeepsTheTypeAndSaysNothing) {
  TavNumVar real(env, 0, 5, "r"), whole(env, 0, 5, TavNumVar::Int, "w");
  TavNumVar truth(new (env.getImpl()) TavNumVarI(env.getImpl(), new (env.getImpl()) TavBoolVarDomainI(0, 1), "t"));
  const TavNumVar all[] = {real, whole, truth};
  EXPECT_EQ(records([&] {
              for (const TavNumVar v : all) v.getImpl()->makeDomain(0.5, 7.5);
            }),
            "");
  EXPECT_EQ(plain(real) + plain(whole) + plain(truth), "r[0.5 .. 7.5] w[0.5 .. 7.5] t[0 .. 1] ");
  for (const TavNumVar v : all) EXPECT_FALSE(domain(v)->isShared());
  EXPECT_EQ(real.getType() * 100 + whole.getType() * 10 + truth.getType(), 213);
}

TEST_F(NumVar, ValueListsAreCopiedAndFitTheirType) {
  const TavNumArray list = nums({3.5, -1});
  const TavIntArray wholes = ints({7, 4, 9});
  const auto fromInts = [&](TavNumVar::Type type) {
    return TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), wholes, type, "n"));
  };
  const TavNumVar v(env, list, TavNumVar::Float, "v");
  list.getImpl()->set(0, 99.0);
  EXPECT_EQ(plain(v), "v{3.5, -1} ");
  EXPECT_EQ(v.getLB(), -1.0);
  EXPECT_TRUE(v.getImpl()->isEnumerated());
  for (const auto type : {TavNumVar::Int, TavNumVar::Float}) {
    EXPECT_EQ(plain(fromInts(type)), "n{7, 4, 9} ");
    EXPECT_EQ(fromInts(type).getType(), type);
  }
  const TestColumn column(env);
  const TavNumVar byColumn(TavAddNumVar(&column), list, TavNumVar::Float);
  EXPECT_EQ(column.installed, byColumn.getImpl());
  refuses<TavNotSupportedOperation>("You cannot create a integer variable by giving it an array of double",
                                    {[&] { TavNumVar(env, list, TavNumVar::Int); }});
  const char* const kBool = "You cannot create a boolean variable by giving it an array of values";
  refuses<TavNotSupportedOperation>(kBool, {[&] { TavNumVar(env, list, TavNumVar::Bool); }});
  refuses<TavNotImplemented>(kBool, {[&] { fromInts(TavNumVar::Bool); }});
  const TavNumArray out = nums({0});
  v.getPossibleValues(out);
  TavNumVar(env, 0, 1).getPossibleValues(out);
  EXPECT_EQ(plain(out), "[0, 3.5, -1]");
}

TEST_F(NumVar, EmptyHandlesAreRefusedWithTheirOwnWords) {
  const TavNumVar none, v(env, 0, 1), whole(env, 0, 1, TavNumVar::Int);
  const TavNumArray values = nums({1});
  refuses<TavWrongUsage>("Using empty handle TavNumVar::getType", {[&] { none.getType(); }});
  refuses<TavWrongUsage>("Using empty handle TavNumVar", {[&] { none.getPossibleValues(values); }});
  refuses<TavWrongUsage>("Using empty TavNumVar handle.", {[&] { none.setPossibleValues(values); }});
  refuses<TavWrongUsage>("Using empty TavNumArray handle.",
                         {[&] { v.getPossibleValues(TavNumArray()); }, [&] { v.setPossibleValues(TavNumArray()); }});
  refuses<TavNotSupportedOperation>(
      "You cannot change the domain of an integer variable by giving it a floating point variable",
      {[&] { whole.setPossibleValues(values); }});
}

TEST_F(NumVar, TheAlgorithmsValueComesFirstAndItsFailureLast) {
  const TavNumVar v = num("v", 0.25), w(env, 0, 1, "w");
  const TavModelEvaluator evaluator = env.getImpl()->getModelEvaluator();
  const TavAlgorithm handle(&algorithm);
  refuses<TavAlgorithm::Exception>("no value", {[&] { eval(w); }});
  evaluator.activate([&](TavIntExprI* node) { return TavInt{node == w.getImpl() ? 7 : 8}; });
  EXPECT_EQ(eval(w), 7.0);
  EXPECT_EQ(eval(v), 0.25);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw TavModelEvaluator::Unbound(); });
  refuses<TavAlgorithm::Exception>("no value", {[&] { eval(w); }});  // the first failure
  evaluator.deactivate();
  EXPECT_THROW(evaluator.evaluate(TavIntExprArg(w.getImpl())), TavModelEvaluator::Unbound);
  EXPECT_EQ(handle.getValue(v), 0.25);
  EXPECT_EQ(handle.getValue(TavIntExprArg(v.getImpl())), 0.25);
  const TavIntExprArg expression = intLeaf(1);
  EXPECT_THROW(handle.getValue(expression), TavAlgorithm::Exception);
  refusesEmpty({[&] { TavAlgorithm().getValue(v); }, [&] { handle.getValue(TavIntExprArg()); }});
}

}  // namespace
