#pragma once
/// Class header for authors of algorithms: setting coefficients in two steps. Step 1 allocates everything, then
/// normalises; if it throws, the node is unchanged. Step 2 can throw only from a listener.

#include <memory>
#include <optional>
#include <vector>

#include "expression/core/num_linear.h"

#pragma GCC visibility push(default)

/// One coefficient about to be set: see TavNumLinTermI::setCoef.
class TavCoefEdit {
 public:
  /// Throws TavEmptyHandleException and std::bad_alloc; normalises the node.
  TavCoefEdit(TavNumLinTermI* node, TavNumVar variable, double coef);
  /// Sets the coefficient and reports it; returns the old one. Call it once.
  double apply();

 private:
  TavNumLinTermI* _node;
  TavNumVarI* _var;
  double _coef;
  /// A cell for an absent variable; null when none is needed.
  TavGuard<TavNumLinExprTermI> _cell;
};

/// Many coefficients about to be set. Uses the marks of the variables during its lifetime.
class TavCoefsEdit {
 public:
  /// Throws TavEmptyHandleException and std::bad_alloc; normalises the node.
  TavCoefsEdit(TavNumLinTermI* node, TavNumVarArray variables, TavNumArray coefs, TavNumArray previous);
  /// Sets the coefficients and reports them. Call it once.
  void apply();

 private:
  /// Makes a cell for variable i unless it has one.
  void makeCell(TavInt i, TavNumVarI* var, double coef);
  /// Sets the marks of the variables. Stops at an empty handle and returns false.
  bool setMarks(TavNumLinExprTermI* mark) noexcept;
  /// The cell of variable i before the first notification; null when the variable was absent.
  TavNumLinExprTermI*& cellOf(TavInt i) noexcept { return _cells[static_cast<std::size_t>(i)]; }
  /// Sets coefficients up to the first change to report; returns its position.
  TavInt setUnreported();
  /// Writes the old coefficient of variable i to `previous`.
  void report(TavInt i, double old);

  TavNumLinTermI* _node;
  TavNumVarArray _variables;
  TavNumArray _coefs, _previous;
  TavInt _count;
  std::optional<TavLockGuard> _lock;
  /// New cells by variable; empty until the first one is needed, since usually every variable has a term.
  std::vector<TavGuard<TavNumLinExprTermI>> _fresh;
  /// The cells for cellOf, from the first reported change on.
  std::unique_ptr<TavNumLinExprTermI*[]> _cells;
};

#pragma GCC visibility pop
