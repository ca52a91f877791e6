#include "expression/core/coef_edit.h"

#include <cassert>

#include "expression/core/check.h"

TavCoefEdit::TavCoefEdit(TavNumLinTermI* node, TavNumVar variable, double coef)
    : _node(node), _var(variable.getImpl()), _coef(coef) {
  if (!_var) throw TavEmptyHandleException();
  assert(_var->getEnv() == node->getEnv() && "a variable of another environment");
  if (coef != 0.0) _cell = TavMakeTerm(_var, coef);
  node->normalize();
}

double TavCoefEdit::apply() {
  TavNumLinExprTermI* previous = nullptr;
  for (TavNumLinExprTermI** link = &_node->_terms.first; *link; previous = *link, link = &(*link)->next) {
    TavNumLinExprTermI* cell = *link;
    if (cell->var != _var) continue;
    const double old = cell->coef;
    if (_coef == 0.0) {
      _node->_terms.unlink(link, previous);
      _node->getEnv()->recycleTerm(cell);
    } else {
      cell->coef = _coef;
    }
    if (old == 0.0) return 0.0;  // by contract: a stored zero changes silently
    // by contract: any change of a non-zero coefficient is a removal
    _node->notify(TavNumLinTermRemoveVar(_node, _var));
    return old;
  }
  if (_coef != 0.0) {
    _node->append(_cell.release());
    _node->_normalized = true;
    _node->notify(TavNumLinTermAddVar(_node, _var));
  }
  _node->_normalized = true;
  return 0.0;
}

double TavNumLinTermI::setCoef(TavNumVar variable, double coef) { return TavCoefEdit(this, variable, coef).apply(); }

namespace {

/// The number of variables.
TavInt countOf(TavNumVarArray variables, TavNumArray coefs) {
  if (!variables.getImpl() || !coefs.getImpl()) throw TavEmptyHandleException();
  assert(coefs.getSize() >= variables.getSize() && "fewer coefficients than variables");
  return variables.getSize();
}

/// The mark of a variable whose term has not been found yet.
TavNumLinExprTermI notFound{};

}  // namespace

TavCoefsEdit::TavCoefsEdit(TavNumLinTermI* node, TavNumVarArray variables, TavNumArray coefs, TavNumArray previous)
    : _node(node),
      _variables(variables),
      _coefs(coefs),
      _previous(previous),
      _count(countOf(variables, coefs)),
      _cells(std::make_unique_for_overwrite<TavNumLinExprTermI*[]>(static_cast<std::size_t>(_count))) {
  if (previous.getImpl()) previous.getImpl()->reserve(_count);
  if (!node->_normalized) {  // the merge decides which variables retain a term, so allocate a cell for each
    for (TavInt i = 0; i < _count; ++i) {
      TavRequireEnv(variables[i].getImpl());
      if (coefs[i] != 0.0) makeCell(i, variables[i].getImpl(), coefs[i]);
    }
    node->normalize();
  }
  _lock.emplace(node->getEnv()->markLock);
  if (!setMarks(&notFound)) {
    setMarks(nullptr);
    throw TavEmptyHandleException();
  }
  TavInt found = 0;
  for (TavNumLinExprTermI* cell = node->_terms.first; cell; cell = cell->next) {
    found += cell->var->getMark() == &notFound;
    cell->var->setMark(cell);
  }
  if (found == _count) return;  // every variable has a term
  setMarks(nullptr);
  for (TavNumLinExprTermI* cell = node->_terms.first; cell; cell = cell->next) cell->var->setMark(cell);
  for (TavInt i = 0; i < _count; ++i) {
    TavNumVarI* var = variables[i].getImpl();
    if (!var->getMark() && coefs[i] != 0.0) makeCell(i, var, coefs[i]);
  }
}

void TavCoefsEdit::makeCell(TavInt i, TavNumVarI* var, double coef) {
  if (_fresh.empty()) _fresh.resize(static_cast<std::size_t>(_count));
  auto& cell = _fresh[static_cast<std::size_t>(i)];
  if (!cell) cell = TavMakeTerm(var, coef);
}

bool TavCoefsEdit::setMarks(TavNumLinExprTermI* mark) noexcept {
  TavArrayReader<TavNumVarI*> var(_variables.getImpl());
  for (TavInt left = _count; left > 0; --left) {
    TavNumVarI* next = var.next();
    if (!next) return false;
    assert(next->getEnv() == _node->getEnv() && "a variable of another environment");
    next->setMark(mark);
  }
  return true;
}

void TavCoefsEdit::report(TavInt i, double old) {
  if (!_previous.getImpl()) return;
  i < _previous.getSize() ? _previous.set(i, old) : _previous.add(old);
}

TavInt TavCoefsEdit::setUnreported() {
  TavArrayReader<TavNumVarI*> var(_variables.getImpl());
  TavArrayReader<double> coef(_coefs.getImpl());
  for (TavInt i = 0; i < _count; ++i) {
    TavNumLinExprTermI* cell = var.next()->getMark();
    const double next = coef.next();
    const double old = cell ? cell->coef : 0.0;
    if ((old == 0.0) != (next == 0.0)) return i;
    report(i, old);
    if (cell) cell->coef = next;
  }
  return _count;
}

void TavCoefsEdit::apply() {
  _node->_normalized = true;  // by contract: although zeros and repeated variables may be added now
  const TavInt first = setUnreported();
  // Read all marks before the first notification: a listener that edits another node uses the same marks.
  for (TavInt i = first; i < _count; ++i) cellOf(i) = _variables[i].getImpl()->getMark();
  for (TavInt i = first; i < _count; ++i) {
    TavNumVarI* var = _variables[i].getImpl();
    const double coef = _coefs[i];
    double old = 0.0;
    if (TavNumLinExprTermI* cell = cellOf(i)) {
      old = std::exchange(cell->coef, coef);
    } else if (coef != 0.0) {
      _node->_terms.append(_fresh[static_cast<std::size_t>(i)].release());
    }
    if (old != 0.0 && coef == 0.0) _node->notify(TavNumLinTermRemoveVar(_node, var));
    if (old == 0.0 && coef != 0.0) _node->notify(TavNumLinTermAddVar(_node, var));
    report(i, old);  // last: `previous` and `coefs` may be one array
  }
}

void TavNumLinTermI::setCoef(TavNumVarArray variables, TavNumArray coefs, TavNumArray previous) {
  TavCoefsEdit(this, variables, coefs, previous).apply();
}
