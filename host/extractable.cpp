#include "host/extractable.h"

#include <algorithm>
#include <cstring>
#include <ostream>

#include "host/environment.h"

TavInt TavExtractableI::_rttiIndex = 0;

void TavExtractableI::InitTypeIndex() {
  if (TavRtti::read(_rttiIndex) == 0) TavRtti::assign(_rttiIndex);
}
TavInt TavExtractableI::GetTypeIndex() {
  InitTypeIndex();
  return TavRtti::read(_rttiIndex);
}
TavTypeInfo TavExtractableI::GetTypeInfo() { return reinterpret_cast<TavTypeInfo>(&TavExtractableI::GetTypeIndex); }
TavInt TavExtractableI::getTypeIndex() const { return TavRtti::read(_rttiIndex); }
TavTypeInfo TavExtractableI::getTypeInfo() const { return GetTypeInfo(); }
bool TavExtractableI::isType(TavTypeInfo type) const { return type == TavExtractableI::GetTypeInfo(); }
const char* TavExtractableI::getRttiTypeName() const { return kTypeName; }
TavInt TavExtractableI::getExtractableSize() const { return sizeof(TavExtractableI); }
TavTypeInfo TavExtractableI::getBaseTypeInfo() const { return nullptr; }
TavInt TavExtractableI::getBaseTypeIndex() const { return 0; }

const TavNameRecord* TavExtractableI::copyName(TavEnvI* env, TavNameArg name) {
  const std::string_view given = name.text();
  void* block = env->getMemory()->alloc(sizeof(TavNameRecord) + given.size() + 1);
  char* text = static_cast<char*>(block) + sizeof(TavNameRecord);
  *std::copy(given.begin(), given.end(), text) = '\0';
  return new (block) TavNameRecord{text};
}

void TavExtractableI::freeName(TavEnvI* env, const TavNameRecord* record) noexcept {
  if (!record) return;
  const std::size_t bytes = sizeof(TavNameRecord) + std::strlen(record->name) + 1;
  env->getMemory()->dealloc(const_cast<TavNameRecord*>(record), bytes);
}

void TavExtractableI::setName(TavNameArg name) {
  const TavNameRecord* record = makeName(_env, name);
  freeName(_env, _name);
  _name = record;
}

TavExtractableI* TavExtractableI::makeClone(TavEnvI*) const {
  throw TavNotImplemented("objects of this class cannot be cloned");
}
void* TavExtractableI::extractToCP(TavAlgorithm) const { throw TavAlgorithm::ExtractFailure(nullptr, 0); }
void TavExtractableI::unextractFromCP(TavAlgorithm, void*) const { throw TavAlgorithm::RemoveFailure(nullptr, 0); }
void TavExtractableI::modifyCP(TavAlgorithm, void*) const { throw TavAlgorithm::RemoveFailure(nullptr, 0); }
void TavExtractableI::atRemove(TavExtractableI*, void*) {}
bool TavExtractableI::isRefCountedExpr() const { return false; }
void TavExtractableI::end() { _env->removeFromAllAndDestroy(this, 0); }
void TavExtractableI::expandTo(TavModelI*, const char*, const char*) const {}
void TavExtractableI::display(std::ostream& os) const { os << getRttiTypeName() << "(" << _id << ")"; }
void TavExtractableI::whenAddedToCP(TavAlgorithm, void*) const {}
void TavExtractableI::whenRemovedFromCP(TavAlgorithm, void*) const {}
bool TavExtractableI::hasNongroundType() const { return false; }
bool TavExtractableI::isDecisionExpr() const { return true; }
void TavExtractableI::notify(const TavChange& change) { _env->change(change); }

void TavExtractableVisitor::visitArray(TavExtractableI* parent, TavExtractableArray children) {
  for (TavInt i = 0; i < children.getSize(); ++i) {
    if (TavExtractableI* child = children[i].getImpl()) visitChild(parent, child);
  }
}

void TavExtractable::end() {
  if (_impl) _impl->end();
  _impl = nullptr;
}

std::ostream& operator<<(std::ostream& os, TavExtractable object) {
  if (object.getImpl()) object.getImpl()->display(os);
  return os;
}
