#include "host/environment.h"

#include <algorithm>
#include <exception>
#include <utility>

TavLock* TavEnvI::Mutex = nullptr;

TavEnv::TavEnv() : _impl(new TavEnvI) {}

void TavEnv::end() {
  delete _impl;
  _impl = nullptr;
}

/// Marks the objects of a list as removed during its lifetime. Leaves out those that are marked already.
struct TavEnvI::Removal {
  Removal(TavEnvI* e, TavExtractableI** f, TavExtractableI** l) noexcept
      : env(e), first(f), last(f), outer(e->_removals) {
    for (; f != l; ++f) {
      if (env->isRemoved(*f)) continue;
      env->_objects.setRemoved(*f);
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
  for (std::size_t id = _objects.size(); id-- > 0;) {
    if (TavExtractableI* object = _objects.liveOrRemovedAt(id)) object->~TavExtractableI();
  }
  _memory.endManagedObjects();
  for (TavAlgorithmI* algorithm : _algorithms) algorithm->_env = nullptr;
}

void TavEnvI::markRemoved(TavExtractableI* object) {
  if (object->getEnv() == this) _objects.mark(object);
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
  if (_objects.isRemoved(object) || !_cloneMaps.empty()) [[unlikely]] {
    destroyNamed(object);
  } else {
    destroyUnnamed(object);
  }
}

[[gnu::noinline]] void TavEnvI::destroyNamed(TavExtractableI* object) noexcept {
  if (_objects.isRemoved(object)) {
    _objects.forgetMark(object);
    for (const Removal* removal = _removals; removal; removal = removal->outer) {
      std::replace(removal->first, removal->last, object, static_cast<TavExtractableI*>(nullptr));
    }
  }
  for (TavCloneMap* map : _cloneMaps) map->forget(object);
  destroyUnnamed(object);
}

void TavEnvI::destroyUnnamed(TavExtractableI* object) noexcept {
  if (_destroying == kMostNested) return _objects.postpone(object);
  _objects.setEnding(object);
  ++_destroying;
  delete object;
  if (--_destroying == 0 && _objects.hasPostponed()) destroyPostponed();
}

[[gnu::noinline]] void TavEnvI::destroyPostponed() noexcept {
  ++_destroying;
  while (_objects.hasPostponed()) delete _objects.takePostponed();
  --_destroying;
}

void TavEnvI::removeFromAllAndDestroy(TavExtractableI* const* first, TavExtractableI* const* last) {
  std::vector<TavExtractableI*> batch(first, last);
  removeOwn(batch.data(), batch.data() + batch.size(), batch.data() + batch.size());
}

void TavEnvI::removeAcrossEnvs(TavExtractableI** first, TavExtractableI** last) {
  if (first == last) return;
  TavEnvI* env = (*first)->getEnv();
  env->removeOwn(first, std::stable_partition(first, last, [env](auto* object) { return object->getEnv() == env; }),
                 last);
}

void TavEnvI::removeOwn(TavExtractableI** first, TavExtractableI** end, TavExtractableI** last) {
  TavFirstFailure failure;
  const Removal removal(this, first, end);
  failure.attempt([end, last] { removeAcrossEnvs(end, last); });  // its hooks may destroy objects of this removal
  const auto forEach = [&removal](auto apply) {
    for (TavExtractableI** object = removal.first; object != removal.last; ++object) {
      if (*object) apply(*object);  // null for one that a hook has destroyed by itself
    }
  };
  TavExtractableI* mentioned = nullptr;  // no object mentions a counted object that has no references
  forEach([&](TavExtractableI* object) {
    if (!object->isRefCountedExpr()) mentioned = *removal.first;
  });
  if (mentioned && oneByOneRemoval) {
    forEach([&](TavExtractableI* object) { notifyOfRemoval(object, failure); });
    // A variable listed twice in a sum has lost one term only; no cell may outlive its variable.
    oneByOneRemoval = false;
    notifyOfRemoval(mentioned, failure);
    oneByOneRemoval = true;
  } else if (mentioned) {
    notifyOfRemoval(mentioned, failure);
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
      _objects.setLive(doomed);
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

void TavEnvI::notifyOfRemoval(TavExtractableI* removed, TavFirstFailure& failure) {
  for (std::size_t id = 0; id < _objects.size(); ++id) {  // a hook may add objects
    failure.attempt([&] {
      if (TavExtractableI* object = _objects.liveAt(id)) object->atRemove(removed, nullptr);
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
