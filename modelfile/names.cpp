#include "modelfile/names.h"

#include <limits>
#include <random>
#include <stdexcept>

const std::uint64_t TavNameTable::_factor = [] {
  std::random_device device;
  return (std::uint64_t{device()} << 32 | device()) | 1;
}();

/// A polynomial of the name's words at the factor, mixed at each step.
std::uint64_t TavNameTable::longWord(std::string_view name) noexcept {
  std::uint64_t hash = _factor;
  const char* at = name.data();
  std::size_t left = name.size();
  for (; left > 8; at += 8, left -= 8) {
    hash = (hash ^ shortWord(at, 8)) * _factor;
    hash ^= hash >> 32;
  }
  return (hash ^ shortWord(at, static_cast<std::uint32_t>(left))) * _factor;
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
  if (name.empty()) {
    append(name);
    return size() - 1;
  }
  if (3 * (_used + 1) > 2 * _slots.size()) grow(_used + 1);
  append(name);
  _slots[slotOf(name, key)] = {key.word, key.size, size()};
  ++_used;
  return size() - 1;
}

std::int32_t TavNameTable::rehash() {
  _slots.clear();
  _used = 0;
  grow(_end.size());
  std::int32_t twice = kNone;
  constexpr std::int32_t kAhead = 16;
  for (std::int32_t i = 0; i < size(); ++i) {
    if (i + kAhead < size()) prefetch(keyOf((*this)[i + kAhead]));
    const std::string_view name = (*this)[i];
    if (name.empty()) continue;
    const Key key = keyOf(name);
    Slot& slot = _slots[slotOf(name, key)];
    if (slot.item == 0) {
      slot = {key.word, key.size, i + 1};
      ++_used;
    } else if (twice == kNone) {
      twice = i;
    }
  }
  return twice;
}

void TavNameTable::reserve(std::size_t items) {
  _end.reserve(items);
  if (3 * items > 2 * _slots.size()) grow(items);
}

void TavNameTable::grow(std::size_t items) {
  std::size_t wanted = 32;
  int bits = 5;
  for (; 2 * wanted < 3 * (items + 1); wanted *= 2) ++bits;
  TavFileArray<Slot> before;
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
