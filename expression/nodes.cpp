#include "expression/nodes.h"

#define TAV_NODE(Self, Base)           \
  template class TavTyped<Self, Base>; \
  template class TavNode<Self, Base>;
#define TAV_CHANGE(Self)                    \
  template class TavTyped<Self, TavChange>; \
  template class TavChangeRecord<Self>;
#include "expression/classes.inc"
