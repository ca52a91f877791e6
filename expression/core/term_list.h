#pragma once
/// Class header for authors of algorithms: the two lists of a linear node, terms and parts.

#include "expression/core/num_expr.h"

#pragma GCC visibility push(default)

/// One part of a linear node: an expression as a summand, which the node retains.
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
  /// Appends all cells of `other`, which is empty afterwards.
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

#pragma GCC visibility pop
