#include "expression/core/coef_edit.h"

#include <cassert>

// ---- one coefficient

TavCoefEdit::TavCoefEdit(TavNumLinTermI* node, TavNumVar variable, double coef)
    : _node(node), _var(variable.getImpl()), _coef(coef) {
  if (!_var) throw TavEmptyHandleException();
  assert(_var->getEnv() == node->getEnv() && "a variable of another environment");
  if (coef != 0.0) _cell.emplace(node->getEnv(), _var, coef);
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
    if (old == 0.0) return 0.0;                          // kept: a stored zero changes silently
    _node->notify(TavNumLinTermRemoveVar(_node, _var));  // kept: any change of a non-zero coefficient is a removal
    return old;
  }
  if (_coef != 0.0) {
    _node->append(_cell->take());
    _node->_normalized = true;
    _node->notify(TavNumLinTermAddVar(_node, _var));
  }
  _node->_normalized = true;
  return 0.0;
}

double TavNumLinTermI::setCoef(TavNumVar variable, double coef) { return TavCoefEdit(this, variable, coef).apply(); }

// ---- many coefficients

namespace {

/// The number of variables, all of which are there and at home.
TavInt countOf(const TavNumLinTermI* node, TavNumVarArray variables, TavNumArray coefs) {
  if (!variables.getImpl() || !coefs.getImpl()) throw TavEmptyHandleException();
  for (TavInt i = 0; i < variables.getSize(); ++i) {
    if (!variables[i]) throw TavEmptyHandleException();
    assert(variables[i].getImpl()->getEnv() == node->getEnv() && "a variable of another environment");
  }
  static_cast<void>(node);
  assert(coefs.getSize() >= variables.getSize() && "fewer coefficients than variables");
  return variables.getSize();
}

}  // namespace

TavCoefsEdit::TavCoefsEdit(TavNumLinTermI* node, TavNumVarArray variables, TavNumArray coefs, TavNumArray previous)
    : _node(node),
      _variables(variables),
      _coefs(coefs),
      _previous(previous),
      _count(countOf(node, variables, coefs)),
      _fresh(node->getEnv(), static_cast<std::size_t>(_count)),
      _marked(std::make_unique_for_overwrite<TavNumLinExprTermI*[]>(static_cast<std::size_t>(_count))) {
  if (previous.getImpl()) previous.getImpl()->reserve(_count);
  if (!node->_normalized) {  // which variables keep a term is not known before the merge, so there is a cell for each
    for (TavInt i = 0; i < _count; ++i) {
      if (coefs[i] != 0.0) _fresh.make(i, variables[i].getImpl(), coefs[i]);
    }
    node->normalize();
  }
  _lock.emplace(node->getEnv()->markLock);
  for (TavInt i = 0; i < _count; ++i) variables[i].getImpl()->setMark(nullptr);
  for (TavNumLinExprTermI* cell = node->_terms.first; cell; cell = cell->next) cell->var->setMark(cell);
  // All marks are read before the first record goes out: a listener that edits another node uses the same marks.
  for (TavInt i = 0; i < _count; ++i) {
    TavNumLinExprTermI* cell = _marked[static_cast<std::size_t>(i)] = variables[i].getImpl()->getMark();
    if (!cell && coefs[i] != 0.0) _fresh.make(i, variables[i].getImpl(), coefs[i]);
  }
}

void TavCoefsEdit::report(TavInt i, double old) {
  if (!_previous.getImpl()) return;
  i < _previous.getSize() ? _previous.set(i, old) : _previous.add(old);
}

void TavCoefsEdit::apply() {
  _node->_normalized = true;  // kept: although zeros and repeats may come in now
  for (TavInt i = 0; i < _count; ++i) {
    TavNumVarI* var = _variables[i].getImpl();
    if (TavNumLinExprTermI* cell = _marked[static_cast<std::size_t>(i)]) {
      const double old = std::exchange(cell->coef, _coefs[i]);
      report(i, old);
      if (old != 0.0 && cell->coef == 0.0) _node->notify(TavNumLinTermRemoveVar(_node, var));
      if (old == 0.0 && cell->coef != 0.0) _node->notify(TavNumLinTermAddVar(_node, var));
    } else {
      report(i, 0.0);
      if (_coefs[i] == 0.0) continue;
      _node->_terms.append(_fresh.take(i));
      _node->notify(TavNumLinTermAddVar(_node, var));
    }
  }
}

void TavNumLinTermI::setCoef(TavNumVarArray variables, TavNumArray coefs, TavNumArray previous) {
  TavCoefsEdit(this, variables, coefs, previous).apply();
}
