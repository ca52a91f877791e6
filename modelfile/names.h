#pragma once
/// The names of a model's variables or rows.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#pragma GCC visibility push(default)

/// Names of the items 0, 1, …, all characters in one arena, found by one hash table over it. An item may have no name,
/// which reads as the empty name; several items may share a name that was not hashed.
class TavNameTable {
 public:
  /// No item of this name.
  static constexpr std::int32_t kNone = -1;

  /// Number of items that have been given a name, the empty ones included.
  std::int32_t size() const noexcept { return static_cast<std::int32_t>(_end.size()); }
  /// The name of item i; empty when it has none or i is beyond the last. Valid until a name is added.
  std::string_view operator[](std::int32_t i) const noexcept;
  /// The item that `insert` or `rehash` entered under this name, or kNone. Cost: O(length).
  std::int32_t find(std::string_view name) const noexcept;
  /// The item of this name; a new one at the end when there is none. The empty name is always a new item.
  /// Throws std::bad_alloc and std::length_error beyond 2^31 - 1 items, and is then unchanged. Cost: O(length).
  std::int32_t insert(std::string_view name);
  /// Appends an item that `find` does not see. Throws as insert does.
  void append(std::string_view name);
  /// Enters all items, so that `find` sees them; of several with one name it sees the first.
  /// Returns the first item whose name an item before it has too, or kNone. Cost: O(characters).
  std::int32_t rehash();
  /// Room for this many items.
  void reserve(std::size_t items);

 private:
  struct Slot {
    std::uint32_t hash;
    std::int32_t item = kNone;
  };

  Slot& slotOf(std::string_view name, std::uint32_t hash) noexcept;
  void grow(std::size_t items);

  std::vector<char> _text;
  /// Where the name of each item ends in the arena; it begins where the one before ends.
  std::vector<std::size_t> _end;
  /// Open addressing, a power of two slots, at most half of them used.
  std::vector<Slot> _slots;
  std::size_t _used = 0;
};

#pragma GCC visibility pop
