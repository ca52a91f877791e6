#pragma once
/// Lets allocations of the library, or calls of client code, fail on purpose. The program that links this replaces the
/// global operator new and wraps malloc, realloc and aligned_alloc of the objects linked into it.

/// What client code throws.
struct ClientFailure {};

/// While a gate lives, `let` allocations (or calls) pass; the next one fails, and with `forGood` all after it.
class Gate {
 public:
  enum Kind { Allocations, Calls };
  explicit Gate(long let, Kind kind = Allocations, bool forGood = false);
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  ~Gate();
  /// Whether something has failed.
  bool hasFailed() const;
};

/// Called where the library calls client code. Throws ClientFailure when it is the turn of this call.
void clientCall();
