#include "expression/core/num_linear.h"

#include <cassert>

#include "expression/core/check.h"
#include "expression/core/int_linear.h"

static_assert(sizeof(TavNumLinTermI) == 88);

namespace {

/// Borrows the environment's mark array.
class MarkArray {
 public:
  explicit MarkArray(TavEnvI* env) : _env(env), _marks(env->getMarkArray()) {}
  MarkArray(const MarkArray&) = delete;
  MarkArray& operator=(const MarkArray&) = delete;
  ~MarkArray() { _env->releaseMarkArray(_marks); }
  void*& operator[](const TavNumVarI* var) const noexcept { return _marks[var->getId()]; }

 private:
  TavEnvI* _env;
  void** _marks;
};

}  // namespace

TavNumLinTermI::TavNumLinTermI(TavNumLinExprTerm term) : TavNumLinTermI(TavRequireEnv(TavVarOf(term.getImpl())), 0.0) {
  append(TavTakeCell(getEnv(), term.getImpl()));
}

TavNumLinTermI::TavNumLinTermI(TavIntLinExprTerm term) : TavNumLinTermI(TavNumLinExprTerm(term.getImpl())) {}

TavNumLinTermI* TavNumLinTermI::copyLinear() const {
  auto fresh = TavMakeNode<TavNumLinTermI>(getEnv(), getEnv(), _constant);
  fresh->copyFrom(*this);
  return fresh.release();
}

void TavNumLinTermI::multiply(double d) {
  const TavFirstFailure failure =
      replaceParts([env = getEnv(), d](TavNumExprI* part) { return TavTimes(env, part, d); });
  for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    cell->coef *= d;
    if (cell->coef == 0.0) _normalized = false;
  }
  _constant *= d;
  failure.rethrow();
}

void TavNumLinTermI::divide(double d) {
  const TavFirstFailure failure =
      replaceParts([env = getEnv(), d](TavNumExprI* part) { return TavOver(env, part, d); });
  for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    cell->coef /= d;
    if (cell->coef == 0.0) _normalized = false;
  }
  _constant /= d;
  failure.rethrow();
}

template <class MarkOf>
TavInt TavNumLinTermI::merge(MarkOf markOf) noexcept {
  TavInt merged = 0;
  TavTermList dropped;  // recycled in order, so that the cells of the next sum are contiguous
  _terms.last = nullptr;
  const TavNumLinExprTermI* ahead = _terms.first;  // a few cells ahead, to prefetch their representatives
  for (int cells = 0; cells < 16 && ahead; ++cells) ahead = ahead->next;
  for (TavNumLinExprTermI** link = &_terms.first; *link;) {
    TavNumLinExprTermI* cell = *link;
    if (ahead) {
      TavPrefetch(markOf(ahead));
      ahead = ahead->next;
    }
    TavNumLinExprTermI* representative = markOf(cell);
    if (cell != representative) {
      representative->coef += cell->coef;
      ++merged;
    } else if (cell->coef != 0.0) {
      _terms.last = cell;
      link = &cell->next;
      continue;
    }
    *link = cell->next;
    dropped.append(cell);
  }
  if (dropped.first) getEnv()->recycleTerms(dropped.first, dropped.last);
  return merged;
}

TavInt TavNumLinTermI::normalize() {
  TavEnvI* env = getEnv();
  if (_normalized || env->normalizationSkipped) return 0;
  TavInt merged = 0;
  if (env->markArraysAvailable) {
    const MarkArray marks(env);
    for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) marks[cell->var] = cell;
    merged =
        merge([&marks](const TavNumLinExprTermI* cell) { return static_cast<TavNumLinExprTermI*>(marks[cell->var]); });
  } else {
    const TavLockGuard lock(env->markLock);
    for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) cell->var->setMark(cell);
    merged = merge([](const TavNumLinExprTermI* cell) { return cell->var->getMark(); });
  }
  _normalized = true;
  return merged;
}

bool TavNumLinTermI::isInteger() const {
  for (const TavPart* part = _parts.first; part; part = part->next) {
    if (!TavIsInteger(part->expr)) return false;
  }
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    if (!cell->var->isInteger() || !TavNumIsInteger(cell->coef)) return false;
  }
  return TavNumIsInteger(_constant);
}
