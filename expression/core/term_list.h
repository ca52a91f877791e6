#pragma once
/// Class header for authors of algorithms: the two lists of a linear node, terms and parts.

#include <memory>
#include <utility>

#include "expression/core/num_expr.h"

#pragma GCC visibility push(default)

/// One part of a linear node: an expression as a summand, with one reference.
struct TavPart {
  /// The summand.
  TavNumExprI* expr;
  /// The next part, null at the list's end.
  TavPart* next;
};
static_assert(sizeof(TavPart) == 16 && sizeof(TavNumLinExprTermI) == 24);

/// A singly linked list with a tail pointer. Adding a cell treats a list with a null tail as empty.
template <class Cell>
struct TavCellList {
  /// The first cell; null without cells.
  Cell* first = nullptr;
  /// The last cell; null without cells, and after a sweep that dropped the last one.
  Cell* last = nullptr;

  /// Appends a cell that is in no list.
  void append(Cell* cell) noexcept {
    (last ? last->next : first) = cell;
    last = cell;
  }
  /// Prepends a cell that is in no list.
  void prepend(Cell* cell) noexcept {
    // by contract: a sweep may have left the tail null with cells before it; they are lost here
    cell->next = last ? first : nullptr;
    first = cell;
    if (!last) last = cell;
  }
  /// Takes over all cells of `other`.
  void splice(TavCellList& other) noexcept {
    if (other.first) {
      (last ? last->next : first) = other.first;
      last = other.last;
    }
    other = TavCellList();
  }
  /// Removes a cell; `link` is the pointer to it, `previous` the cell with this link, or null.
  void unlink(Cell** link, Cell* previous) noexcept {
    Cell* cell = *link;
    *link = cell->next;
    if (cell == last) last = previous;
  }
};

/// The terms of a sum.
using TavTermList = TavCellList<TavNumLinExprTermI>;
/// The parts of a sum.
using TavPartList = TavCellList<TavPart>;

/// A cell in no list; recycled unless it is taken.
class TavLooseTerm {
 public:
  /// A new cell of the environment. Throws std::bad_alloc.
  TavLooseTerm(TavEnvI* env, TavNumVarI* var, double coef) : _env(env), _cell(env->newTerm(var, coef)) {}
  TavLooseTerm(const TavLooseTerm&) = delete;
  TavLooseTerm& operator=(const TavLooseTerm&) = delete;
  ~TavLooseTerm() {
    if (_cell) _env->recycleTerm(_cell);
  }
  /// The cell, which the caller links into a list.
  TavNumLinExprTermI* take() noexcept { return std::exchange(_cell, nullptr); }

 private:
  TavEnvI* _env;
  TavNumLinExprTermI* _cell;
};

/// A chain of cells in no list; recycled unless a list takes them.
class TavLooseTerms {
 public:
  /// No cells yet, in the memory of `env`.
  explicit TavLooseTerms(TavEnvI* env) noexcept : _env(env) {}
  TavLooseTerms(const TavLooseTerms&) = delete;
  TavLooseTerms& operator=(const TavLooseTerms&) = delete;
  ~TavLooseTerms() {
    if (_first) _env->recycleTerms(_first, _last);
  }
  /// Appends a cell. Throws std::bad_alloc.
  void add(TavNumVarI* var, double coef) {
    *_link = _last = _env->newTerm(var, coef);
    _link = &_last->next;
  }
  /// Appends all to `list`.
  void giveTo(TavTermList& list) noexcept {
    TavTermList terms{std::exchange(_first, nullptr), _last};
    list.splice(terms);
  }

 private:
  TavEnvI* _env;
  TavNumLinExprTermI* _first = nullptr;
  TavNumLinExprTermI* _last = nullptr;
  TavNumLinExprTermI** _link = &_first;
};

/// A part in no list; freed unless it is taken. The list that takes it adds the reference.
class TavLoosePart {
 public:
  /// A new part, without a reference yet. Throws std::bad_alloc.
  TavLoosePart(TavEnvI* env, TavNumExprI* expr)
      : _env(env), _part(new (env->getMemory()->alloc(sizeof(TavPart))) TavPart{expr, nullptr}) {}
  TavLoosePart(const TavLoosePart&) = delete;
  TavLoosePart& operator=(const TavLoosePart&) = delete;
  ~TavLoosePart() {
    if (_part) _env->getMemory()->dealloc(_part, sizeof *_part);
  }
  /// The part, for a list of the caller.
  TavPart* take() noexcept { return std::exchange(_part, nullptr); }

 private:
  TavEnvI* _env;
  TavPart* _part;
};

/// Parts in no list; freed unless a list takes them. Then the references are added.
class TavLooseParts {
 public:
  /// No parts yet, in the memory of `env`.
  explicit TavLooseParts(TavEnvI* env) noexcept : _env(env) {}
  TavLooseParts(const TavLooseParts&) = delete;
  TavLooseParts& operator=(const TavLooseParts&) = delete;
  ~TavLooseParts() {
    while (TavPart* part = _parts.first) {
      _parts.first = part->next;
      _env->getMemory()->dealloc(part, sizeof *part);
    }
  }
  /// Appends a part. Throws std::bad_alloc.
  void add(TavNumExprI* expr) { _parts.append(TavLoosePart(_env, expr).take()); }
  /// Appends all to `list`.
  void giveTo(TavPartList& list) noexcept {
    for (TavPart* part = _parts.first; part; part = part->next) part->expr->retain();
    list.splice(_parts);
  }

 private:
  TavEnvI* _env;
  TavPartList _parts;
};

/// Holds one reference while a new node is built, so that a failure does not destroy an uncounted operand.
class TavHold {
 public:
  /// Adds one reference; does nothing for null.
  explicit TavHold(TavNumExprI* node) noexcept : _node(node) {
    if (_node) _node->retain();
  }
  TavHold(const TavHold&) = delete;
  TavHold& operator=(const TavHold&) = delete;
  ~TavHold() {
    if (_node) _node->lower();
  }

 private:
  TavNumExprI* _node;
};

/// Ends a new node unless it is released: for nodes that are filled step by step. Ignores exceptions of hooks, because
/// another exception is already propagating.
struct TavNodeEnder {
  /// Ends the node.
  void operator()(TavNumExprI* node) const noexcept {
    TavFirstFailure ignored;
    ignored.attempt([node] { node->end(); });
  }
};
/// Guards a node.
template <class Node>
using TavNodeGuard = std::unique_ptr<Node, TavNodeEnder>;

/// A new guarded node in the memory of `env`.
template <class Node, class... Args>
[[gnu::always_inline]] inline TavNodeGuard<Node> TavMakeNode(TavEnvI* env, Args&&... args) {
  return TavNodeGuard<Node>(new (env) Node(std::forward<Args>(args)...));
}

#pragma GCC visibility pop
