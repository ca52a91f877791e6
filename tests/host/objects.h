#pragma once
/// A model object, a change record and an algorithm for the tests of the host alone.

#include <functional>
#include <string>
#include <vector>

#include "host/tavhost.h"

/// A model object that owns memory, has children, which it may destroy, and records removals and its destruction.
class TestObject : public TavExtractableI {
 public:
  TestObject(TavEnvI* env, const char* name, std::vector<TavExtractableI*> operands = {})
      : TavExtractableI(env, name), text(100, 'x'), children(std::move(operands)) {}
  ~TestObject() override {
    if (destroyed) destroyed->push_back(getId());
    if (destroysChildren) {
      for (TavExtractableI* child : children) getEnv()->destroy(child, 0);
    }
  }
  void atRemove(TavExtractableI* removed, void*) override {
    if (onRemoval) onRemoval(removed);
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    for (TavExtractableI* child : children) visitor->visitChild(this, child);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    ++clones;
    std::vector<TavExtractableI*> copies;
    for (TavExtractableI* child : children) copies.push_back(getEnv()->getClone(child));
    return new (target) TestObject(target, getName(), copies);
  }

  std::string text;
  std::vector<TavExtractableI*> children;
  mutable int clones = 0;
  bool destroysChildren = false;
  /// Called when other objects are removed, with the first of them.
  std::function<void(TavExtractableI*)> onRemoval;
  /// Where the object adds its identifier when it is destroyed, or null.
  std::vector<TavInt>* destroyed = nullptr;
};

inline TestObject* makeObject(TavEnv env, const char* name = nullptr, std::vector<TavExtractableI*> children = {}) {
  return new (env.getImpl()) TestObject(env.getImpl(), name, std::move(children));
}

class TestChange final : public TavTyped<TestChange, TavChange> {
 public:
  using TavTyped::TavTyped;
  static constexpr const char* kTypeName = "TestChange";
  void applyToCP(TavAlgorithm, void*) const override { ++applied; }
  mutable int applied = 0;
};

/// Has extracted one object.
class TestAlgorithm : public TavAlgorithmI {
 public:
  explicit TestAlgorithm(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  double getValue(const TavNumVarI*) const override { return 0.0; }
  bool hasExtracted(const TavExtractableI* object) const override { return object == extracted; }
  void change(const TavChange& change) override {
    ++changes;
    TavAlgorithmI::change(change);
    if (failure) throw TavException(failure);
  }

  TavExtractableI* extracted = nullptr;
  const char* failure = nullptr;
  int changes = 0;
};
