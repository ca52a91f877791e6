#pragma once
/// Columns: what a new variable is installed into when it is created column-wise.

#include "host/array.h"

#pragma GCC visibility push(default)

/// A column as the client or an algorithm layer implements it.
class TavAddExtractable {
 public:
  virtual ~TavAddExtractable() = default;
  /// Called once with each variable that was created from the column.
  virtual void install(TavExtractableI* variable) const = 0;
  /// The environment in which such variables are made.
  virtual TavEnvI* getEnv() const = 0;
};

/// Handle on a column; owns nothing.
class TavAddNumVar {
 public:
  TavAddNumVar() noexcept = default;
  /// A handle on this column, which must outlive it.
  explicit TavAddNumVar(const TavAddExtractable* column) noexcept : _column(column) {}

  const TavAddExtractable* getImpl() const noexcept { return _column; }
  TavEnvI* getEnv() const { return _column->getEnv(); }
  /// The column's own install().
  void install(TavExtractableI* variable) const { _column->install(variable); }

 private:
  const TavAddExtractable* _column = nullptr;
};

/// Array of columns; an element may be empty.
class TavNumColumnArray : public TavArray<TavAddNumVar> {
 public:
  using TavArray::TavArray;
};

#pragma GCC visibility pop
