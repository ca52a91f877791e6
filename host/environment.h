#pragma once
/// The environment: owner of all objects and of their memory, meeting point of models and algorithms.

#include <functional>
#include <vector>

#include "host/algorithm.h"
#include "host/change.h"
#include "host/clone_pass.h"
#include "host/column.h"
#include "host/domain_pool.h"
#include "host/memory.h"
#include "host/table.h"
#include "host/term_pool.h"

#pragma GCC visibility push(default)

class TavNumExprI;

/// A lock that the environment takes when it is given one.
class TavLock {
 public:
  /// Takes the lock, waiting for it.
  virtual void lock() = 0;
  /// Gives the lock back.
  virtual void unlock() = 0;

 protected:
  ~TavLock() = default;
};

/// Holds a lock, or nothing when there is none.
class TavLockGuard {
 public:
  /// Takes the lock; null for no lock.
  explicit TavLockGuard(TavLock* lockOrNull) : _lock(lockOrNull) {
    if (_lock) _lock->lock();
  }
  TavLockGuard(const TavLockGuard&) = delete;
  TavLockGuard& operator=(const TavLockGuard&) = delete;
  ~TavLockGuard() {
    if (_lock) _lock->unlock();
  }

 private:
  TavLock* _lock;
};

/// Takes over nodes whose count fell to zero. takeNode must not throw.
class TavDeletionInterceptor {
 public:
  /// Takes a node over: from here on it is the interceptor's to end.
  virtual void takeNode(TavNumExprI* node) = 0;

 protected:
  ~TavDeletionInterceptor() = default;
};

/// Supplied by the modelling-language layer; only its pointer is passed on here.
class TavTupleEncoderI;

/// One environment. One thread at a time works on it; environments on different threads share nothing but the type
/// indices.
class TavEnvI {
 public:
  TavEnvI();
  TavEnvI(const TavEnvI&) = delete;
  TavEnvI& operator=(const TavEnvI&) = delete;
  /// Sets `ending`, runs every object's destructor once, newest identifier first, then frees arrays, domains and
  /// memory.
  ~TavEnvI();

  /// Displays in the library's call syntax instead of the plain mathematical one.
  bool librarySyntaxDisplay = false;
  /// Nodes whose count falls to zero go through removeFromAllAndDestroy.
  bool removeFromAllOnDestroy = false;
  /// True while the environment is torn down: nodes then release nothing.
  bool ending = false;
  /// Normalisation uses mark arrays; when clear, the variables' mark fields under `markLock`.
  bool markArraysAvailable = true;
  /// Linear nodes drop a removed variable's term at once and report it.
  bool oneByOneRemoval = false;
  /// Normalisation does nothing.
  bool normalizationSkipped = false;
  /// Guards the variables' mark fields; held while change records of a bulk edit are delivered, so it must be recursive
  /// when listeners edit linear nodes themselves.
  TavLock* markLock = nullptr;
  /// When set, takes over nodes whose count falls to zero, instead of their destruction.
  TavDeletionInterceptor* deletionInterceptor = nullptr;
  /// When set, nodes are allocated here instead of in the environment's general memory. Must outlive the environment.
  TavMemory* nodeAllocator = nullptr;
  /// Guards the assignment of type indices; null: no locking.
  static TavLock* Mutex;

  /// The general memory: of arrays, domains, names and, unless `nodeAllocator` is set, of nodes.
  TavMemory* getMemory() noexcept { return &_memory; }
  /// A block for a node. Throws std::bad_alloc.
  void* allocate(std::size_t bytes) { return (nodeAllocator ? nodeAllocator : &_memory)->alloc(bytes); }

  /// A cell outside any list. Throws std::bad_alloc.
  TavNumLinExprTermI* newTerm(TavNumVarI* var, double coef) { return _terms.make(var, coef); }
  /// Takes back a cell that is in no list.
  void recycleTerm(TavNumLinExprTermI* cell) noexcept { recycleTerms(cell, cell); }
  /// Takes back a chain of cells linked from `first` to `last`, in O(1).
  void recycleTerms(TavNumLinExprTermI* first, TavNumLinExprTermI* last) noexcept { _terms.recycle(first, last); }

  /// A scratch array with one entry per identifier; entries are stale, so an entry is written before it is read. One
  /// borrower at a time.
  void** getMarkArray();
  /// Gives the scratch array back to the next borrower.
  void releaseMarkArray(void** marks) noexcept;

  /// Whether the object is marked removed, in its own environment.
  bool isRemoved(const TavExtractableI* object) const noexcept {
    return object->getEnv() == this ? isOwnRemoved(object) : object->getEnv()->isOwnRemoved(object);
  }
  /// The same for an object that is known to live in this environment.
  bool isOwnRemoved(const TavExtractableI* object) const noexcept {
    return object->getId() == kRemoved || _table[static_cast<std::size_t>(object->getId())] == removedEntry();
  }
  /// Marks an object removed in the identifier table; throws std::bad_alloc only. Does nothing for one marked already.
  void markRemoved(TavExtractableI* object);
  /// The same for an array, but for its empty elements and those of other environments, whose identifiers mean other
  /// objects here. Throws std::bad_alloc and has then done nothing.
  void markRemoved(TavExtractableArray objects);
  /// Number of objects marked by markRemoved and not restored; the argument of restoreMarks.
  std::size_t markedCount() const noexcept { return _marked.size(); }
  /// Takes back all marks set since markedCount() gave `count`.
  void restoreMarks(std::size_t count) noexcept;

  /// Tells the listener and every algorithm that has extracted the changed object. All are told even when one throws;
  /// the first exception goes on afterwards.
  void change(const TavChange& change);
  /// Sees every change record, before the algorithms; null for none.
  void setChangeListener(std::function<void(const TavChange&)> listener) { _listener = std::move(listener); }

  /// The object's clone in the current cloning pass; null for null and for an object without one.
  TavExtractableI* getClone(const TavExtractableI* source) const noexcept {
    TavExtractableI* clone = _cloneMap->find(source);
    return clone || !_otherCloneMap ? clone : _otherCloneMap->find(source);
  }
  /// The same; while a TavClonePass into this environment is under way, an object without a clone is cloned now. For
  /// what visitors do not show: the variables of terms with coefficient 0.
  TavExtractableI* getCloneOnDemand(TavExtractableI* source);
  /// Records `clone` as the clone of `source` until endCloning(), null for none; before what a TavClonePass knows.
  void setClone(const TavExtractableI* source, TavExtractableI* clone);
  /// Forgets all clones, those of a TavClonePass under way too.
  void beginCloning() noexcept;
  /// The same: ends a pass.
  void endCloning() noexcept { beginCloning(); }

  /// Deletes an object, and what its destructor gives up with it. Calls nest to a bounded depth, which keeps the memory
  /// of a tree together; a call below it queues, the outermost call drains: deep trees cost no stack.
  void destroy(TavExtractableI* object, TavInt) noexcept;
  /// Removes an object from all others and from all algorithms, then deletes it.
  /// A hook that throws stops neither: the first exception goes on afterwards, from the outermost removal when a
  /// destructor removes another object. Takes no memory.
  void removeFromAllAndDestroy(TavExtractableI* object, TavInt) { removeOwn(&object, &object + 1, &object + 1); }
  /// The same for a batch, repeats allowed, with one sweep over the live objects. Throws std::bad_alloc and has then
  /// done nothing.
  void removeFromAllAndDestroy(TavExtractableI* const* first, TavExtractableI* const* last);
  /// As above for objects of any environments, each removed from its own. Works in the caller's list, which it
  /// overwrites; allocates nothing.
  static void removeBatch(TavExtractableI** first, TavExtractableI** last);
  /// Drops one reference held on behalf of a handle or a parent. Does not touch the node while the environment ends.
  void release(TavNumExprI* node);

  /// The shared domain of these bounds: real numbers.
  TavVarDomainI* getOrMakeSharedDomain(double lb, double ub) { return _domains.find(lb, ub); }
  /// The shared domain of these bounds: whole numbers, of type Int also for 0 and 1.
  TavVarDomainI* getOrMakeSharedDomain(TavInt lb, TavInt ub) { return _domains.find(lb, ub); }
  TavVarDomainI* getOrMakeSharedDomain(const TavNumRangeI* range);
  TavVarDomainI* getOrMakeSharedDomain(const TavIntRangeI* range);

  /// The second source of values; inactive in a new environment.
  TavModelEvaluator getModelEvaluator() noexcept { return TavModelEvaluator(&_evaluator); }
  ///@{
  /// What encodes tuples; null unless one was set. It is passed on, neither used nor owned.
  TavTupleEncoderI* getTupleEncoder() const noexcept { return _tupleEncoder; }
  void setTupleEncoder(TavTupleEncoderI* encoder) noexcept { _tupleEncoder = encoder; }
  ///@}

  /// Whether the object is one of this environment's live ones: for assertions.
  bool isLive(const TavExtractableI* object) const noexcept;
  /// See TavTermPool::noteTaken.
  bool noteTaken(const TavNumLinExprTermI* cell) noexcept { return _terms.noteTaken(cell); }

  /// Model objects alive in this environment.
  TavInt liveObjectCount() const noexcept { return _liveObjects; }
  /// Cells handed out and not recycled. Walks the free list: for tests and diagnosis.
  TavInt liveTermCount() const noexcept { return _terms.liveCount(); }

 private:
  friend class TavExtractableI;
  friend class TavAlgorithmI;
  friend class TavCloneMap;
  friend class TavClonePass;

  static constexpr TavInt kRemoved = -1;
  /// Depth of nested destructions from which on they queue.
  static constexpr int kMostNested = 32;
  static TavExtractableI* removedEntry() noexcept {
    return reinterpret_cast<TavExtractableI*>(static_cast<std::uintptr_t>(kRemoved));
  }

  /// Gives an object its identifier and a place in the registry.
  TavInt enrol(TavExtractableI* object) {
    TavInt id = _freeId;
    if (id >= 0) {
      TavExtractableI*& entry = _table[static_cast<std::size_t>(id)];
      _freeId = static_cast<TavInt>(reinterpret_cast<std::uintptr_t>(entry) >> 1) - 1;
      entry = object;
    } else {
      id = static_cast<TavInt>(_table.size());
      _table.push_back(object);
    }
    ++_liveObjects;
    return id;
  }
  /// Takes identifier and place back.
  void leave(TavInt id) noexcept {
    const std::uintptr_t entry = (static_cast<std::uintptr_t>(_freeId + 1) << 1) | 1;
    _table[static_cast<std::size_t>(id)] = reinterpret_cast<TavExtractableI*>(entry);
    _freeId = id;
    --_liveObjects;
  }
  /// The object with this identifier, or null for a free identifier or a mark.
  TavExtractableI* objectAt(std::size_t id) const noexcept;
  TavExtractableI*& entryOf(const TavExtractableI* object) noexcept {
    return _table[static_cast<std::size_t>(object->getId())];
  }
  void forgetMark(TavExtractableI* object) noexcept;
  /// destroy() of an object that is marked as removed or that a clone map may name, and of one that is neither. Apart,
  /// so that the usual call saves few registers.
  void destroyNamed(TavExtractableI* object) noexcept;
  void destroyUnnamed(TavExtractableI* object) noexcept;
  /// Destroys the objects of the work list.
  void destroyDoomed() noexcept;
  struct Removal;
  /// removeBatch for [first, end), all of this environment, and [end, last), all of others.
  void removeOwn(TavExtractableI** first, TavExtractableI** end, TavExtractableI** last);
  /// Tells every live object that `removed`, or a batch that starts with it, is going.
  void sweepRemoved(TavExtractableI* removed, TavFirstFailure& failure);
  bool wantsChange(const TavAlgorithmI* algorithm, const TavChange& change) const;

  TavMemory _memory;
  TavTermPool _terms;
  TavDomainPool _domains;
  /// The identifier table and registry. An entry is the object itself, the mark "removed", or, for a free identifier,
  /// the next free one doubled plus one. While its object waits for destruction it links the work list.
  TavTable<TavExtractableI*> _table;
  TavInt _freeId = -1;
  TavInt _liveObjects = 0;
  /// A marked object, null when it was destroyed meanwhile, and its identifier: to take many marks back the objects
  /// themselves are not looked at.
  struct Mark {
    TavExtractableI* object;
    std::size_t id;
  };
  /// Objects whose entry is the mark, in order of marking: by markRemoved, and by the removals under way, the innermost
  /// first.
  TavTable<Mark> _marked;
  Removal* _removals = nullptr;
  /// Where a removal notes what a hook throws while objects are destroyed.
  TavFirstFailure* _failure = nullptr;
  /// The work list of destroy(), linked through the table; and the number of its calls under way.
  TavExtractableI* _doomed = nullptr;
  int _destroying = 0;
  TavTable<void*> _marks;
  bool _marksLent = false;
  std::vector<TavAlgorithmI*> _algorithms;
  std::function<void(const TavChange&)> _listener;
  TavCloneMap _clones;
  /// Where clones are looked up, first and second: the own map, the map of a TavClonePass from or into this
  /// environment, or both, the own one first, after a setClone during the pass.
  TavCloneMap* _cloneMap = &_clones;
  TavCloneMap* _otherCloneMap = nullptr;
  /// The TavClonePass into this environment, or null.
  TavClonePass* _clonePass = nullptr;
  /// The maps, of any environments, that name objects of this one.
  std::vector<TavCloneMap*> _cloneMaps;
  TavModelEvaluator::Source _evaluator;
  TavTupleEncoderI* _tupleEncoder = nullptr;
};

inline TavExtractableI::TavExtractableI(TavEnvI* env, TavNameArg name) : _env(env), _name(makeName(env, name)) {
  try {
    _id = env->enrol(this);
  } catch (...) {
    freeName(env, _name);
    throw;
  }
}

inline TavExtractableI::~TavExtractableI() {
  if (_name) freeName(_env, _name);
  _env->leave(_id);
}

inline void* TavExtractableI::operator new(std::size_t bytes, TavEnvI* env) { return env->allocate(bytes); }

inline void TavExtractableI::operator delete(void* block, std::size_t bytes) noexcept {
  TavMemory::of(block)->dealloc(block, bytes);
}

inline void TavExtractableI::operator delete(void* block, TavEnvI*) noexcept {
  TavMemory::of(block)->dealloc(block, TavMemory::sizeOf(block));
}

inline void* TavVarDomainI::operator new(std::size_t bytes, TavEnvI* env) { return env->getMemory()->alloc(bytes); }

inline void TavVarDomainI::operator delete(void* block, TavEnvI* env) noexcept {
  env->getMemory()->dealloc(block, TavMemory::sizeOf(block));
}

#pragma GCC visibility pop
