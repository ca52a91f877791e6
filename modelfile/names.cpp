#include "modelfile/names.h"

#include <cstring>
#include <limits>
#include <stdexcept>

namespace {

/// Eight bytes a step; the constant is the odd one next to 2^64 divided by the golden ratio.
std::uint32_t hashOf(std::string_view name) noexcept {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = name.size() * kFactor;
  const char* at = name.data();
  std::size_t left = name.size();
  for (; left >= 8; at += 8, left -= 8) {
    std::uint64_t word;
    std::memcpy(&word, at, 8);
    hash = (hash ^ word) * kFactor;
    hash ^= hash >> 32;
  }
  std::uint64_t word = 0;
  std::memcpy(&word, at, left);
  hash = (hash ^ word) * kFactor;
  return static_cast<std::uint32_t>(hash >> 32);
}

}  // namespace

std::string_view TavNameTable::operator[](std::int32_t i) const noexcept {
  if (i >= size()) return {};
  const auto at = static_cast<std::size_t>(i);
  const std::size_t begin = at == 0 ? 0 : _end[at - 1];
  return {_text.data() + begin, _end[at] - begin};
}

TavNameTable::Slot& TavNameTable::slotOf(std::string_view name, std::uint32_t hash) noexcept {
  const std::size_t mask = _slots.size() - 1;
  std::size_t at = hash & mask;
  while (_slots[at].item != kNone && (_slots[at].hash != hash || (*this)[_slots[at].item] != name)) {
    at = (at + 1) & mask;
  }
  return _slots[at];
}

std::int32_t TavNameTable::find(std::string_view name) const noexcept {
  if (_slots.empty() || name.empty()) return kNone;
  return const_cast<TavNameTable*>(this)->slotOf(name, hashOf(name)).item;
}

void TavNameTable::append(std::string_view name) {
  if (_end.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("more than 2^31 - 1 names");
  }
  if (_end.size() == _end.capacity()) _end.reserve(_end.size() * 2 + 16);
  _text.insert(_text.end(), name.begin(), name.end());
  _end.push_back(_text.size());
}

std::int32_t TavNameTable::insert(std::string_view name) {
  if (name.empty()) {
    append(name);
    return size() - 1;
  }
  if (2 * (_used + 1) > _slots.size()) grow(_used + 1);
  const std::uint32_t hash = hashOf(name);
  Slot& slot = slotOf(name, hash);
  if (slot.item == kNone) {
    append(name);
    slot = {hash, size() - 1};
    ++_used;
  }
  return slot.item;
}

std::int32_t TavNameTable::rehash() {
  _slots.clear();
  _used = 0;
  grow(_end.size());
  std::int32_t twice = kNone;
  for (std::int32_t i = 0; i < size(); ++i) {
    const std::string_view name = (*this)[i];
    if (name.empty()) continue;
    const std::uint32_t hash = hashOf(name);
    Slot& slot = slotOf(name, hash);
    if (slot.item == kNone) {
      slot = {hash, i};
      ++_used;
    } else if (twice == kNone) {
      twice = i;
    }
  }
  return twice;
}

void TavNameTable::reserve(std::size_t items) {
  _end.reserve(items);
  if (2 * items > _slots.size()) grow(items);
}

void TavNameTable::grow(std::size_t items) {
  std::size_t wanted = 32;
  while (wanted < 4 * items) wanted *= 2;
  std::vector<Slot> before(wanted, Slot{0, kNone});
  before.swap(_slots);
  const std::size_t mask = wanted - 1;
  for (const Slot& slot : before) {
    if (slot.item == kNone) continue;
    std::size_t at = slot.hash & mask;
    while (_slots[at].item != kNone) at = (at + 1) & mask;
    _slots[at] = slot;
  }
}
