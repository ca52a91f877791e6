#pragma once
/// The base of every model object and the cell of a linear sum.

#include <cstddef>
#include <iosfwd>

#include "host/env.h"
#include "host/identity.h"
#include "host/name.h"

#pragma GCC visibility push(default)

class TavAlgorithm;
class TavChange;
class TavExtractableArray;
class TavExtractableI;
class TavModelI;
class TavNumVarI;

/// Walks the direct sub-objects of a model object; owned by the caller.
class TavExtractableVisitor {
 public:
  virtual ~TavExtractableVisitor() = default;
  /// The sub-objects of `parent` follow.
  virtual void beginVisit(TavExtractableI* parent) = 0;
  /// One sub-object; never null.
  virtual void visitChild(TavExtractableI* parent, TavExtractableI* child) = 0;
  /// All sub-objects of `parent` have been shown.
  virtual void endVisit(TavExtractableI* parent) = 0;

  /// visitChild for every non-null element, in index order.
  void visitArray(TavExtractableI* parent, TavExtractableArray children);
};

/// What a named object's name pointer leads to.
struct TavNameRecord {
  /// Null-terminated; stored behind the record.
  const char* name;
};

/// Base of every model object. It is made with `new (env) Class(env, ...)` in its environment's memory and knows its
/// environment, its identifier there and its name. Client classes derive from it, or from a class derived from it. Its
/// inline members are defined in host/environment.h.
class TavExtractableI {
 public:
  /// Enrols the object. `name` is copied; null leaves the object unnamed.
  TavExtractableI(TavEnvI* env, TavNameArg name);
  TavExtractableI(const TavExtractableI&) = delete;
  TavExtractableI& operator=(const TavExtractableI&) = delete;

  TavEnvI* getEnv() const noexcept { return _env; }
  /// Index into mark arrays and the identifier table. Unique among the live objects of the environment; an identifier
  /// is used again after its object's end.
  TavInt getId() const noexcept { return _id; }
  /// The name, or null.
  const char* getName() const noexcept { return _name ? _name->name : nullptr; }
  /// Replaces the name by a copy of `name`; null removes it.
  void setName(TavNameArg name);

  static void* operator new(std::size_t bytes, TavEnvI* env);
  static void operator delete(void* block, std::size_t bytes) noexcept;
  /// For a constructor that threw.
  static void operator delete(void* block, TavEnvI* env) noexcept;

  static constexpr const char* kTypeName = "TavExtractableI";
  static TavInt _rttiIndex;
  static void InitTypeIndex();
  static TavInt GetTypeIndex();
  static TavTypeInfo GetTypeInfo();

  /// Leaves the environment's registry and frees name and identifier.
  inline virtual ~TavExtractableI();
  virtual TavInt getTypeIndex() const;
  virtual TavTypeInfo getTypeInfo() const;
  /// True for the token of the object's class and of each of its bases.
  virtual bool isType(TavTypeInfo type) const;
  virtual const char* getRttiTypeName() const;
  virtual TavInt getExtractableSize() const;
  virtual TavTypeInfo getBaseTypeInfo() const;
  virtual TavInt getBaseTypeIndex() const;
  /// A copy in `target`; operands are taken from the clone map. Default: TavNotImplemented.
  virtual TavExtractableI* makeClone(TavEnvI* target) const;
  /// The algorithm's object for this one. Default: TavAlgorithm::ExtractFailure.
  virtual void* extractToCP(TavAlgorithm algorithm) const;
  /// Default: TavAlgorithm::RemoveFailure.
  virtual void unextractFromCP(TavAlgorithm algorithm, void* object) const;
  /// Default: TavAlgorithm::RemoveFailure.
  virtual void modifyCP(TavAlgorithm algorithm, void* object) const;
  /// Called for every live object before `removed` is destroyed; for a batch once, with its first object: ask
  /// TavEnvI::isRemoved which objects are removed. Default: nothing.
  virtual void atRemove(TavExtractableI* removed, void* data);
  /// Shows the visitor each direct sub-object, in order, between beginVisit and endVisit.
  virtual void visitSubExtractables(TavExtractableVisitor* visitor) = 0;
  /// Whether the object is counted: end() then drops one reference. Default: false.
  virtual bool isRefCountedExpr() const;
  /// Default: removes the object from all others and from all algorithms and destroys it.
  virtual void end();
  /// For modelling-language layers. Default: nothing.
  virtual void expandTo(TavModelI* model, const char* first, const char* second) const;
  /// Writes the object as text. Default: class name and identifier.
  virtual void display(std::ostream& os) const;
  /// For algorithm layers, which call it when they add the object to an algorithm. Default: nothing.
  virtual void whenAddedToCP(TavAlgorithm algorithm, void* data) const;
  /// The same when they remove the object from one. Default: nothing.
  virtual void whenRemovedFromCP(TavAlgorithm algorithm, void* data) const;
  /// For modelling-language layers. Default: false.
  virtual bool hasNongroundType() const;
  /// Whether the value depends on decisions. Default: true.
  virtual bool isDecisionExpr() const;
  /// Hands a change record to the environment.
  virtual void notify(const TavChange& change);

 private:
  /// A name record with its text behind it; null for no name.
  static const TavNameRecord* makeName(TavEnvI* env, TavNameArg name) { return name ? copyName(env, name) : nullptr; }
  static const TavNameRecord* copyName(TavEnvI* env, TavNameArg name);
  static void freeName(TavEnvI* env, const TavNameRecord* record) noexcept;

  TavEnvI* _env;
  TavInt _id;
  const TavNameRecord* _name;
};

/// One cell of a linear sum, made and recycled by the environment. The node whose list contains it owns it.
struct TavNumLinExprTermI {
  /// The variable.
  TavNumVarI* var;
  /// The next cell of the list, null at its end.
  TavNumLinExprTermI* next;
  /// The coefficient; a whole number in an integer sum.
  double coef;
};

/// A handle on any model object. A plain value: copies name the same object, nothing is counted.
class TavExtractable {
 public:
  TavExtractable() noexcept = default;
  explicit TavExtractable(TavExtractableI* impl) noexcept : _impl(impl) {}

  TavExtractableI* getImpl() const noexcept { return _impl; }
  TavEnv getEnv() const noexcept { return TavEnv(_impl->getEnv()); }
  /// As on TavExtractableI.
  TavInt getId() const noexcept { return _impl->getId(); }
  /// As on TavExtractableI.
  const char* getName() const noexcept { return _impl->getName(); }
  /// As on TavExtractableI.
  void setName(TavNameArg name) const { _impl->setName(name); }
  /// The object's own end(); empties this handle. Leaves an empty handle unchanged.
  void end();
  /// Whether both name the same object, or none.
  friend bool operator==(TavExtractable, TavExtractable) noexcept = default;

 protected:
  TavExtractableI* _impl = nullptr;
};

/// The object's display; nothing for an empty handle.
std::ostream& operator<<(std::ostream& os, TavExtractable object);

#pragma GCC visibility pop
