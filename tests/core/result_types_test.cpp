// Which type an operation has, for operands that compile; docs/refused.md lists those that do not.

#include "tests/support/fixture.h"

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
