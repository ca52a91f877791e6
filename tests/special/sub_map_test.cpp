#include "tests/support/fixture.h"

namespace {

class Indexer final : public TavTupleIndexerI {
 public:
  explicit Indexer(TavEnv env) : ints(env, 2), nums(env, 1), anys(env, 0) {}
  bool hasRangeIndex() const override { return true; }
  TavIntArray getIntArray() const override { return ints; }
  TavNumArray getNumArray() const override { return nums; }
  TavAnyArray getAnyArray() const override { return anys; }
  TavIntArray ints;
  TavNumArray nums;
  TavAnyArray anys;
};

class SliceI final : public TavNode<SliceI, TavTupleSubMapExprI> {
 public:
  static constexpr const char* kTypeName = "SliceI";
  SliceI(TavEnvI* env, TavTupleIndexerI* indexer) : TavNode(env), _indexer(indexer) {}
  TavTupleIndexerI* getIndexer() const override { return _indexer; }
  TavAny evalAny(TavAlgorithm) const override { return nullptr; }
  const char* getMapName() const override { return "map"; }
  void visitSubExtractables(TavExtractableVisitor*) override {}

 private:
  TavTupleIndexerI* _indexer;
};

/// A parameter.
template <class Base>
class IndexI final : public TavNode<IndexI<Base>, Base> {
 public:
  static constexpr const char* kTypeName = "IndexI";
  explicit IndexI(TavEnvI* env) : TavNode<IndexI, Base>(env, nullptr) {}
  double eval(TavAlgorithm) const override { return 0; }
  void visitSubExtractables(TavExtractableVisitor*) override {}
};

/// A number out of a map.
class MapValueI final : public LeafI, public TavSubMapNode {
 public:
  MapValueI(TavEnvI* env, TavIntExprArg position) : LeafI(env, 0, "map"), _position(position.getImpl()) {}
  TavIntExprI* getIndexer() const override { return _position; }

 private:
  TavIntExprI* _position;
};

class SubMap : public TavTest {
 protected:
  bool linear(std::initializer_list<TavNumExprArg> parts) {
    TavExpr sum(env, 1);
    for (TavNumExprArg part : parts) sum += part;
    return sum.getImpl()->isLinear();
  }
};

TEST_F(SubMap, AnswersThroughItsIndexerAndIsCounted) {
  Indexer indexer(env);
  TavEnvI* e = env.getImpl();
  auto* slice = new (e) SliceI(e, &indexer);
  EXPECT_TRUE(slice->hasRangeIndex());
  const TavIntArray ints = slice->getIndexerIntArray();
  indexer.ints.set(1, 8);
  EXPECT_EQ(ints[1], 0);  // a copy
  EXPECT_EQ(ints.getSize(), 2);
  EXPECT_EQ(slice->getIndexerNumArray().getSize(), 1);
  EXPECT_EQ(slice->getIndexerAnyArray().getSize(), 0);
  indexer.ints = TavIntArray();
  refusesEmpty({[&] { slice->getIndexerIntArray(); }});
  int tag = 0;
  e->setTupleEncoder(reinterpret_cast<TavTupleEncoderI*>(&tag));
  EXPECT_EQ(static_cast<TavAnyExprI*>(slice)->getEncoder(), e->getTupleEncoder());
  EXPECT_FALSE(slice->isType(TavNumExprI::GetTypeInfo()));
  EXPECT_TRUE(slice->isRefCountedExpr());
  slice->retain();
  slice->retain();
  slice->end();
  EXPECT_EQ(slice->getRefCount(), 1);
  slice->release();
  EXPECT_EQ(e->liveObjectCount(), 0);
  (new (e) SliceI(e, &indexer))->end();  // an uncounted one goes at once
  EXPECT_EQ(e->liveObjectCount(), 0);
}

TEST_F(SubMap, SumsAreLinearOverParameters) {
  TavEnvI* e = env.getImpl();
  const TavIntExprArg index(new (e) IndexI<TavIntIndexI>(e));
  const TavIntVar i = integer("i", 0);
  const TavNumArray nums(env, 1);
  const TavIntArray ints(env, 1);
  const TavNumVarArray vars(env, 1, num("y", 1));
  const TavIntVarArray intVars(env, 1, i);
  EXPECT_TRUE(linear({index, TavNumExprArg(new (e) IndexI<TavNumIndexI>(e)), TavNumExprArg(i)}));
  EXPECT_TRUE(linear({nums[index], ints[index], vars[index], intVars[index]}));
  for (TavNumExprArg byVariable : {nums[i], TavNumExprArg(ints[i]), vars[i], TavNumExprArg(intVars[i])}) {
    EXPECT_FALSE(linear({index, byVariable})) << plain(byVariable);
  }
  EXPECT_TRUE(linear({TavNumExprArg(new (e) MapValueI(e, index))}));
  EXPECT_FALSE(linear({TavNumExprArg(new (e) MapValueI(e, i))}));
  EXPECT_FALSE(linear({leaf(1)}));
}

}  // namespace
