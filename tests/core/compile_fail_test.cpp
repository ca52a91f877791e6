#include "tests/support/fixture.h"

// What must not compile, and beside it what must, with the type it has.

namespace compiled {

constexpr auto add = [](auto& a, auto b) -> decltype(a + b) { return a + b; };
constexpr auto divide = [](auto& a, auto b) -> decltype(a / b) { return a / b; };
constexpr auto modulo = [](auto& a, auto b) -> decltype(a % b) { return a % b; };
constexpr auto intDivide = [](auto& a, auto b) -> decltype(TavDiv(a, b)) { return TavDiv(a, b); };
constexpr auto addTo = [](auto& a, auto b) -> decltype(a += b) { return a += b; };
constexpr auto subtractFrom = [](auto& a, auto b) -> decltype(a -= b) { return a -= b; };
constexpr auto scale = [](auto& a, auto b) -> decltype(a *= b) { return a *= b; };
constexpr auto divideBy = [](auto& a, auto b) -> decltype(a /= b) { return a /= b; };
/// Whether the operation takes A on its left and each of these on its right.
template <auto Operation, class A, class... Bs>
constexpr bool works = (std::is_invocable_v<decltype(Operation), A&, Bs> && ...);
template <auto Operation, class A, class... Bs>
constexpr bool fails = (!std::is_invocable_v<decltype(Operation), A&, Bs> && ...);

static_assert(fails<divideBy, TavIntExpr, int, double> && works<divideBy, TavNumExpr, int>);
static_assert(fails<scale, TavIntExpr, double> && works<scale, TavIntExpr, int> && works<scale, TavExpr, double>);
static_assert(fails<addTo, TavIntExpr, double, TavNumVar, TavNumLinExprTerm>);
static_assert(works<addTo, TavIntExpr, int, TavIntVar> && works<addTo, TavExpr, TavIntVar, TavIntExpr, TavExpr>);
static_assert(fails<subtractFrom, TavIntExpr, float> && works<subtractFrom, TavIntExpr, long>);
static_assert(fails<modulo, TavIntVar, double> && fails<modulo, double, TavIntExprArg> &&
              fails<modulo, TavNumVar, int>);
static_assert(works<modulo, TavIntVar, int, TavIntExpr> && works<modulo, unsigned, TavIntExpr>);
static_assert(fails<intDivide, TavIntVar, double> && fails<intDivide, float, TavIntVar>);
static_assert(fails<intDivide, TavNumVar, TavIntVar> && works<intDivide, TavIntVar, TavIntExpr>);
static_assert(fails<add, TavNumVar, TavEnv, const char*> && fails<divide, TavEnv, TavNumVar>);

template <class From, class... Tos>
constexpr bool converts = (std::is_convertible_v<From, Tos> || ...);
static_assert(!converts<TavNumExpr, TavIntExprArg> && !converts<TavExpr, TavIntExpr>);
static_assert(!converts<TavNumVar, TavIntExprArg, TavIntVar> && !converts<TavEnv, TavExpr, TavNumVar>);
static_assert(!converts<TavNumExprI*, TavNumExprArg> && !converts<double, TavNumExprArg>);
static_assert(converts<TavIntVar, TavNumVar> && converts<TavBoolVar, TavIntExprArg>);
static_assert(converts<TavConstraint, TavIntExprArg> && converts<TavNumVar, TavExpr>);
static_assert(!std::is_constructible_v<TavIntExpr, TavNumExprArg>);
static_assert(!std::is_constructible_v<TavIntVar, TavNumExprArg>);
static_assert(!std::is_constructible_v<TavIntVar, TavEnv, double, double>);

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
static_assert(is<TavNumExprArg, decltype(i + x), decltype(k + 1.5), decltype(e + i), decltype(k + n), decltype(e * k)>);
static_assert(is<TavNumExprArg, decltype(k / 2), decltype(2 * i + 3 * x), decltype(-e), decltype(2 * i - 1.0)>);
static_assert(is<TavNumLinExprTerm, decltype(-x)>);

}  // namespace compiled
