#pragma once
/// Class header for authors of algorithms: expressions whose values are arbitrary objects.

#include "expression/core/node.h"

#pragma GCC visibility push(default)

/// Selects a part of a map. Its value is an array, whose kind depends on the set that indexes the map. Supplied by the
/// modelling-language layer.
class TavTupleIndexerI {
 public:
  virtual ~TavTupleIndexerI() = default;
  /// Whether the map is indexed by a range.
  virtual bool hasRangeIndex() const = 0;
  ///@{
  /// The value as an array of this kind, which stays the indexer's.
  virtual TavIntArray getIntArray() const = 0;
  virtual TavNumArray getNumArray() const = 0;
  virtual TavAnyArray getAnyArray() const = 0;
  ///@}
};

/// An expression over arbitrary objects. It counts its references as a numeric expression does.
class TavAnyExprI : public TavNode<TavAnyExprI, TavExtractableI> {
 public:
  static constexpr const char* kTypeName = "TavAnyExprI";

  TavAnyExprI(TavEnvI* env, TavNameArg name) : TavNode(env, name) {}

  /// The number of references of parents and of layers above.
  TavInt getRefCount() const noexcept { return _refCount; }
  /// Adds one reference.
  void retain() noexcept { ++_refCount; }

  bool isRefCountedExpr() const override { return true; }
  /// Drops one reference. A node without references is destroyed, by removeFromAllAndDestroy or destroy.
  void end() override;

  /// An expression that may be changed in place when this one is shared. Default: this one.
  virtual TavAnyExprI* copy() { return this; }
  /// end(), unless the environment is ending.
  virtual void release();
  /// What encodes the tuples of the expression's values; null when there is nothing to encode.
  virtual TavTupleEncoderI* getEncoder() const { return nullptr; }
  /// What the map is indexed with.
  virtual TavTupleIndexerI* getIndexer() const = 0;
  /// The value under the algorithm.
  virtual TavAny evalAny(TavAlgorithm algorithm) const = 0;
  /// The name of the map that it reads.
  virtual const char* getMapName() const = 0;

 private:
  TavInt _refCount = 0;
};

#pragma GCC visibility pop
