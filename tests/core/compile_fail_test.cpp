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
template <auto Operation, class A, class B>
constexpr bool works = std::is_invocable_v<decltype(Operation), A&, B>;

static_assert(!works<divideBy, TavIntExpr, int> && !works<divideBy, TavIntExpr, double> &&
              works<divideBy, TavNumExpr, int>);
static_assert(!works<scale, TavIntExpr, double> && works<scale, TavIntExpr, int> && works<scale, TavExpr, double>);
static_assert(!works<addTo, TavIntExpr, double> && works<addTo, TavIntExpr, int> &&
              works<addTo, TavIntExpr, TavIntVar>);
static_assert(!works<subtractFrom, TavIntExpr, float> && works<subtractFrom, TavIntExpr, long>);
static_assert(!works<addTo, TavIntExpr, TavNumVar> && !works<addTo, TavIntExpr, TavNumLinExprTerm>);
static_assert(works<addTo, TavExpr, TavIntVar> && works<addTo, TavExpr, TavIntExpr> && works<addTo, TavExpr, TavExpr>);
static_assert(!works<modulo, TavIntVar, double> && !works<modulo, double, TavIntExprArg> &&
              !works<modulo, TavNumVar, int>);
static_assert(works<modulo, TavIntVar, int> && works<modulo, unsigned, TavIntExpr> &&
              works<modulo, TavIntVar, TavIntExpr>);
static_assert(!works<intDivide, TavIntVar, double> && !works<intDivide, float, TavIntVar> &&
              !works<intDivide, TavNumVar, TavIntVar>);
static_assert(works<intDivide, TavIntVar, TavIntExpr> && works<intDivide, int, TavIntVar>);
static_assert(!std::is_convertible_v<TavNumExpr, TavIntExprArg> && !std::is_convertible_v<TavNumVar, TavIntExprArg>);
static_assert(!std::is_convertible_v<TavExpr, TavIntExpr> && !std::is_convertible_v<TavNumVar, TavIntVar>);
static_assert(!std::is_constructible_v<TavIntExpr, TavNumExprArg> &&
              !std::is_constructible_v<TavIntVar, TavNumExprArg>);
static_assert(!std::is_convertible_v<TavEnv, TavExpr> && !std::is_convertible_v<TavEnv, TavNumVar>);
static_assert(!std::is_convertible_v<TavNumExprI*, TavNumExprArg> && !std::is_convertible_v<double, TavNumExprArg>);
static_assert(!std::is_constructible_v<TavIntVar, TavEnv, double, double> &&
              std::is_constructible_v<TavIntVar, TavEnv, int, int>);
static_assert(!works<add, TavNumVar, TavEnv> && !works<add, TavNumVar, const char*> &&
              !works<divide, TavEnv, TavNumVar>);

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
