#include "tests/support/fixture.h"

namespace {

struct CountingLock final : TavLock {
  void lock() override { ++taken, ++held; }
  void unlock() override { --held; }
  int taken = 0, held = 0;
};

class NumLinear : public TavTest {
 protected:
  NumLinear() {
    for (TavIntExprArg part : {p, q}) part.getImpl()->retain();
    env.getImpl()->markLock = &lock;
  }
  ~NumLinear() override { EXPECT_EQ(lock.held, 0); }
  using Terms = std::initializer_list<Term>;
  using Objects = std::initializer_list<TavExtractableI*>;
  TavExtractableArray objects(Objects elements) {
    TavExtractableArray array(env);
    for (TavExtractableI* element : elements) array.add(TavExtractable(element));
    return array;
  }
  /// The shape after one more term, which stands behind the tail.
  std::string shapeWith9z(TavNumLinTermI* node) {
    node->append(env.getImpl()->newTerm(z.getImpl(), 9));
    return shape(node);
  }

  TavNumVar x = num("x", 2), y = num("y", 3), z = num("z", 5);
  TavIntExprArg p = intLeaf(7, "p"), q = intLeaf(11, "q");
  CountingLock lock;
};

TEST_F(NumLinear, NormalisingMergesIntoTheLastOccurrenceWithMarkArraysAndWithMarkFields) {
  const struct {
    Terms terms;
    const char* shape;
    TavInt merged;
  } kCases[] = {{{{1, x}, {2, y}, {3, x}}, "2y 4x 9z 0", 1},
                {{{1, y}, {1, x}, {-1, x}}, "1y 9z 0", 1},
                {{{1, x}, {-1, x}, {1, x}, {0, y}}, "1x 9z 0", 2},
                {{{0, x}}, "9z 0", 0},
                {{}, "9z 0", 0},
                {{{kNaN, x}, {1, y}}, "nanx 1y 9z 0", 0}};
  for (const bool arrays : {true, false}) {
    env.getImpl()->markArraysAvailable = arrays;
    for (const auto& c : kCases) {
      TavNumLinTermI* node = linear(c.terms);
      EXPECT_EQ(node->normalize(), c.merged);
      EXPECT_TRUE(node->isNormalized());
      EXPECT_EQ(node->normalize(), 0);
      EXPECT_EQ(shapeWith9z(node), c.shape);
      EXPECT_FALSE(node->isNormalized());
    }
  }
  EXPECT_EQ(lock.taken, static_cast<int>(std::size(kCases)));
  TavNumLinTermI* zeros = linear({{1, x}});
  zeros->normalize();
  zeros->multiply(0.0);  // leaves a zero
  EXPECT_FALSE(zeros->isNormalized());
  env.getImpl()->normalizationSkipped = true;
  TavNumLinTermI* node = linear({{1, x}, {1, x}});
  EXPECT_EQ(node->normalize(), 0);
  EXPECT_EQ(shape(node), "1x 1x 0");
}

TEST_F(NumLinear, SettingOneCoefficientNormalisesUnlinksZerosAndReportsRemovals) {
  const TavNumVarArray vars(env, 1, x);
  const struct {
    Terms terms;
    TavNumVar variable;
    double coef, old;
    const char* shape;
    const char* records;
    bool zeroFirst = false;
  } kCases[] = {{{{3, x}}, x, 3, 3, "3x 9z 0", "RemoveVar x; "},
                {{{3, x}, {1, y}}, x, 0, 3, "1y 9z 0", "RemoveVar x; "},
                {{{1, y}, {3, x}}, x, -0.0, 3, "1y 9z 0", "RemoveVar x; "},
                {{{3, x}}, x, 0, 3, "9z 0", "RemoveVar x; "},
                {{{3, x}}, y, 5, 0, "3x 5y 9z 0", "AddVar y; "},
                {{{3, x}}, y, 0, 0, "3x 9z 0", ""},
                {{{1, x}, {1, y}, {2, x}}, x, 9, 3, "1y 9x 9z 0", "RemoveVar x; "},
                {{{3, x}, {1, y}}, x, 7, 0, "7x 1y 9z 0", "", true},  // a stored zero changes silently
                {{{3, x}, {1, y}}, x, 0, 0, "1y 9z 0", "", true}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.shape);
    TavNumLinTermI* node = linear(c.terms);
    if (c.zeroFirst) node->setCoef(vars, nums({0}), TavNumArray());
    EXPECT_EQ(records([&] { EXPECT_EQ(node->setCoef(c.variable, c.coef), c.old); }), c.records);
    EXPECT_TRUE(node->isNormalized());
    EXPECT_EQ(shapeWith9z(node), c.shape);
  }
}

TEST_F(NumLinear, SettingManyCoefficientsNeverUnlinksAndReportsZeroCrossingsAlone) {
  const struct {
    Terms terms, edits;
    const char* previous;
    const char* shape;
    const char* records;
  } kCases[] = {
      {{{3, x}}, {{5, x}}, "[3]", "5x 0", ""},
      {{{3, x}}, {{0, x}, {4, x}}, "[3, 0]", "4x 0", "RemoveVar x; AddVar x; "},
      {{{3, x}}, {{0, x}, {0, x}}, "[3, 0]", "0x 0", "RemoveVar x; "},
      {{{3, x}}, {{1, y}, {2, y}}, "[0, 0]", "3x 1y 2y 0", "AddVar y; AddVar y; "},
      {{{3, x}}, {{0, z}}, "[0]", "3x 0", ""},
      {{{1, x}, {1, y}, {2, x}}, {{5, x}, {6, z}, {0, y}}, "[3, 0, 1]", "0y 5x 6z 0", "AddVar z; RemoveVar y; "},
      {{{1, x}, {1, x}}, {}, "[]", "2x 0", ""}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.shape);
    TavNumLinTermI* node = linear(c.terms);
    TavNumVarArray vars(env);
    TavNumArray coefs(env), previous(env);
    for (const Term& edit : c.edits) vars.add(edit.variable), coefs.add(edit.coef);
    EXPECT_EQ(records([&] { node->setCoef(vars, coefs, previous); }), c.records);
    EXPECT_EQ(shape(node), c.shape);
    EXPECT_EQ(plain(previous), c.previous);
    EXPECT_TRUE(node->isNormalized());
    TavNumLinTermI* again = linear(c.terms);
    again->setCoef(vars, coefs, coefs);  // one array gives the new coefficients and takes the old ones
    EXPECT_EQ(shape(again) + plain(coefs), c.shape + plain(previous));
  }
  EXPECT_EQ(lock.taken, 2 * static_cast<int>(std::size(kCases)));
  TavNumLinTermI *node = linear({{1, x}, {2, y}}), *listeners = linear({{3, y}});
  const TavNumVarArray both(env, 2, x, y), one(env, 1, y);
  env.getImpl()->setChangeListener([&](const TavChange&) { listeners->setCoef(one, nums({4}), TavNumArray()); });
  node->setCoef(both, nums({0, 5}), TavNumArray());
  EXPECT_EQ(shape(node) + ", " + shape(listeners), "0x 5y 0, 4y 0");  // each edit uses the marks of its own node
}

TEST_F(NumLinear, RemovingObjectsCountsDownFromTheArraysSize) {
  const struct {
    Objects objects;
    const char* shape;
    TavInt released;
  } kCases[] = {{{x.getImpl()}, "2y 3x <p> <q> <p> 0", 0},
                {{x.getImpl(), nullptr}, "2y <p> <q> <p> 0", 0},
                {{x.getImpl(), x.getImpl()}, "2y <p> <q> <p> 0", 0},
                {{p.getImpl(), y.getImpl(), z.getImpl()}, "1x 3x <q> 0", 2},
                {{p.getImpl()}, "1x 2y 3x <q> <p> 0", 1}};
  for (const auto& c : kCases) {
    TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}}, {p, q, p});
    const TavInt held = p.getImpl()->getRefCount();
    EXPECT_EQ(records([&] { node->remove(objects(c.objects)); }), "");
    EXPECT_EQ(shape(node), c.shape);
    EXPECT_FALSE(env.getImpl()->isRemoved(x.getImpl()));
    EXPECT_EQ(p.getImpl()->getRefCount(), held - c.released);
  }
  TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}}, {p});
  EXPECT_EQ(records([&] { node->remove(x.getImpl()); }), "");
  TavExtractableI* twin = nullptr;  // of another environment: with x's identifier, and with none that is here
  TavExtractableI* foreign = nullptr;
  for (TavInt id = 0; id <= x.getId(); ++id) twin = TavNumVar(other, 0, 1).getImpl();
  for (int k = 0; k < 1000; ++k) foreign = TavNumVar(other, 0, 1).getImpl();
  node->remove(objects({foreign, twin}));
  EXPECT_EQ(shape(node), "2y 3x <p> 0");
}

TEST_F(NumLinear, DroppingTheLastCellEmptiesTheTailUntilTheNodeIsNormalised) {
  const auto z9 = [&] { return env.getImpl()->newTerm(z.getImpl(), 9); };
  const struct {
    TavExtractableI* last;
    std::function<void(TavNumLinTermI*)> edit;
    const char* shape;
  } kCases[] = {{y.getImpl(), [](TavNumLinTermI*) {}, "1x <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->append(z9()); }, "9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->prepend(z9()); }, "9z <p> <q> 0"},
                {y.getImpl(),
                 [&](TavNumLinTermI* node) {
                   node->append(linear({{9, z}}));
                 },
                 "9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->normalize(), node->append(z9()); }, "1x 9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->remove(x.getImpl()), node->clear(); }, "0"},
                {q.getImpl(), [&](TavNumLinTermI* node) { node->append(q.getImpl()); }, "1x 2y <q> 0"}};
  for (const auto& c : kCases) {
    TavNumLinTermI* node = linear({{1, x}, {2, y}}, {p, q});
    node->remove(objects({c.last}));
    c.edit(node);
    EXPECT_EQ(shape(node), c.shape);
  }
  TavNumLinTermI *source = linear({{1, x}, {2, y}}), *node = linear({{9, z}});
  source->remove(objects({y.getImpl()}));
  node->append(source);  // spliced from: the head counts
  EXPECT_EQ(shape(node), "9z 1x 0");
}

TEST_F(NumLinear, ARemovedVariableLeavesEverySumInOneSweepOrOneByOne) {
  for (const bool oneByOne : {false, true}) {
    env.getImpl()->oneByOneRemoval = oneByOne;
    TavNumVar gone = num("gone", 1);
    TavNumLinTermI* node = linear({{1, gone}, {2, y}, {3, gone}}, {p});
    TavIntLinTermI* whole = linear<TavIntLinTermI>({{1, gone}, {2, y}});
    const std::string sent = records([&] { gone.end(); });
    EXPECT_EQ(shape(node) + shape(whole), "2y <p> 0#2y 0");
    for (const char* record : {"#RemoveVar gone; ", "; RemoveVar gone; "}) {
      EXPECT_EQ(("; " + sent).find(record) != sent.npos, oneByOne) << sent;
    }
  }
  TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}});
  EXPECT_EQ(records([&] { node->atRemove(x.getImpl(), nullptr); }), "RemoveVar x; ");
  EXPECT_EQ(shape(node), "2y 3x 0");
  EXPECT_EQ(records([&] { node->atRemove(z.getImpl(), nullptr); }), "RemoveVar z; ");  // unconditionally
}

}  // namespace
