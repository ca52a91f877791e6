#include "tests/support/fixture.h"

namespace {

class Handles : public TavTest {
 protected:
  Handles() {
    p.getImpl()->retain();
    m.getImpl()->retain();
  }
  static TavInt count(TavNumExprArg expression) { return expression.getImpl()->getRefCount(); }

  TavNumVar x = num("x", 2), y = num("y", 3);
  TavIntVar i = integer("i", 4);
  TavNumExprArg p = leaf(7, "p");
  TavIntExprArg m = intLeaf(11, "m");
};

TEST_F(Handles, QueriesAskForShape) {
  const TavIntExprArg whole = i + 1;
  const struct {
    TavNumExprArg expression;
    bool constant;
    double value;
  } kCases[] = {{TavNumExpr(env, 4.0), true, 4},
                {TavIntExpr(env, 5), true, 5},
                {2 * x - 2 * x, false, 0},
                {x + 2.5, false, 2.5},
                {whole, false, 1},
                {x, false, kNaN},
                {p, false, kNaN},
                {x + p, false, kNaN},
                {i + m, false, kNaN}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(shape(c.expression));
    EXPECT_EQ(c.expression.isConstant(), c.constant);
    if (c.value == c.value) {
      EXPECT_EQ(c.expression.getNumConstant(), c.value);
    } else {
      refuses<TavNumExpr::NonLinearExpression>("Constant part cannot be set or queried",
                                               {[&] { c.expression.getNumConstant(); }});
    }
  }
  std::ostringstream os;
  TavNumExpr::NonLinearExpression(p.getImpl()).print(os);
  TavNumExpr::NonLinearExpression(nullptr).print(os);
  EXPECT_EQ(os.str(),
            "Expression p is non linear, setting or querying the constant part is forbidden"
            "Expression  is non linear, setting or querying the constant part is forbidden");
  const TavNumExprArg none;
  refusesEmpty({[&] { none.isConstant(); }, [&] { none.isIndex(); }, [&] { none.getNumConstant(); },
                [&] { TavTestIsLinear(nullptr); }, [&] { TavExpr().normalize(); },
                [&] { static_cast<void>(TavExpr().isNormalized()); }, [&] { TavExpr() += 1.0; },
                [&] { TavNumExpr() += 1.0; }, [&] { TavExpr{none}; }});
}

TEST_F(Handles, AnUnsharedSumIsChangedInPlaceAndASharedOneIsCopiedFirst) {
  const TavNumVarArray vars(env, 1, x);
  const std::pair<std::function<void(TavExpr&)>, const char*> kCases[] = {
      {[&](TavExpr& e) { e -= TavNumExprArg(e); }, "2x 3y 2x -2x -3y -2x <p> <TavNumTimesCstI{p * -1}> 0"},
      {[&](TavExpr& e) { e.setLinearCoefs(vars, nums({9})); }, "3y 9x <p> 5"},
      {[&](TavExpr& e) { e.remove(vars); }, "3y 2x <p> 5"}};
  for (const auto& [change, expected] : kCases) {
    TavExpr alone = 2 * x + 3 * y + 2 * x + p + 5, held = alone.copy();
    const TavNumLinTermI* const node = alone.getImpl();
    const TavNumExpr holder{TavNumExprArg(held)};
    change(alone);
    change(held);
    EXPECT_EQ(alone.getImpl(), node);
    EXPECT_NE(held.getImpl(), holder.getImpl());
    EXPECT_EQ(shape(holder), "2x 3y 2x <p> 5");
    for (const TavExpr& e : {alone, held}) EXPECT_EQ(shape(e), expected);
    EXPECT_EQ(count(alone) * count(held) * count(holder), 1);
  }
}

TEST_F(Handles, TheConstantIsSetOnLinearSumsAloneAndTheTestComesBeforeTheCopy) {
  TavExpr e = x + p;
  const TavNumExpr holder{TavNumExprArg(e)};
  EXPECT_THROW(e.setNumConstant(3), TavNumExpr::NonLinearExpression);
  EXPECT_EQ(e.getImpl(), holder.getImpl());
}

TEST_F(Handles, NormalisationSpeaksOfMergesAndTheQueryNeverSaysNo) {
  TavExpr zero = 0 * x + y, twice = x + x;
  EXPECT_TRUE(zero.normalize());  // a dropped zero is no merge
  EXPECT_TRUE(twice.isNormalized());
  env.getImpl()->normalizationSkipped = true;
  EXPECT_TRUE(twice.isNormalized());
  EXPECT_TRUE(twice.normalize());
  EXPECT_EQ(shape(twice), "1x 1x 0");
}

TEST_F(Handles, OperandsOfAnotherEnvironmentAreRefusedAndTheHandleStays) {
  const TavNumVar foreign(other, 0.0, 1.0, "foreign");
  const TavIntVar foreignInt(other, 0, 1, "foreignInt");
  const TavNumExprArg arg = foreign;
  const auto term = 2 * foreign;
  const auto intTerm = 2 * foreignInt;
  TavExpr e = x + 1;
  const TavNumExpr holder{TavNumExprArg(e)};
  TavNumExpr n(x * y);
  TavIntExpr k(i * m);
  const std::pair<std::string, std::function<void()>> kCases[] = {
      {"TavNumExpr& TavNumExpr::operator += const TavNumExprArg arg ", [&] { n += arg; }},
      {"TavNumExpr& TavNumExpr::operator -= const TavNumExprArg arg ", [&] { n -= arg; }},
      {"TavExpr& TavNumExpr::operator += const TavNumExprArg arg ", [&] { e += arg; }},
      {"TavExpr& TavNumExpr::operator += const TavNumVar arg ", [&] { e += foreign; }},
      {"TavExpr& TavNumExpr::operator += const TavIntVar arg ", [&] { e += foreignInt; }},
      {"TavExpr& TavExpr::operator += const TavNumLinExprTerm term ", [&] { e += term; }},
      {"TavExpr& TavExpr::operator += const TavIntLinExprTerm arg ", [&] { e += intTerm; }},
      {"TavExpr& TavExpr::operator -= const TavNumExprArg arg ", [&] { e -= arg; }},
      {"TavExpr& TavExpr::operator -= const TavNumVar arg ", [&] { e -= foreign; }},
      {"TavExpr& TavExpr::operator -= const TavIntVar arg ", [&] { e -= foreignInt; }},
      {"TavExpr& TavExpr::operator -= const TavNumLinExprTerm arg ", [&] { e -= term; }},
      {"TavExpr& TavExpr::operator -= const TavIntLinExprTerm arg ", [&] { e -= intTerm; }},
      {"TavIntExprArg operator + const TavIntExprArg const TavIntExprArg", [&] { k += foreignInt; }},
      {"TavIntExprArg operator + const TavIntExprArg const TavIntExprArg", [&] { k -= foreignInt; }}};
  for (const auto& [message, call] : kCases) {
    refuses<TavWrongUsage>(message + ": mixing mismatch Environments", {call});
  }
  EXPECT_EQ(count(n) + count(TavIntExprArg(k)) + count(e), 4);
  EXPECT_EQ(e.getImpl(), holder.getImpl());  // not even copied
  EXPECT_EQ(term.getCoef(), 2.0);
}

}  // namespace
