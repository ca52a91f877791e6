#include "tests/support/fixture.h"

// What must not compile, and beside it what must, with the type it has.

namespace compiled {

template <class A, class B>
concept Adds = requires(A a, B b) {
  a + b;
};
template <class A, class B>
concept Divides = requires(A a, B b) {
  a / b;
};
template <class A, class B>
concept Modulo = requires(A a, B b) {
  a % b;
};
template <class A, class B>
concept IntDivides = requires(A a, B b) {
  TavDiv(a, b);
};
template <class A, class B>
concept AddsTo = requires(A& a, B b) {
  a += b;
};
template <class A, class B>
concept SubtractsFrom = requires(A& a, B b) {
  a -= b;
};
template <class A, class B>
concept Scales = requires(A& a, B b) {
  a *= b;
};
template <class A, class B>
concept DividesBy = requires(A& a, B b) {
  a /= b;
};

static_assert(!DividesBy<TavIntExpr, int> && !DividesBy<TavIntExpr, double> && DividesBy<TavNumExpr, int>);
static_assert(!Scales<TavIntExpr, double> && Scales<TavIntExpr, int> && Scales<TavExpr, double>);
static_assert(!AddsTo<TavIntExpr, double> && AddsTo<TavIntExpr, int> && AddsTo<TavIntExpr, TavIntVar>);
static_assert(!SubtractsFrom<TavIntExpr, float> && SubtractsFrom<TavIntExpr, long>);
static_assert(!AddsTo<TavIntExpr, TavNumVar> && !AddsTo<TavIntExpr, TavNumLinExprTerm>);
static_assert(AddsTo<TavExpr, TavIntVar> && AddsTo<TavExpr, TavIntExpr> && AddsTo<TavExpr, TavExpr>);
static_assert(!Modulo<TavIntVar, double> && !Modulo<double, TavIntExprArg> && !Modulo<TavNumVar, int>);
static_assert(Modulo<TavIntVar, int> && Modulo<unsigned, TavIntExpr> && Modulo<TavIntVar, TavIntExpr>);
static_assert(!IntDivides<TavIntVar, double> && !IntDivides<float, TavIntVar> && !IntDivides<TavNumVar, TavIntVar>);
static_assert(IntDivides<TavIntVar, TavIntExpr> && IntDivides<int, TavIntVar>);
static_assert(!std::is_convertible_v<TavNumExpr, TavIntExprArg> && !std::is_convertible_v<TavNumVar, TavIntExprArg>);
static_assert(!std::is_convertible_v<TavExpr, TavIntExpr> && !std::is_convertible_v<TavNumVar, TavIntVar>);
static_assert(!std::is_constructible_v<TavIntExpr, TavNumExprArg> &&
              !std::is_constructible_v<TavIntVar, TavNumExprArg>);
static_assert(!std::is_convertible_v<TavEnv, TavExpr> && !std::is_convertible_v<TavEnv, TavNumVar>);
static_assert(!std::is_convertible_v<TavNumExprI*, TavNumExprArg> && !std::is_convertible_v<double, TavNumExprArg>);
static_assert(!std::is_constructible_v<TavIntVar, TavEnv, double, double> &&
              std::is_constructible_v<TavIntVar, TavEnv, int, int>);
static_assert(!Adds<TavNumVar, TavEnv> && !Adds<TavNumVar, const char*> && !Divides<TavEnv, TavNumVar>);

template <class Result, class Expression>
constexpr bool is = std::is_same_v<Result, Expression>;
extern TavNumVar x;
extern TavIntVar i;
extern TavBoolVar b;
extern TavIntExpr k;
extern TavExpr e;
extern TavNumExpr n;
static_assert(is<decltype(2 * x), TavNumLinExprTerm> && is<decltype(x * 2L), TavNumLinExprTerm>);
static_assert(is<decltype(2 * i), TavIntLinExprTerm> && is<decltype(i * 2u), TavIntLinExprTerm>);
static_assert(is<decltype(2.0 * i), TavNumLinExprTerm> && is<decltype(b * 2.0f), TavNumLinExprTerm>);
static_assert(is<decltype(3 * b), TavIntLinExprTerm> && is<decltype(b + b), TavIntExprArg>);
static_assert(is<decltype(i + i), TavIntExprArg> && is<decltype(i + x), TavNumExprArg> &&
              is<decltype(k + i), TavIntExprArg>);
static_assert(is<decltype(k + 1), TavIntExprArg> && is<decltype(k + 1.5), TavNumExprArg>);
static_assert(is<decltype(e + i), TavNumExprArg> && is<decltype(k + n), TavNumExprArg> &&
              is<decltype(e * k), TavNumExprArg>);
static_assert(is<decltype(k * i), TavIntExprArg> && is<decltype(k / 2), TavNumExprArg> &&
              is<decltype(k % i), TavIntExprArg>);
static_assert(is<decltype(2 * i + 3 * i), TavIntExprArg> && is<decltype(2 * i + 3 * x), TavNumExprArg>);
static_assert(is<decltype(-i), TavIntLinExprTerm> && is<decltype(-x), TavNumLinExprTerm> &&
              is<decltype(-k), TavIntExprArg>);
static_assert(is<decltype(-e), TavNumExprArg> && is<decltype(2 * i - 1), TavIntExprArg> &&
              is<decltype(2 * i - 1.0), TavNumExprArg>);
static_assert(std::is_convertible_v<TavIntVar, TavNumVar> && std::is_convertible_v<TavBoolVar, TavIntExprArg>);
static_assert(std::is_convertible_v<TavConstraint, TavIntExprArg> && std::is_convertible_v<TavNumVar, TavExpr>);

}  // namespace compiled
