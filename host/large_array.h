#pragma once
/// Growable arrays of plain values.

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "host/large_block.h"

#pragma GCC visibility push(default)

/// What std::vector does, for plain values. Growth neither copies nor initialises large memory, and memory that has not
/// been written to costs nothing, so that room may be reserved generously. Functions that make room throw
/// std::bad_alloc and then leave the array unchanged.
template <class T>
class TavLargeArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  using value_type = T;             ///< As in the standard library.
  using iterator = T*;              ///< As in the standard library.
  using const_iterator = const T*;  ///< As in the standard library.

  TavLargeArray() = default;
  /// The values of the list.
  TavLargeArray(std::initializer_list<T> values) { assign(values.begin(), values.end()); }
  /// A copy, with room for its values.
  TavLargeArray(const TavLargeArray& other) { assign(other.begin(), other.end()); }
  /// Takes over the values; `other` is empty then.
  TavLargeArray(TavLargeArray&& other) noexcept { swap(other); }
  /// Takes the values of `other`.
  TavLargeArray& operator=(TavLargeArray other) noexcept {
    swap(other);
    return *this;
  }
  ~TavLargeArray() { TavFreeBlock(_data, _capacity * sizeof(T)); }

  /// Number of values.
  std::size_t size() const noexcept { return _size; }
  /// Number of values that there is room for.
  std::size_t capacity() const noexcept { return _capacity; }
  /// Whether there are no values.
  bool empty() const noexcept { return _size == 0; }
  ///@{
  /// The first value; null without room. Valid until the array makes room or is destroyed.
  T* data() noexcept { return _data; }
  const T* data() const noexcept { return _data; }
  T* begin() noexcept { return _data; }
  const T* begin() const noexcept { return _data; }
  ///@}
  ///@{
  /// Behind the last value.
  T* end() noexcept { return _data + _size; }
  const T* end() const noexcept { return _data + _size; }
  ///@}
  ///@{
  /// The value at position i, counted from 0; unchecked.
  T& operator[](std::size_t i) noexcept { return _data[i]; }
  const T& operator[](std::size_t i) const noexcept { return _data[i]; }
  ///@}
  ///@{
  /// The last value, of which there must be one.
  T& back() noexcept { return _data[_size - 1]; }
  const T& back() const noexcept { return _data[_size - 1]; }
  ///@}

  /// Appends a value, O(1) amortised.
  void push_back(T value) {
    if (_size == _capacity) grow(_size + 1);
    _data[_size++] = value;
  }
  /// Appends a value of T() and returns it.
  T& emplace_back() {
    push_back(T());
    return back();
  }
  /// Appends `count` values that are not initialised and returns the first.
  T* append(std::size_t count) {
    if (count > _capacity - _size) grow(checkedSum(_size, count));
    T* const first = _data + _size;
    _size += count;
    return first;
  }
  /// Drops the last value, of which there must be one.
  void pop_back() noexcept { --_size; }
  /// Gives the memory of the values before position `end` back to the system, as far as it can. These values are lost;
  /// the size and all other values stay.
  void discardBefore(std::size_t end) noexcept { TavDiscardFront(_data, _capacity * sizeof(T), end * sizeof(T)); }
  /// Drops all values; the capacity stays.
  void clear() noexcept { _size = 0; }
  /// Room for `count` values at least.
  void reserve(std::size_t count) {
    if (count > _capacity) growTo(count);
  }
  /// New values are T().
  void resize(std::size_t count) {
    if (count > _size) {
      T* const first = append(count - _size);
      std::fill(first, _data + _size, T());
    }
    _size = count;
  }
  /// `count` times `value`.
  void assign(std::size_t count, T value) {
    clear();
    std::fill_n(append(count), count, value);
  }
  /// The values from first up to, but not at, last, which are not those of this array.
  template <std::forward_iterator Iterator>
  void assign(Iterator first, Iterator last) {
    clear();
    std::copy(first, last, append(static_cast<std::size_t>(std::distance(first, last))));
  }
  /// Exchanges the values, O(1).
  void swap(TavLargeArray& other) noexcept {
    std::swap(_data, other._data);
    std::swap(_size, other._size);
    std::swap(_capacity, other._capacity);
  }
  /// Whether the arrays have equal values in the same order.
  friend bool operator==(const TavLargeArray& a, const TavLargeArray& b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }

 private:
  static std::size_t checkedSum(std::size_t a, std::size_t b) {
    if (b > std::numeric_limits<std::size_t>::max() - a) throw std::bad_alloc();
    return a + b;
  }
  [[gnu::noinline]] void grow(std::size_t wanted) { growTo(std::max({wanted, 2 * _capacity, 64 / sizeof(T) + 1})); }
  void growTo(std::size_t capacity) {
    if (capacity > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T)) throw std::bad_alloc();
    _data = static_cast<T*>(TavGrowBlock(_data, _capacity * sizeof(T), capacity * sizeof(T)));
    _capacity = capacity;
  }

  T* _data = nullptr;
  std::size_t _size = 0;
  std::size_t _capacity = 0;
};

#pragma GCC visibility pop
