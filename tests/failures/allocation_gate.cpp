#include "tests/failures/allocation_gate.h"

#include <cstdlib>
#include <new>

namespace {

struct {
  bool armed = false, forGood = false, failed = false;
  long left = 0;
} gate;

bool refuses() {
  if (!gate.armed || gate.left-- > 0) return false;
  gate.failed = true;
  gate.armed = gate.forGood;
  gate.left = 0;
  return true;
}

}  // namespace

AllocationGate::AllocationGate(long let, bool forGood) { gate = {true, forGood, false, let}; }
AllocationGate::~AllocationGate() { gate.armed = false; }
bool AllocationGate::hasFailed() const { return gate.failed; }

GateOpen::GateOpen() : _wasArmed(gate.armed) { gate.armed = false; }
GateOpen::~GateOpen() { gate.armed = _wasArmed; }

extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_realloc(void* block, std::size_t bytes);
void* __real_aligned_alloc(std::size_t alignment, std::size_t bytes);

void* __wrap_malloc(std::size_t bytes) { return refuses() ? nullptr : __real_malloc(bytes); }
void* __wrap_realloc(void* block, std::size_t bytes) { return refuses() ? nullptr : __real_realloc(block, bytes); }
void* __wrap_aligned_alloc(std::size_t alignment, std::size_t bytes) {
  return refuses() ? nullptr : __real_aligned_alloc(alignment, bytes);
}
}

void* operator new(std::size_t bytes) {
  void* block = refuses() ? nullptr : __real_malloc(bytes);
  if (!block) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
