#pragma once
/// Arrays by the identifiers of objects: of a few objects of a large model they take little memory.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace taveval {

/// An array without end, of which pages in use have memory. Its elements are `kInitial` before they are written.
template <class T, T kInitial>
class Pages {
 public:
  T& operator[](std::size_t at) {
    const std::size_t number = at / kSize;
    if (number >= _pages.size()) _pages.resize(std::max(number + 1, 2 * _pages.size()));
    if (_pages[number].empty()) _pages[number].assign(kSize, kInitial);
    return _pages[number][at % kSize];
  }
  T get(std::size_t at) const noexcept {
    const std::size_t number = at / kSize;
    return number < _pages.size() && !_pages[number].empty() ? _pages[number][at % kSize] : kInitial;
  }
  void clear() noexcept { _pages.clear(); }

 private:
  static constexpr std::size_t kSize = 512;
  std::vector<std::vector<T>> _pages;
};

}  // namespace taveval
