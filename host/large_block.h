#pragma once
/// Memory of large arrays.

#include <cstddef>

#pragma GCC visibility push(default)

/// Enlarges a block from `before` to `bytes` bytes, which are no fewer, and returns its address, which may change; the
/// contents stay. Null and 0 make a new block. Blocks of some megabytes consist of huge pages where the system has
/// them, and grow by moving pages to other addresses instead of copying. Throws std::bad_alloc, and then leaves the
/// block unchanged.
void* TavGrowBlock(void* block, std::size_t before, std::size_t bytes);
/// Frees a block of `bytes` bytes that TavGrowBlock returned.
void TavFreeBlock(void* block, std::size_t bytes) noexcept;
/// Gives the first `unused` bytes of a block of `bytes` bytes that TavGrowBlock returned back to the system, as far as
/// they are whole pages; their contents are lost.
void TavDiscardFront(void* block, std::size_t bytes, std::size_t unused) noexcept;

/// `bytes` bytes aligned to `alignment`, a power of two; null without memory. Two megabytes or more consist of huge
/// pages where the system has them. std::free frees them.
void* TavAllocAligned(std::size_t alignment, std::size_t bytes) noexcept;

/// Asks the system for huge pages for other memory that has not been written to, as far as it covers whole ones.
void TavWantHugePages(void* block, std::size_t bytes) noexcept;

#pragma GCC visibility pop
