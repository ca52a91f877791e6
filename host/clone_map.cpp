#include "host/clone_map.h"

#include <algorithm>
#include <bit>
#include <new>

#include "host/environment.h"

void TavCloneMap::Table::erase(const TavExtractableI* key, const TavExtractableI* value) noexcept {
  if (_entries.empty()) return;
  std::size_t hole = home(key);
  while (_entries[hole].key && (_entries[hole].key != key || _entries[hole].value != value)) hole = next(hole);
  if (!_entries[hole].key) return;
  --_size;
  const std::size_t mask = _entries.size() - 1;
  for (std::size_t i = next(hole); _entries[i].key;
       i = next(i)) {  // close the hole: move entries back to it that collided
    if (((i - home(_entries[i].key)) & mask) < ((i - hole) & mask)) continue;
    _entries[hole] = _entries[i];
    hole = i;
  }
  _entries[hole] = {};
}

void TavCloneMap::Table::clear() noexcept {
  _entries = {};
  _size = 0;
}

void TavCloneMap::Table::grow(std::size_t count) {
  constexpr std::size_t kLeast = 64;
  std::vector<Entry> old(std::max(kLeast, std::bit_ceil(2 * (_size + count))));
  old.swap(_entries);
  _size = 0;
  for (const Entry& entry : old) {
    if (entry.key) put(entry.key, entry.value);
  }
}

void TavCloneMap::set(const TavExtractableI* source, TavExtractableI* clone) {
  prepare(source);
  if (clone) watch(clone->getEnv());
  if (const TavExtractableI* old = find(source)) drop(source, old);
  if (clone) add(source, clone);
}

void TavCloneMap::clear() noexcept {
  _clones.clear();
  _sources.clear();
  _clonesIndexed = false;
  for (TavEnvI* env : _watched) std::erase(env->_cloneMaps, this);
  _watched = {};
  _lastWatched = nullptr;
}

void TavCloneMap::watchAnother(TavEnvI* env) {
  if (std::find(_watched.begin(), _watched.end(), env) == _watched.end()) {
    _watched.reserve(_watched.size() + 1);
    env->_cloneMaps.push_back(this);
    _watched.push_back(env);
  }
  _lastWatched = env;
}

void TavCloneMap::drop(const TavExtractableI* source, const TavExtractableI* clone) noexcept {
  _clones.erase(source, clone);
  _sources.erase(clone, source);
}

/// Builds the index from clones to sources. Returns false when there is no memory for it.
bool TavCloneMap::indexClones() noexcept {
  if (_clonesIndexed) return true;
  try {
    _sources.makeRoom(_clones.size() + 1);
  } catch (const std::bad_alloc&) {
    return false;
  }
  std::size_t i = 0;
  for (; const auto* pair = _clones.findFrom(i, [](const auto&) { return true; }); ++i)
    _sources.put(pair->value, pair->key);
  return _clonesIndexed = true;
}

void TavCloneMap::forget(const TavExtractableI* object) noexcept {
  if (const TavExtractableI* clone = find(object)) drop(object, clone);
  if (indexClones()) {
    while (const TavExtractableI* source = _sources.find(object)) drop(source, object);
  } else {
    std::size_t i = 0;
    while (const auto* pair = _clones.findFrom(i, [object](const auto& p) { return p.value == object; })) {
      drop(pair->key, object);
    }
  }
}

void TavCloneMap::forgetAll(const TavEnvI* env) noexcept {
  const auto isOfEnv = [env](const auto& pair) { return pair.key->getEnv() == env || pair.value->getEnv() == env; };
  std::size_t i = 0;
  while (const auto* pair = _clones.findFrom(i, isOfEnv)) drop(pair->key, pair->value);
  std::erase(_watched, env);
  _lastWatched = nullptr;
}
