#pragma once
/// The environment's handle.

#pragma GCC visibility push(default)

class TavEnvI;

/// One environment: it owns every object that is made in it. A plain value; copies name the same environment.
class TavEnv {
 public:
  /// Makes a new environment. It lives until end() is called on one of its handles.
  TavEnv();
  explicit TavEnv(TavEnvI* impl) noexcept : _impl(impl) {}

  TavEnvI* getImpl() const noexcept { return _impl; }
  /// Ends the environment with every object in it; all handles to them dangle afterwards. Empties this handle; leaves
  /// an empty handle unchanged.
  void end();
  /// Whether both name the same environment, or none.
  friend bool operator==(TavEnv, TavEnv) noexcept = default;

 private:
  TavEnvI* _impl;
};

/// An environment that ends with its scope. Pass it as a TavEnv; it cannot be copied.
class TavScopedEnv : public TavEnv {
 public:
  TavScopedEnv() = default;
  TavScopedEnv(const TavScopedEnv&) = delete;
  TavScopedEnv& operator=(const TavScopedEnv&) = delete;
  ~TavScopedEnv() { end(); }
};

#pragma GCC visibility pop
