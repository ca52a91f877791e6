#include "host/clone_pass.h"

#include <algorithm>
#include <utility>

#include "host/environment.h"

TavClonePass::TavClonePass(TavEnvI* source, TavEnvI* target) : _source(source), _target(target) {
  _source->beginCloning();
  _target->beginCloning();
  _source->_cloneMap = _target->_cloneMap = &_clones;
  _target->_clonePass = this;
}

TavClonePass::~TavClonePass() {
  for (TavEnvI* env : {_source, _target}) {
    env->endCloning();
    env->_cloneMap = &env->_clones;
  }
  _target->_clonePass = nullptr;
}

/// Pushes the operands without a clone of the objects that it visits.
class TavClonePass::Operands final : public TavExtractableVisitor {
 public:
  explicit Operands(TavClonePass& pass) noexcept : _pass(pass) {}
  void beginVisit(TavExtractableI*) override {}
  void visitChild(TavExtractableI*, TavExtractableI* child) override {
    if (child && !_pass._target->getClone(child)) _pass._steps.push_back({child, false});
  }
  void endVisit(TavExtractableI*) override {}

 private:
  TavClonePass& _pass;
};

TavExtractableI* TavClonePass::clone(TavExtractableI* root) {
  struct StackBase {
    std::vector<Step>& steps;
    const std::size_t size = steps.size();
    ~StackBase() { steps.resize(size); }
  } base{_steps};
  _clones.watch(_target);
  Operands operands(*this);
  operands.visitChild(nullptr, root);
  while (_steps.size() > base.size) {
    const std::size_t top = _steps.size();
    TavExtractableI* object = _steps.back().object;
    if (!std::exchange(_steps.back().operandsDone, true)) {
      object->visitSubExtractables(&operands);
      std::reverse(_steps.begin() + static_cast<std::ptrdiff_t>(top), _steps.end());  // the first operand comes first
      if (_steps.size() > top) continue;
    }
    _steps.pop_back();
    if (_target->getClone(object)) continue;
    _clones.prepare(object);
    _clones.add(object, object->makeClone(_target));
  }
  return _target->getClone(root);
}
