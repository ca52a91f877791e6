#pragma once
/// Recursion over nested nodes that does not end with the stack: where little of it is left, the rest of the work goes
/// on on a fresh segment of stack, on the same thread.

#include <cstdint>
#include <type_traits>

#pragma GCC visibility push(default)

#ifndef TAV_DEEP_STACK
#if defined(__linux__) && defined(__GLIBC__)
/// 1 where TavDeep finds room beyond the stack; 0 is plain recursion, as deep as the thread's stack has room for.
#define TAV_DEEP_STACK 1
#else
/// Plain recursion: this system has no way to another stack that is known here.
#define TAV_DEEP_STACK 0
#endif
#endif

#if TAV_DEEP_STACK

namespace tavdetail {

/// The address below which little is left of the stack that this thread runs on; the highest of all until the thread
/// first asks.
extern constinit thread_local std::uintptr_t stackLimit __attribute__((tls_model("initial-exec")));

inline bool isStackShort() noexcept {
#if defined(__x86_64__)
  bool isShort;  // one comparison with memory, without the frame pointer that reading the stack's address would take
  asm("{cmpq %1, %%rsp|cmp rsp, %1}" : "=@ccb"(isShort) : "m"(stackLimit));
  return isShort;
#else
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < stackLimit;
#endif
}

/// Calls body(argument), on a fresh segment of stack unless enough is left of this one after all. What the body throws
/// goes on from here. Throws std::bad_alloc when there is no memory for a segment; the body was not called then.
void callWithRoom(void (*body)(void*), void* argument);

/// The road aside: by value, so that the road ahead keeps what the body names in registers.
template <class Body>
[[gnu::noinline, gnu::cold]] std::invoke_result_t<Body&> callOnFreshStack(Body body) {
  if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
    callWithRoom([](void* argument) { (*static_cast<Body*>(argument))(); }, &body);
  } else {
    struct Call {
      Body body;
      std::invoke_result_t<Body&> result;
    } call{body, {}};
    callWithRoom(
        [](void* argument) {
          auto* inner = static_cast<Call*>(argument);
          inner->result = inner->body();
        },
        &call);
    return call.result;
  }
}

}  // namespace tavdetail

#endif

/// body(), wherever there is room for it: for the methods of nodes that call the same method of their operands, which
/// may be nested a million deep. `body` captures by value what it uses, two words at best. Costs one comparison.
/// Throws std::bad_alloc when the stack is at its end and there is no memory for more.
template <class Body>
[[gnu::always_inline]] inline std::invoke_result_t<Body&> TavDeep(Body body) {
#if TAV_DEEP_STACK
  if (tavdetail::isStackShort()) [[unlikely]]
    return tavdetail::callOnFreshStack(body);
#endif
  return body();
}

#pragma GCC visibility pop
