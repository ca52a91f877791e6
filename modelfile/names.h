#pragma once
/// The names of a model's variables or rows.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "host/large_array.h"
#include "modelfile/numbered_names.h"

#pragma GCC visibility push(default)

/// Names of the items 0, 1, …, all characters in one arena. A run of numbered names is found by their numbers, all
/// others by one hash table. An item may have no name, which reads as the empty name; several items may share a name
/// that was only appended.
class TavNameTable {
 public:
  /// No item of this name.
  static constexpr std::int32_t kNone = -1;

  using Key = TavNameKey;  ///< What is compared first.

  /// Number of items that have been given a name, the empty ones included.
  std::int32_t size() const noexcept { return static_cast<std::int32_t>(_end.size()); }
  /// The name of item i; empty when it has none or i is beyond the last. Valid until a name is added.
  std::string_view operator[](std::int32_t i) const noexcept {
    if (i >= size()) return {};
    const auto at = static_cast<std::size_t>(i);
    const std::size_t begin = at == 0 ? 0 : _end[at - 1];
    return {_text.data() + begin, _end[at] - begin};
  }

  /// The key of a name. Cost: O(length).
  static Key keyOf(std::string_view name) noexcept {
    const auto size = static_cast<std::uint32_t>(name.size());
    return {size <= 8 ? shortWord(name.data(), size) : longWord(name), size};
  }
  /// The key of the name at `at`, which ends in front of the first byte that is a blank or less. Eight bytes behind it
  /// may be read.
  static Key keyOfWord(const char* at) noexcept {
    if constexpr (kTavWordsBeginLow) {
      std::uint64_t word;
      std::memcpy(&word, at, sizeof word);
      const std::uint64_t ends = (word - 0x2121212121212121) & ~word & 0x8080808080808080;
      // Bits in front of the first end; none when it is the first byte.
      if (ends != 0)
        return {word & ((ends & -ends) / 0x80 - 1), static_cast<std::uint32_t>(std::countr_zero(ends)) / 8};
    }
    const char* end = at;
    while (static_cast<unsigned char>(*end) > ' ') ++end;
    return keyOf({at, static_cast<std::size_t>(end - at)});
  }
  /// Has the processor fetch what find and insert will look at. Inlined early: g++ drops calls of functions that only
  /// prefetch, since they have no effect.
  [[gnu::always_inline]] void prefetch(const Key& key) const noexcept {
    if (!_slots.empty()) __builtin_prefetch(&_slots[placeOf(key)]);
  }
  /// The item of this name where it is one of a run of numbered names, else kNone.
  std::int32_t findNumbered(const Key& key) const noexcept {
    const std::int32_t place = _numbered.find(key);
    return place >= 0 ? _firstNumbered + place : kNone;
  }
  /// The item that `insert` or `rehash` entered under this name, or kNone. `key` is the name's.
  std::int32_t find(std::string_view name, const Key& key) const noexcept {
    const std::int32_t numbered = findNumbered(key);
    if (numbered != kNone) return numbered;
    return _slots.empty() || name.empty() ? kNone : _slots[slotOf(name, key)].item - 1;
  }
  std::int32_t find(std::string_view name) const noexcept { return find(name, keyOf(name)); }
  /// The item of this name; a new one at the end when there is none. The empty name is always a new item.
  /// Throws std::bad_alloc and std::length_error beyond 2^31 - 1 items, and is then unchanged.
  std::int32_t insert(std::string_view name, const Key& key) {
    const std::int32_t known = find(name, key);
    return known != kNone ? known : insertNew(name, key);
  }
  std::int32_t insert(std::string_view name) { return insert(name, keyOf(name)); }
  /// Appends an item that `find` does not see. Throws as insert does.
  void append(std::string_view name);
  /// Enters all items, so that `find` sees them; of several with one name it sees the first.
  /// Returns the first item whose name an item before it has too, or kNone. Cost: O(characters).
  std::int32_t rehash();

 private:
  struct Slot {
    std::uint64_t word = 0;
    std::uint32_t size = 0;
    /// Counted from 1; 0 in a free slot.
    std::int32_t item = 0;
  };

  static std::uint64_t shortWord(const char* at, std::uint32_t size) noexcept {
    std::uint64_t word = 0;
    if constexpr (!kTavWordsBeginLow) {
      std::memcpy(&word, at, size);
    } else if (size == 8) {
      std::memcpy(&word, at, 8);
    } else if (size >= 4) {  // two loads that overlap
      std::uint32_t first, last;
      std::memcpy(&first, at, 4);
      std::memcpy(&last, at + size - 4, 4);
      word = first | std::uint64_t{last} << 8 * (size - 4);
    } else if (size != 0) {
      const auto byte = [&](std::uint32_t i) { return std::uint64_t{static_cast<unsigned char>(at[i])} << 8 * i; };
      word = byte(0) | byte(size / 2) | byte(size - 1);
    }
    return word;
  }
  static std::uint64_t longWord(std::string_view name) noexcept;
  std::size_t placeOf(const Key& key) const noexcept {
    return static_cast<std::size_t>(((key.word ^ key.size) * _factor.value) >> _shift);
  }
  /// The slot of the name, or the free one where it belongs.
  std::size_t slotOf(std::string_view name, const Key& key) const noexcept {
    std::size_t at = placeOf(key);
    for (;; at = (at + 1) & (_slots.size() - 1)) {
      const Slot& slot = _slots[at];
      if (slot.item == 0) return at;
      if (slot.word != key.word || slot.size != key.size) continue;
      if (key.size <= 8 || (*this)[slot.item - 1] == name) return at;
    }
  }
  std::int32_t insertNew(std::string_view name, const Key& key);
  /// Room for entering this name, which find does not see, as the one of `item`.
  void makeRoom(std::int32_t item, const Key& key);
  void enter(std::int32_t item, std::string_view name, const Key& key) noexcept;
  /// The name goes on with the run, and its item too.
  bool continuesRun(std::int32_t item, const Key& key) const noexcept {
    return item == _firstNumbered + _numbered.count() && _numbered.isNext(key);
  }
  /// A run that most items are not in gives way to one that begins at `item`.
  bool beginsRun(std::int32_t item) const noexcept { return _numbered.count() <= item / 2; }
  void hash(std::int32_t item, std::string_view name, const Key& key) noexcept;
  void grow(std::size_t items);

  struct Factor {
    std::uint64_t value;
  };
  /// Odd, and another one in each process: no file can be made to collide. Initialised before tables that are objects
  /// of namespace scope.
  static const Factor _factor;

  TavLargeArray<char> _text;
  /// Where the name of each item ends in the arena; it begins where the one before ends.
  TavLargeArray<std::size_t> _end;
  /// Open addressing, a power of two slots, at most two thirds of them used.
  TavLargeArray<Slot> _slots;
  std::size_t _used = 0;
  int _shift = 63;
  /// Names of consecutive items, which are not in the slots.
  TavNumberedNames _numbered;
  std::int32_t _firstNumbered = 0;
};

/// The item of this name, or kNone. Where names come in the order of the items it is `next`, which is looked at first
/// and becomes the one behind.
inline std::int32_t TavKnownOrNext(const TavNameTable& names, std::string_view name, std::int32_t& next) noexcept {
  const bool guessed = next < names.size() && names[next] == name;
  const std::int32_t found = guessed ? next : names.find(name);
  if (found != TavNameTable::kNone) next = found + 1;
  return found;
}

#pragma GCC visibility pop
