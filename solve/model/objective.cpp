#include "solve/model/objective.h"

#include <ostream>

namespace tavsolve {

void ObjectiveI::become(TavExpr sum, bool maximise, const char* name) {
  getEnv()->release(_sum.getImpl());
  _sum = sum;
  _maximise = maximise;
  setName(name);
}

void ObjectiveI::setMaximised(bool maximise) {
  _maximise = maximise;
  notify(SetSense(this));
}

void ObjectiveI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->visitChild(this, TavExtractable(_sum).getImpl());
  visitor->endVisit(this);
}

void ObjectiveI::display(std::ostream& os) const {
  if (getEnv()->librarySyntaxDisplay) {
    os << (_maximise ? "TavMaximize(" : "TavMinimize(") << _sum << ") ";
  } else {
    os << (_maximise ? "maximize " : "minimize ") << _sum;
  }
}

}  // namespace tavsolve
