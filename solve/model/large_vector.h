#pragma once
/// A std::vector for lists that are as long as the model.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

#include "host/large_block.h"

namespace tavsolve {

/// An allocator whose large blocks consist of huge pages where the system has them.
template <class T>
struct LargeBlocks {
  using value_type = T;

  LargeBlocks() = default;
  template <class Other>
  explicit LargeBlocks(const LargeBlocks<Other>&) noexcept {}

  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
    void* block = TavAllocAligned(alignof(std::max_align_t), count * sizeof(T));
    if (!block) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t) noexcept { std::free(block); }
  bool operator==(const LargeBlocks&) const noexcept { return true; }
};

template <class T>
using LargeVector = std::vector<T, LargeBlocks<T>>;

/// Room for `count` elements; where it is called for one more at a time, the cost is constant on average.
template <class T>
void makeRoom(LargeVector<T>& vector, std::size_t count) {
  if (count > vector.capacity()) vector.reserve(std::max(count, 2 * vector.capacity()));
}

}  // namespace tavsolve
