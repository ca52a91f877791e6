#pragma once
/// The domains that variables of equal bounds share.

#include <bit>
#include <cstdint>
#include <unordered_map>

#include "host/domain.h"

#pragma GCC visibility push(default)

/// The shared domains of one environment, by the bits of their bounds.
class TavDomainPool {
 public:
  /// An empty pool for variables of this environment.
  explicit TavDomainPool(TavEnvI* env) noexcept : _env(env) {}
  TavDomainPool(const TavDomainPool&) = delete;
  TavDomainPool& operator=(const TavDomainPool&) = delete;

  /// The shared domain of these bounds: real numbers. Throws std::bad_alloc.
  TavVarDomainI* find(double lb, double ub) {
    const Key key(TavNumVarKind::Float, lb, ub);
    return isLast(key) ? _last : findOrMake<TavNumVarDomainI>(key, lb, ub);
  }
  /// The shared domain of these bounds: whole numbers, of type Int also for 0 and 1. Throws std::bad_alloc.
  TavVarDomainI* find(TavInt lb, TavInt ub) {
    const Key key(TavNumVarKind::Int, static_cast<double>(lb), static_cast<double>(ub));
    return isLast(key) ? _last : findOrMake<TavIntVarDomainI>(key, lb, ub, TavInt{0});
  }

 private:
  /// Kind and bits of the bounds.
  struct Key {
    /// The key of no domain: a Boolean one, which is never shared.
    Key() = default;
    Key(TavNumVarKind::Type kind, double lower, double upper) noexcept
        : type(kind), lb(std::bit_cast<std::uint64_t>(lower)), ub(std::bit_cast<std::uint64_t>(upper)) {}
    bool operator==(const Key&) const noexcept = default;
    /// Whether the domain still has these bounds: an array-wide change edits shared domains in place.
    bool fits(const TavBoundedDomainI& domain) const noexcept {
      return Key(type, domain.getLB(), domain.getUB()) == *this;
    }
    TavNumVarKind::Type type = TavNumVarKind::Bool;
    std::uint64_t lb = 0, ub = 0;
  };
  struct Hash {
    std::size_t operator()(const Key& key) const noexcept;
  };
  bool isLast(const Key& key) const noexcept { return key == _lastKey && key.fits(*_last); }
  /// The shared domain of this key, or a new Domain(args...).
  template <class Domain, class... Args>
  TavVarDomainI* findOrMake(const Key& key, Args... args);

  TavEnvI* _env;
  std::unordered_map<Key, TavBoundedDomainI*, Hash> _domains;
  /// The last domain that was found: variables made one by one mostly have the same bounds.
  Key _lastKey;
  TavBoundedDomainI* _last = nullptr;
};

#pragma GCC visibility pop
