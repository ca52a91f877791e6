#pragma once
/// Class header for authors of algorithms: the member functions of TavLinearI, included by linear.h.

#include "expression/core/linear.h"

#pragma GCC visibility push(default)

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::drop(TavFirstFailure& failure) noexcept {
  TavEnvI* env = this->getEnv();
  dropParts(std::exchange(_parts, TavPartList()), failure);
  if (_terms.first && _terms.last) {
    env->recycleTerms(_terms.first, _terms.last);
  } else {  // a sweep has left the tail null
    while (TavNumLinExprTermI* cell = _terms.first) {
      _terms.first = cell->next;
      env->recycleTerm(cell);
    }
  }
  _terms = TavTermList();
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::dropParts(TavPartList parts,
                                                                  TavFirstFailure& failure) noexcept {
  while (TavPart* part = parts.first) {
    parts.first = part->next;
    failure.attempt([&] { this->getEnv()->release(part->expr); });
    freePart(part);
  }
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::append(Self* other) {
  if (other->_terms.first) self()->termsChanged();
  _terms.splice(other->_terms);
  _parts.splice(other->_parts);
  if constexpr (std::is_same_v<Constant, TavInt>) {
    _constant = TavWrapAdd(_constant, other->_constant);
  } else {
    _constant += other->_constant;
  }
  other->clear();
  other->end();
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::remove(TavNumVarI* var) noexcept {
  TavNumLinExprTermI* previous = nullptr;
  for (TavNumLinExprTermI** link = &_terms.first; *link; previous = *link, link = &(*link)->next) {
    if ((*link)->var != var) continue;
    TavNumLinExprTermI* cell = *link;
    _terms.unlink(link, previous);
    this->getEnv()->recycleTerm(cell);
    return;
  }
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
template <class Cell, class IsDropped, class Drop>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::sweep(TavCellList<Cell>& list, TavInt& left,
                                                              IsDropped isDropped, Drop drop) {
  for (Cell** link = &list.first; *link && left > 0;) {
    Cell* cell = *link;
    if (!isDropped(cell)) {
      link = &cell->next;
      continue;
    }
    *link = cell->next;
    if (cell == list.last) list.last = nullptr;  // by contract: null although cells may remain before it
    drop(cell);
    --left;
  }
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::remove(TavExtractableArray objects) {
  if (isConstant()) return;
  TavEnvI* env = this->getEnv();
  TavPartList dropped;  // released after the marks are cleared: this may destroy objects
  {
    TavRemovalMarks marks(env, objects);
    // by contract: nulls and repeats count too, so a second term of a variable may stay
    TavInt left = objects.getSize();
    const auto dropPart = [&](TavPart* part) {
      part->next = nullptr;
      dropped.append(part);
    };
    const auto isListed = [env, objects](TavPart* part) {
      return part->expr->getEnv() == env ? env->isOwnRemoved(part->expr) : TavContains(objects, part->expr);
    };
    sweep(_parts, left, isListed, dropPart);
    sweep(
        _terms, left, [env](TavNumLinExprTermI* cell) { return env->isOwnRemoved(cell->var); },
        [env](TavNumLinExprTermI* cell) { env->recycleTerm(cell); });
  }
  TavFirstFailure failure;
  dropParts(dropped, failure);
  failure.rethrow();
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::removeMarked() noexcept {
  TavEnvI* env = this->getEnv();
  TavInt left = std::numeric_limits<TavInt>::max();
  sweep(
      _parts, left, [env](TavPart* part) { return env->isRemoved(part->expr); },
      [this](TavPart* part) { freePart(part); });
  sweep(
      _terms, left, [env](TavNumLinExprTermI* cell) { return env->isOwnRemoved(cell->var); },
      [env](TavNumLinExprTermI* cell) { env->recycleTerm(cell); });
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
template <class Linear>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::copyFrom(const Linear& other) {
  for (const TavPart* part = other.getFirstPart(); part; part = part->next) append(static_cast<Part*>(part->expr));
  TavGuardedCells<TavNumLinExprTermI> terms;
  TavEnvI* env = this->getEnv();
  for (const TavNumLinExprTermI* cell = other.getFirstTerm(); cell; cell = cell->next) {
    terms.add(env->newTerm(cell->var, cell->coef));
  }
  append(terms);
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
template <class Make>
TavFirstFailure TavLinearI<Self, Base, Constant, Part, RemoveVar>::replaceParts(Make make) {
  std::vector<TavGuard<Part>> fresh;
  for (TavPart* part = _parts.first; part; part = part->next) {
    fresh.emplace_back();
    fresh.back().reset(TavDeep([this, part, make] { return make(partOf(part)); }));
  }
  auto next = fresh.begin();
  TavFirstFailure failure;
  for (TavPart* part = _parts.first; part; part = part->next) {
    TavNumExprI* old = part->expr;
    part->expr = (next++)->release();
    part->expr->retain();
    failure.attempt([&] { this->getEnv()->release(old); });
  }
  return failure;
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
double TavLinearI<Self, Base, Constant, Part, RemoveVar>::eval(TavAlgorithm algorithm) const {
  TavPrefetchPageAhead(this);
  double sum = _parts.first ? evalParts(algorithm) : 0.0;
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    sum += cell->coef * cell->var->eval(algorithm);
  }
  return static_cast<double>(_constant) + sum;
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
double TavLinearI<Self, Base, Constant, Part, RemoveVar>::evalParts(TavAlgorithm algorithm) const {
  return TavDeep([this, algorithm] {
    double sum = 0.0;
    for (const TavPart* part = _parts.first; part; part = part->next) {
      TavPrefetchPageAhead(part);
      sum += part->expr->eval(algorithm);
    }
    return sum;
  });
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  for (const TavPart* part = _parts.first; part; part = part->next) visitor->visitChild(this, part->expr);
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    if (cell->coef != 0.0) visitor->visitChild(this, cell->var);  // by contract: zero terms are not visited
  }
  visitor->endVisit(this);
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
TavExtractableI* TavLinearI<Self, Base, Constant, Part, RemoveVar>::makeClone(TavEnvI* target) const {
  auto clone = TavMakeNode<Self>(target, target, _constant);
  TavGuardedCells<TavNumLinExprTermI> terms;
  TavGuardedCells<TavPart> parts;  // without references: if this fails, the clones of the parts stay uncounted
  for (const TavPart* part = _parts.first; part; part = part->next) {
    parts.add(TavMakePart(target, TavCloneOf(partOf(part), target)).release());
  }
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    // Visitors do not show the variable of a zero term. Unless the pass clones it on demand, the term is left out.
    if (cell->coef == 0.0 && !target->getCloneOnDemand(cell->var)) continue;
    terms.add(target->newTerm(TavCloneOf(cell->var, target), cell->coef));
  }
  clone->append(terms);
  parts.giveTo(clone->_parts);
  for (const TavPart* part = clone->_parts.first; part; part = part->next) part->expr->retain();
  return clone.release();
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::atRemove(TavExtractableI* removed, void*) {
  if (!this->getEnv()->oneByOneRemoval || !removed->isType(TavNumVarI::GetTypeInfo())) return removeMarked();
  auto* var = static_cast<TavNumVarI*>(removed);
  remove(var);
  this->notify(RemoveVar(self(), var));
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::writeVar(TavTextWriter& out, const TavNumVarI& var) {
  if (const char* name = var.getName()) {
    out << name << " ";
  } else {
    out << var;
  }
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
bool TavLinearI<Self, Base, Constant, Part, RemoveVar>::writeTerm(TavTextWriter& out, const TavNumLinExprTermI& term) {
  if (term.coef == 0.0) return false;
  if (term.coef != 1.0) out << term.coef << " * ";
  writeVar(out, *term.var);
  return true;
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
bool TavLinearI<Self, Base, Constant, Part, RemoveVar>::displayTerm(std::ostream& os, TavNumLinExprTermI* term) const {
  TavTextWriter out(os);
  const bool wrote = writeTerm(out, *term);
  out.flush();
  return wrote;
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::display(std::ostream& os) const {
  TavTextWriter out(os);
  this->getEnv()->librarySyntaxDisplay ? writeLibrary(out) : writePlain(out);
  out.flush();
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::writePlain(TavTextWriter& out) const {
  bool wrote = false;  // by contract: only of the last term, so that the " + " behind a zero term is missing
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next) {
    if (wrote) out << " + ";
    wrote = writeTerm(out, *cell);
  }
  for (const TavPart* part = _parts.first; part; part = part->next) {
    if (wrote) out << " + ";
    out << *part->expr;
    wrote = true;
  }
  if (_constant == 0 && wrote) return;
  if (wrote) out << " + ";
  out << _constant << " ";
}

template <class Self, class Base, class Constant, class Part, class RemoveVar>
void TavLinearI<Self, Base, Constant, Part, RemoveVar>::writeLibrary(TavTextWriter& out) const {
  const char* separator = "";
  out << "( ";
  for (const TavNumLinExprTermI* cell = _terms.first; cell; cell = cell->next, separator = " + ") {
    out << separator;
    if (cell->coef == 0.0) {
      out << "0 ";
      continue;
    }
    if (cell->coef != 1.0) out << cell->coef << " * ";
    writeVar(out, *cell->var);
  }
  for (const TavPart* part = _parts.first; part; part = part->next, separator = " + ") {
    out << separator << *part->expr;
  }
  if (_constant != 0) out << separator << _constant << " ";
  out << ") ";
}

#pragma GCC visibility pop
