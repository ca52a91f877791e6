#include "solve/model/range_constraint.h"

#include <cmath>
#include <ostream>

namespace tavsolve {

RangeConstraintI::RangeConstraintI(TavEnvI* env, double lb, TavExpr sum, double ub, const char* name)
    : TavNode(env, name), _bound(lb), _sum(reinterpret_cast<std::uintptr_t>(sum.getImpl()) | kEqual) {
  store(lb, ub);
}

RangeConstraintI::~RangeConstraintI() {
  freeBoth();
  getEnv()->release(getSum().getImpl());
}

double RangeConstraintI::getLB() const {
  if (form() == kAtMost) return -TavGetInfinity();
  return form() == kBoth ? _both->lb : _bound;
}

double RangeConstraintI::getUB() const {
  if (form() == kAtLeast) return TavGetInfinity();
  return form() == kBoth ? _both->ub : _bound;
}

RangeConstraintI::Form RangeConstraintI::formOf(double lb, double ub) {
  if (lb == -TavGetInfinity()) return kAtMost;
  if (ub == TavGetInfinity()) return kAtLeast;
  return lb == ub && std::signbit(lb) == std::signbit(ub) ? kEqual : kBoth;
}

void RangeConstraintI::store(double lb, double ub) {
  const Form next = formOf(lb, ub);
  if (next == kBoth) {
    void* const block = form() == kBoth ? _both : getEnv()->getMemory()->alloc(sizeof(Bounds));
    _both = new (block) Bounds{lb, ub};
  } else {
    freeBoth();
    _bound = next == kAtMost ? ub : lb;
  }
  _sum = (_sum & ~kForms) | next;
}

void RangeConstraintI::freeBoth() {
  if (form() == kBoth) getEnv()->getMemory()->dealloc(_both, sizeof(Bounds));
}

void RangeConstraintI::setBounds(double lb, double ub) {
  store(lb, ub);
  notify(SetRowBounds(this));
}

void RangeConstraintI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->visitChild(this, TavExtractable(getSum()).getImpl());
  visitor->endVisit(this);
}

void RangeConstraintI::display(std::ostream& os) const {
  const double lb = getLB(), ub = getUB();
  const TavExpr sum = getSum();
  if (getEnv()->librarySyntaxDisplay) {
    os << "TavRange(" << lb << ", " << sum << ", " << ub << ") ";
    return;
  }
  const bool below = std::isfinite(lb), above = std::isfinite(ub);
  if (below && above && lb != ub) os << lb << " <= ";
  os << sum;
  if (below && lb == ub) {
    os << "== " << lb;
  } else if (above) {
    os << "<= " << ub;
  } else {
    os << (below ? ">= " : "free");
    if (below) os << lb;
  }
}

}  // namespace tavsolve
