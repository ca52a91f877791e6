#pragma once
/// Memory of large arrays.

#include <cstddef>

#pragma GCC visibility push(default)

/// Memory of `bytes` bytes that begins with the contents of `block`, of which there are `before` bytes; `block` is
/// freed. Null and 0 at first. Memory of some megabytes consists of huge pages where the system has them, and grows
/// by moving pages to other addresses instead of copying. Throws std::bad_alloc, and then leaves the block unchanged.
void* TavGrowBlock(void* block, std::size_t before, std::size_t bytes);
/// Frees what TavGrowBlock returned for `bytes`.
void TavFreeBlock(void* block, std::size_t bytes) noexcept;
/// Gives the first `unused` bytes of what TavGrowBlock returned for `bytes` back to the system, as far as they are
/// whole pages; their contents are lost.
void TavDiscardFront(void* block, std::size_t bytes, std::size_t unused) noexcept;

/// `bytes` bytes aligned to `alignment`, a power of two; null without memory. Two megabytes or more consist of huge
/// pages where the system has them. std::free frees them.
void* TavAllocAligned(std::size_t alignment, std::size_t bytes) noexcept;

#pragma GCC visibility pop
