#include "host/deep_stack.h"

#if TAV_DEEP_STACK

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <new>
#include <utility>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define VALGRIND_STACK_REGISTER(low, high) 0u
#define VALGRIND_STACK_DEREGISTER(id) static_cast<void>(id)
#endif

#if defined(__has_feature)
#define TAV_HAS_FEATURE(feature) __has_feature(feature)
#else
#define TAV_HAS_FEATURE(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || TAV_HAS_FEATURE(address_sanitizer)
#define TAV_ADDRESS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif
#if defined(__SANITIZE_THREAD__) || TAV_HAS_FEATURE(thread_sanitizer)
#define TAV_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

constinit thread_local std::uintptr_t tavdetail::stackLimit = UINTPTR_MAX;

namespace {

constexpr std::size_t kSegment = std::size_t{1} << 20;
constexpr std::size_t kGuard = std::size_t{1} << 16;
/// Reserve for code that does not check: leaves, streams, the algorithm's getValue.
constexpr std::size_t kReserve = std::size_t{1} << 18;

/// A segment of stack above an inaccessible guard page; empty after a move.
class Segment {
 public:
  Segment() : _map(mmap(nullptr, kGuard + kSegment, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0)) {
    if (_map == MAP_FAILED) throw std::bad_alloc();
    if (mprotect(low(), kSegment, PROT_READ | PROT_WRITE) != 0) {
      munmap(_map, kGuard + kSegment);
      throw std::bad_alloc();
    }
    _valgrindId = VALGRIND_STACK_REGISTER(low(), low() + kSegment);
  }
  explicit Segment(std::nullptr_t) noexcept {}
  Segment(Segment&& other) noexcept : Segment(nullptr) { *this = std::move(other); }
  Segment& operator=(Segment&& other) noexcept {
    std::swap(_map, other._map);
    std::swap(_valgrindId, other._valgrindId);
    return *this;
  }
  ~Segment() {
    if (!_map) return;
    VALGRIND_STACK_DEREGISTER(_valgrindId);
    munmap(_map, kGuard + kSegment);
  }

  explicit operator bool() const noexcept { return _map != nullptr; }
  char* low() const noexcept { return static_cast<char*>(_map) + kGuard; }

 private:
  void* _map = nullptr;
  unsigned _valgrindId = 0;
};

/// Each thread caches one segment: a node at the end of the stack may have many operands, each of which switches.
struct Spare {
  ~Spare() {
    segment = Segment(nullptr);
    isDestroyed = true;
  }
  Segment segment{nullptr};
  static constinit thread_local bool isDestroyed;
};
constinit thread_local bool Spare::isDestroyed = false;
thread_local Spare spare;

Segment takeSegment() {
  if (Spare::isDestroyed || !spare.segment) return Segment();
  return std::move(spare.segment);
}

void giveSegment(Segment segment) noexcept {
  if (!Spare::isDestroyed) spare.segment = std::move(segment);
}

/// A call that switches to a segment and back.
struct Crossing {
  void (*body)(void*);
  void* argument;
  std::exception_ptr failure = nullptr;
  ucontext_t origin = {};
  ucontext_t segment = {};
#ifdef TAV_ADDRESS_SANITIZER
  const void* originLow = nullptr;
  std::size_t originSize = 0;
#endif
};

/// The entry function of a segment takes no argument; it finds its call here.
constinit thread_local Crossing* underWay = nullptr;

void runOnSegment() {
  Crossing* crossing = underWay;
#ifdef TAV_ADDRESS_SANITIZER
  __sanitizer_finish_switch_fiber(nullptr, &crossing->originLow, &crossing->originSize);
#endif
  try {
    crossing->body(crossing->argument);
  } catch (...) {
    crossing->failure = std::current_exception();
  }
#ifdef TAV_ADDRESS_SANITIZER
  __sanitizer_start_switch_fiber(nullptr, crossing->originLow, crossing->originSize);
#endif
}  // continues in the calling context

void cross(Crossing& crossing, const Segment& segment) {
  getcontext(&crossing.segment);
  crossing.segment.uc_stack.ss_sp = segment.low();
  crossing.segment.uc_stack.ss_size = kSegment;
  crossing.segment.uc_link = &crossing.origin;
  makecontext(&crossing.segment, runOnSegment, 0);
  underWay = &crossing;
#ifdef TAV_ADDRESS_SANITIZER
  void* fakeStack = nullptr;
  __sanitizer_start_switch_fiber(&fakeStack, segment.low(), kSegment);
#endif
#ifdef TAV_THREAD_SANITIZER
  void* origin = __tsan_get_current_fiber();
  void* fiber = __tsan_create_fiber(0);
  __tsan_switch_to_fiber(fiber, 0);
#endif
  swapcontext(&crossing.origin, &crossing.segment);
#ifdef TAV_THREAD_SANITIZER
  __tsan_switch_to_fiber(origin, 0);
  __tsan_destroy_fiber(fiber);
#endif
#ifdef TAV_ADDRESS_SANITIZER
  __sanitizer_finish_switch_fiber(fakeStack, nullptr, nullptr);
#endif
}

/// The lower limit of this thread's stack; a little below this frame when the system does not report it.
std::uintptr_t limitOfThread() noexcept {
  void* low = nullptr;
  std::size_t size = 0;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
    pthread_attr_getstack(&attributes, &low, &size);
    pthread_attr_destroy(&attributes);
  }
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  if (size == 0) return here - kReserve / 4;
  const std::uintptr_t limit = reinterpret_cast<std::uintptr_t>(low) + std::min(kReserve, size / 2);
#ifdef TAV_THREAD_SANITIZER
  return std::max(limit,
                  here - kSegment);  // ThreadSanitizer can trace 65,536 nested calls on one stack, and does not check
#else
  return limit;
#endif
}

}  // namespace

void tavdetail::callWithRoom(void (*body)(void*), void* argument) {
  if (stackLimit == UINTPTR_MAX) stackLimit = limitOfThread();
  if (!isStackShort()) return body(argument);
  Segment segment = takeSegment();
  Crossing crossing{.body = body, .argument = argument};
  const std::uintptr_t limit = std::exchange(stackLimit, reinterpret_cast<std::uintptr_t>(segment.low()) + kReserve);
  cross(crossing, segment);
  stackLimit = limit;
  giveSegment(std::move(segment));
  if (crossing.failure) std::rethrow_exception(std::move(crossing.failure));
}

#endif
