#pragma once
/// The environment: owner of all objects and of their memory, which connects models and algorithms.

#include <functional>
#include <vector>

#include "host/algorithm.h"
#include "host/change.h"
#include "host/clone_pass.h"
#include "host/column.h"
#include "host/domain_pool.h"
#include "host/memory.h"
#include "host/object_table.h"
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
  /// Takes a node over; the interceptor ends it.
  virtual void takeNode(TavNumExprI* node) = 0;

 protected:
  ~TavDeletionInterceptor() = default;
};

/// Supplied by the modelling-language layer; the environment only stores a pointer to it.
class TavTupleEncoderI;

/// One environment. One thread at a time works on it; environments on different threads share nothing but the type
/// indices.
class TavEnvI {
 public:
  TavEnvI();
  TavEnvI(const TavEnvI&) = delete;
  TavEnvI& operator=(const TavEnvI&) = delete;
  /// Sets `ending`, runs every object's destructor once, greatest identifier first, then frees arrays, domains and
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
  /// Recycles a cell that is in no list.
  void recycleTerm(TavNumLinExprTermI* cell) noexcept { recycleTerms(cell, cell); }
  /// Recycles a chain of cells linked from `first` to `last`, in O(1).
  void recycleTerms(TavNumLinExprTermI* first, TavNumLinExprTermI* last) noexcept { _terms.recycle(first, last); }

  /// A scratch array with one entry per identifier. Entries are stale: write an entry before you read it. One borrower
  /// at a time. Throws std::bad_alloc.
  void** getMarkArray() { return _objects.lendMarkArray(); }
  /// Gives the scratch array back.
  void releaseMarkArray(void** marks) noexcept { _objects.takeBackMarkArray(marks); }

  /// Whether the object is marked as removed, in its own environment.
  bool isRemoved(const TavExtractableI* object) const noexcept {
    return object->getEnv() == this ? isOwnRemoved(object) : object->getEnv()->isOwnRemoved(object);
  }
  /// The same for an object that is known to live in this environment.
  bool isOwnRemoved(const TavExtractableI* object) const noexcept { return _objects.isRemoved(object); }
  /// Marks an object of this environment as removed; ignores those of others, whose identifiers mean other objects
  /// here. Does nothing for one that is marked already. Throws std::bad_alloc.
  void markRemoved(TavExtractableI* object);
  /// The same for the elements of an array, except empty ones. Throws std::bad_alloc; then no object is marked.
  void markRemoved(TavExtractableArray objects) { _objects.mark(this, objects); }
  /// Number of objects marked by markRemoved and not restored; the argument of restoreMarks.
  std::size_t markedCount() const noexcept { return _objects.markedCount(); }
  /// Takes back all marks set since markedCount() returned `count`.
  void restoreMarks(std::size_t count) noexcept { _objects.unmark(count); }

  /// Notifies the listener and every algorithm that has extracted the changed object. All are notified even if one
  /// throws; then the first exception is rethrown.
  void change(const TavChange& change);
  /// Sees every change record, before the algorithms; null for none.
  void setChangeListener(std::function<void(const TavChange&)> listener) { _listener = std::move(listener); }

  /// The object's clone in the current cloning pass; null for null and for an object without a clone.
  TavExtractableI* getClone(const TavExtractableI* source) const noexcept {
    TavExtractableI* clone = _cloneMap->find(source);
    return clone || !_otherCloneMap ? clone : _otherCloneMap->find(source);
  }
  /// The same; while a TavClonePass into this environment is under way, an object without a clone is cloned now. For
  /// what visitors do not show: the variables of terms with coefficient 0.
  TavExtractableI* getCloneOnDemand(TavExtractableI* source);
  /// Records `clone` as the clone of `source` until endCloning(), null for none. It takes precedence over
  /// the clone of a TavClonePass.
  void setClone(const TavExtractableI* source, TavExtractableI* clone);
  /// Forgets all clones, including those of a TavClonePass under way.
  void beginCloning() noexcept;
  /// The same: ends a pass.
  void endCloning() noexcept { beginCloning(); }

  /// Destroys an object, and with it the objects that its destructor releases last. Calls nest to a bounded depth,
  /// which keeps the free memory of a tree contiguous; calls below it are postponed to the outermost one, so that deep
  /// trees need no deep stack.
  void destroy(TavExtractableI* object, TavInt) noexcept;
  /// Removes an object from all others and from all algorithms, then destroys it. A hook that throws stops neither: the
  /// first exception is rethrown at the end, by the outermost removal when a destructor removes another object.
  /// Allocates nothing.
  void removeFromAllAndDestroy(TavExtractableI* object, TavInt) { removeOwn(&object, &object + 1, &object + 1); }
  /// The same for a batch, which may list an object twice, with one sweep over the live objects. Throws std::bad_alloc;
  /// then no object is removed.
  void removeFromAllAndDestroy(TavExtractableI* const* first, TavExtractableI* const* last);
  /// As above for objects of any environments, each removed from its own. Works in the caller's list, which it
  /// overwrites; allocates nothing.
  static void removeAcrossEnvs(TavExtractableI** first, TavExtractableI** last);
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
  /// The encoder of tuples; null unless one was set. It is stored for other layers, neither used nor owned.
  TavTupleEncoderI* getTupleEncoder() const noexcept { return _tupleEncoder; }
  void setTupleEncoder(TavTupleEncoderI* encoder) noexcept { _tupleEncoder = encoder; }
  ///@}

  /// Whether the object is one of this environment's live ones: for assertions.
  bool isLive(const TavExtractableI* object) const noexcept { return _objects.contains(object); }
  /// See TavTermPool::noteTaken.
  bool noteTaken(const TavNumLinExprTermI* cell) noexcept { return _terms.noteTaken(cell); }

  /// Number of model objects in this environment. Walks the free identifiers: for tests and diagnosis.
  TavInt liveObjectCount() const noexcept { return _objects.count(); }
  /// Cells handed out and not recycled. Walks the free list: for tests and diagnosis.
  TavInt liveTermCount() const noexcept { return _terms.liveCount(); }

 private:
  friend class TavExtractableI;
  friend class TavAlgorithmI;
  friend class TavCloneMap;
  friend class TavClonePass;

  /// Depth of nested destructions from which on they are postponed.
  static constexpr int kMostNested = 32;

  /// destroy() of an object that is marked as removed or that a clone map may name; out of line, so that the usual call
  /// saves few registers.
  void destroyNamed(TavExtractableI* object) noexcept;
  /// destroy() of any other object.
  void destroyUnnamed(TavExtractableI* object) noexcept;
  void destroyPostponed() noexcept;
  struct Removal;
  /// removeAcrossEnvs for [first, end), all of this environment, and [end, last), all of others.
  void removeOwn(TavExtractableI** first, TavExtractableI** end, TavExtractableI** last);
  /// Calls atRemove(removed) of every live object; `removed` may be the first object of a batch.
  void notifyOfRemoval(TavExtractableI* removed, TavFirstFailure& failure);
  bool wantsChange(const TavAlgorithmI* algorithm, const TavChange& change) const;

  TavMemory _memory;
  TavTermPool _terms;
  TavDomainPool _domains;
  TavObjectTable _objects;
  /// The removals under way, the innermost first; their objects are marked as removed.
  Removal* _removals = nullptr;
  /// Where a removal stores the exceptions of hooks while it destroys objects.
  TavFirstFailure* _failure = nullptr;
  /// Number of calls of destroy() under way.
  int _destroying = 0;
  std::vector<TavAlgorithmI*> _algorithms;
  std::function<void(const TavChange&)> _listener;
  TavCloneMap _clones;
  /// Where getClone looks, first and second: only in _clones; during a TavClonePass in its map; after a setClone during
  /// the pass in _clones and then in that map.
  TavCloneMap* _cloneMap = &_clones;
  TavCloneMap* _otherCloneMap = nullptr;
  /// The TavClonePass into this environment, or null.
  TavClonePass* _clonePass = nullptr;
  /// The maps that watch this environment.
  std::vector<TavCloneMap*> _cloneMaps;
  TavModelEvaluator::Source _evaluator;
  TavTupleEncoderI* _tupleEncoder = nullptr;
};

inline TavExtractableI::TavExtractableI(TavEnvI* env, TavNameArg name) : _env(env), _name(makeName(env, name)) {
  try {
    _id = env->_objects.enter(this);
  } catch (...) {
    freeName(env, _name);
    throw;
  }
}

inline TavExtractableI::~TavExtractableI() {
  if (_name) freeName(_env, _name);
  _env->_objects.leave(_id);
}

inline void* TavExtractableI::operator new(std::size_t bytes, TavEnvI* env) { return env->allocate(bytes); }

inline void TavExtractableI::operator delete(void* block, std::size_t bytes) noexcept {
  TavMemory::of(block)->dealloc(block, bytes);
}

inline void TavExtractableI::operator delete(void* block, TavEnvI*) noexcept {
  TavMemory::of(block)->dealloc(block, TavMemory::sizeOf(block));
}

#pragma GCC visibility pop
