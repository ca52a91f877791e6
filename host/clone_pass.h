#pragma once
/// Cloning of expressions into another environment.

#include <vector>

#include "host/clone_map.h"

#pragma GCC visibility push(default)

/// Clones all objects that a root reaches into another environment, operands first, without recursion. While the pass
/// exists, getClone of both environments finds the clones. An environment takes part in one pass at a time.
class TavClonePass {
 public:
  /// Starts a pass from `source` into `target`.
  TavClonePass(TavEnvI* source, TavEnvI* target);
  TavClonePass(const TavClonePass&) = delete;
  TavClonePass& operator=(const TavClonePass&) = delete;
  ~TavClonePass();

  /// The clone of `root`, made now unless the pass has made it before; null for null. Clones have no references. If it
  /// throws, the pass keeps the clones that it has made, and a second call continues.
  TavExtractableI* clone(TavExtractableI* root);

 private:
  friend class TavEnvI;
  class Operands;
  struct Step {
    TavExtractableI* object;
    bool operandsDone;
  };

  TavEnvI* _source;
  TavEnvI* _target;
  TavCloneMap _clones;
  /// A stack of the objects to be cloned. A nested call works above the entries of the outer one.
  std::vector<Step> _steps;
};

#pragma GCC visibility pop
