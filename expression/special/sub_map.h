#pragma once
/// Class header for authors of algorithms: parts of maps that are indexed by tuples. The concrete classes belong to the
/// modelling-language layer.

#include "expression/core/any_expr.h"
#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// A second base of numeric nodes that read a map or a part of one. They count as linear when their indexer is a
/// parameter.
class TavSubMapNode {
 public:
  /// What the map is indexed with.
  virtual TavIntExprI* getIndexer() const = 0;

 protected:
  ~TavSubMapNode() = default;
};

/// A part of a map, selected by tuples; its values are arbitrary objects.
class TavTupleSubMapExprI : public TavNode<TavTupleSubMapExprI, TavAnyExprI> {
 public:
  static constexpr const char* kTypeName = "TavTupleSubMapExprI";

  /// A new unnamed node in `env`.
  explicit TavTupleSubMapExprI(TavEnvI* env) : TavNode(env, nullptr) {}

  /// The environment's.
  TavTupleEncoderI* getEncoder() const override { return getEnv()->getTupleEncoder(); }
  /// Whether the map is indexed by a range.
  virtual bool hasRangeIndex() const { return getIndexer()->hasRangeIndex(); }
  ///@{
  /// Copies of the indexer's arrays, each in its array's memory; the caller ends them.
  virtual TavIntArray getIndexerIntArray() const;
  virtual TavNumArray getIndexerNumArray() const;
  virtual TavAnyArray getIndexerAnyArray() const;
  ///@}
};

#pragma GCC visibility pop
