#include "host/environment.h"

#include <algorithm>
#include <cassert>
#include <exception>
#include <new>
#include <utility>

TavLock* TavEnvI::Mutex = nullptr;

TavEnv::TavEnv() : _impl(new TavEnvI) {}

void TavEnv::end() {
  delete _impl;
  _impl = nullptr;
}

/// Marks the objects of a removal as long as they live; those that are marked already fall out of it.
struct TavEnvI::Removal {
  Removal(TavEnvI* e, TavExtractableI** f, TavExtractableI** l) noexcept
      : env(e), first(f), last(f), outer(e->_removals) {
    for (; f != l; ++f) {
      if (env->isRemoved(*f)) continue;
      env->_table[static_cast<std::size_t>((*f)->getId())] = removedEntry();
      *last++ = *f;
    }
    env->_removals = this;
  }
  Removal(const Removal&) = delete;
  Removal& operator=(const Removal&) = delete;
  ~Removal() { env->_removals = outer; }

  TavEnvI* env;
  TavExtractableI** first;
  TavExtractableI** last;
  Removal* outer;
};

TavEnvI::TavEnvI() : _memory(this), _terms(&_memory), _domains(this) {}

TavEnvI::~TavEnvI() {
  ending = true;
  for (TavCloneMap* map : std::exchange(_cloneMaps, {})) map->forgetAll(this);
  for (std::size_t id = _table.size(); id-- > 0;) {
    if (TavExtractableI* object = objectAt(id)) object->~TavExtractableI();
  }
  const auto destruct = [](TavExtractableI* object) {
    if (object) object->~TavExtractableI();
  };
  for (std::size_t i = 0; i < _marked.size(); ++i) destruct(_marked[i].object);
  for (const Removal* removal = _removals; removal; removal = removal->outer) {
    std::for_each(removal->first, removal->last, destruct);
  }
  _memory.endManagedObjects();
  for (TavAlgorithmI* algorithm : _algorithms) algorithm->_env = nullptr;
}

TavExtractableI* TavEnvI::objectAt(std::size_t id) const noexcept {
  TavExtractableI* entry = _table[id];
  return reinterpret_cast<std::uintptr_t>(entry) & 1 ? nullptr : entry;
}

void TavEnvI::markRemoved(TavExtractableI* object) {
  if (isRemoved(object)) return;
  const auto id = static_cast<std::size_t>(object->getId());
  _marked.push_back({object, id});
  _table[id] = removedEntry();
}

void TavEnvI::markRemoved(TavExtractableArray objects) {
  TavInt left = objects.getSize();
  const std::size_t count = _marked.size();
  _marked.resize(count + static_cast<std::size_t>(left));
  Mark* next = _marked.data() + count;
  for (TavArrayReader<TavExtractableI*> reader(objects.getImpl()); left > 0; --left) {
    TavExtractableI* object = reader.next();
    if (!object || object->getEnv() != this || isRemoved(object)) continue;
    const auto id = static_cast<std::size_t>(object->getId());
    _table[id] = removedEntry();
    *next++ = {object, id};
  }
  _marked.truncate(static_cast<std::size_t>(next - _marked.data()));
}

void TavEnvI::restoreMarks(std::size_t count) noexcept {
  for (std::size_t i = count; i < _marked.size(); ++i) {
    if (_marked[i].object) _table[_marked[i].id] = _marked[i].object;
  }
  if (_marked.size() > count) _marked.truncate(count);
}

void TavEnvI::forgetMark(TavExtractableI* object) noexcept {
  for (std::size_t i = 0; i < _marked.size(); ++i) {
    if (_marked[i].object == object) _marked[i].object = nullptr;
  }
  for (const Removal* removal = _removals; removal; removal = removal->outer) {
    std::replace(removal->first, removal->last, object, static_cast<TavExtractableI*>(nullptr));
  }
}

bool TavEnvI::isLive(const TavExtractableI* object) const noexcept {
  const auto id = static_cast<std::size_t>(object->getId());
  return id < _table.size() && (_table[id] == object || _table[id] == removedEntry());
}

void** TavEnvI::getMarkArray() {
  assert(!_marksLent && "the mark array is lent already: it has one borrower at a time");
  if (_marks.capacity() < _table.size()) _marks.reserve(_table.capacity());
  _marksLent = true;
  return _marks.data();
}

void TavEnvI::releaseMarkArray([[maybe_unused]] void** marks) noexcept {
  assert(_marksLent && marks == _marks.data());
  _marksLent = false;
}

bool TavEnvI::wantsChange(const TavAlgorithmI* algorithm, const TavChange& change) const {
  if (!change.isApplyingOnArray()) return algorithm->hasExtracted(change.getChangedExtractable());
  const TavArrayI* array = change.getChangedExtractableArray();
  for (TavInt i = 0; i < array->getSize(); ++i) {
    auto* element = array->get<TavExtractableI*>(i);
    if (element && algorithm->hasExtracted(element)) return true;
  }
  return false;
}

void TavEnvI::change(const TavChange& change) {
  TavFirstFailure failure;
  if (_listener) failure.attempt([&] { _listener(change); });
  for (std::size_t i = 0; i < _algorithms.size(); ++i) {
    failure.attempt([&] {
      if (wantsChange(_algorithms[i], change)) _algorithms[i]->change(change);
    });
  }
  failure.rethrow();
}

// Flattened: the usual call is one frame.
[[gnu::flatten]] void TavEnvI::destroy(TavExtractableI* object, TavInt) noexcept {
  if (entryOf(object) == removedEntry() || !_cloneMaps.empty()) [[unlikely]] {
    destroyNamed(object);
  } else {
    destroyUnnamed(object);
  }
}

[[gnu::noinline]] void TavEnvI::destroyNamed(TavExtractableI* object) noexcept {
  if (entryOf(object) == removedEntry()) forgetMark(object);
  for (TavCloneMap* map : _cloneMaps) map->forget(object);
  destroyUnnamed(object);
}

void TavEnvI::destroyUnnamed(TavExtractableI* object) noexcept {
  if (_destroying == kMostNested) {
    entryOf(object) = std::exchange(_doomed, object);
    return;
  }
  entryOf(object) = nullptr;
  ++_destroying;
  delete object;
  if (--_destroying == 0 && _doomed) destroyDoomed();
}

[[gnu::noinline]] void TavEnvI::destroyDoomed() noexcept {
  ++_destroying;
  while (_doomed) delete std::exchange(_doomed, std::exchange(entryOf(_doomed), nullptr));
  --_destroying;
}

void TavEnvI::removeFromAllAndDestroy(TavExtractableI* const* first, TavExtractableI* const* last) {
  std::vector<TavExtractableI*> batch(first, last);
  removeOwn(batch.data(), batch.data() + batch.size(), batch.data() + batch.size());
}

void TavEnvI::removeBatch(TavExtractableI** first, TavExtractableI** last) {
  if (first == last) return;
  TavEnvI* env = (*first)->getEnv();
  env->removeOwn(first, std::stable_partition(first, last, [env](auto* object) { return object->getEnv() == env; }),
                 last);
}

void TavEnvI::removeOwn(TavExtractableI** first, TavExtractableI** end, TavExtractableI** last) {
  TavFirstFailure failure;
  const Removal removal(this, first, end);
  failure.attempt([end, last] { removeBatch(end, last); });  // while a hook may destroy objects of this removal
  const auto forEach = [&removal](auto apply) {
    for (TavExtractableI** object = removal.first; object != removal.last; ++object) {
      if (*object) apply(*object);  // null for one that a hook has destroyed by itself
    }
  };
  TavExtractableI* mentioned = nullptr;  // a counted object without references is held by nobody
  forEach([&](TavExtractableI* object) {
    if (!object->isRefCountedExpr()) mentioned = *removal.first;
  });
  if (mentioned && oneByOneRemoval) {
    forEach([&](TavExtractableI* object) { sweepRemoved(object, failure); });
    // A variable listed twice in a sum has lost one term only; no cell may outlive its variable.
    oneByOneRemoval = false;
    sweepRemoved(mentioned, failure);
    oneByOneRemoval = true;
  } else if (mentioned) {
    sweepRemoved(mentioned, failure);
  }
  for (std::size_t i = 0; i < _algorithms.size(); ++i) {
    forEach([&](TavExtractableI* object) {
      failure.attempt([&] {
        if (_algorithms[i]->hasExtracted(object)) _algorithms[i]->forget(object);
      });
    });
  }
  TavFirstFailure* outer = std::exchange(_failure, _destroying ? _failure : &failure);
  for (TavExtractableI** object = removal.first; object != removal.last; ++object) {
    if (TavExtractableI* doomed = std::exchange(*object, nullptr)) {
      _table[static_cast<std::size_t>(doomed->getId())] = doomed;
      destroy(doomed, 0);
    }
  }
  _failure = outer;
  if (!_destroying) {
    failure.rethrow();
  } else if (_failure) {  // a destructor must not throw: the outermost removal does
    _failure->note(failure.get());
  }
}

void TavEnvI::sweepRemoved(TavExtractableI* removed, TavFirstFailure& failure) {
  for (std::size_t id = 0; id < _table.size(); ++id) {
    failure.attempt([&] {
      if (TavExtractableI* object = objectAt(id)) object->atRemove(removed, nullptr);
    });
  }
}

TavExtractableI* TavEnvI::getCloneOnDemand(TavExtractableI* source) {
  if (!_clonePass) return getClone(source);
  TavExtractableI* clone = _clonePass->clone(source);
  _clonePass->_clones.prepare(source);  // and room for the object whose clone is being made
  return clone;
}

void TavEnvI::setClone(const TavExtractableI* source, TavExtractableI* clone) {
  _clones.set(source, clone);
  if (_cloneMap != &_clones) _otherCloneMap = std::exchange(_cloneMap, &_clones);
}

void TavEnvI::beginCloning() noexcept {
  _clones.clear();
  if (_otherCloneMap) _cloneMap = std::exchange(_otherCloneMap, nullptr);
  _cloneMap->clear();
}

TavVarDomainI* TavEnvI::getOrMakeSharedDomain(const TavNumRangeI* range) {
  return getOrMakeSharedDomain(range->getLB(), range->getUB());
}

TavVarDomainI* TavEnvI::getOrMakeSharedDomain(const TavIntRangeI* range) {
  return getOrMakeSharedDomain(range->getLB(), range->getUB());
}
