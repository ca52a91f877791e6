#pragma once
/// Lets allocations of the library fail on purpose. The program that links this replaces the global operator new and
/// wraps malloc, realloc and aligned_alloc of the objects linked into it.

/// While a gate lives, `let` allocations pass; the next one fails, and with `forGood` all after it.
class AllocationGate {
 public:
  explicit AllocationGate(long let, bool forGood = false);
  AllocationGate(const AllocationGate&) = delete;
  AllocationGate& operator=(const AllocationGate&) = delete;
  ~AllocationGate();
  /// Whether an allocation has failed.
  bool hasFailed() const;
};

/// Within it no allocation fails: for client code that the library calls.
class GateOpen {
 public:
  GateOpen();
  GateOpen(const GateOpen&) = delete;
  GateOpen& operator=(const GateOpen&) = delete;
  ~GateOpen();

 private:
  bool _wasArmed;
};
