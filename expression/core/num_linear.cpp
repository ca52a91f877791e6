#include "expression/core/num_linear.h"

#include <cassert>

#include "expression/core/check.h"
#include "expression/core/int_linear.h"

static_assert(sizeof(TavNumLinTermI) == 88);

// ---- change records

TavNumLinTermAddVar::TavNumLinTermAddVar(TavNumLinTermI* linear, TavNumVarI* var) noexcept
    : TavChangeRecord(linear), _linear(linear), _var(var) {}

void TavNumLinTermAddVar::visitChange(TavEnvI*, TavExtractableI* object, TavChangeVisitor* visitor) const {
  visitor->visitChild(object, _var);
}

TavNumLinTermRemoveVar::TavNumLinTermRemoveVar(TavNumLinTermI* linear, TavNumVarI* var) noexcept
    : TavChangeRecord(linear), _linear(linear), _var(var) {}

void TavNumLinTermRemoveVar::visitChange(TavEnvI*, TavExtractableI* object, TavChangeVisitor* visitor) const {
  visitor->visitChild(object, _var);
}

// ---- marks

TavRemovalMarks::TavRemovalMarks(TavEnvI* env, TavExtractableArray objects) : _env(env), _count(env->markedCount()) {
  try {
    for (TavInt i = 0; i < objects.getSize(); ++i) {
      TavExtractableI* object = objects[i].getImpl();
      if (object && object->getEnv() == env) env->markRemoved(object);  // identifiers of another one mean other objects
    }
  } catch (...) {
    env->restoreMarks(_count);
    throw;
  }
}

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

/// Cells that an edit will need, one per variable, given back unless they are taken.
class NewCells {
 public:
  NewCells(TavEnvI* env, TavInt count) : _env(env), _cells(static_cast<std::size_t>(count)) {}
  NewCells(const NewCells&) = delete;
  NewCells& operator=(const NewCells&) = delete;
  ~NewCells() {
    for (TavNumLinExprTermI* cell : _cells) {
      if (cell) _env->recycleTerm(cell);
    }
  }
  void make(TavInt i, TavNumVarI* var, double coef) { _cells[static_cast<std::size_t>(i)] = _env->newTerm(var, coef); }
  TavNumLinExprTermI* take(TavInt i) noexcept { return std::exchange(_cells[static_cast<std::size_t>(i)], nullptr); }

 private:
  TavEnvI* _env;
  std::vector<TavNumLinExprTermI*> _cells;
};

}  // namespace

// ---- construction and copy

TavNumLinTermI::TavNumLinTermI(TavNumLinExprTerm term) : TavNumLinTermI(term.getImpl()->var->getEnv(), 0.0) {
  append(TavTakeCell(getEnv(), term.getImpl()));
}

TavNumLinTermI::TavNumLinTermI(TavIntLinExprTerm term) : TavNumLinTermI(TavNumLinExprTerm(term.getImpl())) {}

TavNumLinTermI* TavNumLinTermI::copyLinear() const {
  auto fresh = TavMakeNode<TavNumLinTermI>(getEnv(), getEnv(), _constant);
  fresh->copyFrom(*this);
  return fresh.release();
}

// ---- arithmetic in place

void TavNumLinTermI::multiply(double d) {
  replaceParts([d](TavNumExprI* part) { return (TavNumExprArg(part) * d).getImpl(); });
  for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    cell->coef *= d;
    if (cell->coef == 0.0) _normalized = false;
  }
  _constant *= d;
}

void TavNumLinTermI::divide(double d) {
  replaceParts([d](TavNumExprI* part) { return (TavNumExprArg(part) / d).getImpl(); });
  for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    cell->coef /= d;
    if (cell->coef == 0.0) _normalized = false;
  }
  _constant /= d;
}

// ---- normalisation

template <class MarkOf>
TavInt TavNumLinTermI::merge(MarkOf markOf) noexcept {
  TavInt merged = 0;
  _terms.last = nullptr;
  for (TavNumLinExprTermI** link = &_terms.first; *link;) {
    TavNumLinExprTermI* cell = *link;
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
    getEnv()->recycleTerm(cell);
  }
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

// ---- coefficients

double TavNumLinTermI::setCoef(TavNumVar variable, double coef) {
  if (!variable) throw TavEmptyHandleException();
  assert(variable.getImpl()->getEnv() == getEnv() && "a variable of another environment");
  normalize();
  TavNumVarI* var = variable.getImpl();
  TavNumLinExprTermI* previous = nullptr;
  for (TavNumLinExprTermI** link = &_terms.first; *link; previous = *link, link = &(*link)->next) {
    TavNumLinExprTermI* cell = *link;
    if (cell->var != var) continue;
    const double old = cell->coef;
    if (coef == 0.0) {
      _terms.unlink(link, previous);
      getEnv()->recycleTerm(cell);
    } else {
      cell->coef = coef;
    }
    if (old == 0.0) return 0.0;                 // kept: a stored zero changes silently
    notify(TavNumLinTermRemoveVar(this, var));  // kept: any change of a non-zero coefficient is a removal
    return old;
  }
  if (coef != 0.0) {
    append(getEnv()->newTerm(var, coef));
    _normalized = true;
    notify(TavNumLinTermAddVar(this, var));
  }
  _normalized = true;
  return 0.0;
}

void TavNumLinTermI::setCoef(TavNumVarArray variables, TavNumArray coefs, TavNumArray previous) {
  if (!variables.getImpl() || !coefs.getImpl()) throw TavEmptyHandleException();
  const TavInt count = variables.getSize();
  for (TavInt i = 0; i < count; ++i) {
    if (!variables[i]) throw TavEmptyHandleException();
    assert(variables[i].getImpl()->getEnv() == getEnv() && "a variable of another environment");
  }
  assert(coefs.getSize() >= count && "fewer coefficients than variables");
  normalize();
  const TavLockGuard lock(getEnv()->markLock);
  for (TavInt i = 0; i < count; ++i) variables[i].getImpl()->setMark(nullptr);
  for (TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) cell->var->setMark(cell);
  // All marks are read and all memory is had before the first record goes out: a listener that edits another node uses
  // the same marks.
  std::vector<TavNumLinExprTermI*> marked(static_cast<std::size_t>(count));
  NewCells fresh(getEnv(), count);
  for (TavInt i = 0; i < count; ++i) {
    TavNumLinExprTermI* cell = marked[static_cast<std::size_t>(i)] = variables[i].getImpl()->getMark();
    if (!cell && coefs[i] != 0.0) fresh.make(i, variables[i].getImpl(), coefs[i]);
  }
  if (previous.getImpl()) previous.getImpl()->reserve(count);
  const auto report = [&previous](TavInt i, double old) {
    if (!previous.getImpl()) return;
    i < previous.getSize() ? previous.set(i, old) : previous.add(old);
  };
  _normalized = true;  // kept: although zeros and repeats may come in now
  for (TavInt i = 0; i < count; ++i) {
    TavNumVarI* var = variables[i].getImpl();
    if (TavNumLinExprTermI* cell = marked[static_cast<std::size_t>(i)]) {
      const double old = std::exchange(cell->coef, coefs[i]);
      report(i, old);
      if (old != 0.0 && cell->coef == 0.0) notify(TavNumLinTermRemoveVar(this, var));
      if (old == 0.0 && cell->coef != 0.0) notify(TavNumLinTermAddVar(this, var));
    } else {
      report(i, 0.0);
      if (coefs[i] == 0.0) continue;
      _terms.append(fresh.take(i));
      notify(TavNumLinTermAddVar(this, var));
    }
  }
}

// ---- queries

bool TavNumLinTermI::isInteger() const {
  for (const TavPart* part = _parts.first; part; part = part->next) {
    if (!TavIsInteger(part->expr)) return false;
  }
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    if (!cell->var->isInteger() || !TavNumIsInteger(cell->coef)) return false;
  }
  return TavNumIsInteger(_constant);
}
