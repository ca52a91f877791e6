#pragma once
/// Class header for authors of algorithms: guards, which undo the steps of an operation unless it succeeds.

#include <memory>
#include <utility>

#include "expression/core/num_var.h"
#include "expression/core/term_list.h"

#pragma GCC visibility push(default)

/// What a guard does with an object that nobody has taken over.
struct TavUndo {
  /// Recycles a term cell, which is in no list.
  void operator()(TavNumLinExprTermI* cell) const noexcept { cell->var->getEnv()->recycleTerm(cell); }
  /// Frees a part cell, which is in no list. It has no reference on its expression yet.
  void operator()(TavPart* part) const noexcept { TavMemory::of(part)->dealloc(part, sizeof *part); }
  /// Ends an array.
  void operator()(TavArrayI* array) const noexcept { array->end(); }
  /// Ends a new node. Ignores exceptions of hooks, because another exception is already propagating.
  void operator()(TavNumExprI* node) const noexcept {
    TavFirstFailure ignored;
    ignored.attempt([node] { node->end(); });
  }
};
/// Guards a new term cell, part cell, array or node until release().
template <class T>
using TavGuard = std::unique_ptr<T, TavUndo>;

/// A new node in the memory of `env`. Throws std::bad_alloc, and what the constructor throws.
template <class Node, class... Args>
[[gnu::always_inline]] inline TavGuard<Node> TavMakeNode(TavEnvI* env, Args&&... args) {
  return TavGuard<Node>(new (env) Node(std::forward<Args>(args)...));
}
/// A new term cell. Throws std::bad_alloc.
inline TavGuard<TavNumLinExprTermI> TavMakeTerm(TavNumVarI* var, double coef) {
  return TavGuard<TavNumLinExprTermI>(var->getEnv()->newTerm(var, coef));
}
/// A new part cell for a sum in `env`. The sum that takes it over retains the expression. Throws std::bad_alloc.
inline TavGuard<TavPart> TavMakePart(TavEnvI* env, TavNumExprI* expr) {
  return TavGuard<TavPart>(new (env->getMemory()->alloc(sizeof(TavPart))) TavPart{expr, nullptr});
}

/// New cells in their order. Guards them until a list takes them over.
template <class Cell>
class TavGuardedCells {
 public:
  TavGuardedCells() noexcept = default;
  TavGuardedCells(const TavGuardedCells&) = delete;
  TavGuardedCells& operator=(const TavGuardedCells&) = delete;
  ~TavGuardedCells() {
    while (Cell* cell = _head.next) {
      _head.next = cell->next;
      TavUndo()(cell);
    }
  }
  /// Appends a new cell.
  void add(Cell* cell) noexcept {
    _last->next = cell;
    _last = cell;
  }
  /// Appends all cells to `list`.
  void giveTo(TavCellList<Cell>& list) noexcept {
    TavCellList<Cell> cells{std::exchange(_head.next, nullptr), std::exchange(_last, &_head)};
    list.splice(cells);
  }

 private:
  Cell _head = {};  // not a cell of the list: its `next` is the first one
  Cell* _last = &_head;
};

/// Retains a node during its lifetime: an operation that fails then leaves an uncounted operand alive, and no operator
/// changes it in place.
class TavKeepAlive {
 public:
  /// Adds one reference; does nothing for null.
  explicit TavKeepAlive(TavNumExprI* node) noexcept : _node(node) {
    if (_node) _node->retain();
  }
  TavKeepAlive(const TavKeepAlive&) = delete;
  TavKeepAlive& operator=(const TavKeepAlive&) = delete;
  ~TavKeepAlive() {
    if (_node) _node->lower();
  }

 private:
  TavNumExprI* _node;
};

#pragma GCC visibility pop
