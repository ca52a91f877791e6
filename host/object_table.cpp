#include "host/object_table.h"

#include <algorithm>
#include <cassert>

TavInt TavObjectTable::count() const noexcept {
  auto count = static_cast<TavInt>(size());
  for (TavInt id = _firstFree; id >= 0; id = _entries[static_cast<std::size_t>(id)].nextFree()) --count;
  return count;
}

bool TavObjectTable::contains(const TavExtractableI* object) const noexcept {
  const auto id = static_cast<std::size_t>(object->getId());
  return id < size() && liveOrRemovedAt(id) == object;
}

void TavObjectTable::mark(TavExtractableI* object) {
  if (isRemoved(object)) return;
  _marked.push_back(static_cast<std::size_t>(object->getId()));
  setRemoved(object);
}

void TavObjectTable::mark(const TavEnvI* env, TavExtractableArray objects) {
  TavInt left = objects.getSize();
  const std::size_t count = _marked.size();
  _marked.resize(count + static_cast<std::size_t>(left));
  std::size_t* next = _marked.data() + count;
  for (TavArrayReader<TavExtractableI*> reader(objects.getImpl()); left > 0; --left) {
    TavExtractableI* object = reader.next();
    if (!object || object->getEnv() != env || isRemoved(object)) continue;
    setRemoved(object);
    *next++ = static_cast<std::size_t>(object->getId());
  }
  _marked.truncate(static_cast<std::size_t>(next - _marked.data()));
}

void TavObjectTable::unmark(std::size_t count) noexcept {
  for (std::size_t i = count; i < _marked.size(); ++i) {
    if (_marked[i] == kNone) continue;
    Entry& entry = _entries[_marked[i]];
    entry = Entry(entry.object(), State::Live);
  }
  if (_marked.size() > count) _marked.truncate(count);
}

void TavObjectTable::forgetMark(const TavExtractableI* object) noexcept {
  std::replace(_marked.data(), _marked.data() + _marked.size(), static_cast<std::size_t>(object->getId()), kNone);
}

void** TavObjectTable::lendMarkArray() {
  assert(!_markArrayLent && "the mark array is lent already: it has one borrower at a time");
  if (_markArray.capacity() < size()) _markArray.reserve(_entries.capacity());
  _markArrayLent = true;
  return _markArray.data();
}

void TavObjectTable::takeBackMarkArray([[maybe_unused]] void** marks) noexcept {
  assert(_markArrayLent && marks == _markArray.data());
  _markArrayLent = false;
}
