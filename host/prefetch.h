#pragma once
/// Prefetching. Nothing is read, so the address may be invalid.

#include <cstdint>

#pragma GCC visibility push(default)

/// Prefetches the memory at `address`.
inline void TavPrefetch(const void* address) noexcept {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#else
  static_cast<void>(address);
#endif
}

/// Prefetches the memory one page behind the current object of a walk: objects built in order are contiguous, and the
/// processor's own prefetching ends with the page.
inline void TavPrefetchPageAhead(const void* object) noexcept {
  constexpr std::uintptr_t kPage = 4096;
  TavPrefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(object) + kPage));
}

#pragma GCC visibility pop
