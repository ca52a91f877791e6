#pragma once
/// Recursion over nested nodes that is not limited by the stack: when little stack is left, the call continues on a
/// fresh segment, on the same thread.

#include <cstdint>
#include <type_traits>

#pragma GCC visibility push(default)

#ifndef TAV_DEEP_STACK
#if defined(__linux__) && defined(__GLIBC__)
/// 1 if TavDeep can switch to a fresh segment; 0 for plain recursion, which the thread's stack limits.
#define TAV_DEEP_STACK 1
#else
/// Plain recursion: no way to switch stacks is known for this system.
#define TAV_DEEP_STACK 0
#endif
#endif

#if TAV_DEEP_STACK

namespace tavdetail {

/// The address below which little is left of the current stack; the highest address until the thread's first check.
extern constinit thread_local std::uintptr_t stackLimit __attribute__((tls_model("initial-exec")));

inline bool isStackShort() noexcept {
#if defined(__x86_64__)
  bool isShort;  // one comparison; __builtin_frame_address would need a frame pointer
  asm("{cmpq %1, %%rsp|cmp rsp, %1}" : "=@ccb"(isShort) : "m"(stackLimit));
  return isShort;
#else
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < stackLimit;
#endif
}

/// Calls body(argument), on a fresh segment unless enough of the current stack is left. Exceptions of the body
/// propagate. Throws std::bad_alloc, without calling the body, when there is no memory for a segment.
void callWithRoom(void (*body)(void*), void* argument);

/// Slow path, out of line. The body is passed by value so that the fast path keeps its captures in registers.
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

/// Calls body(), on a fresh segment of stack when little of the current one is left. For methods of nodes that call the
/// same method of their operands, which may nest a million deep. `body` should capture by value, at most two words.
/// Costs one comparison. Throws std::bad_alloc when a segment is needed and there is no memory for it.
template <class Body>
[[gnu::always_inline]] inline std::invoke_result_t<Body&> TavDeep(Body body) {
#if TAV_DEEP_STACK
  if (tavdetail::isStackShort()) [[unlikely]]
    return tavdetail::callOnFreshStack(body);
#endif
  return body();
}

#pragma GCC visibility pop
