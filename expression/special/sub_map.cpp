#include "expression/special/sub_map.h"

#include "expression/core/array_family.h"

TavIntArray TavTupleSubMapExprI::getIndexerIntArray() const { return TavCopyOfArray(getIndexer()->getIntArray()); }
TavNumArray TavTupleSubMapExprI::getIndexerNumArray() const { return TavCopyOfArray(getIndexer()->getNumArray()); }
TavAnyArray TavTupleSubMapExprI::getIndexerAnyArray() const { return TavCopyOfArray(getIndexer()->getAnyArray()); }
