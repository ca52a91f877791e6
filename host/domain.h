#pragma once
/// Domains: bounds, kind and value list of a variable; and ranges, from which domains are made.

#include "host/array.h"

#pragma GCC visibility push(default)

/// Base of the domains. A domain belongs to the variable that it was made for, or, when shared, to its environment.
/// Made with `new (env) Class(...)`.
class TavVarDomainI : public TavMemoryManagerObjectI {
 public:
  using TavMemoryManagerObjectI::end;

  ///@{
  /// The bounds. Setters check nothing and report nothing: the variable does.
  virtual double getLB() const = 0;
  virtual void setLB(double lb) = 0;
  virtual double getUB() const = 0;
  virtual void setUB(double ub) = 0;
  ///@}
  /// The kind of a variable with this domain.
  virtual TavNumVarKind::Type getType() const = 0;
  /// Whether a variable with this domain may take the value.
  virtual bool contains(double value) const = 0;
  /// Number of values; -1 when there is no finite number of them.
  virtual TavInt getSize() const = 0;
  /// Whether the domain is a list of values.
  virtual bool isEnumerated() const = 0;
  /// Whether the values are arbitrary objects instead of numbers.
  virtual bool isAnyDomain() const = 0;
  ///@{
  /// The list of values; an empty handle where the domain has none of this kind.
  virtual TavNumArray getNumValues() const = 0;
  virtual TavIntArray getIntValues() const = 0;
  ///@}
  ///@{
  /// Makes the domain the given list; the domain takes ownership of the array. Bounds become the list's least and
  /// greatest.
  virtual void setNumValues(TavNumArray values) = 0;
  virtual void setIntValues(TavIntArray values) = 0;
  ///@}
  /// Destroys a private domain with its value list.
  virtual void end(TavEnvI* env) = 0;
  /// Writes the bounds or the values.
  virtual void display(std::ostream& os) const = 0;
  /// A new private domain of the same content in `env`.
  virtual TavVarDomainI* makeCopy(TavEnvI* env) const = 0;
  /// Whether several variables may share this domain: it is copied before it is changed.
  virtual bool isShared() const = 0;

  using TavMemoryManagerObjectI::operator new;
  using TavMemoryManagerObjectI::operator delete;
  static void* operator new(std::size_t bytes, TavEnvI* env);
  static void operator delete(void* block, TavEnvI* env) noexcept;

 protected:
  TavVarDomainI() noexcept = default;
  ~TavVarDomainI() override = default;
};

/// Base of the three kinds of domain: bounds, the sharing flag, destruction, text. Prints "[lb .. ub] ",
/// or the values as "{a, b} ".
class TavBoundedDomainI : public TavVarDomainI {
 public:
  double getLB() const final { return _lb; }
  void setLB(double lb) final { _lb = lb; }
  double getUB() const final { return _ub; }
  void setUB(double ub) final { _ub = ub; }
  void end(TavEnvI* env) override;
  void display(std::ostream& os) const override;
  bool isEnumerated() const override { return getNumValues().getImpl() || getIntValues().getImpl(); }
  bool isAnyDomain() const override { return false; }
  bool isShared() const override { return _shared; }
  /// Makes the environment the owner of the domain.
  void share() noexcept { _shared = true; }

 protected:
  /// A private domain of these bounds.
  TavBoundedDomainI(double lb, double ub) noexcept : _lb(lb), _ub(ub) {}
  /// Bounds become the least and the greatest value of the list, 0 and 0 when it is empty.
  template <class Array>
  void setBoundsBy(Array values) noexcept;

 private:
  bool _shared = false;
  double _lb, _ub;
};

/// Real numbers between two bounds, or a list of them.
class TavNumVarDomainI final : public TavBoundedDomainI {
 public:
  /// Bounds alone.
  TavNumVarDomainI(double lb, double ub) noexcept : TavBoundedDomainI(lb, ub) {}
  /// Takes the array over.
  explicit TavNumVarDomainI(TavNumArray values) : TavNumVarDomainI(0.0, 0.0) { TavNumVarDomainI::setNumValues(values); }

  TavNumVarKind::Type getType() const override { return TavNumVarKind::Float; }
  bool contains(double value) const override;
  TavInt getSize() const override { return _values.getImpl() ? _values.getSize() : -1; }
  TavNumArray getNumValues() const override { return _values; }
  TavIntArray getIntValues() const override { return TavIntArray(); }
  void setNumValues(TavNumArray values) override;
  void setIntValues(TavIntArray values) override;
  TavVarDomainI* makeCopy(TavEnvI* env) const override;

 private:
  TavNumArray _values;
};

/// Whole numbers between two bounds, or a list of them, or a list of arbitrary objects.
class TavIntVarDomainI : public TavBoundedDomainI {
 public:
  /// Bounds alone; `flag` 1 says that values are objects.
  TavIntVarDomainI(TavInt lb, TavInt ub, TavInt flag) noexcept
      : TavBoundedDomainI(static_cast<double>(lb), static_cast<double>(ub)), _any(flag != 0) {}
  /// Takes the array over; `anyFlag` 1 says that its words are objects.
  TavIntVarDomainI(TavIntArray values, TavInt anyFlag) : TavIntVarDomainI(0, 0, anyFlag) {
    TavIntVarDomainI::setIntValues(values);
  }

  TavNumVarKind::Type getType() const override { return TavNumVarKind::Int; }
  bool contains(double value) const override;
  TavInt getSize() const override;
  bool isAnyDomain() const override { return _any; }
  TavNumArray getNumValues() const override { return TavNumArray(); }
  TavIntArray getIntValues() const override { return _values; }
  void setNumValues(TavNumArray values) override;
  void setIntValues(TavIntArray values) override;
  TavVarDomainI* makeCopy(TavEnvI* env) const override;

 private:
  TavIntArray _values;
  bool _any = false;
};

/// 0 and 1, or one of them.
class TavBoolVarDomainI final : public TavIntVarDomainI {
 public:
  /// Bounds of 0 or 1.
  TavBoolVarDomainI(TavInt lb, TavInt ub) noexcept : TavIntVarDomainI(lb, ub, 0) {}

  TavNumVarKind::Type getType() const override { return TavNumVarKind::Bool; }
  TavVarDomainI* makeCopy(TavEnvI* env) const override;
};

/// A pair of real bounds that lives in an environment.
class TavNumRangeI final : public TavMemoryManagerObjectI {
 public:
  /// A pair of bounds in `memory`.
  TavNumRangeI(TavGenAlloc* memory, double lb, double ub) noexcept
      : TavMemoryManagerObjectI(memory), _lb(lb), _ub(ub) {}
  ///@{
  /// The bounds.
  double getLB() const noexcept { return _lb; }
  double getUB() const noexcept { return _ub; }
  ///@}

 private:
  double _lb, _ub;
};

/// A pair of integer bounds that lives in an environment.
class TavIntRangeI final : public TavMemoryManagerObjectI {
 public:
  /// A pair of bounds in `memory`.
  TavIntRangeI(TavGenAlloc* memory, TavInt lb, TavInt ub) noexcept
      : TavMemoryManagerObjectI(memory), _lb(lb), _ub(ub) {}
  ///@{
  /// The bounds.
  TavInt getLB() const noexcept { return _lb; }
  TavInt getUB() const noexcept { return _ub; }
  ///@}

 private:
  TavInt _lb, _ub;
};

/// Handle on a pair of real bounds.
class TavNumRange {
 public:
  TavNumRange() noexcept = default;
  /// A new pair of bounds, which lives until the environment ends.
  TavNumRange(TavEnv env, double lb, double ub);
  TavNumRangeI* getImpl() const noexcept { return _impl; }

 private:
  TavNumRangeI* _impl = nullptr;
};

/// Handle on a pair of integer bounds.
class TavIntRange {
 public:
  TavIntRange() noexcept = default;
  /// A new pair of bounds, which lives until the environment ends.
  TavIntRange(TavEnv env, TavInt lb, TavInt ub);
  TavIntRangeI* getImpl() const noexcept { return _impl; }

 private:
  TavIntRangeI* _impl = nullptr;
};

#pragma GCC visibility pop
