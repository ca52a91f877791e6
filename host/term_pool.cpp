#include "host/term_pool.h"

TavNumLinExprTermI* TavTermPool::carve(TavNumVarI* var, double coef) {
#ifdef TAV_PLAIN_ALLOC
  void* cell = _memory->alloc(sizeof(TavNumLinExprTermI));
  ++_plain;
#else
  void* cell = _pool.allocateBlock(_memory);
#endif
  return new (cell) TavNumLinExprTermI{var, nullptr, coef};
}

void TavTermPool::recycle(TavNumLinExprTermI* first, TavNumLinExprTermI* last) noexcept {
#ifndef NDEBUG
  if (!_taken.empty()) {
    for (TavNumLinExprTermI* cell = first; cell != last; cell = cell->next) _taken.erase(cell);
    _taken.erase(last);
  }
#endif
#ifdef TAV_PLAIN_ALLOC
  for (TavNumLinExprTermI* end = last->next; first != end;) {
    TavNumLinExprTermI* next = first->next;
    --_plain;
    _memory->dealloc(first, sizeof *first);
    first = next;
  }
#else
  last->next = _free;
  _free = first;
  if constexpr (kTavPoisons) {
    for (TavNumLinExprTermI* cell = first; cell; cell = cell == last ? nullptr : TavPeek(&cell->next)) {
      TavPoison(cell, sizeof *cell);
    }
  }
#endif
}

TavInt TavTermPool::liveCount() const noexcept {
  TavInt live = _plain + _pool.liveBlocks();
  for (const TavNumLinExprTermI* cell = _free; cell; cell = TavPeek(&cell->next)) --live;
  return live;
}

bool TavTermPool::noteTaken(const TavNumLinExprTermI* cell) noexcept {
  try {
    return _taken.insert(cell).second;
  } catch (const std::bad_alloc&) {
    return true;
  }
}
