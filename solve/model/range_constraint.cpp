#include "solve/model/range_constraint.h"

#include <cmath>
#include <ostream>

namespace tavsolve {

void RangeConstraintI::setBounds(double lb, double ub) {
  _lb = lb;
  _ub = ub;
  notify(SetRowBounds(this));
}

void RangeConstraintI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->visitChild(this, TavExtractable(_sum).getImpl());
  visitor->endVisit(this);
}

void RangeConstraintI::display(std::ostream& os) const {
  if (getEnv()->librarySyntaxDisplay) {
    os << "TavRange(" << _lb << ", " << _sum << ", " << _ub << ") ";
    return;
  }
  const bool below = std::isfinite(_lb), above = std::isfinite(_ub);
  if (below && above && _lb != _ub) os << _lb << " <= ";
  os << _sum;
  if (below && _lb == _ub) {
    os << "== " << _lb;
  } else if (above) {
    os << "<= " << _ub;
  } else {
    os << (below ? ">= " : "free");
    if (below) os << _lb;
  }
}

}  // namespace tavsolve
