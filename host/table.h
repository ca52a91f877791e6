#pragma once
/// A growing array of words.

#include <cstddef>
#include <type_traits>

#include "host/large_block.h"

#pragma GCC visibility push(default)

/// An array of plain words that grows at its end. Large arrays grow without copying, because the system moves their
/// pages. Words behind the last one are not initialised, so that unused capacity takes no memory.
template <class Word>
class TavTable {
  static_assert(std::is_trivially_copyable_v<Word>);

 public:
  /// Empty, without room.
  TavTable() = default;
  TavTable(const TavTable&) = delete;
  TavTable& operator=(const TavTable&) = delete;
  ~TavTable() { TavFreeBlock(_words, _capacity * sizeof(Word)); }

  /// Number of words.
  std::size_t size() const noexcept { return _size; }
  /// Number of words that there is room for.
  std::size_t capacity() const noexcept { return _capacity; }
  /// The first word; all room behind it may be written. Valid until the table grows.
  Word* data() noexcept { return _words; }
  /// The word at position i, counted from 0; unchecked.
  Word& operator[](std::size_t i) noexcept { return _words[i]; }
  /// The word at position i, counted from 0; unchecked.
  Word operator[](std::size_t i) const noexcept { return _words[i]; }
  /// Appends a word, O(1) amortised. Throws std::bad_alloc and is then unchanged.
  void push_back(Word word) {
    if (_size == _capacity) reserve(_size + 1);
    _words[_size++] = word;
  }
  /// Drops all words except the first `size`, of which there must be as many; the capacity stays.
  void truncate(std::size_t size) noexcept { _size = size; }
  /// Makes the array `size` words long; the capacity stays, new words are not initialised. Throws std::bad_alloc and is
  /// then unchanged.
  void resize(std::size_t size) {
    reserve(size);
    _size = size;
  }
  /// Room for `size` words at least. Throws std::bad_alloc and is then unchanged.
  void reserve(std::size_t size) {
    if (size <= _capacity) return;
    const std::size_t wanted = size > 2 * _capacity ? size : 2 * _capacity;
    _words = static_cast<Word*>(TavGrowBlock(_words, _capacity * sizeof(Word), wanted * sizeof(Word)));
    _capacity = wanted;
  }

 private:
  Word* _words = nullptr;
  std::size_t _size = 0;
  std::size_t _capacity = 0;
};

#pragma GCC visibility pop
