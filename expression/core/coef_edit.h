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
  /// Returns the old coefficient. Once.
  double apply();

 private:
  TavNumLinTermI* _node;
  TavNumVarI* _var;
  double _coef;
  std::optional<TavLooseTerm> _cell;
};

/// Many coefficients about to be set. The variables' marks are in use for as long as it lives.
class TavCoefsEdit {
 public:
  /// Throws TavEmptyHandleException and std::bad_alloc; normalises the node.
  TavCoefsEdit(TavNumLinTermI* node, TavNumVarArray variables, TavNumArray coefs, TavNumArray previous);
  /// Sets the coefficients and reports them. Once.
  void apply();

 private:
  /// New cells, at most one per variable; recycled unless they are taken.
  class NewCells {
   public:
    NewCells(TavEnvI* env, std::size_t count) : _env(env), _count(count) {}
    NewCells(const NewCells&) = delete;
    NewCells& operator=(const NewCells&) = delete;
    ~NewCells() {
      for (TavNumLinExprTermI* cell : _cells) {
        if (cell) _env->recycleTerm(cell);
      }
    }
    void make(TavInt i, TavNumVarI* var, double coef) {
      if (_cells.empty()) _cells.resize(_count);
      if (!at(i)) at(i) = _env->newTerm(var, coef);
    }
    TavNumLinExprTermI* take(TavInt i) noexcept { return std::exchange(at(i), nullptr); }

   private:
    TavNumLinExprTermI*& at(TavInt i) noexcept { return _cells[static_cast<std::size_t>(i)]; }
    TavEnvI* _env;
    std::size_t _count;
    /// Empty until the first cell is needed: usually every variable has a term.
    std::vector<TavNumLinExprTermI*> _cells;
  };
  /// Sets the mark of every variable up to an empty handle; returns whether there was none.
  bool setMarks(TavNumLinExprTermI* mark) noexcept;
  /// The cell that variable i had before the first record, null when it was absent.
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
  NewCells _fresh;
  /// The cells for cellOf, from the first reported change on.
  std::unique_ptr<TavNumLinExprTermI*[]> _cells;
};

#pragma GCC visibility pop
