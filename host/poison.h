#pragma once
/// Free blocks of a pool are poisoned, so that AddressSanitizer reports a use after free. In other builds these
/// functions are empty.

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
/// Poisons these bytes until TavUnpoison. Both ends are multiples of 8.
inline void TavPoison(const void* block, std::size_t bytes) noexcept { __asan_poison_memory_region(block, bytes); }
/// Makes the bytes accessible.
inline void TavUnpoison(const void* block, std::size_t bytes) noexcept { __asan_unpoison_memory_region(block, bytes); }
/// Reads a link of a free block.
template <class T>
__attribute__((no_sanitize("address"), noinline)) T TavPeek(const T* link) noexcept {
  return *link;
}
#else
/// Whether the two functions below do anything.
inline constexpr bool kTavPoisons = false;
/// Does nothing.
inline void TavPoison(const void*, std::size_t) noexcept {}
/// Does nothing.
inline void TavUnpoison(const void*, std::size_t) noexcept {}
/// Reads a link of a free block.
template <class T>
T TavPeek(const T* link) noexcept {
  return *link;
}
#endif
