#include "modelfile/names.h"

#include <limits>
#include <random>
#include <stdexcept>

[[gnu::init_priority(101)]] const TavNameTable::Factor TavNameTable::_factor = [] {
  std::random_device device;
  return Factor{(std::uint64_t{device()} << 32 | device()) | 1};
}();

/// A polynomial of the name's words at the factor, mixed at each step.
std::uint64_t TavNameTable::longWord(std::string_view name) noexcept {
  std::uint64_t hash = _factor.value;
  const char* at = name.data();
  std::size_t left = name.size();
  for (; left > 8; at += 8, left -= 8) {
    hash = (hash ^ shortWord(at, 8)) * _factor.value;
    hash ^= hash >> 32;
  }
  return (hash ^ shortWord(at, static_cast<std::uint32_t>(left))) * _factor.value;
}

void TavNameTable::append(std::string_view name) {
  if (_end.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("more than 2^31 - 1 names");
  }
  const std::size_t begin = _text.size();
  if (!name.empty()) std::memcpy(_text.append(name.size()), name.data(), name.size());
  try {
    _end.push_back(begin + name.size());
  } catch (...) {
    _text.resize(begin);
    throw;
  }
}

std::int32_t TavNameTable::insertNew(std::string_view name, const Key& key) {
  const std::int32_t item = size();
  if (!name.empty()) makeRoom(item, key);
  append(name);
  if (!name.empty()) enter(item, name, key);
  return item;
}

void TavNameTable::makeRoom(std::int32_t item, const Key& key) {
  if (continuesRun(item, key)) return;
  const std::size_t wanted = _used + 1 + (beginsRun(item) ? static_cast<std::size_t>(_numbered.count()) : 0);
  if (3 * wanted > 2 * _slots.size()) grow(wanted);
}

void TavNameTable::enter(std::int32_t item, std::string_view name, const Key& key) noexcept {
  if (continuesRun(item, key)) return _numbered.extend();
  if (!beginsRun(item)) return hash(item, name, key);
  const std::int32_t end = _firstNumbered + _numbered.count();
  for (std::int32_t i = _firstNumbered; i != end; ++i) hash(i, (*this)[i], keyOf((*this)[i]));
  _numbered.begin(key);
  _firstNumbered = item;
  if (_numbered.count() == 0) hash(item, name, key);
}

void TavNameTable::hash(std::int32_t item, std::string_view name, const Key& key) noexcept {
  _slots[slotOf(name, key)] = {key.word, key.size, item + 1};
  ++_used;
}

std::int32_t TavNameTable::rehash() {
  _slots.clear();
  _used = 0;
  _numbered = {};
  std::int32_t twice = kNone;
  constexpr std::int32_t kAhead = 16;
  for (std::int32_t i = 0; i < size(); ++i) {
    if (i + kAhead < size()) prefetch(keyOf((*this)[i + kAhead]));
    const std::string_view name = (*this)[i];
    if (name.empty()) continue;
    const Key key = keyOf(name);
    if (find(name, key) == kNone) {
      makeRoom(i, key);
      enter(i, name, key);
    } else if (twice == kNone) {
      twice = i;
    }
  }
  return twice;
}

void TavNameTable::grow(std::size_t items) {
  std::size_t wanted = 32;
  int bits = 5;
  for (; 2 * wanted < 3 * (items + 1); wanted *= 2) ++bits;
  TavLargeArray<Slot> before;
  before.resize(wanted);
  before.swap(_slots);
  _shift = 64 - bits;
  for (const Slot& slot : before) {
    if (slot.item == 0) continue;
    std::size_t at = placeOf({slot.word, slot.size});
    while (_slots[at].item != 0) at = (at + 1) & (wanted - 1);
    _slots[at] = slot;
  }
}
