#include "solve/model/non_linear_use.h"

#include <unordered_set>
#include <vector>

namespace tavsolve {

namespace {

/// Visits each node below the sums of rows and objective once.
class Walk final : public TavExtractableVisitor {
 public:
  void take(TavExtractableI* sum, const std::string& label) {
    _label = &label;
    _next.push_back(sum);
    while (!_next.empty()) {
      TavExtractableI* node = _next.back();
      _next.pop_back();
      _isSum = dynamic_cast<TavNumLinTermI*>(node) || dynamic_cast<TavIntLinTermI*>(node);
      node->visitSubExtractables(this);
    }
  }

  void beginVisit(TavExtractableI*) override {}
  void endVisit(TavExtractableI*) override {}
  void visitChild(TavExtractableI*, TavExtractableI* child) override {
    if (dynamic_cast<TavNumVarI*>(child)) {
      if (!_isSum) uses.emplace(child->getId(), *_label);
    } else if (_met.insert(child).second) {
      _next.push_back(child);
    }
  }

  std::unordered_map<TavInt, std::string> uses{};

 private:
  const std::string* _label = nullptr;
  bool _isSum = true;
  std::unordered_set<const TavExtractableI*> _met{};
  std::vector<TavExtractableI*> _next{};
};

}  // namespace

std::unordered_map<TavInt, std::string> nonLinearUses(const Model& model) {
  Walk walk;
  const auto take = [&walk](const TavExpr& sum, const std::string& label) {
    if (sum.getImpl()->getFirstPart()) walk.take(sum.getImpl(), label);
  };
  take(model.objective()->getSum(), "the objective");
  for (const RangeConstraintI* row : model.rows()) {
    take(row->getSum(), row->getName() ? "row " + std::string(row->getName()) : "a row without a name");
  }
  return std::move(walk.uses);
}

}  // namespace tavsolve
