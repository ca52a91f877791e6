#pragma once
/// The numbers that an engine's columns and rows have in the solver.

#include <cstddef>
#include <cstdint>

#include "host/numbers.h"
#include "solve/model/large_vector.h"

namespace tavsolve {

/// Numbers by the identifiers of objects. Objects that were made one after the other have consecutive identifiers: one
/// for each column, two for each row, its sum and its constraint. As long as that is so nothing is stored for an
/// object; from the first exception on, a table of all identifiers, for which room is set aside before.
class Places {
 public:
  static constexpr int kNowhere = -1;

  /// Room for identifiers below `count`; memory that is not used yet. Throws std::bad_alloc.
  void reserve(std::size_t count) { makeRoom(_table, count); }
  /// The number of the object with this identifier; kNowhere for none.
  int of(TavInt id) const {
    if (_isTable) return static_cast<std::size_t>(id) < _table.size() ? _table[static_cast<std::size_t>(id)] : kNowhere;
    for (const Run& run : _runs) {
      const auto offset = static_cast<std::uint64_t>(id - run.first);
      if (offset < run.count) return static_cast<int>(offset >> run.shift);
    }
    return special(id);
  }
  /// Sets it; negative numbers are those of objects without a column or row. Throws std::bad_alloc only for an
  /// identifier beyond the room.
  void set(TavInt id, int place) {
    const bool onlyColumns = !_isTable && _runs[1].count == 0 && _specialCount == 0;
    if (onlyColumns && _runs[0].isNext(id, place)) {
      ++_runs[0].count;
    } else {
      setAny(id, place);
    }
  }

 private:
  /// The identifier first + k has the number k >> shift, for k < count.
  struct Run {
    bool isNext(TavInt id, int place) const {
      return id == first + static_cast<TavInt>(count) && place == static_cast<int>(count >> shift);
    }

    TavInt first;
    unsigned shift;
    std::uint64_t count;
  };
  struct Special {
    TavInt id;
    int place;
  };
  static constexpr std::size_t kMostSpecials = 4;

  void setAny(TavInt id, int place);
  int special(TavInt id) const;
  bool setInRuns(TavInt id, int place);
  void makeTable();
  void setInTable(TavInt id, int place);

  Run _runs[2] = {{0, 0, 0}, {0, 1, 0}};
  /// Objects with negative numbers: the objective, its sum, a conversion.
  Special _specials[kMostSpecials] = {};
  std::size_t _specialCount = 0;
  bool _isTable = false;
  LargeVector<int> _table;
};

}  // namespace tavsolve
