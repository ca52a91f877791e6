#include "host/clone_map.h"

#include <algorithm>
#include <bit>

void TavCloneMap::set(const TavExtractableI* source, TavExtractableI* clone) {
  makeRoom(1);
  Entry& entry = _entries[place(source)];
  if (!entry.source) ++_size;
  entry = {source, clone};
}

void TavCloneMap::clear() noexcept {
  _entries = {};
  _size = 0;
}

void TavCloneMap::grow(std::size_t count) {
  std::vector<Entry> old(std::max(kLeast, std::bit_ceil(2 * (_size + count))));
  old.swap(_entries);
  for (const Entry& entry : old) {
    if (entry.source) _entries[place(entry.source)] = entry;
  }
}
