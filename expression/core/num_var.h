#pragma once
/// Class header for authors of algorithms: the variable and the records of its modifications.

#include "expression/core/int_expr.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// Every decision variable: its kind is its domain's. An integer expression by class; isInteger() asks the domain.
class TavNumVarI : public TavNode<TavNumVarI, TavIntExprI> {
 public:
  static constexpr const char* kTypeName = "TavNumVarI";
  using Type = TavNumVar::Type;

  /// Takes the domain over unless it is shared; null for none: bounds [0, infinity], type Float.
  TavNumVarI(TavEnvI* env, TavVarDomainI* domain, TavNameArg name)
      : TavNode(env, name, TavKind::Variable), _domain(domain) {}
  TavNumVarI(TavEnvI* env, TavNameArg name) : TavNumVarI(env, static_cast<TavVarDomainI*>(nullptr), name) {}
  /// Shared domain, Boolean bounds compared as doubles: see domainByBounds.
  TavNumVarI(TavEnvI* env, double lb, double ub, Type type, TavNameArg name)
      : TavNumVarI(env, domainByBounds(env, lb, ub, type), name) {}
  /// Shared domain, Boolean bounds truncated first: see domainByType.
  TavNumVarI(TavEnvI* env, Type type, double lb, double ub, TavNameArg name)
      : TavNumVarI(env, domainByType(env, type, lb, ub), name) {}
  /// Private domain over a copy of the values. Throw TavNotSupportedOperation and TavNotImplemented for the types that
  /// such values do not fit.
  TavNumVarI(TavEnvI* env, TavNumArray values, Type type, TavNameArg name);
  TavNumVarI(TavEnvI* env, TavIntArray values, Type type, TavNameArg name);
  TavNumVarI(TavEnvI* env, TavAnyArray values, TavNameArg name);
  TavNumVarI(const TavNumRangeI* range, TavNameArg name)
      : TavNumVarI(range->getEnv(), range->getEnv()->getOrMakeSharedDomain(range), name) {}
  TavNumVarI(const TavIntRangeI* range, TavNameArg name)
      : TavNumVarI(range->getEnv(), range->getEnv()->getOrMakeSharedDomain(range), name) {}
  ~TavNumVarI() override;

  /// The shared domain of a single variable: Boolean bounds are compared first, so that an upper bound of 0.5 gives 1.
  static TavVarDomainI* domainByBounds(TavEnvI* env, double lb, double ub, Type type);
  /// The shared domain of variables made by columns or in bulk: Boolean bounds are truncated first, so that an upper
  /// bound of 0.5 gives 0.
  static TavVarDomainI* domainByType(TavEnvI* env, Type type, double lb, double ub);

  /// The domain, or null.
  TavVarDomainI* getDomain() const noexcept { return _domain; }
  /// The domain's kind; Float without a domain.
  Type getType() const { return _domain ? _domain->getType() : TavNumVar::Float; }
  /// Whether the domain is a list of values.
  bool isEnumerated() const { return _domain && _domain->isEnumerated(); }
  ///@{
  /// The domain's bounds; 0 and infinity without a domain.
  double getLB() const { return _domain ? _domain->getLB() : 0.0; }
  double getUB() const { return _domain ? _domain->getUB() : TavGetInfinity(); }
  ///@}
  ///@{
  /// The list of values, which is the domain's own; an empty handle where there is none of this kind.
  TavNumArray getNumValues() const { return _domain ? _domain->getNumValues() : TavNumArray(); }
  TavIntArray getIntValues() const { return _domain ? _domain->getIntValues() : TavIntArray(); }
  ///@}
  ///@{
  /// Scratch of the linear nodes, used under the environment's markLock.
  TavNumLinExprTermI* getMark() const noexcept { return _mark; }
  void setMark(TavNumLinExprTermI* cell) noexcept { _mark = cell; }
  ///@}

  /// A new private domain of the current type. The old domain is neither ended nor is anything reported.
  void makeDomain(double lb, double ub);
  /// Ends a private domain; the variable then has none.
  void dropDomain() noexcept;
  /// Replace the value list by a copy, in a private domain, and report it.
  void setPossibleValues(TavNumArray values);
  void setPossibleValues(TavIntArray values);

  double eval(TavAlgorithm algorithm) const final;
  bool isInteger() const override { return _domain && _domain->getType() != TavNumVar::Float; }
  TavNumLinTermI* toNumLinTermI() override;
  TavIntLinTermI* toIntLinTermI() override;
  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// A variable of the same name over a copy of the domain.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  void display(std::ostream& os) const override;
  bool isRefCountedExpr() const final { return false; }
  void end() override { TavExtractableI::end(); }
  void release() override {}

  ///@{
  /// Change a private copy of a shared domain and report both bounds. A variable without a domain gets a shared one of
  /// real numbers and is continuous from then on.
  virtual void setLB(double lb);
  virtual void setUB(double ub);
  virtual void setBounds(double lb, double ub);
  ///@}

 private:
  void copyOnWrite();
  [[gnu::cold]] double evalByEither(const TavAlgorithmI* values) const;
  double evalByModel() const;
  void displayLabel(std::ostream& os) const;

  TavVarDomainI* _domain;
  TavNumLinExprTermI* _mark = nullptr;
};

// Inline: the innermost call of every sum's evaluation.
inline double TavNumVarI::eval(TavAlgorithm algorithm) const {
  const TavAlgorithmI* values = algorithm.getImpl();
  if (!values || getEnv()->getModelEvaluator().isActive()) return evalByEither(values);
  return values->getValue(this);  // no exception is caught here: a tail call, which needs no stack frame
}

/// New bounds of one variable: both as they stand now.
class TavSetNumVarBounds final : public TavChangeRecord<TavSetNumVarBounds> {
 public:
  static constexpr const char* kTypeName = "TavSetNumVarBounds";

  TavSetNumVarBounds(TavNumVarI* var, double lb, double ub) : TavChangeRecord(var), _var(var), _lb(lb), _ub(ub) {}

  TavNumVarI* getVar() const noexcept { return _var; }
  ///@{
  /// The bounds as they stand now.
  double getLB() const noexcept { return _lb; }
  double getUB() const noexcept { return _ub; }
  ///@}

 private:
  TavNumVarI* _var;
  double _lb, _ub;
};

/// New bounds of all variables of an array.
class TavSetNumVarArrayBounds final : public TavChangeRecord<TavSetNumVarArrayBounds> {
 public:
  static constexpr const char* kTypeName = "TavSetNumVarArrayBounds";

  TavSetNumVarArrayBounds(TavArrayI* vars, TavArrayI* lbs, TavArrayI* ubs)
      : TavChangeRecord(vars), _vars(vars), _lbs(lbs), _ubs(ubs) {}

  /// The variables.
  TavNumVarArray getVars() const noexcept { return TavNumVarArray(_vars); }
  ///@{
  /// Their new bounds, one for each.
  TavNumArray getLBs() const noexcept { return TavNumArray(_lbs); }
  TavNumArray getUBs() const noexcept { return TavNumArray(_ubs); }
  ///@}

 private:
  TavArrayI* _vars;
  TavArrayI* _lbs;
  TavArrayI* _ubs;
};

/// A new list of values of one variable: exactly one of the two arrays is set.
class TavSetNumVarPossibleValues final : public TavChangeRecord<TavSetNumVarPossibleValues> {
 public:
  static constexpr const char* kTypeName = "TavSetNumVarPossibleValues";

  TavSetNumVarPossibleValues(TavNumVarI* var, TavArrayI* numValues, TavArrayI* intValues)
      : TavChangeRecord(var), _var(var), _numValues(numValues), _intValues(intValues) {}

  TavNumVarI* getVar() const noexcept { return _var; }
  ///@{
  /// The new list, or an empty handle when it is of the other kind.
  TavNumArray getNumValues() const noexcept { return TavNumArray(_numValues); }
  TavIntArray getIntValues() const noexcept { return TavIntArray(_intValues); }
  ///@}

 private:
  TavNumVarI* _var;
  TavArrayI* _numValues;
  TavArrayI* _intValues;
};

#pragma GCC visibility pop
