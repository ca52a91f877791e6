#pragma once
/// Type identity: every class of the type tree has a token, an index given out on first request, and a name.

#include <atomic>

#include "host/numbers.h"

#pragma GCC visibility push(default)

/// A type token. Only its address matters: it is a function of the class itself, so tokens compare in one instruction.
using TavTypeInfo = void (*)();

/// The counter behind all type indices.
struct TavRtti {
  /// The last index given out; 0 before the first.
  static TavInt _counter;

  /// Gives `slot` the next index unless it has one. Guarded by TavEnvI::Mutex with the test repeated under the lock.
  static void assign(TavInt& slot);
  /// Reads a slot that another thread may be assigning.
  static TavInt read(TavInt& slot) noexcept { return std::atomic_ref<TavInt>(slot).load(std::memory_order_acquire); }
};

/// Identity of one class in the type tree: Self is the class, Base its direct base there. Self states `kTypeName`.
template <class Self, class Base>
class TavTyped : public Base {
 public:
  using Base::Base;

  /// The class's index; 0 until the static GetTypeIndex() of this class is called.
  static inline TavInt _rttiIndex = 0;

  static void InitTypeIndex() {
    if (TavRtti::read(_rttiIndex) == 0) TavRtti::assign(_rttiIndex);
  }
  static TavInt GetTypeIndex() {
    InitTypeIndex();
    return TavRtti::read(_rttiIndex);
  }
  /// The address of this function is the class's token. It reads the class's own slot, so that the bodies differ and no
  /// linker merges them. It is not inline, so that all shared objects of a program use one address even if they hide
  /// inline functions.
  static TavTypeInfo GetBaseTypeInfo();
  static TavTypeInfo GetTypeInfo() { return reinterpret_cast<TavTypeInfo>(&TavTyped::GetBaseTypeInfo); }
  static const char* GetRttiTypeName() { return Self::kTypeName; }
  static TavInt GetExtractableSize() { return sizeof(Self); }

  // by contract: the member function never assigns an index; it returns 0 until the static one has been called
  TavInt getTypeIndex() const override { return TavRtti::read(_rttiIndex); }
  TavTypeInfo getTypeInfo() const override { return GetTypeInfo(); }
  bool isType(TavTypeInfo type) const override { return type == GetTypeInfo() || Base::isType(type); }
  const char* getRttiTypeName() const override { return GetRttiTypeName(); }
  TavInt getExtractableSize() const override { return GetExtractableSize(); }
  TavTypeInfo getBaseTypeInfo() const override { return GetBaseTypeInfo(); }
  // by contract: calls the base's static function, which assigns an index
  TavInt getBaseTypeIndex() const override { return Base::GetTypeIndex(); }
};

template <class Self, class Base>
TavTypeInfo TavTyped<Self, Base>::GetBaseTypeInfo() {
  return TavRtti::read(_rttiIndex) < 0 ? nullptr : Base::GetTypeInfo();
}

#pragma GCC visibility pop
