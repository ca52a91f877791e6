#pragma once
/// Cloning what a root reaches into another environment.

#include <vector>

#include "host/clone_map.h"

#pragma GCC visibility push(default)

/// Clones what a root reaches into another environment, operands first, without recursion; both environments know each
/// pair for as long as the pass lives. One pass at a time goes from or into an environment.
class TavClonePass {
 public:
  /// Starts a pass from `source` into `target`.
  TavClonePass(TavEnvI* source, TavEnvI* target);
  TavClonePass(const TavClonePass&) = delete;
  TavClonePass& operator=(const TavClonePass&) = delete;
  ~TavClonePass();

  /// The clone of `root`, made now unless the pass made it before; null for null. Clones start uncounted. A failure
  /// leaves the pass the clones that it has made: a second call goes on from there.
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
  /// What is to be cloned, the next one last. A call from within a call works above the entries of the outer one.
  std::vector<Step> _steps;
};

#pragma GCC visibility pop
