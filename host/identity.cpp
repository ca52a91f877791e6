#include "host/identity.h"

#include "host/environment.h"

TavInt TavRtti::_counter = 0;

void TavRtti::assign(TavInt& slot) {
  TavLockGuard guard(TavEnvI::Mutex);
  if (read(slot) != 0) return;
  const TavInt index = std::atomic_ref<TavInt>(_counter).fetch_add(1) + 1;
  TavInt none = 0;  // without a mutex another thread may have been first
  std::atomic_ref<TavInt>(slot).compare_exchange_strong(none, index, std::memory_order_acq_rel);
}
