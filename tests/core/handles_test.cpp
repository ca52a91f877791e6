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
  TavNumExprArg p = namedLeaf("p", 7);
  TavIntExprArg m = namedIntLeaf("m", 11);
};

TEST_F(Handles, ArePlainPointersAndCountOnlyWhenBuiltFromAnArgumentATermOrAConstant) {
  static_assert(std::is_trivially_copyable_v<TavExpr> && sizeof(TavExpr) == sizeof(void*));
  static_assert(std::is_trivially_copyable_v<TavNumVar> && std::is_trivially_destructible_v<TavIntExpr>);
  const TavNumExpr n(x + y), copied = n, bare(n.getImpl());
  EXPECT_EQ(count(copied) + count(bare), 2);
  const TavNumExpr second{TavNumExprArg(n)};
  EXPECT_EQ(count(n), 2);
  const TavExpr e(env, 2.5);
  const TavNumExpr fromExpr = e;
  EXPECT_EQ(count(fromExpr), 1);
  const std::pair<TavNumExpr, const char*> kMade[] = {{TavNumExpr(env, 2.5), "2.5"}, {TavExpr(env), "0"},
                                                      {TavNumExpr(3 * x), "3x 0"},   {TavNumExpr(3 * i), "3i 0"},
                                                      {TavExpr(3 * i), "3i 0"},      {TavIntExpr(3 * i), "#3i 0"},
                                                      {TavIntExpr(env, -4), "#-4"},  {TavIntExpr(i + 1), "#1i 1"}};
  for (const auto& [made, expected] : kMade) {
    EXPECT_EQ(shape(TavNumExprArg(made.getImpl())), expected);
    EXPECT_EQ(made.getImpl()->getRefCount(), 1);
  }
  EXPECT_EQ(TavIntExpr(i).getImpl(), i.getImpl());
  EXPECT_EQ(count(3 * x), 0);
}

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
    EXPECT_FALSE(c.expression.isIndex());
    if (c.value == c.value) {
      EXPECT_EQ(c.expression.getNumConstant(), c.value);
    } else {
      EXPECT_EQ(messageOf<TavNumExpr::NonLinearExpression>([&] { c.expression.getNumConstant(); }),
                "Constant part cannot be set or queried");
    }
  }
  std::ostringstream os;
  TavNumExpr::NonLinearExpression(p.getImpl()).print(os);
  TavNumExpr::NonLinearExpression(nullptr).print(os);
  EXPECT_EQ(os.str(),
            "Expression p is non linear, setting or querying the constant part is forbidden"
            "Expression  is non linear, setting or querying the constant part is forbidden");
  TavExpr sum = 2 * x - 2 * x;
  EXPECT_FALSE(sum.normalize());
  EXPECT_TRUE(sum.isConstant());
  const TavNumExprArg empty;
  const std::function<void()> kOnEmpty[] = {
      [&] { empty.isConstant(); },     [&] { empty.isIndex(); },
      [&] { empty.getNumConstant(); }, [&] { TavTestIsLinear(nullptr); },
      [&] { TavExpr().normalize(); },  [&] { static_cast<void>(TavExpr().isNormalized()); },
      [&] { TavExpr() += 1.0; },       [&] { TavNumExpr() += 1.0; },
      [&] { TavExpr{empty}; }};
  for (const auto& call : kOnEmpty) EXPECT_THROW(call(), TavEmptyHandleException);
}

TEST_F(Handles, AnUnsharedSumIsChangedInPlaceAndASharedOneIsCopiedFirst) {
  const TavNumVarArray vars(env, 1, x);
  TavNumArray coefs(env, 1);
  coefs[0] = 9;
  const struct {
    std::function<void(TavExpr&)> change;
    const char* shape;
  } kCases[] = {{[&](TavExpr& e) { e += 1.5; }, "2x 3y 2x <p> 6.5"},
                {[&](TavExpr& e) { e -= y; }, "2x 3y 2x -1y <p> 5"},
                {[&](TavExpr& e) { e += i; }, "2x 3y 2x 1i <p> 5"},
                {[&](TavExpr& e) { e += 4 * y; }, "2x 3y 2x 4y <p> 5"},
                {[&](TavExpr& e) { e -= 4 * y; }, "2x 3y 2x -4y <p> 5"},
                {[&](TavExpr& e) { e += 4 * i; }, "2x 3y 2x 4i <p> 5"},
                {[&](TavExpr& e) { e -= 4 * i; }, "2x 3y 2x -4i <p> 5"},
                {[&](TavExpr& e) { e -= i + m + 1; }, "2x 3y 2x -1i <p> <TavNumTimesCstI{m * -1}> 4"},
                {[&](TavExpr& e) { e -= TavNumExprArg(e); }, "2x 3y 2x -2x -3y -2x <p> <TavNumTimesCstI{p * -1}> 0"},
                {[&](TavExpr& e) { EXPECT_EQ(e.setLinearCoef(x, 9), 4); }, "3y 9x <p> 5"},
                {[&](TavExpr& e) { e.setLinearCoefs(vars, coefs); }, "3y 9x <p> 5"},
                {[&](TavExpr& e) { e.remove(vars); }, "3y 2x <p> 5"},
                {[&](TavExpr& e) { EXPECT_FALSE(e.normalize()); }, "3y 4x <p> 5"}};
  for (std::size_t c = 0; c < std::size(kCases); ++c) {
    SCOPED_TRACE(std::to_string(c) + " " + kCases[c].shape);
    TavExpr alone = 2 * x + 3 * y + 2 * x + p + 5;
    const TavNumLinTermI* const node = alone.getImpl();
    kCases[c].change(alone);
    EXPECT_EQ(shape(alone), kCases[c].shape);
    EXPECT_EQ(alone.getImpl(), node);
    EXPECT_EQ(count(alone), 1);

    TavExpr held = 2 * x + 3 * y + 2 * x + p + 5;
    const TavNumExpr holder{TavNumExprArg(held)};
    kCases[c].change(held);
    EXPECT_EQ(shape(held), kCases[c].shape);
    EXPECT_EQ(shape(holder), "2x 3y 2x <p> 5");
    EXPECT_EQ(count(held), 1);
    EXPECT_EQ(count(holder), 1);
  }
}

TEST_F(Handles, ASumIsCopiedAndWalked) {
  TavExpr e = x + 2 * y + p;
  TavExpr copy = e.copy();
  EXPECT_EQ(shape(copy), shape(e));
  EXPECT_NE(copy.getImpl(), e.getImpl());
  EXPECT_EQ(count(copy), 1);
  std::string walked;
  for (auto it = e.getLinearIterator(); it.ok(); ++it) walked += shape(it.getCoef() * it.getVar()) + "; ";
  EXPECT_EQ(walked, "1x 0; 2y 0; ");
  EXPECT_FALSE(TavExpr(env, 1.0).getLinearIterator());
}

TEST_F(Handles, TheConstantIsSetOnLinearSumsAloneAndTheTestComesBeforeTheCopy) {
  TavExpr e = x + p;
  const TavNumExpr holder{TavNumExprArg(e)};
  EXPECT_THROW(e.setNumConstant(3), TavNumExpr::NonLinearExpression);
  EXPECT_EQ(e.getImpl(), holder.getImpl());
  EXPECT_EQ(count(e), 2);
}

TEST_F(Handles, NormalisationSpeaksOfMergesAndTheQueryNeverSaysNo) {
  TavExpr zero = 0 * x + y;
  EXPECT_TRUE(zero.normalize());  // a dropped zero is no merge
  TavExpr twice = x + x;
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
  const std::string in = " : mixing mismatch Environments";
  const std::pair<std::string, std::function<void()>> kCases[] = {
      {"TavNumExpr& TavNumExpr::operator += const TavNumExprArg arg", [&] { n += arg; }},
      {"TavNumExpr& TavNumExpr::operator -= const TavNumExprArg arg", [&] { n -= arg; }},
      {"TavExpr& TavNumExpr::operator += const TavNumExprArg arg", [&] { e += arg; }},
      {"TavExpr& TavNumExpr::operator += const TavNumVar arg", [&] { e += foreign; }},
      {"TavExpr& TavNumExpr::operator += const TavIntVar arg", [&] { e += foreignInt; }},
      {"TavExpr& TavExpr::operator += const TavNumLinExprTerm term", [&] { e += term; }},
      {"TavExpr& TavExpr::operator += const TavIntLinExprTerm arg", [&] { e += intTerm; }},
      {"TavExpr& TavExpr::operator -= const TavNumExprArg arg", [&] { e -= arg; }},
      {"TavExpr& TavExpr::operator -= const TavNumVar arg", [&] { e -= foreign; }},
      {"TavExpr& TavExpr::operator -= const TavIntVar arg", [&] { e -= foreignInt; }},
      {"TavExpr& TavExpr::operator -= const TavNumLinExprTerm arg", [&] { e -= term; }},
      {"TavExpr& TavExpr::operator -= const TavIntLinExprTerm arg", [&] { e -= intTerm; }}};
  for (const auto& [message, call] : kCases) EXPECT_EQ(messageOf<TavWrongUsage>(call), message + in);
  const std::string integers = "TavIntExprArg operator + const TavIntExprArg const TavIntExprArg";
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { k += foreignInt; }), integers + in.substr(1));
  EXPECT_EQ(messageOf<TavWrongUsage>([&] { k -= foreignInt; }), integers + in.substr(1));
  EXPECT_EQ(count(n), 1);
  EXPECT_EQ(count(TavIntExprArg(k)), 1);
  EXPECT_EQ(e.getImpl(), holder.getImpl());  // not even copied
  EXPECT_EQ(count(e), 2);
  EXPECT_EQ(term.getCoef(), 2.0);
}

TEST_F(Handles, EndingGivesOneReferenceBackAndEmptiesTheHandle) {
  const TavInt objects = env.getImpl()->liveObjectCount(), cells = env.getImpl()->liveTermCount();
  TavExpr e = x + 2 * y;
  TavNumExpr second{TavNumExprArg(e)}, variable{TavNumExprArg(x)};
  e.end();
  EXPECT_EQ(e.getImpl(), nullptr);
  EXPECT_EQ(shape(second), "1x 2y 0");
  for (TavNumExpr* handle : {&second, &variable, &second}) handle->end();  // a variable stays
  EXPECT_EQ(env.getImpl()->liveObjectCount(), objects);
  EXPECT_EQ(env.getImpl()->liveTermCount(), cells);
}
}  // namespace
