#pragma once
/// Class header for authors of algorithms: identity and hook slots of node classes and change records.

#include "host/tavhost.h"

#pragma GCC visibility push(default)

/// Makes an algorithm's object for a model object.
using TavExtractHook = void* (*)(TavAlgorithm, const TavExtractableI*);
/// Removes or updates the algorithm's object of a model object.
using TavObjectHook = void (*)(TavAlgorithm, const TavExtractableI*, void*);
/// Applies a change record.
using TavApplyHook = void (*)(TavAlgorithm, const TavChange*, void*);

/// A model object class: identity and its three hook slots. An algorithm layer assigns the slots; each class has its
/// own and never falls back to its base's.
template <class Self, class Base>
class TavNode : public TavTyped<Self, Base> {
 public:
  using TavTyped<Self, Base>::TavTyped;

  /// Makes an algorithm's object for an object of this class.
  static inline TavExtractHook _extractCP = nullptr;
  /// Removes the algorithm's object.
  static inline TavObjectHook _unextractCP = nullptr;
  /// Updates the algorithm's object.
  static inline TavObjectHook _modifyCP = nullptr;

  /// The result of the class's `_extractCP`. Throws TavAlgorithm::ExtractFailure when it is not installed.
  void* extractToCP(TavAlgorithm algorithm) const override {
    if (!_extractCP) throw TavAlgorithm::ExtractFailure(nullptr, 0);
    return _extractCP(algorithm, this);
  }
  /// Calls the class's `_unextractCP`. Throws TavAlgorithm::RemoveFailure when it is not installed.
  void unextractFromCP(TavAlgorithm algorithm, void* object) const override {
    if (!_unextractCP) throw TavAlgorithm::RemoveFailure(nullptr, 0);
    _unextractCP(algorithm, this, object);
  }
  /// Calls the class's `_modifyCP`. Throws TavAlgorithm::RemoveFailure when it is not installed.
  void modifyCP(TavAlgorithm algorithm, void* object) const override {
    if (!_modifyCP) throw TavAlgorithm::RemoveFailure(nullptr, 0);  // by contract: not a failure of its own
    _modifyCP(algorithm, this, object);
  }
};

/// A change record class: identity and its hook slot.
template <class Self>
class TavChangeRecord : public TavTyped<Self, TavChange> {
 public:
  using TavTyped<Self, TavChange>::TavTyped;

  /// Applies a change of this class to an algorithm.
  static inline TavApplyHook _applyCP = nullptr;

  /// Calls the class's `_applyCP`. Throws TavAlgorithm::CannotChangeException when it is not installed.
  void applyToCP(TavAlgorithm algorithm, void* data) const override {
    if (!_applyCP) throw TavAlgorithm::CannotChangeException(algorithm.getImpl());
    _applyCP(algorithm, this, data);
  }
};

#pragma GCC visibility pop
