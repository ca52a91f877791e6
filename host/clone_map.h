#pragma once
/// The clones of one cloning pass, by their sources.

#include <cstddef>
#include <cstdint>
#include <vector>

#pragma GCC visibility push(default)

class TavExtractableI;

/// From source to clone. Open addressing at half load at most: one access to memory for most look-ups, no allocation
/// for an entry of its own. Sources are compared by address and never read.
class TavCloneMap {
 public:
  /// The clone, or null; null for null.
  TavExtractableI* find(const TavExtractableI* source) const noexcept {
    if (_entries.empty()) return nullptr;
    const Entry& entry = _entries[place(source)];
    return entry.clone;  // null in an empty place
  }
  /// Room for `count` more sources. Throws std::bad_alloc and is then unchanged.
  void makeRoom(std::size_t count) {
    if (2 * (_size + count) > _entries.size()) grow(count);
  }
  /// Records a pair; a source that is known gets the new clone. Throws std::bad_alloc and is then unchanged.
  void set(const TavExtractableI* source, TavExtractableI* clone);
  /// Forgets all pairs and gives their memory back.
  void clear() noexcept;

 private:
  struct Entry {
    const TavExtractableI* source;
    TavExtractableI* clone;
  };
  static constexpr std::size_t kLeast = 64;

  /// Where the source is, or the empty place where it would be.
  std::size_t place(const TavExtractableI* source) const noexcept {
    const std::size_t mask = _entries.size() - 1;
    // The high bits of a product depend on all bits of the address.
    std::size_t i = static_cast<std::size_t>((reinterpret_cast<std::uintptr_t>(source) * 0x9E3779B97F4A7C15u) >> 32);
    for (i &= mask; _entries[i].source && _entries[i].source != source;) i = (i + 1) & mask;
    return i;
  }
  void grow(std::size_t count);

  std::vector<Entry> _entries;
  std::size_t _size = 0;
};

#pragma GCC visibility pop
