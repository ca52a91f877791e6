#pragma once
/// The cells of linear sums: where they come from and go back to.

#include <new>
#include <unordered_set>

#include "host/extractable.h"
#include "host/memory.h"
#include "host/poison.h"

#pragma GCC visibility push(default)

/// The cells of one environment. Cells that were given back are handed out again, the last one first.
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
  /// Takes back a chain of cells linked from `first` to `last`, in O(1).
  void recycle(TavNumLinExprTermI* first, TavNumLinExprTermI* last) noexcept;
  /// For assertions: false when an expression has taken this cell of a term handle already and not given it back.
  /// Remembered by debug builds of the library alone; a cell for which there is no memory is not.
  bool noteTaken(const TavNumLinExprTermI* cell) noexcept;
  /// Cells handed out and not recycled. Walks the free list: for tests and diagnosis.
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
