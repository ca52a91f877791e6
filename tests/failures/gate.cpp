#include "tests/failures/gate.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

struct {
  bool armed = false, forGood = false, failed = false;
  long left = 0;
  Gate::Kind kind = Gate::Allocations;
} gate;

bool refuses(Gate::Kind kind) {
  if (!gate.armed || gate.kind != kind || gate.left-- > 0) return false;
  gate.failed = true;
  gate.armed = gate.forGood;
  gate.left = 0;
  return true;
}

}  // namespace

Gate::Gate(long let, Kind kind, bool forGood) { gate = {true, forGood, false, let, kind}; }
Gate::~Gate() { gate.armed = false; }
bool Gate::hasFailed() const { return gate.failed; }

void clientCall() {
  if (refuses(Gate::Calls)) throw ClientFailure();
}

extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_realloc(void* block, std::size_t bytes);
int __real_posix_memalign(void** block, std::size_t alignment, std::size_t bytes);

void* __wrap_malloc(std::size_t bytes) { return refuses(Gate::Allocations) ? nullptr : __real_malloc(bytes); }
void* __wrap_realloc(void* block, std::size_t bytes) {
  return refuses(Gate::Allocations) ? nullptr : __real_realloc(block, bytes);
}
int __wrap_posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
  return refuses(Gate::Allocations) ? ENOMEM : __real_posix_memalign(block, alignment, bytes);
}
}

void* operator new(std::size_t bytes) {
  void* block = __wrap_malloc(bytes);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return __wrap_malloc(bytes); }
void* operator new(std::size_t bytes, std::align_val_t alignment) {
  void* block = nullptr;
  if (__wrap_posix_memalign(&block, static_cast<std::size_t>(alignment), bytes) != 0) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
