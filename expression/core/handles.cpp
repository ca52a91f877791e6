#include <sstream>

#include "expression/core/check.h"
#include "expression/core/coef_edit.h"
#include "expression/core/draft.h"

// The counted handles: construction, compound assignment, clones, and the in-place operations of TavExpr.

namespace {

/// Replaces the expression of a handle by build(old): the old node's reference is taken away first, so that an unshared
/// linear node is extended in place, and put back if build throws.
template <class Build>
void rebuild(TavNumExprI*& impl, Build build) {
  if (!impl) throw TavEmptyHandleException();
  TavNumExprI* old = impl;
  old->lower();
  try {
    impl = build(old).getImpl();
  } catch (...) {
    old->retain();
    throw;
  }
  impl->retain();
}

/// The in-place change of a TavExpr: works on the node itself, or on a copy of a shared one. Nothing has happened to
/// the handle until commit(), which comes when the change can fail no more, or by a listener alone.
class Edit {
 public:
  explicit Edit(TavNumExprI*& impl) : _impl(impl) {
    if (!impl) throw TavEmptyHandleException();
    if (impl->getRefCount() > 1) _copy.reset(static_cast<TavNumLinTermI*>(impl)->copyLinear());
  }
  /// The private node; it is the handle's from now on.
  TavNumLinTermI* commit() noexcept {
    if (_copy) {
      _impl->lower();
      _impl = _copy.release();
      _impl->retain();
    }
    return static_cast<TavNumLinTermI*>(_impl);
  }
  /// The private node for changes that may fail.
  TavNumLinTermI* get() const noexcept { return _copy ? _copy.get() : static_cast<TavNumLinTermI*>(_impl); }
  TavNumLinTermI* operator->() const noexcept { return get(); }

 private:
  TavNumExprI*& _impl;
  TavNodeGuard<TavNumLinTermI> _copy;
};

void appendTerm(TavNumExprI*& impl, TavNumVarI* var, double coef) {
  Edit edit(impl);
  TavNumLinExprTermI* cell = impl->getEnv()->newTerm(var, coef);
  edit.commit()->append(cell);
}

/// Takes a term handle's cell over, negated or not.
void appendCell(TavNumExprI*& impl, TavNumLinExprTermI* cell, double sign = 1.0) {
  TavNumLinTermI* linear = Edit(impl).commit();
  cell->coef *= sign;
  linear->append(TavTakeCell(linear->getEnv(), cell));
}

void appendPart(TavNumExprI*& impl, TavNumExprI* expr) {
  Edit edit(impl);
  TavLoosePart part(impl->getEnv(), expr);
  edit.commit()->append(part.take());
}

void appendLinear(TavNumExprI*& impl, TavNumExprI* operand, TavKind kind, bool negated) {
  TavNumExprI* const before = impl;
  Edit edit(impl);
  auto draft = TavDraftOf<TavNumLinTermI>(operand, kind, operand == impl);
  if (negated) draft->multiply(-1.0);
  edit.commit()->append(draft.release());
  if (impl != before && before->getRefCount() == 0) before->end();  // the operand was its other holder, as a part
}

}  // namespace

TavNumExpr::TavNumExpr(TavNumExprArg expression) : _impl(expression.getImpl()) {
  if (!_impl) return;
  TavRequireEnv(_impl);
  _impl->retain();
}

TavNumExpr::TavNumExpr(TavEnv env, double constant)
    : TavNumExpr(TavNumExprArg(new (env.getImpl()) TavNumLinTermI(env.getImpl(), constant))) {}

TavNumExpr::TavNumExpr(TavNumLinExprTerm term) : TavNumExpr(static_cast<TavNumExprArg>(term)) {}

TavNumExpr::TavNumExpr(TavIntLinExprTerm term)
    : TavNumExpr(static_cast<TavNumExprArg>(TavNumLinExprTerm(term.getImpl()))) {}

TavNumLinExprTerm::operator TavNumExprArg() const {
  return TavNumExprArg(new (TavRequireEnv(TavVarOf(_cell))) TavNumLinTermI(*this));
}

TavNumExpr& TavNumExpr::operator+=(TavNumExprArg arg) {
  TavRequireSameEnv(_impl, arg.getImpl(),
                    "TavNumExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments");
  rebuild(_impl, [arg](TavNumExprI* old) { return TavNumExprArg(old) + arg; });
  return *this;
}

TavNumExpr& TavNumExpr::operator-=(TavNumExprArg arg) {
  TavRequireSameEnv(_impl, arg.getImpl(),
                    "TavNumExpr& TavNumExpr::operator -= const TavNumExprArg arg : mixing mismatch Environments");
  rebuild(_impl, [arg](TavNumExprI* old) { return TavNumExprArg(old) - arg; });
  return *this;
}

TavNumExpr& TavNumExpr::operator+=(double constant) {
  rebuild(_impl, [constant](TavNumExprI* old) { return TavNumExprArg(old) + constant; });
  return *this;
}

TavNumExpr& TavNumExpr::operator-=(double constant) {
  rebuild(_impl, [constant](TavNumExprI* old) { return TavNumExprArg(old) - constant; });
  return *this;
}

TavNumExpr& TavNumExpr::operator*=(double factor) {
  rebuild(_impl, [factor](TavNumExprI* old) { return TavNumExprArg(old) * factor; });
  return *this;
}

TavNumExpr& TavNumExpr::operator/=(double divisor) {
  rebuild(_impl, [divisor](TavNumExprI* old) { return TavNumExprArg(old) / divisor; });
  return *this;
}

TavNumExpr TavNumExpr::getClone() const { return getClone(getEnv()); }

TavNumExpr TavNumExpr::getClone(TavEnv env) const {
  return TavNumExpr(static_cast<TavNumExprI*>(env.getImpl()->getClone(_impl)));
}

void TavNumExpr::setClone(TavNumExpr clone) const { setClone(clone, getEnv()); }

void TavNumExpr::setClone(TavNumExpr clone, TavEnv env) const {
  if (!_impl) throw TavEmptyHandleException();
  env.getImpl()->setClone(_impl, clone._impl);
}

void TavNumExpr::end() {
  if (_impl) TavRequireEnv(_impl)->release(_impl);
  _impl = nullptr;
}

TavExpr::TavExpr(TavNumExprArg expression) {
  TavNumExprI* node = expression.getImpl();
  TavRequireEnv(node);
  TavNumExprI* own = node->getRefCount() < 1 ? node : node->copy();
  TavNodeGuard<TavNumExprI> copy(own == node ? nullptr : own);
  _impl = own->toNumLinTermI();
  if (_impl == own) copy.release();
  _impl->retain();
}

TavExpr& TavExpr::operator+=(double constant) {
  TavNumLinTermI* linear = Edit(_impl).commit();
  linear->setConstant(linear->getConstant() + constant);
  return *this;
}

TavExpr& TavExpr::operator-=(double constant) {
  TavNumLinTermI* linear = Edit(_impl).commit();
  linear->setConstant(linear->getConstant() - constant);
  return *this;
}

TavExpr& TavExpr::operator*=(double factor) {
  Edit edit(_impl);
  edit->multiply(factor);
  edit.commit();
  return *this;
}

TavExpr& TavExpr::operator/=(double divisor) {
  Edit edit(_impl);
  edit->divide(divisor);
  edit.commit();
  return *this;
}

TavExpr& TavExpr::operator+=(TavNumVar variable) {
  TavRequireSameEnv(_impl, variable.getImpl(),
                    "TavExpr& TavNumExpr::operator += const TavNumVar arg : mixing mismatch Environments");
  appendTerm(_impl, variable.getImpl(), 1.0);
  return *this;
}

TavExpr& TavExpr::operator-=(TavNumVar variable) {
  TavRequireSameEnv(_impl, variable.getImpl(),
                    "TavExpr& TavExpr::operator -= const TavNumVar arg : mixing mismatch Environments");
  appendTerm(_impl, variable.getImpl(), -1.0);
  return *this;
}

TavExpr& TavExpr::operator+=(TavIntVar variable) {
  TavRequireSameEnv(_impl, variable.getImpl(),
                    "TavExpr& TavNumExpr::operator += const TavIntVar arg : mixing mismatch Environments");
  appendTerm(_impl, variable.getImpl(), 1.0);
  return *this;
}

TavExpr& TavExpr::operator-=(TavIntVar variable) {
  TavRequireSameEnv(_impl, variable.getImpl(),
                    "TavExpr& TavExpr::operator -= const TavIntVar arg : mixing mismatch Environments");
  appendTerm(_impl, variable.getImpl(), -1.0);
  return *this;
}

TavExpr& TavExpr::operator+=(TavNumLinExprTerm term) {
  TavRequireSameEnv(_impl, TavVarOf(term.getImpl()),
                    "TavExpr& TavExpr::operator += const TavNumLinExprTerm term : mixing mismatch Environments");
  appendCell(_impl, term.getImpl());
  return *this;
}

TavExpr& TavExpr::operator-=(TavNumLinExprTerm term) {
  TavRequireSameEnv(_impl, TavVarOf(term.getImpl()),
                    "TavExpr& TavExpr::operator -= const TavNumLinExprTerm arg : mixing mismatch Environments");
  appendCell(_impl, term.getImpl(), -1.0);
  return *this;
}

TavExpr& TavExpr::operator+=(TavIntLinExprTerm term) {
  TavRequireSameEnv(_impl, TavVarOf(term.getImpl()),
                    "TavExpr& TavExpr::operator += const TavIntLinExprTerm arg : mixing mismatch Environments");
  appendCell(_impl, term.getImpl());
  return *this;
}

TavExpr& TavExpr::operator-=(TavIntLinExprTerm term) {
  TavRequireSameEnv(_impl, TavVarOf(term.getImpl()),
                    "TavExpr& TavExpr::operator -= const TavIntLinExprTerm arg : mixing mismatch Environments");
  appendCell(_impl, term.getImpl(), -1.0);
  return *this;
}

TavExpr& TavExpr::operator+=(TavNumExprArg arg) {
  TavRequireSameEnv(_impl, arg.getImpl(),
                    "TavExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments");
  TavNumExprI* operand = arg.getImpl();
  switch (const TavKind kind = TavKindOf(operand)) {
    case TavKind::Variable:
      appendTerm(_impl, static_cast<TavNumVarI*>(operand), 1.0);
      break;
    case TavKind::Other:
      appendPart(_impl, operand);
      break;
    default:
      appendLinear(_impl, operand, kind, false);
  }
  return *this;
}

TavExpr& TavExpr::operator-=(TavNumExprArg arg) {
  TavRequireSameEnv(_impl, arg.getImpl(),
                    "TavExpr& TavExpr::operator -= const TavNumExprArg arg : mixing mismatch Environments");
  TavNumExprI* operand = arg.getImpl();
  switch (const TavKind kind = TavKindOf(operand)) {
    case TavKind::Variable:
      appendTerm(_impl, static_cast<TavNumVarI*>(operand), -1.0);
      break;
    case TavKind::Other: {
      const TavHold hold(operand);
      TavNodeGuard<TavNumExprI> negated((-arg).getImpl());
      appendPart(_impl, negated.get());
      negated.release();
      break;
    }
    default:
      appendLinear(_impl, operand, kind, true);
  }
  return *this;
}

void TavExpr::clear() { Edit(_impl).commit()->clear(); }

void TavExpr::setNumConstant(double constant) {
  TavTestIsLinear(_impl);  // by contract: before the copy on write, so that a shared node that fails stays shared
  Edit(_impl).commit()->setConstant(constant);
}

double TavExpr::setLinearCoef(TavNumVar variable, double coef) {
  if (!variable) throw TavEmptyHandleException();
  Edit edit(_impl);
  TavCoefEdit change(edit.get(), variable, coef);
  edit.commit();
  return change.apply();
}

void TavExpr::setLinearCoefs(TavNumVarArray variables, TavNumArray coefs) {
  Edit edit(_impl);
  TavCoefsEdit change(edit.get(), variables, coefs, TavNumArray());
  edit.commit();
  change.apply();
}

void TavExpr::remove(TavNumVarArray variables) { remove(static_cast<TavExtractableArray>(variables)); }

void TavExpr::remove(TavExtractableArray objects) {
  if (!objects.getImpl()) throw TavEmptyHandleException();
  Edit edit(_impl);
  edit->remove(objects);
  edit.commit();
}

bool TavExpr::normalize() {
  Edit edit(_impl);
  const bool nothingMerged = edit->normalize() == 0;
  edit.commit();
  return nothingMerged;
}

bool TavExpr::isNormalized() const {
  if (!_impl) throw TavEmptyHandleException();
  if (!_impl->getEnv()->normalizationSkipped) return true;
  return getImpl()->getFirstPart() || getImpl()->normalize() == 0;  // by contract: with that flag set, always true
}

TavExpr TavExpr::copy() const {
  if (!_impl) throw TavEmptyHandleException();
  return TavExpr(TavNumExprArg(getImpl()->copyLinear()));
}

TavExpr::LinearIterator TavExpr::getLinearIterator() const {
  if (!_impl) throw TavEmptyHandleException();
  return LinearIterator(getImpl()->getFirstTerm());
}

TavExpr::Terms TavExpr::terms() const {
  if (!_impl) throw TavEmptyHandleException();
  return Terms(getImpl()->getFirstTerm());
}

std::string TavToString(TavExtractable object) {
  std::ostringstream text;
  text << object;
  return std::move(text).str();
}

TavIntExpr& TavIntExpr::operator+=(TavIntExprArg arg) {
  rebuild(_impl, [arg](TavNumExprI* old) { return TavIntExprArg(TavImplCast<TavIntExprI>(old)) + arg; });
  return *this;
}

TavIntExpr& TavIntExpr::operator-=(TavIntExprArg arg) {
  rebuild(_impl, [arg](TavNumExprI* old) { return TavIntExprArg(TavImplCast<TavIntExprI>(old)) - arg; });
  return *this;
}

TavIntExpr& TavIntExpr::operator+=(TavInt constant) {
  rebuild(_impl, [constant](TavNumExprI* old) { return TavIntExprArg(TavImplCast<TavIntExprI>(old)) + constant; });
  return *this;
}

TavIntExpr& TavIntExpr::operator-=(TavInt constant) {
  rebuild(_impl, [constant](TavNumExprI* old) { return TavIntExprArg(TavImplCast<TavIntExprI>(old)) - constant; });
  return *this;
}

TavIntExpr& TavIntExpr::operator*=(TavInt factor) {
  rebuild(_impl, [factor](TavNumExprI* old) { return TavIntExprArg(TavImplCast<TavIntExprI>(old)) * factor; });
  return *this;
}
