#include "tests/support/fixture.h"

namespace {

struct CountingLock final : TavLock {
  void lock() override {
    ++taken;
    ++held;
  }
  void unlock() override { --held; }
  int taken = 0, held = 0;
};

class NumLinear : public TavTest {
 protected:
  NumLinear() {
    p.getImpl()->retain();
    q.getImpl()->retain();
  }
  ~NumLinear() override { third.end(); }
  using Terms = std::initializer_list<Term>;
  static std::string shapeOf(TavNumLinTermI* node) { return shape(TavNumExprArg(node)); }
  TavExtractableArray objects(std::initializer_list<TavExtractableI*> elements) {
    TavExtractableArray array(env);
    for (TavExtractableI* element : elements) array.add(TavExtractable(element));
    return array;
  }
  /// "AddVar x; RemoveVar y; " for the records that `edit` sends about `node`.
  std::string records(TavNumLinTermI* node, const std::function<void()>& edit) {
    std::string log;
    env.getImpl()->setChangeListener([&](const TavChange& change) {
      EXPECT_EQ(change.getChangedExtractable(), node);
      const bool added = change.isType(TavNumLinTermAddVar::GetTypeInfo());
      const TavNumVarI* variable = added ? static_cast<const TavNumLinTermAddVar&>(change).getVar()
                                         : static_cast<const TavNumLinTermRemoveVar&>(change).getVar();
      log += std::string(added ? "AddVar " : "RemoveVar ") + variable->getName() + "; ";
    });
    edit();
    env.getImpl()->setChangeListener(nullptr);
    return log;
  }

  TavNumVar x = num("x", 2), y = num("y", 3), z = num("z", 5);
  TavEnv third;
  TavIntExprArg p = namedIntLeaf("p", 7), q = namedIntLeaf("q", 11);
};

TEST_F(NumLinear, NormalisingMergesIntoTheLastOccurrenceWithMarkArraysAndWithMarkFields) {
  const struct {
    Terms terms;
    const char* shape;
    TavInt merged;
  } kCases[] = {{{{1, x}, {2, y}, {3, x}}, "2y 4x 0", 1},
                {{{1, x}, {-1, x}}, "0", 1},
                {{{0, x}}, "0", 0},
                {{{1, x}, {1, x}, {1, x}, {1, y}}, "3x 1y 0", 2},
                {{}, "0", 0},
                {{{1, y}, {1, x}, {-1, x}}, "1y 0", 1},
                {{{1, x}, {-1, x}, {1, x}, {0, z}}, "1x 0", 2},
                {{{kNaN, x}, {1, y}}, "nanx 1y 0", 0},
                {{{1e308, x}, {1e308, x}, {-kInf, x}}, "-nanx 0", 2}};
  CountingLock lock;
  env.getImpl()->markLock = &lock;
  for (const bool arrays : {true, false}) {
    env.getImpl()->markArraysAvailable = arrays;
    for (const auto& c : kCases) {
      SCOPED_TRACE(c.shape);
      TavNumLinTermI* node = linear(c.terms);
      EXPECT_EQ(node->normalize(), c.merged);
      EXPECT_TRUE(node->isNormalized());
      if (c.shape[0] != '-') {
        EXPECT_EQ(shapeOf(node), c.shape);
      }
      EXPECT_EQ(node->normalize(), 0);
      const std::string before = shapeOf(node);  // the tail is the last survivor
      node->append(env.getImpl()->newTerm(z.getImpl(), 9));
      EXPECT_EQ(shapeOf(node), before.substr(0, before.size() - 1) + "9z 0");
    }
  }
  EXPECT_EQ(lock.taken, static_cast<int>(std::size(kCases)));
  EXPECT_EQ(lock.held, 0);
  TavNumLinTermI* zeros = linear({{1, x}});
  zeros->normalize();
  zeros->multiply(0.0);  // leaves a zero
  EXPECT_FALSE(zeros->isNormalized());
  env.getImpl()->normalizationSkipped = true;
  TavNumLinTermI* node = linear({{1, x}, {1, x}});
  EXPECT_EQ(node->normalize(), 0);
  EXPECT_EQ(shapeOf(node), "1x 1x 0");
}

TEST_F(NumLinear, SettingOneCoefficientNormalisesUnlinksZerosAndReportsRemovals) {
  const struct {
    Terms terms;
    TavNumVar variable;
    double coef, old;
    const char* shape;
    const char* records;
  } kCases[] = {{{{3, x}}, x, 5, 3, "5x 0", "RemoveVar x; "},
                {{{3, x}}, x, 3, 3, "3x 0", "RemoveVar x; "},
                {{{3, x}, {1, y}}, x, 0, 3, "1y 0", "RemoveVar x; "},
                {{{1, y}, {3, x}}, x, -0.0, 3, "1y 0", "RemoveVar x; "},
                {{{3, x}}, x, 0, 3, "0", "RemoveVar x; "},
                {{{3, x}}, z, 5, 0, "3x 5z 0", "AddVar z; "},
                {{{3, x}}, z, 0, 0, "3x 0", ""},
                {{{1, x}, {1, y}, {2, x}}, x, 9, 3, "1y 9x 0", "RemoveVar x; "}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.shape);
    TavNumLinTermI* node = linear(c.terms);
    EXPECT_EQ(records(node, [&] { EXPECT_EQ(node->setCoef(c.variable, c.coef), c.old); }), c.records);
    EXPECT_EQ(shapeOf(node), c.shape);
    EXPECT_TRUE(node->isNormalized());
    const std::string before = shapeOf(node);
    node->append(env.getImpl()->newTerm(y.getImpl(), 8));
    EXPECT_EQ(shapeOf(node), before.substr(0, before.size() - 1) + "8y 0");
  }
  EXPECT_THROW(linear({})->setCoef(TavNumVar(), 1), TavEmptyHandleException);
}

TEST_F(NumLinear, AStoredZeroTakesASingleCoefficientSilently) {
  const TavNumVarArray vars(env, 1, x);
  for (const double coef : {7.0, 0.0}) {
    TavNumLinTermI* node = linear({{3, x}, {1, y}});
    node->setCoef(vars, TavNumArray(env, 1), TavNumArray());
    EXPECT_EQ(shapeOf(node), "0x 1y 0");
    EXPECT_EQ(records(node, [&] { EXPECT_EQ(node->setCoef(x, coef), 0.0); }), "");
    EXPECT_EQ(shapeOf(node), coef == 0.0 ? "1y 0" : "7x 1y 0");
  }
}

TEST_F(NumLinear, SettingManyCoefficientsNeverUnlinksAndReportsZeroCrossingsAlone) {
  const struct {
    Terms terms;
    std::initializer_list<Term> edits;
    const char* previous;
    const char* shape;
    const char* records;
  } kCases[] = {
      {{{3, x}}, {{5, x}}, "[3]", "5x 0", ""},
      {{{3, x}}, {{0, x}}, "[3]", "0x 0", "RemoveVar x; "},
      {{{3, x}}, {{0, x}, {4, x}}, "[3, 0]", "4x 0", "RemoveVar x; AddVar x; "},
      {{{3, x}}, {{0, x}, {0, x}}, "[3, 0]", "0x 0", "RemoveVar x; "},
      {{{3, x}}, {{1, y}, {2, y}}, "[0, 0]", "3x 1y 2y 0", "AddVar y; AddVar y; "},
      {{{3, x}}, {{0, z}}, "[0]", "3x 0", ""},
      {{{1, x}, {1, y}, {2, x}}, {{5, x}, {6, z}, {0, y}}, "[3, 0, 1]", "0y 5x 6z 0", "AddVar z; RemoveVar y; "},
      {{{1, x}, {1, x}}, {}, "[]", "2x 0", ""}};
  CountingLock lock;
  env.getImpl()->markLock = &lock;
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.shape);
    TavNumLinTermI* node = linear(c.terms);
    TavNumVarArray vars(env);
    TavNumArray coefs(env), previous(env);
    for (const Term& edit : c.edits) {
      vars.add(edit.variable);
      coefs.add(edit.coef);
    }
    EXPECT_EQ(records(node, [&] { node->setCoef(vars, coefs, previous); }), c.records);
    EXPECT_EQ(shapeOf(node), c.shape);
    EXPECT_EQ(plain(previous), c.previous);
    EXPECT_TRUE(node->isNormalized());
  }
  EXPECT_EQ(lock.taken, static_cast<int>(std::size(kCases)));
  EXPECT_EQ(lock.held, 0);
}

TEST_F(NumLinear, AThrowingListenerLeavesTheEditAndNoLock) {
  CountingLock lock;
  env.getImpl()->markLock = &lock;
  env.getImpl()->setChangeListener([](const TavChange&) { throw TavException("refused"); });
  TavNumLinTermI* node = linear({{3, x}});
  EXPECT_THROW(node->setCoef(x, 5), TavException);
  EXPECT_THROW(node->setCoef(y, 1), TavException);
  EXPECT_EQ(shapeOf(node), "5x 1y 0");
  TavNumArray coefs(env, 2);
  coefs[1] = 4;
  const TavInt cells = env.getImpl()->liveTermCount();
  EXPECT_THROW(node->setCoef(TavNumVarArray(env, 2, x, z), coefs, TavNumArray()), TavException);
  EXPECT_EQ(shapeOf(node), "0x 1y 0");
  EXPECT_EQ(env.getImpl()->liveTermCount(), cells);
  EXPECT_EQ(lock.held, 0);
  env.getImpl()->setChangeListener(nullptr);
}

TEST_F(NumLinear, RemovingObjectsCountsDownFromTheArraysSize) {
  TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}}, {p, q, p});
  EXPECT_EQ(records(node, [&] { node->remove(x.getImpl()); }), "");
  EXPECT_EQ(shapeOf(node), "2y 3x <p> <q> <p> 0");
  const struct {
    std::initializer_list<TavExtractableI*> objects;
    const char* shape;
    TavInt released;
  } kCases[] = {{{x.getImpl()}, "2y 3x <p> <q> <p> 0", 0},
                {{x.getImpl(), nullptr}, "2y <p> <q> <p> 0", 0},
                {{x.getImpl(), x.getImpl()}, "2y <p> <q> <p> 0", 0},
                {{p.getImpl(), y.getImpl()}, "1x 2y 3x <q> 0", 2},
                {{p.getImpl(), y.getImpl(), z.getImpl()}, "1x 3x <q> 0", 2},
                {{p.getImpl()}, "1x 2y 3x <q> <p> 0", 1},
                {{}, "1x 2y 3x <p> <q> <p> 0", 0}};
  for (const auto& c : kCases) {
    TavNumLinTermI* fresh = linear({{1, x}, {2, y}, {3, x}}, {p, q, p});
    const TavInt held = p.getImpl()->getRefCount();
    EXPECT_EQ(records(fresh, [&] { fresh->remove(objects(c.objects)); }), "");
    EXPECT_EQ(shapeOf(fresh), c.shape);
    EXPECT_FALSE(env.getImpl()->isRemoved(x.getImpl()));
    EXPECT_EQ(p.getImpl()->getRefCount(), held - c.released);
  }
  TavExtractableI* foreign = nullptr;  // of another environment: one with x's identifier, one with none that is here
  TavExtractableI* twin = nullptr;
  for (TavInt id = 0; id <= x.getId(); ++id) twin = TavNumVar(third, 0, 1).getImpl();
  for (int k = 0; k < 1000; ++k) foreign = TavNumVar(other, 0, 1).getImpl();
  ASSERT_EQ(twin->getId(), x.getId());
  node->remove(objects({foreign, twin}));
  EXPECT_EQ(shapeOf(node), "2y 3x <p> <q> <p> 0");
}

TEST_F(NumLinear, DroppingTheLastCellEmptiesTheTailUntilTheNodeIsNormalised) {
  const auto z9 = [&] { return env.getImpl()->newTerm(z.getImpl(), 9); };
  const auto nine = [&] { return linear({{9, z}}); };
  const struct {
    TavExtractableI* last;
    std::function<void(TavNumLinTermI*)> edit;
    const char* shape;
  } kCases[] = {{y.getImpl(), [](TavNumLinTermI*) {}, "1x <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->append(z9()); }, "9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->prepend(z9()); }, "9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->append(nine()); }, "9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->normalize(), node->append(z9()); }, "1x 9z <p> <q> 0"},
                {y.getImpl(), [&](TavNumLinTermI* node) { node->remove(x.getImpl()), node->clear(); }, "0"},
                {q.getImpl(), [&](TavNumLinTermI* node) { node->append(q.getImpl()); }, "1x 2y <q> 0"}};
  for (const auto& c : kCases) {
    TavNumLinTermI* node = linear({{1, x}, {2, y}}, {p, q});
    node->remove(objects({c.last}));
    c.edit(node);
    EXPECT_EQ(shapeOf(node), c.shape);
  }
  TavNumLinTermI* source = linear({{1, x}, {2, y}});
  source->remove(objects({y.getImpl()}));
  TavNumLinTermI* node = linear({{9, z}});
  node->append(source);  // spliced from: the head counts
  EXPECT_EQ(shapeOf(node), "9z 1x 0");
}

TEST_F(NumLinear, SplicingEmptiesTheOtherAndGivesOneReferenceBack) {
  TavNumLinTermI* left = linear({{1, x}}, {p}, 1);
  left->normalize();
  left->append(new (env.getImpl()) TavNumLinTermI(env.getImpl(), 4.0));
  EXPECT_TRUE(left->isNormalized());  // nothing came in
  TavNumLinTermI* right = linear({{2, x}, {3, y}}, {q}, 2);
  right->retain();
  right->retain();
  left->append(right);
  EXPECT_EQ(shapeOf(left), "1x 2x 3y <p> <q> 7");
  EXPECT_FALSE(left->isNormalized());
  EXPECT_EQ(shapeOf(right), "0");
  EXPECT_EQ(right->getRefCount(), 1);
  left->append(static_cast<TavNumExprI*>(right));  // a linear node too is a part when it comes as an expression
  EXPECT_EQ(shapeOf(left), "1x 2x 3y <p> <q> <0> 7");
}

TEST_F(NumLinear, PrintsInBothSyntaxesAsTheLastTermSays) {
  TavNumVar unnamed(env, 0.0, 1.0);
  const std::string u = "TavNumVar(" + std::to_string(unnamed.getId()) + ")[0 .. 1] ";
  const struct {
    Terms terms;
    std::initializer_list<TavIntExprArg> parts;
    int constant;
    std::string plain, library;
  } kCases[] = {{{}, {}, 0, "0 ", "( ) "},
                {{}, {}, -3, "-3 ", "( -3 ) "},
                {{{2, x}, {0, y}, {1, z}}, {}, 0, "2 * x  + z ", "( 2 * x  + 0  + z ) "},
                {{{2, x}, {0, y}}, {}, 0, "2 * x  + 0 ", "( 2 * x  + 0 ) "},
                {{{2, x}, {0, y}}, {}, 7, "2 * x  + 7 ", "( 2 * x  + 0  + 7 ) "},
                {{{0, y}}, {p}, 0, "p", "( 0  + p) "},
                {{{-1, x}}, {p, q}, 4, "-1 * x  + p + q + 4 ", "( -1 * x  + p + q + 4 ) "},
                {{}, {p}, 0, "p", "( p) "},
                {{{1, x}, {1, unnamed}}, {}, 0, "x  + " + u, "( x  + " + u + ") "}};
  for (const auto& c : kCases) {
    const TavNumExprArg node(linear(c.terms, c.parts, c.constant));
    EXPECT_EQ(plain(node), c.plain);
    EXPECT_EQ(library(node), c.library);
    if (c.terms.begin() == c.terms.end() || c.terms.begin()->variable.getName()) {
      EXPECT_EQ(plain(TavNumExprArg(linear<TavIntLinTermI>(c.terms, c.parts, c.constant))), c.plain);
    }
  }
}

TEST_F(NumLinear, ARemovedVariableLeavesEverySumInOneSweepOrOneByOne) {
  for (const bool oneByOne : {false, true}) {
    env.getImpl()->oneByOneRemoval = oneByOne;
    TavNumVar gone = num("gone", 1);
    TavNumLinTermI* node = linear({{1, gone}, {2, y}, {3, gone}}, {p});
    TavIntLinTermI* whole = linear<TavIntLinTermI>({{1, gone}, {2, y}});
    const std::vector<std::string> sent = changesOf([&] { gone.end(); });
    EXPECT_EQ(shapeOf(node), "2y <p> 0");
    EXPECT_EQ(shape(TavNumExprArg(whole)), "#2y 0");
    for (const char* record : {"TavNumLinTermRemoveVar", "TavIntLinTermRemoveVar"}) {
      EXPECT_EQ(std::count(sent.begin(), sent.end(), record) > 0, oneByOne) << record;
    }
    EXPECT_EQ(sent.empty(), !oneByOne);
  }
  TavNumLinTermI* node = linear({{1, x}, {2, y}, {3, x}});
  env.getImpl()->oneByOneRemoval = true;
  EXPECT_EQ(records(node, [&] { node->atRemove(x.getImpl(), nullptr); }), "RemoveVar x; ");
  EXPECT_EQ(shapeOf(node), "2y 3x 0");
  EXPECT_EQ(records(node, [&] { node->atRemove(z.getImpl(), nullptr); }), "RemoveVar z; ");  // unconditionally
}

TEST_F(NumLinear, IsLinearWhenItsPartsAreParameters) {
  struct Index final : TavNumIndexI {
    using TavNumIndexI::TavNumIndexI;
    double eval(TavAlgorithm) const override { return 1; }
    void visitSubExtractables(TavExtractableVisitor*) override {}
  };
  TavNumLinTermI* node = linear({{1, x}});
  EXPECT_TRUE(node->isLinear());
  node->append(static_cast<TavNumExprI*>(new (env.getImpl()) Index(env.getImpl(), "k")));
  EXPECT_TRUE(node->isLinear());
  node->append(p.getImpl());
  EXPECT_FALSE(node->isLinear());
}

}  // namespace
