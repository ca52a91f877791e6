#pragma once
/// Lets allocations of the library, or calls of client code, fail on purpose. The program linked with this replaces the
/// global operator new and wraps malloc, realloc and posix_memalign.

/// What client code throws.
struct ClientFailure {};

/// During its life `let` allocations (or calls) succeed; the next one fails, and with `forGood` all later ones.
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

/// To be called by client code. Throws ClientFailure when this call is the one to fail.
void clientCall();
