#include "tests/support/fixture.h"

namespace {

struct Indexer final : TavTupleIndexerI {
  explicit Indexer(TavEnv env) : ints(env, 2), nums(env, 1), anys(env, 0) {}
  bool hasRangeIndex() const override { return true; }
  TavIntArray getIntArray() const override { return ints; }
  TavNumArray getNumArray() const override { return nums; }
  TavAnyArray getAnyArray() const override { return anys; }
  TavIntArray ints;
  TavNumArray nums;
  TavAnyArray anys;
};

struct SliceI final : TavNode<SliceI, TavTupleSubMapExprI> {
  static constexpr const char* kTypeName = "SliceI";
  SliceI(TavEnvI* env, TavTupleIndexerI* of) : TavNode(env), indexer(of) {}
  TavTupleIndexerI* getIndexer() const override { return indexer; }
  TavAny evalAny(TavAlgorithm) const override { return nullptr; }
  const char* getMapName() const override { return "map"; }
  void visitSubExtractables(TavExtractableVisitor*) override {}
  TavTupleIndexerI* indexer;
};

/// A parameter of a map.
template <class Base>
struct IndexI final : TavNode<IndexI<Base>, Base> {
  static constexpr const char* kTypeName = "IndexI";
  explicit IndexI(TavEnvI* env) : TavNode<IndexI, Base>(env, nullptr) {}
  double eval(TavAlgorithm) const override { return 0; }
  void visitSubExtractables(TavExtractableVisitor*) override {}
};

/// A number taken from a map.
struct MapValueI final : LeafI, TavSubMapNode {
  MapValueI(TavEnvI* env, TavIntExprArg at) : LeafI(env, 0, "map"), position(at.getImpl()) {}
  TavIntExprI* getIndexer() const override { return position; }
  TavIntExprI* position;
};

using SubMap = TavTest;

TEST_F(SubMap, AnswersThroughItsIndexerAndIsCounted) {
  Indexer indexer(env);
  TavEnvI* e = env.getImpl();
  auto* slice = new (e) SliceI(e, &indexer);
  EXPECT_TRUE(slice->hasRangeIndex());
  const TavIntArray copy = slice->getIndexerIntArray();
  indexer.ints.set(1, 8);
  EXPECT_EQ(plain(copy) + plain(slice->getIndexerNumArray()) + plain(slice->getIndexerAnyArray()), "[0, 0][0][]");
  indexer.ints = TavIntArray();
  refusesEmpty({[&] { slice->getIndexerIntArray(); }});
  int tag = 0;
  e->setTupleEncoder(reinterpret_cast<TavTupleEncoderI*>(&tag));
  EXPECT_EQ(static_cast<TavAnyExprI*>(slice)->getEncoder(), e->getTupleEncoder());
  EXPECT_TRUE(slice->isRefCountedExpr() && !slice->isType(TavNumExprI::GetTypeInfo()));
  slice->retain();
  slice->retain();
  slice->end();
  EXPECT_EQ(slice->getRefCount(), 1);
  slice->release();
  EXPECT_EQ(e->liveObjectCount(), 0);
  (new (e) SliceI(e, &indexer))->end();  // without a reference it is destroyed at once
  EXPECT_EQ(e->liveObjectCount(), 0);
}

TEST_F(SubMap, SumsAreLinearOverParameters) {
  TavEnvI* e = env.getImpl();
  const auto linear = [&](const TavNumExprArray& parts) { return TavExpr(TavSum(parts)).getImpl()->isLinear(); };
  const TavIntExprArg index(new (e) IndexI<TavIntIndexI>(e));
  const TavNumExprArg numIndex(new (e) IndexI<TavNumIndexI>(e));
  const TavIntVar i = integer("i", 0);
  const TavNumArray nums(env, 1);
  const TavIntArray ints(env, 1);
  const TavNumVarArray vars(env, 1, num("y", 1));
  const TavIntVarArray intVars(env, 1, i);
  const TavNumExprArg byIndex(new (e) MapValueI(e, index)), byVariable(new (e) MapValueI(e, i));
  EXPECT_TRUE(linear(exprs({index, numIndex, i, nums[index], ints[index], vars[index], intVars[index], byIndex})));
  for (const TavNumExprArg& part : {nums[i], TavNumExprArg(ints[i]), vars[i], TavNumExprArg(intVars[i]), byVariable}) {
    EXPECT_FALSE(linear(exprs({index, part}))) << plain(part);
  }
  EXPECT_FALSE(linear(exprs({leaf(1)})));
}

}  // namespace
