#pragma once
/// The base of change records, which notify algorithms of modifications.

#include "host/extractable.h"

#pragma GCC visibility push(default)

class TavArrayI;

/// Visits the objects that a change record names.
class TavChangeVisitor {
 public:
  virtual ~TavChangeVisitor() = default;
  /// One object that the record names, as a part of `owner`.
  virtual void visitChild(TavExtractableI* owner, TavExtractableI* part) = 0;
};

/// A modification of one object or of an array of objects. A record lives on the stack of the function that made the
/// change, for the time of the notification, and owns nothing. Records have a type tree of their own.
class TavChange {
 public:
  /// A modification of this object.
  explicit TavChange(TavExtractableI* changed) noexcept : _object(changed) {}
  /// A modification of all objects of this array.
  explicit TavChange(TavArrayI* changed) noexcept : _array(changed) {}
  TavChange(const TavChange&) = delete;
  TavChange& operator=(const TavChange&) = delete;

  static constexpr const char* kTypeName = "TavChange";
  static TavInt _rttiIndex;
  static void InitTypeIndex();
  static TavInt GetTypeIndex();
  static TavTypeInfo GetTypeInfo();

  virtual ~TavChange() = default;
  virtual TavInt getTypeIndex() const;
  virtual TavTypeInfo getTypeInfo() const;
  virtual bool isType(TavTypeInfo type) const;
  virtual const char* getRttiTypeName() const;
  virtual TavInt getExtractableSize() const;
  virtual TavTypeInfo getBaseTypeInfo() const;
  virtual TavInt getBaseTypeIndex() const;
  /// Shows the visitor the parts concerned, as children of `object`. Default: nothing.
  virtual void visitChange(TavEnvI* env, TavExtractableI* object, TavChangeVisitor* visitor) const;
  /// Calls the class's `_applyCP` hook; throws TavAlgorithm::CannotChangeException when none is installed.
  virtual void applyToCP(TavAlgorithm algorithm, void* data) const = 0;
  /// Whether an array of objects changed.
  virtual bool isApplyingOnArray() const { return _array != nullptr; }
  /// The changed array, or null when one object changed.
  virtual TavArrayI* getChangedExtractableArray() const { return _array; }
  /// The changed object, or null when an array of objects changed.
  virtual TavExtractableI* getChangedExtractable() const { return _object; }

 private:
  TavExtractableI* _object = nullptr;
  TavArrayI* _array = nullptr;
};

#pragma GCC visibility pop
