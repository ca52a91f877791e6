#include "expression/core/index.h"
#include "expression/core/num_linear.h"
#include "expression/special/element.h"
#include "expression/special/sub_map.h"

namespace {

/// The index of an element node, or the indexer of a sub-map node; null for every other.
const TavIntExprI* positionOf(const TavNumExprI* part) {
  const TavTypeInfo type = part->getTypeInfo();
  if (type == TavNumArrayElementI::GetTypeInfo()) return static_cast<const TavNumArrayElementI*>(part)->getIndex();
  if (type == TavNumExprArrayElementI::GetTypeInfo()) {
    return static_cast<const TavNumExprArrayElementI*>(part)->getIndex();
  }
  if (type == TavIntArrayElementI::GetTypeInfo()) {
    const auto* integer = static_cast<const TavIntExprI*>(part);
    return static_cast<const TavIntArrayElementI*>(integer)->getIndex();
  }
  if (type == TavIntExprArrayElementI::GetTypeInfo()) {
    const auto* integer = static_cast<const TavIntExprI*>(part);
    return static_cast<const TavIntExprArrayElementI*>(integer)->getIndex();
  }
  const auto* map = dynamic_cast<const TavSubMapNode*>(part);
  return map ? map->getIndexer() : nullptr;
}

/// Whether the position of an element is fixed before any decision; the elements themselves do not matter.
bool isParameter(const TavNumExprI* part) {
  if (TavIsIndex(part)) return true;
  const TavIntExprI* position = positionOf(part);
  return position && !position->isDecisionExpr();
}

}  // namespace

bool TavNumLinTermI::isLinear() const {
  for (const TavPart* part = _parts.first; part; part = part->next) {
    if (!isParameter(part->expr)) return false;
  }
  return true;
}
