#pragma once
/// What a visit shows.

#include <stdexcept>
#include <vector>

#include "host/tavhost.h"

/// The sub-objects that a visit shows, between one begin and one end, as parts of the object; throws otherwise.
inline std::vector<TavExtractableI*> childrenOf(TavExtractableI* object) {
  struct Visitor final : TavExtractableVisitor {
    void beginVisit(TavExtractableI*) override { require(depth++ == 0); }
    void visitChild(TavExtractableI* shown, TavExtractableI* child) override {
      require(shown == parent && depth == 1);
      seen.push_back(child);
    }
    void endVisit(TavExtractableI*) override { require(--depth == 0); }
    static void require(bool holds) {
      if (!holds) throw std::logic_error("a visit is out of order");
    }
    std::vector<TavExtractableI*> seen;
    TavExtractableI* parent = nullptr;
    int depth = 0;
  } visitor;
  visitor.parent = object;
  object->visitSubExtractables(&visitor);
  return visitor.seen;
}
