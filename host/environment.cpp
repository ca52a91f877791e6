#include "host/environment.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <exception>
#include <utility>

TavLock* TavEnvI::Mutex = nullptr;
TavInt TavRtti::_counter = 0;

void TavRtti::assign(TavInt& slot) {
  TavLockGuard guard(TavEnvI::Mutex);
  if (read(slot) != 0) return;
  const TavInt index = std::atomic_ref<TavInt>(_counter).fetch_add(1) + 1;
  TavInt none = 0;  // without a mutex another thread may have been first
  std::atomic_ref<TavInt>(slot).compare_exchange_strong(none, index, std::memory_order_acq_rel);
}

// ---- TavEnv

TavEnv::TavEnv() : _impl(new TavEnvI) {}

void TavEnv::end() {
  delete _impl;
  _impl = nullptr;
}

// ---- TavEnvI: lifetime

TavEnvI::TavEnvI() : _memory(this), _termPool(sizeof(TavNumLinExprTermI)) {}

TavEnvI::~TavEnvI() {
  ending = true;
  for (std::size_t id = _table.size(); id-- > 0;) {
    if (TavExtractableI* object = objectAt(id)) object->~TavExtractableI();
  }
  for (TavExtractableI* object : std::exchange(_marked, {})) {
    if (object) object->~TavExtractableI();
  }
  _memory.endManagedObjects();
  for (TavAlgorithmI* algorithm : _algorithms) algorithm->_env = nullptr;
}

// ---- identifiers

TavExtractableI* TavEnvI::objectAt(std::size_t id) const noexcept {
  TavExtractableI* entry = _table[id];
  return reinterpret_cast<std::uintptr_t>(entry) & 1 ? nullptr : entry;
}

void TavEnvI::markRemoved(TavExtractableI* object) {
  if (isRemoved(object)) return;
  _marked.push_back(object);
  _table[static_cast<std::size_t>(object->getId())] = removedEntry();
}

void TavEnvI::restoreMarks(std::size_t count) noexcept {
  for (; _marked.size() > count; _marked.pop_back()) {
    if (TavExtractableI* object = _marked.back()) _table[static_cast<std::size_t>(object->getId())] = object;
  }
}

void TavEnvI::forgetMark(TavExtractableI* object) noexcept {
  for (std::size_t i = _marked.size(); i-- > 0;) {
    if (_marked[i] == object) {
      _marked[i] = nullptr;
      return;
    }
  }
}

// ---- cells and mark arrays

void* TavEnvI::carveTerm() {
#ifdef TAV_PLAIN_ALLOC
  void* cell = _memory.alloc(sizeof(TavNumLinExprTermI));
  ++_plainTerms;
  return cell;
#else
  return _termPool.allocateBlock(&_memory);
#endif
}

void TavEnvI::recycleTerms(TavNumLinExprTermI* first, TavNumLinExprTermI* last) noexcept {
#ifdef TAV_PLAIN_ALLOC
  for (TavNumLinExprTermI* end = last->next; first != end;) {
    TavNumLinExprTermI* next = first->next;
    --_plainTerms;
    _memory.dealloc(first, sizeof *first);
    first = next;
  }
#else
  last->next = _freeTerms;
  _freeTerms = first;
  if constexpr (kTavPoisons) {
    for (TavNumLinExprTermI* cell = first; cell; cell = cell == last ? nullptr : TavPeek(&cell->next)) {
      TavPoison(cell, sizeof *cell);
    }
  }
#endif
}

TavInt TavEnvI::liveTermCount() const noexcept {
  TavInt live = _plainTerms + _termPool.liveBlocks();
  for (const TavNumLinExprTermI* cell = _freeTerms; cell; cell = TavPeek(&cell->next)) --live;
  return live;
}

bool TavEnvI::isLive(const TavExtractableI* object) const noexcept {
  const auto id = static_cast<std::size_t>(object->getId());
  return id < _table.size() && (_table[id] == object || _table[id] == removedEntry());
}

void** TavEnvI::getMarkArray() {
  assert(!_marksLent && "the mark array is lent already");
  if (_marks.capacity() < _table.size()) _marks.reserve(_table.capacity());
  _marksLent = true;
  return _marks.data();
}

void TavEnvI::releaseMarkArray([[maybe_unused]] void** marks) noexcept {
  assert(_marksLent && marks == _marks.data());
  _marksLent = false;
}

// ---- change records

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
  std::exception_ptr failure;
  const auto deliver = [&failure](auto&& delivery) {
    try {
      delivery();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  if (_listener) deliver([&] { _listener(change); });
  for (std::size_t i = 0; i < _algorithms.size(); ++i) {
    deliver([&] {
      if (wantsChange(_algorithms[i], change)) _algorithms[i]->change(change);
    });
  }
  if (failure) std::rethrow_exception(failure);
}

// ---- destruction and removal

void TavEnvI::destroy(TavExtractableI* object, TavInt) noexcept {
  const auto entryOf = [this](const TavExtractableI* o) -> TavExtractableI*& {
    return _table[static_cast<std::size_t>(o->getId())];
  };
  if (entryOf(object) == removedEntry()) forgetMark(object);
  entryOf(object) = nullptr;
  (_doomed ? entryOf(_lastDoomed) : _doomed) = object;
  _lastDoomed = object;
  if (_destroying) return;
  _destroying = true;
  while (_doomed) delete std::exchange(_doomed, entryOf(_doomed));
  _destroying = false;
}

void TavEnvI::removeFromAllAndDestroy(TavExtractableI* const* first, TavExtractableI* const* last) {
  std::vector<TavExtractableI*> batch;
  batch.reserve(static_cast<std::size_t>(last - first));
  const std::size_t count = markedCount();
  bool mentioned = false;  // a counted object without references is held by nobody
  try {
    for (auto object = first; object != last; ++object) {
      if (isRemoved(*object)) continue;
      markRemoved(*object);
      batch.push_back(*object);
      mentioned |= !(*object)->isRefCountedExpr();
    }
  } catch (...) {
    restoreMarks(count);
    throw;
  }
  std::exception_ptr failure;
  const auto attempt = [&failure](auto&& step) {
    try {
      step();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  if (mentioned && oneByOneRemoval) {
    for (TavExtractableI* object : batch) attempt([&] { sweepRemoved(object); });
    // A variable listed twice in a sum has lost one term only; no cell may outlive its variable.
    oneByOneRemoval = false;
    attempt([&] { sweepRemoved(batch.front()); });
    oneByOneRemoval = true;
  } else if (mentioned) {
    attempt([&] { sweepRemoved(batch.front()); });
  }
  for (std::size_t i = 0; i < _algorithms.size(); ++i) {
    for (TavExtractableI* object : batch) {
      attempt([&] {
        if (_algorithms[i]->hasExtracted(object)) _algorithms[i]->forget(object);
      });
    }
  }
  restoreMarks(count);
  for (TavExtractableI* object : batch) destroy(object, 0);
  if (failure) std::rethrow_exception(failure);
}

void TavEnvI::sweepRemoved(TavExtractableI* removed) {
  std::exception_ptr failure;
  for (std::size_t id = 0; id < _table.size(); ++id) {
    try {
      if (TavExtractableI* object = objectAt(id)) object->atRemove(removed, nullptr);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

// ---- clones

TavExtractableI* TavEnvI::getCloneOnDemand(TavExtractableI* source) {
  return _clonePass ? _clonePass->clone(source) : getClone(source);
}

TavClonePass::TavClonePass(TavEnvI* source, TavEnvI* target) : _source(source), _target(target) {
  _source->beginCloning();
  _target->beginCloning();
  _target->_clonePass = this;
}

TavClonePass::~TavClonePass() {
  _source->endCloning();
  _target->endCloning();
  _target->_clonePass = nullptr;
}

/// Adds the operands without clone of the objects that it visits to the steps.
class TavClonePass::Operands final : public TavExtractableVisitor {
 public:
  explicit Operands(TavClonePass& pass) noexcept : _pass(pass) {}
  void beginVisit(TavExtractableI*) override {}
  void visitChild(TavExtractableI*, TavExtractableI* child) override {
    if (child && !_pass._target->getClone(child)) _pass._steps.push_back({child, false});
  }
  void endVisit(TavExtractableI*) override {}

 private:
  TavClonePass& _pass;
};

TavExtractableI* TavClonePass::clone(TavExtractableI* root) {
  struct Floor {
    std::vector<Step>& steps;
    const std::size_t size = steps.size();
    ~Floor() { steps.resize(size); }
  } floor{_steps};
  Operands operands(*this);
  operands.visitChild(nullptr, root);
  while (_steps.size() > floor.size) {
    const std::size_t top = _steps.size();
    TavExtractableI* object = _steps.back().object;
    if (!std::exchange(_steps.back().operandsDone, true)) {
      object->visitSubExtractables(&operands);
      std::reverse(_steps.begin() + static_cast<std::ptrdiff_t>(top), _steps.end());  // the first operand comes first
      if (_steps.size() > top) continue;
    }
    _steps.pop_back();
    if (_target->getClone(object)) continue;
    _source->_clones.makeRoom(1);
    _target->_clones.makeRoom(1);
    TavExtractableI* copy = object->makeClone(_target);
    _source->setClone(object, copy);
    _target->setClone(object, copy);
  }
  return _target->getClone(root);
}

// ---- shared domains

std::size_t TavEnvI::DomainHash::operator()(const DomainKey& key) const noexcept {
  std::uint64_t hash = (key.lb + static_cast<std::uint64_t>(key.type)) * 0x9E3779B97F4A7C15u;
  hash = (hash ^ (hash >> 32) ^ key.ub) * 0xD6E8FEB86659FD93u;
  return static_cast<std::size_t>(hash ^ (hash >> 32));
}

template <class Bound, class Make>
TavVarDomainI* TavEnvI::findOrMake(TavNumVarKind::Type type, Bound lb, Bound ub, Make make) {
  const auto bits = [](auto bound) { return std::bit_cast<std::uint64_t>(static_cast<double>(bound)); };
  const DomainKey key{type, bits(lb), bits(ub)};
  if (!_lastDomain || key != _lastKey) {
    _lastDomain = _domains.try_emplace(key, nullptr).first->second;
    _lastKey = key;
  }
  // An array-wide change of bounds edits shared domains in place: a hit counts only while it still says what it was
  // found under.
  if (!_lastDomain || bits(_lastDomain->getLB()) != key.lb || bits(_lastDomain->getUB()) != key.ub) {
    _lastDomain = nullptr;
    auto* fresh = make();
    fresh->share();
    _domains[key] = fresh;
    _lastDomain = fresh;
  }
  return _lastDomain;
}

TavVarDomainI* TavEnvI::getOrMakeSharedDomain(double lb, double ub) {
  return findOrMake(TavNumVarKind::Float, lb, ub, [&] { return new (this) TavNumVarDomainI(lb, ub); });
}

TavVarDomainI* TavEnvI::getOrMakeSharedDomain(TavInt lb, TavInt ub) {
  return findOrMake(TavNumVarKind::Int, lb, ub, [&] { return new (this) TavIntVarDomainI(lb, ub, 0); });
}

TavVarDomainI* TavEnvI::getOrMakeSharedDomain(const TavNumRangeI* range) {
  return getOrMakeSharedDomain(range->getLB(), range->getUB());
}

TavVarDomainI* TavEnvI::getOrMakeSharedDomain(const TavIntRangeI* range) {
  return getOrMakeSharedDomain(range->getLB(), range->getUB());
}
