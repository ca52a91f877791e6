#pragma once
/// Asking for memory before it is needed. Nothing is read, and an address need not be one of the program's.

#include <cstdint>

#pragma GCC visibility push(default)

/// Asks for the memory at `address`.
inline void TavPrefetch(const void* address) noexcept {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#else
  static_cast<void>(address);
#endif
}

/// Asks for the memory a page behind an object that a walk has come to: what was built in order lies in order, and a
/// processor's own look-ahead ends with the page.
inline void TavPrefetchPageAhead(const void* object) noexcept {
  constexpr std::uintptr_t kPage = 4096;
  TavPrefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(object) + kPage));
}

#pragma GCC visibility pop
