#include <sstream>

#include "expression/core/check.h"
#include "expression/core/coef_edit.h"
#include "expression/core/sum_builder.h"

// The counted handles: construction, compound assignment, clones, and the in-place operations of TavExpr.

namespace {

/// Replaces the expression of a counted handle by build(old). The old node loses its reference first, so that an
/// unshared linear node is extended in place, and gets it back if build throws.
template <class Build>
void replaceBy(TavNumExprI*& impl, Build build) {
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

/// The integer expression of a TavIntExpr.
TavIntExprArg asInteger(TavNumExprI* impl) { return TavIntExprArg(TavImplCast<TavIntExprI>(impl)); }

/// A change of a TavExpr in place: of its node, or of a copy when the node has other references. The handle is
/// unchanged until commit(); nothing but a listener may throw afterwards.
class InPlaceEdit {
 public:
  explicit InPlaceEdit(TavNumExprI*& impl) : _impl(impl) {
    if (!impl) throw TavEmptyHandleException();
    if (impl->getRefCount() > 1) _copy.reset(static_cast<TavNumLinTermI*>(impl)->copyLinear());
  }
  /// Makes the handle name the node to be changed, and returns it.
  TavNumLinTermI* commit() noexcept {
    if (_copy) {
      _impl->lower();
      _impl = _copy.release();
      _impl->retain();
    }
    return static_cast<TavNumLinTermI*>(_impl);
  }
  /// The node to be changed, for changes that may fail.
  TavNumLinTermI* get() const noexcept { return _copy ? _copy.get() : static_cast<TavNumLinTermI*>(_impl); }
  TavNumLinTermI* operator->() const noexcept { return get(); }

 private:
  TavNumExprI*& _impl;
  TavGuard<TavNumLinTermI> _copy;
};

// The operators += and -= of TavExpr: `sign` is 1 or -1, `message` says that the environments differ. Those of the hot
// path are inlined.

[[gnu::noinline]] void addVariableToCopy(TavNumExprI*& impl, TavNumVarI* var, double sign) {
  InPlaceEdit edit(impl);
  auto cell = TavMakeTerm(var, sign);
  edit.commit()->append(cell.release());
}

[[gnu::always_inline]] inline void addVariable(TavNumExprI*& impl, TavNumVarI* var, double sign, const char* message) {
  TavRequireSameEnv(impl, var, message);
  if (impl->getRefCount() > 1) return addVariableToCopy(impl, var, sign);
  static_cast<TavNumLinTermI*>(impl)->append(var->getEnv()->newTerm(var, sign));
}

[[gnu::always_inline]] inline void addTerm(TavNumExprI*& impl, TavNumLinExprTermI* cell, double sign,
                                           const char* message) {
  TavRequireSameEnv(impl, TavVarOf(cell), message);
  TavNumLinTermI* linear = InPlaceEdit(impl).commit();
  cell->coef *= sign;
  linear->append(TavTakeCell(linear->getEnv(), cell));
}

void addPart(TavNumExprI*& impl, TavNumExprI* expr) {
  InPlaceEdit edit(impl);
  auto part = TavMakePart(impl->getEnv(), expr);
  edit.commit()->append(part.release());
}

void addLinear(TavNumExprI*& impl, TavNumExprI* operand, double sign) {
  TavNumExprI* const before = impl;
  InPlaceEdit edit(impl);
  auto sum = TavStartSum<TavNumLinTermI>(operand, operand == impl);
  if (sign < 0) sum->multiply(-1.0);
  edit.commit()->append(sum.release());
  // The operand may have had the last other reference to the shared node, as a part.
  if (impl != before && before->getRefCount() == 0) before->end();
}

void addExpr(TavNumExprI*& impl, TavNumExprI* operand, double sign, const char* message) {
  TavRequireSameEnv(impl, operand, message);
  if (operand->kind() == TavKind::Variable) {
    addVariable(impl, static_cast<TavNumVarI*>(operand), sign, message);
  } else if (operand->kind() != TavKind::Other) {
    addLinear(impl, operand, sign);
  } else if (sign > 0) {
    addPart(impl, operand);
  } else {
    const TavKeepAlive keep(operand);
    TavGuard<TavNumExprI> negated((-TavNumExprArg(operand)).getImpl());
    addPart(impl, negated.get());
    negated.release();
  }
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
  replaceBy(_impl, [arg](TavNumExprI* old) { return TavNumExprArg(old) + arg; });
  return *this;
}

TavNumExpr& TavNumExpr::operator-=(TavNumExprArg arg) {
  TavRequireSameEnv(_impl, arg.getImpl(),
                    "TavNumExpr& TavNumExpr::operator -= const TavNumExprArg arg : mixing mismatch Environments");
  replaceBy(_impl, [arg](TavNumExprI* old) { return TavNumExprArg(old) - arg; });
  return *this;
}

TavNumExpr& TavNumExpr::operator+=(double constant) {
  replaceBy(_impl, [constant](TavNumExprI* old) { return TavNumExprArg(old) + constant; });
  return *this;
}

TavNumExpr& TavNumExpr::operator-=(double constant) {
  replaceBy(_impl, [constant](TavNumExprI* old) { return TavNumExprArg(old) - constant; });
  return *this;
}

TavNumExpr& TavNumExpr::operator*=(double factor) {
  replaceBy(_impl, [factor](TavNumExprI* old) { return TavNumExprArg(old) * factor; });
  return *this;
}

TavNumExpr& TavNumExpr::operator/=(double divisor) {
  replaceBy(_impl, [divisor](TavNumExprI* old) { return TavNumExprArg(old) / divisor; });
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
  TavGuard<TavNumExprI> copy(own == node ? nullptr : own);
  _impl = own->toNumLinTermI();
  if (_impl == own) copy.release();
  _impl->retain();
}

TavExpr& TavExpr::operator+=(double constant) {
  TavNumLinTermI* linear = InPlaceEdit(_impl).commit();
  linear->setConstant(linear->getConstant() + constant);
  return *this;
}

TavExpr& TavExpr::operator-=(double constant) {
  TavNumLinTermI* linear = InPlaceEdit(_impl).commit();
  linear->setConstant(linear->getConstant() - constant);
  return *this;
}

TavExpr& TavExpr::operator*=(double factor) {
  InPlaceEdit edit(_impl);
  edit->multiply(factor);
  edit.commit();
  return *this;
}

TavExpr& TavExpr::operator/=(double divisor) {
  InPlaceEdit edit(_impl);
  edit->divide(divisor);
  edit.commit();
  return *this;
}

TavExpr& TavExpr::operator+=(TavNumVar variable) {
  addVariable(_impl, variable.getImpl(), 1.0,
              "TavExpr& TavNumExpr::operator += const TavNumVar arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator-=(TavNumVar variable) {
  addVariable(_impl, variable.getImpl(), -1.0,
              "TavExpr& TavExpr::operator -= const TavNumVar arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator+=(TavIntVar variable) {
  addVariable(_impl, variable.getImpl(), 1.0,
              "TavExpr& TavNumExpr::operator += const TavIntVar arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator-=(TavIntVar variable) {
  addVariable(_impl, variable.getImpl(), -1.0,
              "TavExpr& TavExpr::operator -= const TavIntVar arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator+=(TavNumLinExprTerm term) {
  addTerm(_impl, term.getImpl(), 1.0,
          "TavExpr& TavExpr::operator += const TavNumLinExprTerm term : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator-=(TavNumLinExprTerm term) {
  addTerm(_impl, term.getImpl(), -1.0,
          "TavExpr& TavExpr::operator -= const TavNumLinExprTerm arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator+=(TavIntLinExprTerm term) {
  addTerm(_impl, term.getImpl(), 1.0,
          "TavExpr& TavExpr::operator += const TavIntLinExprTerm arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator-=(TavIntLinExprTerm term) {
  addTerm(_impl, term.getImpl(), -1.0,
          "TavExpr& TavExpr::operator -= const TavIntLinExprTerm arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator+=(TavNumExprArg arg) {
  addExpr(_impl, arg.getImpl(), 1.0,
          "TavExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments");
  return *this;
}

TavExpr& TavExpr::operator-=(TavNumExprArg arg) {
  addExpr(_impl, arg.getImpl(), -1.0,
          "TavExpr& TavExpr::operator -= const TavNumExprArg arg : mixing mismatch Environments");
  return *this;
}

void TavExpr::clear() { InPlaceEdit(_impl).commit()->clear(); }

void TavExpr::setNumConstant(double constant) {
  TavTestIsLinear(_impl);  // by contract: before the copy on write, so that a shared node that fails stays shared
  InPlaceEdit(_impl).commit()->setConstant(constant);
}

double TavExpr::setLinearCoef(TavNumVar variable, double coef) {
  if (!variable) throw TavEmptyHandleException();
  InPlaceEdit edit(_impl);
  TavCoefEdit change(edit.get(), variable, coef);
  edit.commit();
  return change.apply();
}

void TavExpr::setLinearCoefs(TavNumVarArray variables, TavNumArray coefs) {
  InPlaceEdit edit(_impl);
  TavCoefsEdit change(edit.get(), variables, coefs, TavNumArray());
  edit.commit();
  change.apply();
}

void TavExpr::remove(TavNumVarArray variables) { remove(static_cast<TavExtractableArray>(variables)); }

void TavExpr::remove(TavExtractableArray objects) {
  if (!objects.getImpl()) throw TavEmptyHandleException();
  InPlaceEdit edit(_impl);
  edit->remove(objects);
  edit.commit();
}

bool TavExpr::normalize() {
  InPlaceEdit edit(_impl);
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

TavIntExpr::TavIntExpr(TavEnv env, TavInt constant)
    : TavIntExpr(TavIntExprArg(new (env.getImpl()) TavIntLinTermI(env.getImpl(), constant))) {}

TavIntExpr::TavIntExpr(TavIntLinExprTerm term) : TavIntExpr(static_cast<TavIntExprArg>(term)) {}

TavIntLinExprTerm::operator TavIntExprArg() const {
  return TavIntExprArg(new (TavRequireEnv(TavVarOf(_cell))) TavIntLinTermI(*this));
}

TavIntExpr& TavIntExpr::operator+=(TavIntExprArg arg) {
  replaceBy(_impl, [arg](TavNumExprI* old) { return asInteger(old) + arg; });
  return *this;
}

TavIntExpr& TavIntExpr::operator-=(TavIntExprArg arg) {
  replaceBy(_impl, [arg](TavNumExprI* old) { return asInteger(old) - arg; });
  return *this;
}

TavIntExpr& TavIntExpr::operator+=(TavInt constant) {
  replaceBy(_impl, [constant](TavNumExprI* old) { return asInteger(old) + constant; });
  return *this;
}

TavIntExpr& TavIntExpr::operator-=(TavInt constant) {
  replaceBy(_impl, [constant](TavNumExprI* old) { return asInteger(old) - constant; });
  return *this;
}

TavIntExpr& TavIntExpr::operator*=(TavInt factor) {
  replaceBy(_impl, [factor](TavNumExprI* old) { return asInteger(old) * factor; });
  return *this;
}
