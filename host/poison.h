#pragma once
/// What a pool keeps free is told to the address sanitizer, so that it reports a use of a block after its end although
/// the pool has not given the memory back. In other builds these functions are empty.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define TAV_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAV_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef TAV_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>

/// Whether the two functions below do anything.
inline constexpr bool kTavPoisons = true;
/// Nobody may touch these bytes until TavUnpoison. Both ends are multiples of 8.
inline void TavPoison(const void* block, std::size_t bytes) noexcept { __asan_poison_memory_region(block, bytes); }
/// The bytes may be touched from now on.
inline void TavUnpoison(const void* block, std::size_t bytes) noexcept { __asan_unpoison_memory_region(block, bytes); }
/// Reads a link of a free block.
template <class T>
__attribute__((no_sanitize("address"), noinline)) T TavPeek(const T* link) noexcept {
  return *link;
}
#else
/// Whether the two functions below do anything.
inline constexpr bool kTavPoisons = false;
/// Nothing.
inline void TavPoison(const void*, std::size_t) noexcept {}
/// Nothing.
inline void TavUnpoison(const void*, std::size_t) noexcept {}
/// Reads a link of a free block.
template <class T>
T TavPeek(const T* link) noexcept {
  return *link;
}
#endif
