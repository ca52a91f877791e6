#include "expression/core/check.h"
#include "expression/core/draft.h"
#include "expression/core/message.h"

// Sums and differences. The numeric and the integer side follow the same table: a linear operand takes the other one
// in, the left one if both are linear; two operands that are not linear make a new linear node.

namespace {

/// What the two sides differ in: class of the linear node, of the operands, of the constant.
struct Numeric {
  using Linear = TavNumLinTermI;
  using Expr = TavNumExprI;
  using Arg = TavNumExprArg;
  using Constant = double;
  static constexpr TavKind kLinear = TavKind::NumLinear;
  static bool isLinear(TavKind kind) { return kind == TavKind::NumLinear || kind == TavKind::IntLinear; }
  static double add(double a, double b) { return a + b; }
};
struct Integer {
  using Linear = TavIntLinTermI;
  using Expr = TavIntExprI;
  using Arg = TavIntExprArg;
  using Constant = TavInt;
  static constexpr TavKind kLinear = TavKind::IntLinear;
  static bool isLinear(TavKind kind) { return kind == TavKind::IntLinear; }
  static TavInt add(TavInt a, TavInt b) { return TavWrapAdd(a, b); }
};

/// Appends a summand that is not linear: a variable as a term with this coefficient, any other node as a part. The last
/// step of an operation: it fails before it changes anything.
template <class Side>
void appendSummand(TavDraft<typename Side::Linear>& draft, typename Side::Expr* e, TavKind kind, double coef) {
  if (kind == TavKind::Variable) {
    draft->append(draft->getEnv()->newTerm(static_cast<TavNumVarI*>(static_cast<TavNumExprI*>(e)), coef));
  } else {
    draft->append(e);
  }
}

/// The new node of two summands that are not linear. The first is held until the second is in: the draft would end it
/// otherwise when the second cannot be had.
template <class Side>
typename Side::Arg sumOfTwo(typename Side::Expr* a, TavKind kindA, typename Side::Expr* b, TavKind kindB,
                            double coefB) {
  const TavHold hold(a);
  auto draft = TavNewDraft<typename Side::Linear>(a->getEnv(), typename Side::Constant{0});
  appendSummand<Side>(draft, a, kindA, 1.0);
  appendSummand<Side>(draft, b, kindB, coefB);
  return typename Side::Arg(draft.release());
}

/// Negates the right operand's draft. Its old parts lose a reference; `left` may be one of them, and held by nobody
/// else while a compound assignment has lowered its count: it stays, and is free to be changed from then on.
template <class Linear>
void negateBeside(TavNumExprI* left, TavDraft<Linear>& right) {
  const TavHold hold(left);
  right->multiply(-1);
}

/// a + b, or a - b for a negated b that is a variable or linear.
template <class Side>
typename Side::Arg sum(typename Side::Expr* a, typename Side::Expr* b, TavKind kindB, bool negated = false) {
  using Linear = typename Side::Linear;
  const TavKind kindA = TavKindOf(a);
  TavEnvI* env = a->getEnv();
  const double coefB = negated ? -1.0 : 1.0;
  if (!Side::isLinear(kindB)) {
    if (!Side::isLinear(kindA)) return sumOfTwo<Side>(a, kindA, b, kindB, coefB);
    auto draft = TavDraftOf<Linear>(a, kindA);
    appendSummand<Side>(draft, b, kindB, coefB);
    return typename Side::Arg(draft.release());
  }
  if (Side::isLinear(kindA)) {
    auto left = TavDraftOf<Linear>(a, kindA);
    auto right = TavDraftOf<Linear>(b, kindB, a == b);  // one uncounted node twice: it cannot be merged with itself
    if (negated) {
      negateBeside(a, right);
      if (kindA == Side::kLinear && a->getRefCount() <= 0)
        left = TavDraft<Linear>(static_cast<Linear*>(static_cast<TavNumExprI*>(a)));
    }
    left->append(right.release());
    return typename Side::Arg(left.release());
  }
  auto draft = TavDraftOf<Linear>(b, kindB);
  if (kindA == TavKind::Variable) {
    TavLooseTerm cell(env, static_cast<TavNumVarI*>(static_cast<TavNumExprI*>(a)), 1.0);
    if (negated) negateBeside(a, draft);
    draft->prepend(cell.take());
  } else {
    TavLoosePart part(env, a);
    if (negated) negateBeside(a, draft);
    draft->append(part.take());
  }
  return typename Side::Arg(draft.release());
}

template <class Side>
typename Side::Arg difference(typename Side::Expr* a, typename Side::Expr* b) {
  if (const TavKind kind = TavKindOf(b); kind != TavKind::Other) return sum<Side>(a, b, kind, true);
  const TavHold hold(b);
  TavNodeGuard<typename Side::Expr> negated((-typename Side::Arg(b)).getImpl());
  const auto result = sum<Side>(a, negated.get(), TavKindOf(negated.get()));
  negated.release();
  return result;
}

TavNumLinExprTermI* negate(TavNumLinExprTermI* cell, bool negated = true) noexcept {
  if (negated) cell->coef = -cell->coef;
  return cell;
}

/// a + the cell's term, or a - it, in a new node or one of the other side. As in all that follows, cells are negated
/// and taken when nothing can fail any more.
template <class Side>
[[gnu::noinline]] typename Side::Arg newSumWithTerm(typename Side::Expr* a, TavKind kind, TavNumLinExprTermI* cell,
                                                    bool negated) {
  using Linear = typename Side::Linear;
  const bool linear = Side::isLinear(kind);
  auto draft = linear ? TavDraftOf<Linear>(a, kind) : TavNewDraft<Linear>(a->getEnv(), typename Side::Constant{0});
  if (!linear) appendSummand<Side>(draft, a, kind, 1.0);
  draft->append(TavTakeCell(draft->getEnv(), negate(cell, negated)));
  return typename Side::Arg(draft.release());
}

/// a + the cell's term, or a - it. A chain of them comes by here with every term: its node is extended as it is.
template <class Side>
typename Side::Arg sumWithTerm(typename Side::Expr* a, TavNumLinExprTermI* cell, bool negated = false) {
  const TavKind kind = TavKindOf(a);
  if (kind != Side::kLinear || a->getRefCount() > 0) return newSumWithTerm<Side>(a, kind, cell, negated);
  auto* linear = static_cast<typename Side::Linear*>(a);
  linear->append(TavTakeCell(linear->getEnv(), negate(cell, negated)));
  return typename Side::Arg(linear);
}

/// The cell's term + b.
template <class Side>
typename Side::Arg sumWithTerm(TavNumLinExprTermI* cell, typename Side::Expr* b, bool negated = false) {
  using Linear = typename Side::Linear;
  const TavKind kind = TavKindOf(b);
  if (Side::isLinear(kind)) {
    auto draft = TavDraftOf<Linear>(b, kind);
    if (negated) draft->multiply(-1);
    draft->prepend(TavTakeCell(draft->getEnv(), cell));
    return typename Side::Arg(draft.release());
  }
  auto draft = TavNewDraft<Linear>(b->getEnv(), typename Side::Constant{0});
  appendSummand<Side>(draft, b, kind, negated ? -1.0 : 1.0);
  draft->prepend(TavTakeCell(draft->getEnv(), cell));
  return typename Side::Arg(draft.release());
}

template <class Side>
typename Side::Arg termMinus(TavNumLinExprTermI* cell, typename Side::Expr* b) {
  if (TavKindOf(b) != TavKind::Other) return sumWithTerm<Side>(cell, b, true);
  const TavHold hold(b);
  TavNodeGuard<typename Side::Expr> negated((-typename Side::Arg(b)).getImpl());
  const auto result = sumWithTerm<Side>(cell, negated.get());
  negated.release();
  return result;
}

template <class Side>
typename Side::Arg sumOfTerms(TavNumLinExprTermI* t, TavNumLinExprTermI* u, bool negated = false) {
  auto draft = TavNewDraft<typename Side::Linear>(t->var->getEnv(), typename Side::Constant{0});
  draft->append(TavTakeCell(draft->getEnv(), t));
  draft->append(TavTakeCell(draft->getEnv(), negate(u, negated)));
  return typename Side::Arg(draft.release());
}

template <class Side>
typename Side::Arg sumWithConstant(typename Side::Expr* e, typename Side::Constant constant) {
  using Linear = typename Side::Linear;
  TavEnvI* env = TavRequireEnv(e);
  const TavKind kind = TavKindOf(e);
  if (Side::isLinear(kind)) {
    auto draft = TavDraftOf<Linear>(e, kind);
    draft->setConstant(Side::add(draft->getConstant(), constant));
    return typename Side::Arg(draft.release());
  }
  auto draft = TavNewDraft<Linear>(env, constant);
  appendSummand<Side>(draft, e, kind, 1.0);
  return typename Side::Arg(draft.release());
}

template <class Side>
typename Side::Arg sumWithConstant(TavNumLinExprTermI* cell, typename Side::Constant constant, bool negated = false) {
  auto draft = TavNewDraft<typename Side::Linear>(TavRequireEnv(TavVarOf(cell)), constant);
  draft->append(TavTakeCell(draft->getEnv(), negate(cell, negated)));
  return typename Side::Arg(draft.release());
}

/// constant - e.
template <class Side>
typename Side::Arg constantMinus(typename Side::Constant constant, typename Side::Expr* e) {
  TavEnvI* env = TavRequireEnv(e);
  const TavKind kind = TavKindOf(e);
  if (kind == TavKind::Variable) {
    auto draft = TavNewDraft<typename Side::Linear>(env, Side::add(typename Side::Constant{0}, constant));
    appendSummand<Side>(draft, e, kind, -1.0);
    return typename Side::Arg(draft.release());
  }
  const TavHold hold(kind == TavKind::Other ? e : nullptr);
  const typename Side::Arg negated = -typename Side::Arg(e);
  if (Side::isLinear(TavKindOf(negated.getImpl()))) return sumWithConstant<Side>(negated.getImpl(), constant);
  TavNodeGuard<typename Side::Expr> guard(negated.getImpl());
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
    return sum<Side>(a.getImpl(), b.getImpl(), TavKindOf(b.getImpl()));
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
