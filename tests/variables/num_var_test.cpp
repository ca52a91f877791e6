#include "tests/support/fixture.h"

namespace {

class NumVar : public TavTest {
 protected:
  TavNumVar bare(const char* name) { return TavNumVar(new (env.getImpl()) TavNumVarI(env.getImpl(), name)); }
  static const TavVarDomainI* domain(TavNumVar v) { return v.getImpl()->getDomain(); }
};

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
  const TavNumArray out = nums({0});
  v.getPossibleValues(out);
  TavNumVar(env, 0, 1).getPossibleValues(out);
  EXPECT_EQ(plain(out), "[0, 3.5, -1]");
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
}

}  // namespace
