#pragma once
/// The clones of one cloning pass, by their sources.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/extractable.h"

#pragma GCC visibility push(default)

class TavEnvI;

/// The clones of objects. An object that is destroyed is dropped from every map, as source and as clone. A hash table
/// with open addressing, at most half full: most look-ups access memory once. The environments of its objects must be
/// used by one thread until the map is cleared.
class TavCloneMap {
 public:
  TavCloneMap() = default;
  TavCloneMap(const TavCloneMap&) = delete;
  TavCloneMap& operator=(const TavCloneMap&) = delete;
  ~TavCloneMap() { clear(); }

  /// The clone, or null; null for null.
  TavExtractableI* find(const TavExtractableI* source) const noexcept {
    return const_cast<TavExtractableI*>(_clones.find(source));
  }
  /// Makes room for a clone of this source, so that add() allocates nothing. Throws std::bad_alloc.
  void prepare(const TavExtractableI* source) {
    watch(source->getEnv());
    _clones.makeRoom(1);
    if (_clonesIndexed) _sources.makeRoom(1);
  }
  /// Records the clone of a source that has none, after prepare() and after watch() of its environment.
  void add(const TavExtractableI* source, const TavExtractableI* clone) noexcept {
    _clones.put(source, clone);
    if (_clonesIndexed) _sources.put(clone, source);
  }
  /// Records a pair. Replaces the clone of a source that has one; null removes it. Throws std::bad_alloc and is then
  /// unchanged.
  void set(const TavExtractableI* source, TavExtractableI* clone);
  /// Drops all pairs and frees their memory.
  void clear() noexcept;

  /// Allows pairs with objects of this environment, which notifies the map of destroyed ones. Throws std::bad_alloc.
  void watch(TavEnvI* env) {
    if (env != _lastWatched) watchAnother(env);
  }
  /// Drops every pair with this object, which is being destroyed.
  void forget(const TavExtractableI* object) noexcept;
  /// Drops every pair with an object of this environment, which is ending.
  void forgetAll(const TavEnvI* env) noexcept;

 private:
  /// Pairs of addresses by the first one. A key may have several values.
  class Table {
   public:
    /// A value of the key, or null.
    const TavExtractableI* find(const TavExtractableI* key) const noexcept {
      if (_entries.empty()) return nullptr;
      std::size_t i = home(key);
      while (_entries[i].key && _entries[i].key != key) i = next(i);
      return _entries[i].value;  // null in an empty place
    }
    /// Room for `count` more pairs. Throws std::bad_alloc and is then unchanged.
    void makeRoom(std::size_t count) {
      if (2 * (_size + count) > _entries.size()) grow(count);
    }
    /// Adds a pair, for which there is room.
    void put(const TavExtractableI* key, const TavExtractableI* value) noexcept {
      std::size_t i = home(key);
      while (_entries[i].key) i = next(i);
      _entries[i] = {key, value};
      ++_size;
    }
    /// Drops a pair, if there is one.
    void erase(const TavExtractableI* key, const TavExtractableI* value) noexcept;
    void clear() noexcept;
    std::size_t size() const noexcept { return _size; }
    /// The first pair at place i or later for which isWanted is true, and null when there is none. Sets i to its place.
    template <class IsWanted>
    const auto* findFrom(std::size_t& i, IsWanted isWanted) const noexcept {
      while (i < _entries.size() && !(_entries[i].key && isWanted(_entries[i]))) ++i;
      return i < _entries.size() ? &_entries[i] : nullptr;
    }

   private:
    struct Entry {
      const TavExtractableI* key;
      const TavExtractableI* value;
    };
    /// The place where the search for a key begins. The high bits of a product depend on all bits of the address.
    std::size_t home(const TavExtractableI* key) const noexcept {
      const std::uintptr_t product = reinterpret_cast<std::uintptr_t>(key) * 0x9E3779B97F4A7C15u;
      return static_cast<std::size_t>(product >> 32) & (_entries.size() - 1);
    }
    std::size_t next(std::size_t i) const noexcept { return (i + 1) & (_entries.size() - 1); }
    void grow(std::size_t count);

    std::vector<Entry> _entries;
    std::size_t _size = 0;
  };

  void drop(const TavExtractableI* source, const TavExtractableI* clone) noexcept;
  bool indexClones() noexcept;
  void watchAnother(TavEnvI* env);

  Table _clones;
  /// The sources by their clones; filled by indexClones() when the first object is destroyed.
  Table _sources;
  bool _clonesIndexed = false;
  /// The environments of watch(), each of which knows this map; and the one that was watched last.
  std::vector<TavEnvI*> _watched;
  TavEnvI* _lastWatched = nullptr;
};

#pragma GCC visibility pop
