#include "expression/core/check.h"
#include "expression/core/draft.h"

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

// ---- the checks, one home for each message

void check(TavNumExprArg a, TavNumExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavNumExprArg operator + const TavNumExprArg const TavNumExprArg: mixing mismatch Environments");
}
void check(TavNumExprArg a, TavNumLinExprTerm t) {
  TavRequireSameEnv(
      a.getImpl(), TavVarOf(t.getImpl()),
      "TavNumExprArg operator + const TavNumExprArg const TavNumLinExprTerm: mixing mismatch Environments");
}
void check(TavNumExprArg a, TavIntLinExprTerm t) {
  TavRequireSameEnv(
      a.getImpl(), TavVarOf(t.getImpl()),
      "TavNumExprArg operator + const TavNumExprArg const TavIntLinExprTerm: mixing mismatch Environments");
}
void check(TavNumLinExprTerm t, TavNumExprArg b) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), b.getImpl(),
      "TavNumExprArg operator + const TavNumLinExprTerm const TavNumExprArg: mixing mismatch Environments");
}
void check(TavIntLinExprTerm t, TavNumExprArg b) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), b.getImpl(),
      "TavNumExprArg operator + const TavIntLinExprTerm const TavNumExprArg: mixing mismatch Environments");
}
void check(TavNumLinExprTerm t, TavNumLinExprTerm u) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), TavVarOf(u.getImpl()),
      "TavNumExprArg operator + const TavNumLinExprTerm const TavNumLinExprTerm: mixing mismatch Environments");
}
void check(TavIntLinExprTerm t, TavNumLinExprTerm u) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), TavVarOf(u.getImpl()),
      "TavNumExprArg operator + const TavIntLinExprTerm const TavNumLinExprTerm: mixing mismatch Environments");
}
void check(TavNumLinExprTerm t, TavIntLinExprTerm u) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), TavVarOf(u.getImpl()),
      "TavNumExprArg operator + const TavNumLinExprTerm const TavIntLinExprTerm: mixing mismatch Environments");
}
void check(TavIntExprArg a, TavIntExprArg b) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(),
                    "TavIntExprArg operator + const TavIntExprArg const TavIntExprArg: mixing mismatch Environments");
}
void check(TavIntExprArg a, TavIntLinExprTerm t) {
  TavRequireSameEnv(
      a.getImpl(), TavVarOf(t.getImpl()),
      "TavIntExprArg operator + const TavIntExprArg const TavIntLinExprTerm: mixing mismatch Environments");
}
void check(TavIntLinExprTerm t, TavIntExprArg b) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), b.getImpl(),
      "TavIntExprArg operator + const TavIntLinExprTerm const TavIntExprArg: mixing mismatch Environments");
}
void check(TavIntLinExprTerm t, TavIntLinExprTerm u) {
  TavRequireSameEnv(
      TavVarOf(t.getImpl()), TavVarOf(u.getImpl()),
      "TavIntExprArg operator + const TavIntLinExprTerm const TavIntLinExprTerm: mixing mismatch Environments");
}

}  // namespace

// ---- addition

TavNumExprArg operator+(TavNumExprArg a, TavNumExprArg b) {
  check(a, b);
  return sum<Numeric>(a.getImpl(), b.getImpl(), TavKindOf(b.getImpl()));
}
TavNumExprArg operator+(TavNumExprArg a, TavNumLinExprTerm t) {
  check(a, t);
  return sumWithTerm<Numeric>(a.getImpl(), t.getImpl());
}
TavNumExprArg operator+(TavNumExprArg a, TavIntLinExprTerm t) {
  check(a, t);
  return sumWithTerm<Numeric>(a.getImpl(), t.getImpl());
}
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumExprArg b) {
  check(t, b);
  return sumWithTerm<Numeric>(t.getImpl(), b.getImpl());
}
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumExprArg b) {
  check(t, b);
  return sumWithTerm<Numeric>(t.getImpl(), b.getImpl());
}
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Numeric>(t.getImpl(), u.getImpl());
}
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Numeric>(t.getImpl(), u.getImpl());
}
TavNumExprArg operator+(TavNumLinExprTerm t, TavIntLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Numeric>(t.getImpl(), u.getImpl());
}
TavIntExprArg operator+(TavIntExprArg a, TavIntExprArg b) {
  check(a, b);
  return sum<Integer>(a.getImpl(), b.getImpl(), TavKindOf(b.getImpl()));
}
TavIntExprArg operator+(TavIntExprArg a, TavIntLinExprTerm t) {
  check(a, t);
  return sumWithTerm<Integer>(a.getImpl(), t.getImpl());
}
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntExprArg b) {
  check(t, b);
  return sumWithTerm<Integer>(t.getImpl(), b.getImpl());
}
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Integer>(t.getImpl(), u.getImpl());
}

// ---- subtraction: the environments are tested before anything is negated

TavNumExprArg operator-(TavNumExprArg a, TavNumExprArg b) {
  check(a, b);
  return difference<Numeric>(a.getImpl(), b.getImpl());
}
TavNumExprArg operator-(TavNumExprArg a, TavNumLinExprTerm t) {
  check(a, t);
  return sumWithTerm<Numeric>(a.getImpl(), t.getImpl(), true);
}
TavNumExprArg operator-(TavNumExprArg a, TavIntLinExprTerm t) {
  check(a, t);
  return sumWithTerm<Numeric>(a.getImpl(), t.getImpl(), true);
}
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumExprArg b) {
  check(t, b);
  return termMinus<Numeric>(t.getImpl(), b.getImpl());
}
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumExprArg b) {
  check(t, b);
  return termMinus<Numeric>(t.getImpl(), b.getImpl());
}
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Numeric>(t.getImpl(), u.getImpl(), true);
}
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Numeric>(t.getImpl(), u.getImpl(), true);
}
TavNumExprArg operator-(TavNumLinExprTerm t, TavIntLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Numeric>(t.getImpl(), u.getImpl(), true);
}
TavIntExprArg operator-(TavIntExprArg a, TavIntExprArg b) {
  check(a, b);
  return difference<Integer>(a.getImpl(), b.getImpl());
}
TavIntExprArg operator-(TavIntExprArg a, TavIntLinExprTerm t) {
  check(a, t);
  return sumWithTerm<Integer>(a.getImpl(), t.getImpl(), true);
}
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntExprArg b) {
  check(t, b);
  return termMinus<Integer>(t.getImpl(), b.getImpl());
}
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntLinExprTerm u) {
  check(t, u);
  return sumOfTerms<Integer>(t.getImpl(), u.getImpl(), true);
}

// ---- negation

TavNumExprArg operator-(TavNumExprArg e) { return tavdetail::times(e, -1.0); }
TavIntExprArg operator-(TavIntExprArg e) { return tavdetail::times(e, TavInt{-1}); }
TavNumLinExprTerm operator-(TavNumVar x) { return tavdetail::times(x, -1.0); }
TavIntLinExprTerm operator-(TavIntVar x) { return tavdetail::times(x, TavInt{-1}); }
TavNumLinExprTerm operator-(TavNumLinExprTerm t) {
  TavRequireEnv(TavVarOf(t.getImpl()));
  return TavNumLinExprTerm(negate(t.getImpl()));  // by contract: in place, so that t itself is negated too
}
TavIntLinExprTerm operator-(TavIntLinExprTerm t) {
  TavRequireEnv(TavVarOf(t.getImpl()));
  return TavIntLinExprTerm(negate(t.getImpl()));
}

// ---- numbers

TavNumExprArg tavdetail::plus(TavNumExprArg e, double constant) {
  return sumWithConstant<Numeric>(e.getImpl(), constant);
}
TavNumExprArg tavdetail::plus(TavNumLinExprTerm t, double constant) {
  return sumWithConstant<Numeric>(t.getImpl(), constant);
}
TavNumExprArg tavdetail::plus(TavIntLinExprTerm t, double constant) {
  return sumWithConstant<Numeric>(t.getImpl(), constant);
}
TavIntExprArg tavdetail::plus(TavIntExprArg e, TavInt constant) {
  return sumWithConstant<Integer>(e.getImpl(), constant);
}
TavIntExprArg tavdetail::plus(TavIntLinExprTerm t, TavInt constant) {
  return sumWithConstant<Integer>(t.getImpl(), constant);
}

TavNumExprArg tavdetail::minus(double constant, TavNumExprArg e) {
  return constantMinus<Numeric>(constant, e.getImpl());
}
TavNumExprArg tavdetail::minus(double constant, TavNumLinExprTerm t) {
  return sumWithConstant<Numeric>(t.getImpl(), constant, true);
}
TavNumExprArg tavdetail::minus(double constant, TavIntLinExprTerm t) {
  return sumWithConstant<Numeric>(t.getImpl(), constant, true);
}
TavIntExprArg tavdetail::minus(TavInt constant, TavIntExprArg e) {
  return constantMinus<Integer>(constant, e.getImpl());
}
TavIntExprArg tavdetail::minus(TavInt constant, TavIntLinExprTerm t) {
  return sumWithConstant<Integer>(t.getImpl(), constant, true);
}
