#pragma once
/// The objects of an environment by their identifiers.

#include <cstddef>
#include <cstdint>

#include "host/array.h"
#include "host/table.h"

#pragma GCC visibility push(default)

/// The objects of one environment by their identifiers, and the state of each object. Identifiers of destroyed objects
/// are used again, the last one first.
class TavObjectTable {
 public:
  TavObjectTable() = default;
  TavObjectTable(const TavObjectTable&) = delete;
  TavObjectTable& operator=(const TavObjectTable&) = delete;

  /// Enters a live object and returns its identifier. Throws std::bad_alloc.
  TavInt enter(TavExtractableI* object) {
    TavInt id = _firstFree;
    if (id >= 0) {
      Entry& entry = _entries[static_cast<std::size_t>(id)];
      _firstFree = entry.nextFree();
      entry = Entry(object, State::Live);
    } else {
      id = static_cast<TavInt>(_entries.size());
      _entries.push_back(Entry(object, State::Live));
    }
    return id;
  }
  /// Takes an object out; its identifier is free.
  void leave(TavInt id) noexcept {
    _entries[static_cast<std::size_t>(id)] = Entry(_firstFree);
    _firstFree = id;
  }

  /// Number of objects, including those that wait for their destruction. Walks the free identifiers.
  TavInt count() const noexcept;
  /// One more than the greatest identifier so far.
  std::size_t size() const noexcept { return _entries.size(); }
  /// The live object with this identifier; null for a free one, and for an object in another state.
  TavExtractableI* liveAt(std::size_t id) const noexcept {
    return _entries[id].state() == State::Live ? _entries[id].object() : nullptr;
  }
  /// The same, for objects that are marked as removed too.
  TavExtractableI* liveOrRemovedAt(std::size_t id) const noexcept {
    return _entries[id].state() == State::Removed ? _entries[id].object() : liveAt(id);
  }
  /// Whether the object is in the table, live or marked as removed. For assertions: the pointer may dangle.
  bool contains(const TavExtractableI* object) const noexcept;

  /// Whether the object is marked as removed.
  bool isRemoved(const TavExtractableI* object) const noexcept { return at(object) == Entry(object, State::Removed); }
  /// Marks a live object as removed.
  void setRemoved(TavExtractableI* object) noexcept { at(object) = Entry(object, State::Removed); }
  /// Takes the mark of an object back.
  void setLive(TavExtractableI* object) noexcept { at(object) = Entry(object, State::Live); }

  /// Marks an object of this environment as removed until unmark(). Throws std::bad_alloc and is then unchanged.
  void mark(TavExtractableI* object);
  /// The same for all live objects of `env` in an array; the other elements are ignored.
  void mark(const TavEnvI* env, TavExtractableArray objects);
  /// Number of objects marked by mark() and not unmarked.
  std::size_t markedCount() const noexcept { return _marked.size(); }
  /// Takes back all marks set since markedCount() returned `count`.
  void unmark(std::size_t count) noexcept;
  /// The object is about to be destroyed: unmark() leaves its identifier alone.
  void forgetMark(const TavExtractableI* object) noexcept;

  /// The object is being destroyed: it is no longer live.
  void setEnding(TavExtractableI* object) noexcept { at(object) = Entry(nullptr, State::Ending); }
  /// Adds an object to those that wait for their destruction.
  void postpone(TavExtractableI* object) noexcept {
    at(object) = Entry(_postponed, State::Ending);
    _postponed = object;
  }
  /// Whether objects wait for their destruction.
  bool hasPostponed() const noexcept { return _postponed; }
  /// Takes the object that was postponed last; it is being destroyed from now on.
  TavExtractableI* takePostponed() noexcept {
    TavExtractableI* object = _postponed;
    _postponed = at(object).object();
    setEnding(object);
    return object;
  }

  /// Lends an array with one entry per identifier, which are stale. One borrower at a time. Throws std::bad_alloc.
  void** lendMarkArray();
  /// Takes the array back.
  void takeBackMarkArray(void** marks) noexcept;

 private:
  /// What an identifier stands for.
  enum class State : std::uint8_t {
    Live,     ///< An object.
    Removed,  ///< An object that is marked as removed.
    Ending,   ///< An object that waits for its destruction, or is being destroyed.
    Free,     ///< Nothing.
  };
  /// A state, and what belongs to it: the object; the next object to be destroyed; the next free identifier. One word,
  /// as the two lowest bits of an object's address are 0.
  class Entry {
   public:
    Entry(const TavExtractableI* object, State state) noexcept
        : _word(reinterpret_cast<std::uintptr_t>(object) | static_cast<std::uintptr_t>(state)) {}
    explicit Entry(TavInt nextFree) noexcept
        : _word(static_cast<std::uintptr_t>(nextFree) << kStateBits | static_cast<std::uintptr_t>(State::Free)) {}
    bool operator==(const Entry&) const noexcept = default;
    State state() const noexcept { return static_cast<State>(_word & kStateMask); }
    TavExtractableI* object() const noexcept { return reinterpret_cast<TavExtractableI*>(_word & ~kStateMask); }
    TavInt nextFree() const noexcept { return static_cast<TavInt>(_word) >> kStateBits; }

   private:
    static constexpr int kStateBits = 2;
    static constexpr std::uintptr_t kStateMask = 3;
    std::uintptr_t _word;
  };

  Entry& at(const TavExtractableI* object) noexcept { return _entries[static_cast<std::size_t>(object->getId())]; }
  Entry at(const TavExtractableI* object) const noexcept { return _entries[static_cast<std::size_t>(object->getId())]; }

  TavTable<Entry> _entries;
  TavInt _firstFree = -1;
  /// The objects that wait for their destruction, linked through their entries.
  TavExtractableI* _postponed = nullptr;
  /// The identifiers that mark() has marked, in order; kNone for an object that was destroyed meanwhile.
  TavTable<std::size_t> _marked;
  static constexpr auto kNone = static_cast<std::size_t>(-1);
  TavTable<void*> _markArray;
  bool _markArrayLent = false;
};

#pragma GCC visibility pop
