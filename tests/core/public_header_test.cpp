// Types of the public header and its conveniences; more of them are rows of docs/edges.md.

#include <algorithm>
#include <numeric>
#include <ranges>
#include <unordered_map>

#include "tests/support/fixture.h"

// The types of operations that compile; docs/refused.md lists those that do not.
namespace compiled {

template <class From, class... Tos>
constexpr bool converts = (std::is_convertible_v<From, Tos> && ...);
static_assert(converts<TavIntVar, TavNumVar> && converts<TavBoolVar, TavIntExprArg>);
static_assert(converts<TavConstraint, TavIntExprArg> && converts<TavNumVar, TavExpr>);
static_assert(!converts<TavNumExprI*, TavNumExprArg>);

/// Whether all expressions have the type Result.
template <class Result, class... Expressions>
constexpr bool is = (std::is_same_v<Result, Expressions> && ...);
extern TavNumVar x;
extern TavIntVar i;
extern TavBoolVar b;
extern TavIntExpr k;
extern TavExpr e;
extern TavNumExpr n;
static_assert(is<TavNumLinExprTerm, decltype(2 * x), decltype(x * 2L), decltype(2.0 * i), decltype(b * 2.0f)>);
static_assert(is<TavIntLinExprTerm, decltype(2 * i), decltype(i * 2u), decltype(3 * b), decltype(-i)>);
static_assert(is<TavIntExprArg, decltype(b + b), decltype(i + i), decltype(k + i), decltype(k + 1), decltype(k * i)>);
static_assert(is<TavIntExprArg, decltype(k % i), decltype(2 * i + 3 * i), decltype(-k), decltype(2 * i - 1)>);
static_assert(is<TavIntExprArg, decltype(2u % k), decltype(TavDiv(i, k))>);
static_assert(is<TavNumExprArg, decltype(i + x), decltype(k + 1.5), decltype(e + i), decltype(k + n), decltype(e * k)>);
static_assert(is<TavNumExprArg, decltype(k / 2), decltype(2 * i + 3 * x), decltype(-e), decltype(2 * i - 1.0)>);
static_assert(is<TavNumLinExprTerm, decltype(-x)>);
static_assert(is<TavIntExpr&, decltype(k -= 2L), decltype(k += i)> && is<TavExpr&, decltype(e += k), decltype(e += e)>);

}  // namespace compiled

namespace {

static_assert(std::random_access_iterator<TavArrayIterator<double>>);
static_assert(std::random_access_iterator<TavArrayIterator<TavNumVar>>);
static_assert(std::ranges::forward_range<TavExpr::Terms> && std::ranges::random_access_range<const TavIntArray&>);
static_assert(std::is_same_v<decltype(*begin(TavBoolVarArray())), TavBoolVar>);
static_assert(std::is_trivially_copyable_v<TavNumVar> && sizeof(TavNumVar) == sizeof(void*));

using Conveniences = TavTest;

TEST_F(Conveniences, ValuesOfATable) {
  const TavNumVarArray xs(env, {"a", "b", "c"}, 0.0, 9.0);
  TavValues at(env, {{xs[0], 1.0}});
  at[xs[1]] = 20.0;
  const TavExpr sum = TavSum(xs);
  EXPECT_THROW(sum.eval(at), TavModelEvaluator::Unbound);
  at.set(xs, TavNumArray(env, {1.0, 20.0, 300.0}));
  EXPECT_EQ(sum.eval(at), 321.0);
  TavNumVar c = xs[2];
  const TavNumVarI* const ended = c.getImpl();
  c.setUB(5.0);  // a modification leaves the table unchanged
  c.end();
  EXPECT_THROW(at.getValue(ended), TavModelEvaluator::Unbound);
  EXPECT_EQ(sum.eval(at), 21.0);
  at.erase(xs[0]);
  EXPECT_FALSE(at.contains(xs[0]));
  refusesEmpty({[&] { at[TavNumVar()] = 1; }, [&] { at.set(TavNumVarArray(), TavNumArray()); }});
}

TEST_F(Conveniences, RangesAndBulkConstructors) {
  const std::vector<double> source(3000, 0.25);
  TavNumArray numbers(env, source);
  std::iota(begin(numbers), end(numbers), 0.0);
  std::ranges::reverse(begin(numbers), end(numbers));
  EXPECT_EQ(numbers[0], 2999.0);
  EXPECT_EQ(numbers.size(), 3000u);
  EXPECT_EQ(TavSum(TavNumArray(env, 7, 0.5)) + TavSum(TavNumArray(env, -1, 0.5)), 3.5);
  EXPECT_EQ(TavSum(TavIntArray(env, {1, 2, 3})) + TavSum(TavIntArray(env, 2, 4)), 14);
  const TavExpr sum = 2 * num("x", 1) + 3 * num("y", 1);
  double coefs = 0.0;
  for (const auto& [variable, coef] : sum.terms()) coefs += coef * variable.getLB() + coef;
  EXPECT_EQ(coefs, 5.0);
  EXPECT_EQ(sum.terms().size(), 2u);
  EXPECT_TRUE(TavExpr(env, 1.0).terms().empty());
}

TEST_F(Conveniences, HandlesAsValues) {
  const TavNumVar x = num("x", 2);
  const TavExpr sum = 2 * x + TavSin(x);
  TavClonePass pass(env.getImpl(), other.getImpl());
  const TavExpr clone = TavClone(sum, pass);
  EXPECT_EQ(TavToString(clone), TavToString(sum));
  EXPECT_EQ(clone.getImpl()->getRefCount(), 1);
  EXPECT_EQ(clone.terms().begin().operator*().variable.getImpl(), TavClone(x, pass).getImpl());
  EXPECT_FALSE(TavClone(TavNumExpr(), other));
  EXPECT_TRUE(TavToString(TavNumVar()).empty());
  std::unordered_map<TavNumVar, int, TavHandleHash, TavHandleEqual> counts;
  ++counts[x];
  ++counts[TavNumVar(x.getImpl())];
  ++counts[num("y", 1)];
  EXPECT_EQ(counts.size(), 2u);
  EXPECT_EQ(counts[x], 2);
  {
    const TavScopedEnv scoped;
    TavNumVar inside(scoped);
  }
}

}  // namespace
