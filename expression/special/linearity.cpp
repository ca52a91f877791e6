#include "expression/core/index.h"
#include "expression/core/num_linear.h"

bool TavNumLinTermI::isLinear() const {
  for (const TavPart* part = _parts.first; part; part = part->next) {
    if (!TavIsIndex(part->expr)) return false;
  }
  return true;
}
