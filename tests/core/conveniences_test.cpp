// What the public header adds for comfort, held against the plain way to the same thing.

#include <algorithm>
#include <atomic>
#include <numeric>
#include <ranges>
#include <unordered_map>

#include "tests/support/fixture.h"

namespace {

static_assert(std::random_access_iterator<TavArrayIterator<double>>);
static_assert(std::random_access_iterator<TavArrayIterator<TavNumVar>>);
static_assert(std::ranges::forward_range<TavExpr::Terms> && std::ranges::random_access_range<const TavIntArray&>);
static_assert(std::is_same_v<decltype(*begin(TavBoolVarArray())), TavBoolVar>);
static_assert(std::is_trivially_copyable_v<TavNumVar> && sizeof(TavNumVar) == sizeof(void*));

using Conveniences = TavTest;

TEST_F(Conveniences, NumbersConvertToOperands) {
  enum Size { Two = 2 };
  std::vector<bool> flags = {true};
  std::atomic<int> three = 3;
  const TavNumVar x = num("x", 1);
  const TavIntVar i = integer("i", 1);
  const std::pair<TavNumExprArg, const char*> kCases[] = {
      {Two * x, "2x 0"},        {x + flags[0], "1x 1"},       {i * three, "#3i 0"},
      {i - flags[0], "#1i -1"}, {three.load() - i, "#-1i 3"}, {std::integral_constant<int, 4>() + i, "#1i 4"},
      {i + 0.5f, "1i 0.5"},
  };
  for (const auto& [expression, expected] : kCases) EXPECT_EQ(shape(expression), expected);
  EXPECT_EQ(eval(TavMin(intLeaf(5), Two)), 2.0);
  EXPECT_EQ(eval(TavPower(TavNumExprArg(leaf(2.0)), three)), 8.0);
}

TEST_F(Conveniences, ValuesOfATable) {
  const TavNumVarArray xs(env, {"a", "b", "c"}, 0.0, 9.0);
  TavValues at(env, {{xs[0], 1.0}});
  at[xs[1]] = 20.0;
  const TavExpr sum = TavSum(xs);
  EXPECT_THROW(sum.eval(at), TavModelEvaluator::Unbound);
  at.set(xs, TavNumArray(env, {1.0, 20.0, 300.0}));
  EXPECT_EQ(sum.eval(at), 321.0);
  TavNumVar c = xs[2];
  const TavNumVarI* const gone = c.getImpl();
  c.setUB(5.0);  // a modification does not trouble the table
  c.end();
  EXPECT_THROW(at.getValue(gone), TavModelEvaluator::Unbound);
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
  const std::string stem = "price";
  const std::pair<TavExtractableArray, const char*> kArrays[] = {
      {TavNumVarArray(env, 2, 0, 1, TavNumVar::Int, stem), "price_0 price_1 "},
      {TavNumVarArray(env, 1, 0, 1, std::string_view("quantity").substr(0, 5)), "quant_0 "},
      {TavIntVarArray(env, 2, 0, 1, "i"), "i_0 i_1 "},
      {TavIntVarArray(env, {"i", "j"}, 0, 1), "i j "},
      {TavBoolVarArray(env, 2, "b"), "b_0 b_1 "},
      {TavBoolVarArray(env, {TavBoolVar(env, "p"), TavBoolVar(env, std::string("q\0r", 3))}), "p q "},
      {TavSemiContVarArray(env, 1, 0, 1, TavNumVar::Float, "s"), "s_0 "},
      {TavNumVarArray(env, {num("u", 1), integer("v", 1)}), "u v "},
  };
  for (const auto& [array, expected] : kArrays) {
    std::string names;
    for (const TavExtractable element : array) names += std::string(element.getName()) + " ";
    EXPECT_EQ(names, expected);
  }
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

TEST_F(Conveniences, SemiContinuousArraysConstraintsAndElements) {
  const TavSemiContVarArray semis(env, 2, 1.0, 5.0);
  algorithm[semis[0]] = 2.0;
  algorithm[semis[1]] = 3.0;
  EXPECT_EQ(eval(TavSum(semis)), 5.0);
  EXPECT_EQ(eval(TavScalProd(TavNumArray(env, {10.0, 100.0}), semis)), 320.0);
  EXPECT_EQ(semis.toNumVarArray()[1].getImpl(), static_cast<TavNumVar>(semis[1]).getImpl());
  const TavConstraint never(new (env.getImpl()) TavConstConstraintI(env.getImpl(), nullptr, 0));
  TavNumExpr truth = never;
  TavExpr sum = never;
  sum += never;
  EXPECT_EQ(never.eval(&algorithm) + eval(truth) + eval(sum), 0.0);
  refusesEmpty({[&] { TavConstraint().eval(&algorithm); }});
  const TavNumExprArray exprs(env, {leaf(1.5), 2 * semis[1]});
  EXPECT_EQ(eval(TavElement(exprs, intLeaf(1))), 6.0);
}

}  // namespace
