#include "expression/core/check.h"
#include "expression/core/message.h"
#include "expression/core/sum_builder.h"

// Sums and differences. Numeric and integer operands follow the same rules: the other operand is added to a linear one,
// to the left one if both are linear; two operands that are not linear make a new linear node.

namespace {

/// What numeric and integer sums differ in: the classes of the linear node and of its operands, and the constant.
struct Numeric {
  using Linear = TavNumLinTermI;
  using Expr = TavNumExprI;
  using Arg = TavNumExprArg;
  using Constant = double;
  static constexpr TavKind kLinear = TavKind::NumLinear;
  static bool isLinear(const Expr* e) { return e->kind() == TavKind::NumLinear || e->kind() == TavKind::IntLinear; }
  static double add(double a, double b) { return a + b; }
};
struct Integer {
  using Linear = TavIntLinTermI;
  using Expr = TavIntExprI;
  using Arg = TavIntExprArg;
  using Constant = TavInt;
  static constexpr TavKind kLinear = TavKind::IntLinear;
  static bool isLinear(const Expr* e) { return e->kind() == TavKind::IntLinear; }
  static TavInt add(TavInt a, TavInt b) { return TavWrapAdd(a, b); }
};

/// Appends a summand that is not linear: a variable as a term with this coefficient, any other node as a part. Throws
/// std::bad_alloc; the sum is then unchanged.
template <class Side>
void appendSummand(TavSumBuilder<typename Side::Linear>& sum, typename Side::Expr* e, double coef) {
  if (e->kind() == TavKind::Variable) {
    sum->append(sum->getEnv()->newTerm(static_cast<TavNumVarI*>(static_cast<TavNumExprI*>(e)), coef));
  } else {
    sum->append(e);
  }
}

/// The new sum of two summands that are not linear.
template <class Side>
typename Side::Arg sumOfNonlinear(typename Side::Expr* a, typename Side::Expr* b, double coefB) {
  const TavKeepAlive keep(a);  // the unfinished sum, which has it as a part, may be destroyed
  auto sum = TavStartSum<typename Side::Linear>(a->getEnv(), typename Side::Constant{0});
  appendSummand<Side>(sum, a, 1.0);
  appendSummand<Side>(sum, b, coefB);
  return typename Side::Arg(sum.release());
}

/// Negates `right`. Its old parts are released; `left` may be one of them, with no other reference.
template <class Linear>
void negateAndKeep(TavNumExprI* left, TavSumBuilder<Linear>& right) {
  const TavKeepAlive keep(left);
  right->multiply(-1);
}

/// a + b, or a - b for a negated b that is a variable or linear.
template <class Side>
typename Side::Arg sumOf(typename Side::Expr* a, typename Side::Expr* b, bool negated = false) {
  using Linear = typename Side::Linear;
  TavEnvI* env = a->getEnv();
  const double coefB = negated ? -1.0 : 1.0;
  if (!Side::isLinear(b)) {
    if (!Side::isLinear(a)) return sumOfNonlinear<Side>(a, b, coefB);
    auto sum = TavStartSum<Linear>(a);
    appendSummand<Side>(sum, b, coefB);
    return typename Side::Arg(sum.release());
  }
  if (Side::isLinear(a)) {
    auto left = TavStartSum<Linear>(a);
    auto right = TavStartSum<Linear>(b, a == b);  // a node cannot be merged with itself
    if (negated) {
      negateAndKeep(a, right);
      // The last reference to `a` may have been a part of b.
      if (a->kind() == Side::kLinear && a->getRefCount() <= 0) left = TavStartSum<Linear>(a);
    }
    left->append(right.release());
    return typename Side::Arg(left.release());
  }
  auto sum = TavStartSum<Linear>(b);
  if (a->kind() == TavKind::Variable) {
    auto cell = TavMakeTerm(static_cast<TavNumVarI*>(static_cast<TavNumExprI*>(a)), 1.0);
    if (negated) negateAndKeep(a, sum);
    sum->prepend(cell.release());
  } else {
    auto part = TavMakePart(env, a);
    if (negated) negateAndKeep(a, sum);
    sum->append(part.release());
  }
  return typename Side::Arg(sum.release());
}

template <class Side>
typename Side::Arg difference(typename Side::Expr* a, typename Side::Expr* b) {
  if (b->kind() != TavKind::Other) return sumOf<Side>(a, b, true);
  const TavKeepAlive keep(b);
  TavGuard<typename Side::Expr> negated((-typename Side::Arg(b)).getImpl());
  const auto result = sumOf<Side>(a, negated.get());
  negated.release();
  return result;
}

TavNumLinExprTermI* negate(TavNumLinExprTermI* cell, bool negated = true) noexcept {
  if (negated) cell->coef = -cell->coef;
  return cell;
}

/// a + the cell's term, or a - it, where `a` is not changed in place. Here and below, cells are negated and taken when
/// nothing can fail any more.
template <class Side>
[[gnu::noinline]] typename Side::Arg newSumWithTerm(typename Side::Expr* a, TavNumLinExprTermI* cell, bool negated) {
  using Linear = typename Side::Linear;
  const bool linear = Side::isLinear(a);
  auto sum = linear ? TavStartSum<Linear>(a) : TavStartSum<Linear>(a->getEnv(), typename Side::Constant{0});
  if (!linear) appendSummand<Side>(sum, a, 1.0);
  sum->append(TavTakeCell(sum->getEnv(), negate(cell, negated)));
  return typename Side::Arg(sum.release());
}

/// a + the cell's term, or a - it. The hot path of a chain of sums: an unshared sum is extended in place.
template <class Side>
typename Side::Arg sumWithTerm(typename Side::Expr* a, TavNumLinExprTermI* cell, bool negated = false) {
  if (a->kind() != Side::kLinear || a->getRefCount() > 0) return newSumWithTerm<Side>(a, cell, negated);
  auto* linear = static_cast<typename Side::Linear*>(a);
  linear->append(TavTakeCell(linear->getEnv(), negate(cell, negated)));
  return typename Side::Arg(linear);
}

/// The cell's term + b, or the cell's term - b for a negated b that is a variable or linear.
template <class Side>
typename Side::Arg sumWithTerm(TavNumLinExprTermI* cell, typename Side::Expr* b, bool negated = false) {
  using Linear = typename Side::Linear;
  if (Side::isLinear(b)) {
    auto sum = TavStartSum<Linear>(b);
    if (negated) sum->multiply(-1);
    sum->prepend(TavTakeCell(sum->getEnv(), cell));
    return typename Side::Arg(sum.release());
  }
  auto sum = TavStartSum<Linear>(b->getEnv(), typename Side::Constant{0});
  appendSummand<Side>(sum, b, negated ? -1.0 : 1.0);
  sum->prepend(TavTakeCell(sum->getEnv(), cell));
  return typename Side::Arg(sum.release());
}

template <class Side>
typename Side::Arg termMinus(TavNumLinExprTermI* cell, typename Side::Expr* b) {
  if (b->kind() != TavKind::Other) return sumWithTerm<Side>(cell, b, true);
  const TavKeepAlive keep(b);
  TavGuard<typename Side::Expr> negated((-typename Side::Arg(b)).getImpl());
  const auto result = sumWithTerm<Side>(cell, negated.get());
  negated.release();
  return result;
}

template <class Side>
typename Side::Arg sumOfTerms(TavNumLinExprTermI* t, TavNumLinExprTermI* u, bool negated = false) {
  auto sum = TavStartSum<typename Side::Linear>(t->var->getEnv(), typename Side::Constant{0});
  sum->append(TavTakeCell(sum->getEnv(), t));
  sum->append(TavTakeCell(sum->getEnv(), negate(u, negated)));
  return typename Side::Arg(sum.release());
}

template <class Side>
typename Side::Arg sumWithConstant(typename Side::Expr* e, typename Side::Constant constant) {
  using Linear = typename Side::Linear;
  TavEnvI* env = TavRequireEnv(e);
  if (Side::isLinear(e)) {
    auto sum = TavStartSum<Linear>(e);
    sum->setConstant(Side::add(sum->getConstant(), constant));
    return typename Side::Arg(sum.release());
  }
  auto sum = TavStartSum<Linear>(env, constant);
  appendSummand<Side>(sum, e, 1.0);
  return typename Side::Arg(sum.release());
}

template <class Side>
typename Side::Arg sumWithConstant(TavNumLinExprTermI* cell, typename Side::Constant constant, bool negated = false) {
  auto sum = TavStartSum<typename Side::Linear>(TavRequireEnv(TavVarOf(cell)), constant);
  sum->append(TavTakeCell(sum->getEnv(), negate(cell, negated)));
  return typename Side::Arg(sum.release());
}

/// constant - e.
template <class Side>
typename Side::Arg constantMinus(typename Side::Constant constant, typename Side::Expr* e) {
  TavEnvI* env = TavRequireEnv(e);
  if (e->kind() == TavKind::Variable) {
    auto sum = TavStartSum<typename Side::Linear>(env, Side::add(typename Side::Constant{0}, constant));
    appendSummand<Side>(sum, e, -1.0);
    return typename Side::Arg(sum.release());
  }
  const TavKeepAlive keep(e->kind() == TavKind::Other ? e : nullptr);
  const typename Side::Arg negated = -typename Side::Arg(e);
  if (Side::isLinear(negated.getImpl())) return sumWithConstant<Side>(negated.getImpl(), constant);
  TavGuard<typename Side::Expr> guard(negated.getImpl());
  const auto result = sumWithConstant<Side>(guard.get(), constant);
  guard.release();
  return result;
}

/// An operand of a sum: how messages name its type, which side it belongs to, and its node or cell.
template <class T>
struct Operand;
template <>
struct Operand<TavNumExprArg> {
  static constexpr const char* kName = "TavNumExprArg";
  static constexpr bool kInteger = false;
};
template <>
struct Operand<TavIntExprArg> {
  static constexpr const char* kName = "TavIntExprArg";
  static constexpr bool kInteger = true;
};
template <>
struct Operand<TavNumLinExprTerm> {
  static constexpr const char* kName = "TavNumLinExprTerm";
  static constexpr bool kInteger = false;
};
template <>
struct Operand<TavIntLinExprTerm> {
  static constexpr const char* kName = "TavIntLinExprTerm";
  static constexpr bool kInteger = true;
};

/// The object whose environment is the operand's.
const TavExtractableI* homeOf(TavNumExprArg e) { return e.getImpl(); }
const TavExtractableI* homeOf(TavNumLinExprTerm t) { return TavVarOf(t.getImpl()); }
const TavExtractableI* homeOf(TavIntLinExprTerm t) { return TavVarOf(t.getImpl()); }

/// A sum of integer operands is integer.
template <class A, class B>
using SideOf = std::conditional_t<Operand<A>::kInteger && Operand<B>::kInteger, Integer, Numeric>;

/// "TavNumExprArg operator + const A const B: mixing mismatch Environments"; a difference reports its addition.
template <class A, class B>
constexpr TavMessage kMixed = TavJoin(Operand<typename SideOf<A, B>::Arg>::kName, " operator + const ",
                                      Operand<A>::kName, " const ", Operand<B>::kName,
                                      ": mixing mismatch Environments");

template <class T>
constexpr bool kIsTerm = std::is_same_v<T, TavNumLinExprTerm> || std::is_same_v<T, TavIntLinExprTerm>;

template <class A, class B>
auto plus(A a, B b) {
  using Side = SideOf<A, B>;
  TavRequireSameEnv(homeOf(a), homeOf(b), kMixed<A, B>.text);
  if constexpr (kIsTerm<A> && kIsTerm<B>) {
    return sumOfTerms<Side>(a.getImpl(), b.getImpl());
  } else if constexpr (kIsTerm<A> || kIsTerm<B>) {
    return sumWithTerm<Side>(a.getImpl(), b.getImpl());
  } else {
    return sumOf<Side>(a.getImpl(), b.getImpl());
  }
}

/// a + (-b). The environments are compared before anything is negated.
template <class A, class B>
auto minus(A a, B b) {
  using Side = SideOf<A, B>;
  TavRequireSameEnv(homeOf(a), homeOf(b), kMixed<A, B>.text);
  if constexpr (kIsTerm<A> && kIsTerm<B>) {
    return sumOfTerms<Side>(a.getImpl(), b.getImpl(), true);
  } else if constexpr (kIsTerm<B>) {
    return sumWithTerm<Side>(a.getImpl(), b.getImpl(), true);
  } else if constexpr (kIsTerm<A>) {
    return termMinus<Side>(a.getImpl(), b.getImpl());
  } else {
    return difference<Side>(a.getImpl(), b.getImpl());
  }
}

}  // namespace

TavNumExprArg operator+(TavNumExprArg a, TavNumExprArg b) { return plus(a, b); }
TavNumExprArg operator+(TavNumExprArg a, TavNumLinExprTerm t) { return plus(a, t); }
TavNumExprArg operator+(TavNumExprArg a, TavIntLinExprTerm t) { return plus(a, t); }
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumExprArg b) { return plus(t, b); }
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumExprArg b) { return plus(t, b); }
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumLinExprTerm u) { return plus(t, u); }
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumLinExprTerm u) { return plus(t, u); }
TavNumExprArg operator+(TavNumLinExprTerm t, TavIntLinExprTerm u) { return plus(t, u); }
TavIntExprArg operator+(TavIntExprArg a, TavIntExprArg b) { return plus(a, b); }
TavIntExprArg operator+(TavIntExprArg a, TavIntLinExprTerm t) { return plus(a, t); }
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntExprArg b) { return plus(t, b); }
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntLinExprTerm u) { return plus(t, u); }

TavNumExprArg operator-(TavNumExprArg a, TavNumExprArg b) { return minus(a, b); }
TavNumExprArg operator-(TavNumExprArg a, TavNumLinExprTerm t) { return minus(a, t); }
TavNumExprArg operator-(TavNumExprArg a, TavIntLinExprTerm t) { return minus(a, t); }
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumExprArg b) { return minus(t, b); }
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumExprArg b) { return minus(t, b); }
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumLinExprTerm u) { return minus(t, u); }
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumLinExprTerm u) { return minus(t, u); }
TavNumExprArg operator-(TavNumLinExprTerm t, TavIntLinExprTerm u) { return minus(t, u); }
TavIntExprArg operator-(TavIntExprArg a, TavIntExprArg b) { return minus(a, b); }
TavIntExprArg operator-(TavIntExprArg a, TavIntLinExprTerm t) { return minus(a, t); }
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntExprArg b) { return minus(t, b); }
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntLinExprTerm u) { return minus(t, u); }

TavNumExprArg operator-(TavNumExprArg e) { return e * -1.0; }
TavIntExprArg operator-(TavIntExprArg e) { return e * -1; }
TavNumLinExprTerm operator-(TavNumVar x) { return x * -1.0; }
TavIntLinExprTerm operator-(TavIntVar x) { return x * -1; }
TavNumLinExprTerm operator-(TavNumLinExprTerm t) {
  TavRequireEnv(TavVarOf(t.getImpl()));
  return TavNumLinExprTerm(negate(t.getImpl()));  // by contract: in place, so that t itself is negated too
}
TavIntLinExprTerm operator-(TavIntLinExprTerm t) {
  TavRequireEnv(TavVarOf(t.getImpl()));
  return TavIntLinExprTerm(negate(t.getImpl()));
}

TavNumExprArg operator+(TavNumExprArg e, TavNumArg constant) {
  return sumWithConstant<Numeric>(e.getImpl(), constant.value);
}
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumArg constant) {
  return sumWithConstant<Numeric>(t.getImpl(), constant.value);
}
TavNumExprArg operator+(TavIntLinExprTerm t, TavFloatArg constant) {
  return sumWithConstant<Numeric>(t.getImpl(), constant.value);
}
TavIntExprArg operator+(TavIntExprArg e, TavIntArg constant) {
  return sumWithConstant<Integer>(e.getImpl(), constant.value);
}
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntArg constant) {
  return sumWithConstant<Integer>(t.getImpl(), constant.value);
}

TavNumExprArg operator-(TavNumArg constant, TavNumExprArg e) {
  return constantMinus<Numeric>(constant.value, e.getImpl());
}
TavNumExprArg operator-(TavNumArg constant, TavNumLinExprTerm t) {
  return sumWithConstant<Numeric>(t.getImpl(), constant.value, true);
}
TavNumExprArg operator-(TavFloatArg constant, TavIntLinExprTerm t) {
  return sumWithConstant<Numeric>(t.getImpl(), constant.value, true);
}
TavIntExprArg operator-(TavIntArg constant, TavIntExprArg e) {
  return constantMinus<Integer>(constant.value, e.getImpl());
}
TavIntExprArg operator-(TavIntArg constant, TavIntLinExprTerm t) {
  return sumWithConstant<Integer>(t.getImpl(), constant.value, true);
}
