#include "host/domain_pool.h"

#include "host/environment.h"

std::size_t TavDomainPool::Hash::operator()(const Key& key) const noexcept {
  std::uint64_t hash = (key.lb + static_cast<std::uint64_t>(key.type)) * 0x9E3779B97F4A7C15u;
  hash = (hash ^ (hash >> 32) ^ key.ub) * 0xD6E8FEB86659FD93u;
  return static_cast<std::size_t>(hash ^ (hash >> 32));
}

template <class Domain, class... Args>
TavVarDomainI* TavDomainPool::findOrMake(const Key& key, Args... args) {
  _lastKey = Key();
  TavBoundedDomainI*& entry = _domains[key];
  if (!entry || !key.fits(*entry)) {
    entry = nullptr;
    entry = new (_env) Domain(args...);
    entry->share();
  }
  _lastKey = key;
  return _last = entry;
}

template TavVarDomainI* TavDomainPool::findOrMake<TavNumVarDomainI>(const Key&, double, double);
template TavVarDomainI* TavDomainPool::findOrMake<TavIntVarDomainI>(const Key&, TavInt, TavInt, TavInt);
