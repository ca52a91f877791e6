#include "solve/engines/places.h"

#include <algorithm>

namespace tavsolve {

void Places::setAny(TavInt id, int place) {
  if (!_isTable && setInRuns(id, place)) return;
  if (!_isTable) makeTable();
  setInTable(id, place);
}

int Places::special(TavInt id) const {
  const Special* const end = _specials + _specialCount;
  const Special* const found = std::find_if(_specials, end, [id](const Special& special) { return special.id == id; });
  return found != end ? found->place : kNowhere;
}

bool Places::setInRuns(TavInt id, int place) {
  if (of(id) != kNowhere) return false;
  if (place < 0) {
    if (_specialCount == kMostSpecials) return false;
    if (place != kNowhere) _specials[_specialCount++] = {id, place};
    return true;
  }
  for (Run& run : _runs) {
    if (run.count == 0) run.first = id;
    if (!run.isNext(id, place)) continue;
    ++run.count;
    return true;
  }
  return false;
}

void Places::makeTable() {
  TavInt end = 0;
  for (const Run& run : _runs) end = std::max(end, run.first + static_cast<TavInt>(run.count));
  for (const Special& special : _specials) end = std::max(end, special.id + 1);
  for (TavInt id = 0; id < end; ++id) setInTable(id, of(id));
  _isTable = true;
}

void Places::setInTable(TavInt id, int place) {
  const auto at = static_cast<std::size_t>(id);
  if (at >= _table.size()) {
    reserve(at + 1);
    _table.resize(at + 1, kNowhere);
  }
  _table[at] = place;
}

}  // namespace tavsolve
