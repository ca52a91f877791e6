#include "host/change.h"

TavInt TavChange::_rttiIndex = 0;

void TavChange::InitTypeIndex() {
  if (TavRtti::read(_rttiIndex) == 0) TavRtti::assign(_rttiIndex);
}
TavInt TavChange::GetTypeIndex() {
  InitTypeIndex();
  return TavRtti::read(_rttiIndex);
}
TavTypeInfo TavChange::GetTypeInfo() { return reinterpret_cast<TavTypeInfo>(&TavChange::GetTypeIndex); }
TavInt TavChange::getTypeIndex() const { return TavRtti::read(_rttiIndex); }
TavTypeInfo TavChange::getTypeInfo() const { return GetTypeInfo(); }
bool TavChange::isType(TavTypeInfo type) const { return type == TavChange::GetTypeInfo(); }
const char* TavChange::getRttiTypeName() const { return kTypeName; }
TavInt TavChange::getExtractableSize() const { return sizeof(TavChange); }
TavTypeInfo TavChange::getBaseTypeInfo() const { return nullptr; }
TavInt TavChange::getBaseTypeIndex() const { return 0; }
void TavChange::visitChange(TavEnvI*, TavExtractableI*, TavChangeVisitor*) const {}
