#pragma once
/// Huge pages for memory that other code has allocated.

#include <cstddef>

#pragma GCC visibility push(default)

/// Asks the system for huge pages for memory that has not been written to, as far as it covers whole ones.
void TavWantHugePages(void* block, std::size_t bytes) noexcept;

#pragma GCC visibility pop
