#pragma once
/// Arrays that grow.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace taveval {

/// Makes room for `count` more elements; by half as many again as there are, so that much room is seldom made.
template <class Vector>
void makeRoom(Vector& vector, std::size_t count) {
  if (vector.capacity() - vector.size() < count) vector.reserve(vector.size() + std::max(count, vector.size() / 2));
}

/// An array without end, of which pages in use have memory. Its elements are `kInitial` before they are written.
template <class T, T kInitial = T{}>
class Pages {
 public:
  T& operator[](std::size_t at) {
    const std::size_t number = at / kSize;
    if (number >= _pages.size()) _pages.resize(std::max(number + 1, 2 * _pages.size()));
    std::vector<T>& page = _pages[number];
    if (page.empty()) page.assign(kSize, kInitial);
    return page[at % kSize];
  }
  T get(std::size_t at) const noexcept {
    const std::size_t number = at / kSize;
    return number < _pages.size() && !_pages[number].empty() ? _pages[number][at % kSize] : kInitial;
  }
  std::size_t bytes() const noexcept {
    std::size_t sum = _pages.capacity() * sizeof(std::vector<T>);
    for (const auto& page : _pages) sum += page.capacity() * sizeof(T);
    return sum;
  }

 private:
  static constexpr std::size_t kSize = 512;
  std::vector<std::vector<T>> _pages;
};

}  // namespace taveval
