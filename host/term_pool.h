#pragma once
/// The memory of the cells of linear sums.

#include <new>
#include <unordered_set>

#include "host/extractable.h"
#include "host/memory.h"
#include "host/poison.h"

#pragma GCC visibility push(default)

/// The cells of one environment. Recycled cells are used again, the last one first.
class TavTermPool {
 public:
  /// An empty pool over this memory, which must outlive it.
  explicit TavTermPool(TavMemory* memory) noexcept : _memory(memory), _pool(sizeof(TavNumLinExprTermI)) {}
  TavTermPool(const TavTermPool&) = delete;
  TavTermPool& operator=(const TavTermPool&) = delete;

  /// A cell outside any list. Throws std::bad_alloc.
  TavNumLinExprTermI* make(TavNumVarI* var, double coef) {
    if (!_free) return carve(var, coef);
    void* cell = _free;
    TavUnpoison(cell, sizeof *_free);
    _free = _free->next;
    return new (cell) TavNumLinExprTermI{var, nullptr, coef};
  }
  /// Recycles a chain of cells linked from `first` to `last`, in O(1).
  void recycle(TavNumLinExprTermI* first, TavNumLinExprTermI* last) noexcept;
  /// For assertions: notes that an expression takes over the cell of a term handle. Returns false when an expression
  /// has taken it before and not recycled it. Debug builds of the library alone keep track; without memory it returns
  /// true.
  bool noteTaken(const TavNumLinExprTermI* cell) noexcept;
  /// Number of cells in use. Walks the free list: for tests and diagnosis.
  TavInt liveCount() const noexcept;

 private:
  /// A cell of fresh memory.
  TavNumLinExprTermI* carve(TavNumVarI* var, double coef);

  TavMemory* _memory;
  TavFixedSizeAllocatorI _pool;
  TavNumLinExprTermI* _free = nullptr;
  std::unordered_set<const TavNumLinExprTermI*> _taken;
  /// Cells alive when each is an allocation of its own.
  TavInt _plain = 0;
};

#pragma GCC visibility pop
