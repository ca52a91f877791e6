#pragma once
/// The public header of the expression library: handles, operators and functions from which models are composed.
///
/// A handle is one pointer and a plain value: copying, assigning or dropping it changes nothing in the model. Objects
/// live in their environment until their last holder lets go, or until the environment ends.
///
/// - Argument handles (TavNumExprArg, TavIntExprArg, the term handles) do not count. They are parameters and results;
///   what they name must be taken up by a counted handle or another expression, or it stays until the environment ends.
/// - Counted handles (TavNumExpr, TavExpr, TavIntExpr) add one reference when they are built from an argument handle, a
///   term or a constant. `end()` gives it back; going out of scope does not.
/// - Variables are not counted: they live until `end()`.
///
/// Failures derive from TavException. A failing call leaves its operands as they were. Evaluation tests no arithmetic
/// domain: IEEE values pass through. Every expression prints in two syntaxes, chosen by the environment's
/// `librarySyntaxDisplay`: the library's call syntax ("TavSin(" x ") ") and the plain one ("sin(" x ")"); numbers print
/// as the stream prints them.

#include <concepts>
#include <iosfwd>

#include "host/prefetch.h"
#include "host/tavhost.h"

#pragma GCC visibility push(default)

class TavConstConstraintI;
class TavConstraint;
class TavConstraintI;
class TavConversionI;
class TavExpr;
class TavIntExpr;
class TavIntExprI;
class TavIntVar;
class TavNumExpr;
class TavNumExprI;
class TavNumLinTermI;
class TavNumVar;
class TavNumVarArray;
class TavNumVarI;
class TavSemiContVarI;

/// Why an operation is refused, told by the first line of the compiler's error: g++ prints the result type of a deleted
/// function, clang the sentence of its attribute. For overload resolution and concepts both are refusals alike. (Clang
/// asks no such attribute of a constructor.)
namespace tavrefused {
struct an_integer_expression_takes_integers_only;
struct an_integer_expression_is_not_divided_in_place;
struct the_bounds_of_an_integer_variable_are_integers;
struct a_quotient_by_TavDiv_has_integer_operands;
struct a_remainder_has_integer_operands;
}  // namespace tavrefused
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wgcc-compat"
#define TAV_REFUSED(reason) __attribute__((diagnose_if(true, #reason, "error")))
#else
/// Ends the declaration of a function that nobody may call.
#define TAV_REFUSED(reason) = delete
#endif

/// Every node class derives from exactly one base, so that a node and each of its bases have the same address. Handles
/// rely on it to name a node by any of its classes without the classes' definitions.
template <class To, class From>
To* TavImplCast(From* impl) noexcept {
  return reinterpret_cast<To*>(impl);
}

/// The counted handles that convert to TavNumExprArg; TavIntExpr goes by its own conversion to TavIntExprArg.
template <class H>
concept TavCountedNumHandle = std::derived_from<H, TavNumExpr> && !std::derived_from<H, TavIntExpr>;

// ---- argument handles

/// Any numeric expression, uncounted: the parameter and result type of operators and functions. Never a member.
class TavNumExprArg {
 public:
  TavNumExprArg() noexcept = default;
  explicit TavNumExprArg(TavNumExprI* impl) noexcept : _impl(impl) {}
  /// The node of a counted handle.
  template <TavCountedNumHandle H>
  TavNumExprArg(const H& handle) noexcept : _impl(TavImplCast<TavNumExprI>(handle.getImpl())) {}

  TavNumExprI* getImpl() const noexcept { return _impl; }
  /// The environment that it lives in. Throws TavEmptyHandleException.
  TavEnv getEnv() const;
  /// True for a linear expression without terms and parts, whatever its constant. The shape alone counts:
  /// `2 * x - 2 * x` is not constant before it is normalised. Throws TavEmptyHandleException.
  bool isConstant() const;
  /// True for an index node. Throws TavEmptyHandleException.
  bool isIndex() const;
  /// The constant of a linear expression. Throws TavEmptyHandleException, and TavNumExpr::NonLinearExpression for every
  /// other expression.
  double getNumConstant() const;
  /// Whether the value is known to be integral. Throws TavEmptyHandleException.
  bool isInteger() const;
  /// The value under `algorithm`. Throws TavEmptyHandleException, and what the algorithm throws for a variable. Nesting
  /// a million deep takes no deep stack (on Linux with glibc; elsewhere it goes as deep as the stack): where the stack
  /// ends, evaluation goes on on a fresh piece of it, and throws std::bad_alloc when there is no memory for one. The
  /// same holds for isInteger() and for printing.
  double eval(TavAlgorithm algorithm) const;
  /// The node's own end(): drops one reference of a counted node (and so destroys an unused temporary), destroys a
  /// variable. Empties this handle; an empty one is left alone.
  void end();

  operator TavExtractable() const noexcept { return TavExtractable(TavImplCast<TavExtractableI>(_impl)); }
  explicit operator bool() const noexcept { return _impl != nullptr; }

 protected:
  TavNumExprI* _impl = nullptr;
};

/// Any integer expression, uncounted.
class TavIntExprArg : public TavNumExprArg {
 public:
  TavIntExprArg() noexcept = default;
  explicit TavIntExprArg(TavIntExprI* impl) noexcept : TavNumExprArg(TavImplCast<TavNumExprI>(impl)) {}

  TavIntExprI* getImpl() const noexcept { return TavImplCast<TavIntExprI>(_impl); }
};

/// The expression's display; nothing for an empty handle.
std::ostream& operator<<(std::ostream& os, TavNumExprArg expression);
template <std::derived_from<TavNumExpr> H>
std::ostream& operator<<(std::ostream& os, const H& expression) {
  return os << TavNumExprArg(TavImplCast<TavNumExprI>(expression.getImpl()));
}

// ---- variables

/// A variable of any kind. It is a leaf of expressions; its bounds and kind live in a domain that variables with equal
/// bounds share until one of them changes. Copies of the handle name the same variable.
class TavNumVar : public TavNumExprArg {
 public:
  ///@{
  /// The kinds of variable.
  using Type = TavNumVarKind::Type;
  static constexpr Type Int = TavNumVarKind::Int;
  static constexpr Type Float = TavNumVarKind::Float;
  static constexpr Type Bool = TavNumVarKind::Bool;
  ///@}

  TavNumVar() noexcept = default;
  explicit TavNumVar(TavNumVarI* impl) noexcept : TavNumExprArg(TavImplCast<TavNumExprI>(impl)) {}
  /// A new variable. Integer bounds are both rounded up: (0.2, 3.7) gives [1, 4]. Boolean bounds are brought to 0 or 1,
  /// the upper one to 1 from anything above 0; such a variable reports type Int, its domain being the shared [0, 1].
  /// `name` is copied.
  explicit TavNumVar(TavEnv env, double lb = 0.0, double ub = TavGetInfinity(), Type type = Float,
                     const char* name = nullptr);
  /// A new continuous variable.
  TavNumVar(TavEnv env, double lb, double ub, const char* name);
  /// A new variable in the column's environment, then installed into the column. Boolean bounds are truncated first: an
  /// upper bound of 0.5 gives 0.
  explicit TavNumVar(const TavAddNumVar& column, double lb = 0.0, double ub = TavGetInfinity(), Type type = Float,
                     const char* name = nullptr);
  /// The same over a list of values; see the form over an environment.
  TavNumVar(const TavAddNumVar& column, TavNumArray values, Type type = Float, const char* name = nullptr);
  /// A new continuous variable with the range's bounds, in its environment.
  explicit TavNumVar(TavNumRange range, const char* name = nullptr);
  /// A new continuous variable over a copy of the values. Throws TavNotSupportedOperation for any other type.
  TavNumVar(TavEnv env, TavNumArray values, Type type = Float, const char* name = nullptr);
  /// A new 0-1 integer variable that stands for the constraint's truth; it prints as the constraint.
  explicit TavNumVar(TavConstraint constraint);

  TavNumVarI* getImpl() const noexcept { return TavImplCast<TavNumVarI>(_impl); }
  /// The identifier: an index that is unique among the live objects of the environment.
  TavInt getId() const;
  /// The name, or null.
  const char* getName() const;
  /// Replaces the name by a copy of `name`; null removes it.
  void setName(const char* name) const;
  ///@{
  /// The bounds; they may be infinite.
  double getLB() const;
  double getUB() const;
  ///@}
  ///@{
  /// The setters change this variable alone, a shared domain being copied first, and report the modification
  /// (TavSetNumVarBounds). Nothing checks that lb is not above ub.
  void setLB(double lb) const;
  void setUB(double ub) const;
  void setBounds(double lb, double ub) const;
  ///@}
  /// Throws TavWrongUsage "Using empty handle TavNumVar::getType".
  Type getType() const;
  /// Appends the value list, if there is one, to `out`. Throws TavWrongUsage "Using empty handle TavNumVar" or "Using
  /// empty TavNumArray handle.".
  void getPossibleValues(TavNumArray out) const;
  /// Replaces the value list by a copy and reports it (TavSetNumVarPossibleValues). Throws TavWrongUsage "Using empty
  /// TavNumVar handle." or "Using empty TavNumArray handle."; TavNotSupportedOperation unless the type is Float.
  void setPossibleValues(TavNumArray values) const;
};

/// An integer variable.
class TavIntVar : public TavIntExprArg {
 public:
  /// The default upper bound, 2^53 - 1: the greatest integer up to which doubles are exact.
  static constexpr TavInt kMaxInt = 9007199254740991;

  TavIntVar() noexcept = default;
  explicit TavIntVar(TavNumVarI* impl) noexcept : TavIntExprArg(TavImplCast<TavIntExprI>(impl)) {}
  /// A new variable with bounds [0, kMaxInt].
  explicit TavIntVar(TavEnv env, const char* name = nullptr);
  TavIntVar(TavEnv env, TavInt lb, TavInt ub, const char* name = nullptr);
  explicit TavIntVar(TavIntRange range, const char* name = nullptr);
  /// A new variable over a copy of the values.
  TavIntVar(TavEnv env, TavIntArray values, const char* name = nullptr);
  /// New variables in the column's environment, then installed into the column.
  TavIntVar(const TavAddNumVar& column, TavInt lb, TavInt ub, const char* name = nullptr);
  TavIntVar(const TavAddNumVar& column, TavIntArray values, const char* name = nullptr);
  /// The same variable. Throws TavBadConversion when its type is Float.
  explicit TavIntVar(TavNumVar variable);
  /// Bounds are whole: give them as integers.
  template <class L, class U, class Because = tavrefused::the_bounds_of_an_integer_variable_are_integers>
  requires(TavFloating<L> || TavFloating<U>) TavIntVar(TavEnv env, L lb, U ub, const char* name = nullptr)
  = delete;

  /// The same variable as a numeric one.
  operator TavNumVar() const noexcept { return TavNumVar(getImpl()); }
  TavNumVarI* getImpl() const noexcept { return TavImplCast<TavNumVarI>(_impl); }
  ///@{
  /// As on TavNumVar.
  TavInt getId() const { return TavNumVar(*this).getId(); }
  const char* getName() const { return TavNumVar(*this).getName(); }
  void setName(const char* name) const { TavNumVar(*this).setName(name); }
  ///@}
  ///@{
  /// The bounds, cut toward zero.
  TavInt getMin() const { return TavTrunc(TavNumVar(*this).getLB()); }
  TavInt getMax() const { return TavTrunc(TavNumVar(*this).getUB()); }
  ///@}
  ///@{
  /// Throw TavWrongUsage "Using empty TavIntVar handle."; report as TavNumVar's setters do.
  void setMin(TavInt lb) const;
  void setMax(TavInt ub) const;
  ///@}
  /// Throws TavWrongUsage "Using empty handle TavIntVar".
  void setBounds(TavInt lb, TavInt ub) const;
  /// Throws TavWrongUsage "Using empty handle TavIntVar::getType".
  TavNumVar::Type getType() const;
  /// Appends the value list, if there is one, to `out`. Throws TavWrongUsage "Using empty handle TavIntVar" or "Using
  /// empty TavIntArray handle.".
  void getPossibleValues(TavIntArray out) const;
  /// Replaces the value list by a copy and reports it. Throws TavWrongUsage "Using empty TavIntVar handle." or "Using
  /// empty TavIntArray handle.".
  void setPossibleValues(TavIntArray values) const;
};

/// A 0-1 variable. Its type is Int, the shared domain [0, 1] being an integer one; only the column form makes a
/// variable of type Bool.
class TavBoolVar : public TavIntVar {
 public:
  TavBoolVar() noexcept = default;
  explicit TavBoolVar(TavNumVarI* impl) noexcept : TavIntVar(impl) {}
  /// A new variable with bounds [0, 1].
  explicit TavBoolVar(TavEnv env, const char* name = nullptr);
  /// The bounds are taken as they are given.
  TavBoolVar(TavEnv env, TavInt lb, TavInt ub, const char* name = nullptr);
  /// A new variable of type Bool in the column's environment, then installed into the column.
  explicit TavBoolVar(const TavAddNumVar& column, const char* name = nullptr);
  /// The same variable. Throws TavWrongUsage "Try to add a float variable to TavBoolVarArray" for type Float, and
  /// TavBadConversion for type Int unless each bound is exactly 0 or 1.
  explicit TavBoolVar(TavNumVar variable);
  /// The same variable. Throws TavBadConversion when a bound lies outside 0 to 1.
  explicit TavBoolVar(TavIntVar variable);
};

/// A variable that is 0, or between its threshold and its upper bound. Its domain keeps the bounds [0, ub].
class TavSemiContVar : public TavNumVar {
 public:
  TavSemiContVar() noexcept = default;
  explicit TavSemiContVar(TavSemiContVarI* impl) noexcept : TavNumVar(TavImplCast<TavNumVarI>(impl)) {}
  /// A new variable with threshold `sclb` and bounds [0, ub].
  TavSemiContVar(TavEnv env, double sclb, double ub, Type type = Float, const char* name = nullptr);
  /// The same in the column's environment, then installed into the column.
  TavSemiContVar(const TavAddNumVar& column, double sclb, double ub, Type type = Float, const char* name = nullptr);

  TavSemiContVarI* getImpl() const noexcept { return TavImplCast<TavSemiContVarI>(_impl); }
  /// The threshold.
  double getSemiContinuousLb() const;
  /// Reports a new threshold with the old one (TavSetSemiContBound); says nothing when the value is the same.
  void setSemiContinuousLb(double sclb) const;
  /// The clone registered for this variable, in its own environment or in `env`.
  TavSemiContVar getClone() const;
  TavSemiContVar getClone(TavEnv env) const;
  /// Registers `clone` as the clone of this variable, in its own environment or in `env`, until the pass ends.
  void setClone(TavSemiContVar clone) const;
  void setClone(TavSemiContVar clone, TavEnv env) const;
};

// ---- term handles

/// One term: the result of `variable * number`. Single use: its cell belongs to the first expression that takes it.
class TavNumLinExprTerm {
 public:
  /// An empty handle: an operator throws TavEmptyHandleException for it.
  TavNumLinExprTerm() noexcept = default;
  /// A handle on this loose cell.
  explicit TavNumLinExprTerm(TavNumLinExprTermI* cell) noexcept : _cell(cell) {}

  /// The cell.
  TavNumLinExprTermI* getImpl() const noexcept { return _cell; }
  /// The variable. Ask before an expression takes the term.
  TavNumVar getVar() const noexcept { return TavNumVar(_cell->var); }
  /// The coefficient. Ask before an expression takes the term.
  double getCoef() const noexcept { return _cell->coef; }
  /// A new linear node of this one term. Throws TavEmptyHandleException.
  operator TavNumExprArg() const;
  /// Whether the handle names a term.
  explicit operator bool() const noexcept { return _cell != nullptr; }

 private:
  TavNumLinExprTermI* _cell = nullptr;
};

/// One term of integer variable and integer coefficient. Single use.
class TavIntLinExprTerm {
 public:
  /// An empty handle: an operator throws TavEmptyHandleException for it.
  TavIntLinExprTerm() noexcept = default;
  /// A handle on this loose cell.
  explicit TavIntLinExprTerm(TavNumLinExprTermI* cell) noexcept : _cell(cell) {}

  /// The cell.
  TavNumLinExprTermI* getImpl() const noexcept { return _cell; }
  /// The variable. Ask before an expression takes the term.
  TavIntVar getVar() const noexcept { return TavIntVar(_cell->var); }
  /// The coefficient. Ask before an expression takes the term.
  double getCoef() const noexcept { return _cell->coef; }
  /// A new integer linear node of this one term. Throws TavEmptyHandleException.
  operator TavIntExprArg() const;
  /// Whether the handle names a term.
  explicit operator bool() const noexcept { return _cell != nullptr; }

 private:
  TavNumLinExprTermI* _cell = nullptr;
};

// ---- counted handles

/// Any numeric expression, counted.
class TavNumExpr {
 public:
  /// The constant part of an expression that is not linear was asked for or set.
  class NonLinearExpression : public TavException {
   public:
    /// `expression` is the one that is not linear, or null.
    explicit NonLinearExpression(TavNumExprI* expression) noexcept
        : TavException("Constant part cannot be set or queried"), _expression(expression) {}
    /// The expression that is not linear.
    TavNumExprArg getExpression() const noexcept { return TavNumExprArg(_expression); }
    /// "Expression ", the expression, " is non linear, setting or querying the constant part is forbidden".
    void print(std::ostream& os) const override;

   private:
    TavNumExprI* _expression;
  };

  TavNumExpr() noexcept = default;
  /// Shares the node and adds one reference.
  TavNumExpr(TavNumExprArg expression);
  /// Names the node without counting it.
  explicit TavNumExpr(TavNumExprI* impl) noexcept : _impl(impl) {}
  /// A new linear node with this constant.
  explicit TavNumExpr(TavEnv env, double constant = 0.0);
  /// A new linear node of this one term.
  TavNumExpr(TavNumLinExprTerm term);
  TavNumExpr(TavIntLinExprTerm term);

  TavNumExprI* getImpl() const noexcept { return _impl; }
  TavEnv getEnv() const { return TavNumExprArg(_impl).getEnv(); }
  ///@{
  /// As on TavNumExprArg.
  bool isConstant() const { return TavNumExprArg(_impl).isConstant(); }
  double getNumConstant() const { return TavNumExprArg(_impl).getNumConstant(); }
  bool isInteger() const { return TavNumExprArg(_impl).isInteger(); }
  double eval(TavAlgorithm algorithm) const { return TavNumExprArg(_impl).eval(algorithm); }
  ///@}

  ///@{
  /// Rebuild the expression with the free operator: an unshared linear node is extended in place. The first two throw
  /// TavWrongUsage "TavNumExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch Environments" (-=
  /// alike); the handle is then as it was.
  TavNumExpr& operator+=(TavNumExprArg arg);
  TavNumExpr& operator-=(TavNumExprArg arg);
  TavNumExpr& operator+=(double constant);
  TavNumExpr& operator-=(double constant);
  TavNumExpr& operator*=(double factor);
  TavNumExpr& operator/=(double divisor);
  ///@}

  /// The clone registered for the node, in its own environment or in `env`; uncounted.
  TavNumExpr getClone() const;
  TavNumExpr getClone(TavEnv env) const;
  /// Registers `clone` as the clone of the node, in its own environment or in `env`, until the pass ends.
  /// Throws TavEmptyHandleException.
  void setClone(TavNumExpr clone) const;
  void setClone(TavNumExpr clone, TavEnv env) const;

  /// Gives the reference back and empties the handle. The node goes with its last reference; a variable stays. An empty
  /// handle is left alone.
  void end();
  operator TavExtractable() const noexcept { return TavExtractable(TavImplCast<TavExtractableI>(_impl)); }
  explicit operator bool() const noexcept { return _impl != nullptr; }

 protected:
  TavNumExprI* _impl = nullptr;
};

/// A linear sum, counted: terms, a constant, and other expressions as summands. Its operations change the node in place
/// and copy it first only when another holder shares it, so that `e += c * x` is O(1) where `e = e + c * x` is O(n).
/// Assigning a new expression neither ends nor counts down the old node: call end() before.
class TavExpr : public TavNumExpr {
 public:
  /// Walks the terms as they stand: a variable may come more than once.
  class LinearIterator {
   public:
    /// An iterator at the end.
    LinearIterator() noexcept = default;
    /// An iterator that stands on this cell; null for the end.
    explicit LinearIterator(const TavNumLinExprTermI* cell) noexcept : _cell(cell) {}
    /// Whether there is a term; false at the end.
    bool ok() const noexcept { return _cell != nullptr; }
    /// The same as ok().
    explicit operator bool() const noexcept { return ok(); }
    /// The variable of the term that it stands on.
    TavNumVar getVar() const noexcept { return TavNumVar(_cell->var); }
    /// The coefficient of the term that it stands on.
    double getCoef() const noexcept { return _cell->coef; }
    /// Goes on to the next term.
    LinearIterator& operator++() noexcept {
      TavPrefetchPageAhead(_cell);
      _cell = _cell->next;
      return *this;
    }

   private:
    const TavNumLinExprTermI* _cell = nullptr;
  };

  TavExpr() noexcept = default;
  /// A new sum with this constant and no terms.
  explicit TavExpr(TavEnv env, double constant = 0.0) : TavNumExpr(env, constant) {}
  /// Takes the node over when nobody holds it, else a copy; an expression that is not linear becomes the one part of a
  /// new sum.
  TavExpr(TavNumExprArg expression);
  /// The same for a counted expression.
  TavExpr(const TavNumExpr& expression) : TavExpr(TavNumExprArg(expression.getImpl())) {}
  /// A new sum of this one term.
  TavExpr(TavNumLinExprTerm term) : TavNumExpr(term) {}
  TavExpr(TavIntLinExprTerm term) : TavNumExpr(term) {}
  /// Names the node without counting it.
  explicit TavExpr(TavNumLinTermI* impl) noexcept : TavNumExpr(TavImplCast<TavNumExprI>(impl)) {}

  TavNumLinTermI* getImpl() const noexcept { return TavImplCast<TavNumLinTermI>(_impl); }

  ///@{
  /// Add or subtract at the tail, O(1); a linear operand is merged in, an uncounted one without copying (it is ended),
  /// any other expression becomes a part. All throw TavWrongUsage "TavExpr& TavNumExpr::operator += const TavNumVar arg
  /// : mixing mismatch Environments" and the like, before anything is changed.
  TavExpr& operator+=(double constant);
  TavExpr& operator-=(double constant);
  TavExpr& operator+=(TavNumVar variable);
  TavExpr& operator-=(TavNumVar variable);
  TavExpr& operator+=(TavIntVar variable);
  TavExpr& operator-=(TavIntVar variable);
  TavExpr& operator+=(TavNumLinExprTerm term);
  TavExpr& operator-=(TavNumLinExprTerm term);
  TavExpr& operator+=(TavIntLinExprTerm term);
  TavExpr& operator-=(TavIntLinExprTerm term);
  TavExpr& operator+=(TavNumExprArg arg);
  TavExpr& operator-=(TavNumExprArg arg);
  ///@}
  ///@{
  /// Multiply or divide every coefficient, every part and the constant, O(n); 0 and 1 are not special.
  TavExpr& operator*=(double factor);
  TavExpr& operator/=(double divisor);
  ///@}

  /// Drops all terms and parts; the constant becomes 0. O(1) in the number of terms.
  void clear();
  /// Throws NonLinearExpression when the sum has parts; a shared node then stays shared.
  void setNumConstant(double constant);
  /// Sets one coefficient and reports the modification (TavNumLinTermAddVar, TavNumLinTermRemoveVar); returns the old
  /// one, 0 when the variable was absent. Normalises, then searches: O(n). On a shared node a private copy is edited,
  /// which no algorithm has extracted; to edit an extracted node use the node's setCoef.
  double setLinearCoef(TavNumVar variable, double coef);
  /// Sets many coefficients in O(n + m), reporting zero crossings only. `coefs` is at least as long as `variables`.
  /// Throws TavEmptyHandleException on an empty array or element.
  void setLinearCoefs(TavNumVarArray variables, TavNumArray coefs);
  /// Drop the terms and parts of the given objects in one sweep that ends after as many hits as the array is long.
  void remove(TavNumVarArray variables);
  void remove(TavExtractableArray objects);
  /// Merges the terms of each variable into its last one and drops zeros, O(n). True when nothing had to be merged.
  /// Throws TavEmptyHandleException.
  bool normalize();
  /// Throws TavEmptyHandleException; true otherwise.
  bool isNormalized() const;
  /// A new handle on a copy; parts are shared.
  TavExpr copy() const;
  /// An iterator that stands on the first term. It holds until the sum changes.
  LinearIterator getLinearIterator() const;
};

/// An integer expression, counted.
class TavIntExpr : public TavNumExpr {
 public:
  TavIntExpr() noexcept = default;
  /// Shares the node and adds one reference.
  TavIntExpr(TavIntExprArg expression) : TavNumExpr(static_cast<TavNumExprArg>(expression)) {}
  TavIntExpr(TavIntLinExprTerm term);
  /// A new integer linear node with this constant.
  explicit TavIntExpr(TavEnv env, TavInt constant = 0);
  /// Names the node without counting it.
  explicit TavIntExpr(TavIntExprI* impl) noexcept : TavNumExpr(TavImplCast<TavNumExprI>(impl)) {}

  TavIntExprI* getImpl() const noexcept { return TavImplCast<TavIntExprI>(_impl); }
  operator TavIntExprArg() const noexcept { return TavIntExprArg(getImpl()); }

  ///@{
  /// Rebuild the expression with the free operator, whose message they throw; the handle is then as it was.
  TavIntExpr& operator+=(TavIntExprArg arg);
  TavIntExpr& operator-=(TavIntExprArg arg);
  TavIntExpr& operator+=(TavInt constant);
  TavIntExpr& operator-=(TavInt constant);
  TavIntExpr& operator*=(TavInt factor);
  ///@}
  ///@{
  /// An integer expression takes integers, and division would leave them.
  tavrefused::an_integer_expression_takes_integers_only operator+=(TavNumExprArg arg)
      TAV_REFUSED(an_integer_expression_takes_integers_only);
  tavrefused::an_integer_expression_takes_integers_only operator-=(TavNumExprArg arg)
      TAV_REFUSED(an_integer_expression_takes_integers_only);
  template <TavFloating F>
  tavrefused::an_integer_expression_takes_integers_only operator+=(F constant)
      TAV_REFUSED(an_integer_expression_takes_integers_only);
  template <TavFloating F>
  tavrefused::an_integer_expression_takes_integers_only operator-=(F constant)
      TAV_REFUSED(an_integer_expression_takes_integers_only);
  template <TavFloating F>
  tavrefused::an_integer_expression_takes_integers_only operator*=(F factor)
      TAV_REFUSED(an_integer_expression_takes_integers_only);
  template <class D>
  tavrefused::an_integer_expression_is_not_divided_in_place operator/=(D divisor)
      TAV_REFUSED(an_integer_expression_is_not_divided_in_place);
  ///@}
};

/// Whether x has no fractional part; false for infinities and not-a-numbers.
bool TavNumIsInteger(double x) noexcept;

/// Throws TavEmptyHandleException for null and TavNumExpr::NonLinearExpression unless the node is a linear one without
/// parts.
void TavTestIsLinear(TavNumExprI* node);

/// Writes |x| as null-terminated decimal text and returns its length; the caller prints the sign. `precision` digits
/// follow the first one: above 14 or -1 counts as 14, any other value below 1 as 1. Exponents above the precision
/// or below -6 give the exponent form ("1.5e+20", "1e-7"), all others positional text without trailing zeros. An
/// infinity or not-a-number gives "?" and status -1, everything else status 0. `out` has room for 24
/// characters.
int convertTavNum(char* out, double x, int precision, int* status);

// ---- operators: sums

/// The sum of two operands. Sums and multiples of variables and linear expressions stay one linear node; everything
/// else becomes a node of its own. Operands of two environments: TavWrongUsage, with a message that names the operator
/// and the operands, before any node is made or changed.
///
/// An uncounted linear operand is changed in place and returned; an uncounted linear right operand is merged in and
/// destroyed, so that the caller's handle to it dangles. Counted operands are never changed. Other temporaries that an
/// operator only reads (a converted integer sum, a constant side of a product, a folded product) stay until they are
/// ended or the environment ends.
///
/// The terms of the left operand come first; when only the right operand is a sum, a variable on the left is put before
/// its terms, and any other expression on the left behind its parts.
TavNumExprArg operator+(TavNumExprArg a, TavNumExprArg b);
TavNumExprArg operator+(TavNumExprArg a, TavNumLinExprTerm t);
TavNumExprArg operator+(TavNumExprArg a, TavIntLinExprTerm t);
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator+(TavNumLinExprTerm t, TavIntLinExprTerm u);
TavIntExprArg operator+(TavIntExprArg a, TavIntExprArg b);
TavIntExprArg operator+(TavIntExprArg a, TavIntLinExprTerm t);
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntExprArg b);
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntLinExprTerm u);

/// a - b is a + (-b), with the addition's message.
TavNumExprArg operator-(TavNumExprArg a, TavNumExprArg b);
TavNumExprArg operator-(TavNumExprArg a, TavNumLinExprTerm t);
TavNumExprArg operator-(TavNumExprArg a, TavIntLinExprTerm t);
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator-(TavNumLinExprTerm t, TavIntLinExprTerm u);
TavIntExprArg operator-(TavIntExprArg a, TavIntExprArg b);
TavIntExprArg operator-(TavIntExprArg a, TavIntLinExprTerm t);
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntExprArg b);
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntLinExprTerm u);

/// Negation: e * -1. A term handle's own cell is negated, so that the operand is negated too.
TavNumExprArg operator-(TavNumExprArg e);
TavIntExprArg operator-(TavIntExprArg e);
TavNumLinExprTerm operator-(TavNumVar x);
TavIntLinExprTerm operator-(TavIntVar x);
TavNumLinExprTerm operator-(TavNumLinExprTerm t);
TavIntLinExprTerm operator-(TavIntLinExprTerm t);

/// The bodies behind the operators that take numbers of any arithmetic type. Integers count as signed 64-bit values,
/// all others as doubles.
namespace tavdetail {
TavNumExprArg plus(TavNumExprArg e, double constant);
TavNumExprArg plus(TavNumLinExprTerm t, double constant);
TavNumExprArg plus(TavIntLinExprTerm t, double constant);
TavIntExprArg plus(TavIntExprArg e, TavInt constant);
TavIntExprArg plus(TavIntLinExprTerm t, TavInt constant);
TavNumExprArg minus(double constant, TavNumExprArg e);
TavNumExprArg minus(double constant, TavNumLinExprTerm t);
TavNumExprArg minus(double constant, TavIntLinExprTerm t);
TavIntExprArg minus(TavInt constant, TavIntExprArg e);
TavIntExprArg minus(TavInt constant, TavIntLinExprTerm t);
TavNumLinExprTerm times(TavNumVar x, double factor);
TavIntLinExprTerm times(TavIntVar x, TavInt factor);
TavNumExprArg times(TavNumExprArg e, double factor);
TavIntExprArg times(TavIntExprArg e, TavInt factor);
TavNumExprArg over(TavNumExprArg e, double divisor);
TavNumExprArg over(double dividend, TavNumExprArg e);
TavIntExprArg modulo(TavIntExprArg e, TavInt divisor);
TavIntExprArg modulo(TavInt dividend, TavIntExprArg e);
TavIntExprArg div(TavIntExprArg e, TavInt divisor);
TavIntExprArg div(TavInt dividend, TavIntExprArg e);
}  // namespace tavdetail

/// e + d: the linear expression with its constant raised; any other expression becomes the part of a new sum.
template <TavNumber N>
TavNumExprArg operator+(TavNumExprArg e, N d) {
  return tavdetail::plus(e, static_cast<double>(d));
}
template <TavNumber N>
TavNumExprArg operator+(N d, TavNumExprArg e) {
  return tavdetail::plus(e, static_cast<double>(d));
}
template <TavNumber N>
TavNumExprArg operator+(TavNumLinExprTerm t, N d) {
  return tavdetail::plus(t, static_cast<double>(d));
}
template <TavNumber N>
TavNumExprArg operator+(N d, TavNumLinExprTerm t) {
  return tavdetail::plus(t, static_cast<double>(d));
}
template <TavFloating F>
TavNumExprArg operator+(TavIntLinExprTerm t, F d) {
  return tavdetail::plus(t, static_cast<double>(d));
}
template <TavFloating F>
TavNumExprArg operator+(F d, TavIntLinExprTerm t) {
  return tavdetail::plus(t, static_cast<double>(d));
}
template <TavIntegral K>
TavIntExprArg operator+(TavIntExprArg e, K k) {
  return tavdetail::plus(e, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntExprArg operator+(K k, TavIntExprArg e) {
  return tavdetail::plus(e, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntExprArg operator+(TavIntLinExprTerm t, K k) {
  return tavdetail::plus(t, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntExprArg operator+(K k, TavIntLinExprTerm t) {
  return tavdetail::plus(t, static_cast<TavInt>(k));
}

/// e - d is e + (-d); d - e is d + (-e).
template <TavNumber N>
TavNumExprArg operator-(TavNumExprArg e, N d) {
  return tavdetail::plus(e, -static_cast<double>(d));
}
template <TavNumber N>
TavNumExprArg operator-(N d, TavNumExprArg e) {
  return tavdetail::minus(static_cast<double>(d), e);
}
template <TavNumber N>
TavNumExprArg operator-(TavNumLinExprTerm t, N d) {
  return tavdetail::plus(t, -static_cast<double>(d));
}
template <TavNumber N>
TavNumExprArg operator-(N d, TavNumLinExprTerm t) {
  return tavdetail::minus(static_cast<double>(d), t);
}
template <TavFloating F>
TavNumExprArg operator-(TavIntLinExprTerm t, F d) {
  return tavdetail::plus(t, -static_cast<double>(d));
}
template <TavFloating F>
TavNumExprArg operator-(F d, TavIntLinExprTerm t) {
  return tavdetail::minus(static_cast<double>(d), t);
}
template <TavIntegral K>
TavIntExprArg operator-(TavIntExprArg e, K k) {
  return tavdetail::plus(e, TavWrapNegate(static_cast<TavInt>(k)));
}
template <TavIntegral K>
TavIntExprArg operator-(K k, TavIntExprArg e) {
  return tavdetail::minus(static_cast<TavInt>(k), e);
}
template <TavIntegral K>
TavIntExprArg operator-(TavIntLinExprTerm t, K k) {
  return tavdetail::plus(t, TavWrapNegate(static_cast<TavInt>(k)));
}
template <TavIntegral K>
TavIntExprArg operator-(K k, TavIntLinExprTerm t) {
  return tavdetail::minus(static_cast<TavInt>(k), t);
}

// ---- operators: products, quotients, remainders

/// One term, O(1): the cell that the sum will hold.
template <TavNumber N>
TavNumLinExprTerm operator*(TavNumVar x, N d) {
  return tavdetail::times(x, static_cast<double>(d));
}
template <TavNumber N>
TavNumLinExprTerm operator*(N d, TavNumVar x) {
  return tavdetail::times(x, static_cast<double>(d));
}
template <TavFloating F>
TavNumLinExprTerm operator*(TavIntVar x, F d) {
  return tavdetail::times(TavNumVar(x), static_cast<double>(d));
}
template <TavFloating F>
TavNumLinExprTerm operator*(F d, TavIntVar x) {
  return tavdetail::times(TavNumVar(x), static_cast<double>(d));
}
template <TavIntegral K>
TavIntLinExprTerm operator*(TavIntVar x, K k) {
  return tavdetail::times(x, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntLinExprTerm operator*(K k, TavIntVar x) {
  return tavdetail::times(x, static_cast<TavInt>(k));
}

/// e * d: a linear expression with all coefficients multiplied, O(n), no factor being special: 0 keeps every term. The
/// constants of products by constants fold: x * 2 * 3 is x * 6. Any other e gives a node, TavNumTimesCstI or
/// TavIntTimesCstI.
/// Evaluates to value times d in floating point. Prints "( " e "* " d ") ", or e " * " d.
template <TavNumber N>
TavNumExprArg operator*(TavNumExprArg e, N d) {
  return tavdetail::times(e, static_cast<double>(d));
}
template <TavNumber N>
TavNumExprArg operator*(N d, TavNumExprArg e) {
  return tavdetail::times(e, static_cast<double>(d));
}
template <TavIntegral K>
TavIntExprArg operator*(TavIntExprArg e, K k) {
  return tavdetail::times(e, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntExprArg operator*(K k, TavIntExprArg e) {
  return tavdetail::times(e, static_cast<TavInt>(k));
}

/// a * b: a constant side makes it a product by that constant, else a node TavNumTimesI.
/// Prints "( " a "* " b ") ", or a " * " b.
TavNumExprArg operator*(TavNumExprArg a, TavNumExprArg b);
/// Always a node TavIntTimesI; evaluates in floating point without truncating the operands.
TavIntExprArg operator*(TavIntExprArg a, TavIntExprArg b);

/// e / d: a variable becomes a term with coefficient 1 / d, a linear expression is divided, any other e gives a node
/// TavNumDivCstI. No divisor is checked: 0 gives infinities or not-a-numbers.
/// Prints "( " e "/ " d ") ", or e "/ " d.
template <TavNumber N>
TavNumExprArg operator/(TavNumExprArg e, N d) {
  return tavdetail::over(e, static_cast<double>(d));
}
/// d / e: always a node TavNumRecDivCstI. Prints "( " d "/ " e ") ", or d " / " e.
template <TavNumber N>
TavNumExprArg operator/(N d, TavNumExprArg e) {
  return tavdetail::over(static_cast<double>(d), e);
}
/// Always a node TavNumDivI. Prints "( " a "/ " b ") ", or a " / " b.
TavNumExprArg operator/(TavNumExprArg a, TavNumExprArg b);

/// The quotient of integers, cut toward zero, each operand's value being cut first: -7 by 2 is -3. Always a node
/// (TavIntDivI, TavIntDivCstI, TavIntRecDivCstI). A zero divisor is not checked: the evaluation is then undefined.
/// Mixed environments: TavWrongUsage "TavDiv: mixing mismatch Environments".
/// Prints "( " a "/ " b ") ", or a " / " b.
TavIntExprArg TavDiv(TavIntExprArg a, TavIntExprArg b);
template <TavIntegral K>
TavIntExprArg TavDiv(TavIntExprArg e, K k) {
  return tavdetail::div(e, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntExprArg TavDiv(K k, TavIntExprArg e) {
  return tavdetail::div(static_cast<TavInt>(k), e);
}
tavrefused::a_quotient_by_TavDiv_has_integer_operands TavDiv(TavNumExprArg a, TavNumExprArg b)
    TAV_REFUSED(a_quotient_by_TavDiv_has_integer_operands);
template <TavNumber N>
tavrefused::a_quotient_by_TavDiv_has_integer_operands TavDiv(TavNumExprArg e, N d)
    TAV_REFUSED(a_quotient_by_TavDiv_has_integer_operands);
template <TavNumber N>
tavrefused::a_quotient_by_TavDiv_has_integer_operands TavDiv(N d, TavNumExprArg e)
    TAV_REFUSED(a_quotient_by_TavDiv_has_integer_operands);

/// The remainder of the division of integers, with the sign of the dividend, each operand's value being cut first:
/// -7 % 3 is -1. Always a node (TavIntModuloI, TavIntModuloCstI, TavIntRecModuloCstI). A zero divisor is not checked:
/// the evaluation is then undefined.
/// Prints "( " a "% " b ") " or a " % " b; with a constant on the right "( " e "% " k ") " or e "% " k; with one on the
/// left "(" k "% " e ")" or k " % " e.
TavIntExprArg operator%(TavIntExprArg a, TavIntExprArg b);
template <TavIntegral K>
TavIntExprArg operator%(TavIntExprArg e, K k) {
  return tavdetail::modulo(e, static_cast<TavInt>(k));
}
template <TavIntegral K>
TavIntExprArg operator%(K k, TavIntExprArg e) {
  return tavdetail::modulo(static_cast<TavInt>(k), e);
}
tavrefused::a_remainder_has_integer_operands operator%(TavNumExprArg a, TavNumExprArg b)
    TAV_REFUSED(a_remainder_has_integer_operands);
template <TavNumber N>
tavrefused::a_remainder_has_integer_operands operator%(TavNumExprArg e, N d)
    TAV_REFUSED(a_remainder_has_integer_operands);
template <TavNumber N>
tavrefused::a_remainder_has_integer_operands operator%(N d, TavNumExprArg e)
    TAV_REFUSED(a_remainder_has_integer_operands);

// ---- arrays of handles

/// Array of model objects of one kind, read and written as Handle. Elements are uncounted and may be empty. `Impl` is
/// the handle's implementation class.
template <class Handle, class Impl>
class TavHandleArray : public TavExtractableArray {
 public:
  using TavExtractableArray::TavExtractableArray;

  /// The element at position i, counted from 0; nothing checks i.
  Handle operator[](TavInt i) const noexcept { return Handle(_impl->template get<Impl*>(i)); }
  /// Replaces the element at position i, which nothing checks.
  void set(TavInt i, Handle element) noexcept { _impl->set(i, element.getImpl()); }
  /// Appends the element; its count stays as it is.
  void add(Handle element) {
    auto* impl = element.getImpl();
    _impl->add(&impl);
  }
  /// Appends the elements of another array, which may be this one.
  void add(TavHandleArray other) { _impl->addArray(other.getImpl()); }
};

namespace tavdetail {
/// The ten messages of one family of element-list constructors, by number of elements.
struct CountTexts {
  const char* text[10];
};
extern const CountTexts kNumVarArrayTexts, kIntVarArrayTexts, kBoolVarArrayTexts, kSemiContVarArrayTexts,
    kConstraintArrayTexts;
/// An array of the k elements; throws TavWrongUsage with the family's message when n differs from k.
TavArrayI* makeList(TavEnv env, TavInt n, const void* const* elements, TavInt k, const CountTexts& texts);

template <class Handle, class... E>
TavArrayI* makeListOf(TavEnv env, TavInt n, const CountTexts& texts, E... elements) {
  const void* const impls[] = {Handle(elements).getImpl()...};
  return makeList(env, n, impls, sizeof...(E), texts);
}
}  // namespace tavdetail

/// One to ten elements of an array that is written out.
template <class Handle, class... E>
concept TavElementsOf = sizeof...(E) >= 1 && sizeof...(E) <= 10 && (std::convertible_to<E, Handle> && ...) &&
                        (std::is_class_v<E> && ...);

/// Array of numeric expressions.
class TavNumExprArray : public TavHandleArray<TavNumExprArg, TavNumExprI> {
 public:
  using TavHandleArray::TavHandleArray;
  using TavHandleArray::operator[];
  /// The element at the position that `index` evaluates to; documented with TavElement.
  TavNumExprArg operator[](TavIntExprArg index) const;
  /// Adds one reference to every non-null element.
  void lockExprs() const noexcept;
  /// Gives one reference of every non-null element back.
  void releaseExprs() const;
  /// Calls every element's own end(); no element may be empty, nor stand in the array more often than it is counted.
  void endElements() const;
  /// Makes this handle point to a new array in `env` of the elements' registered clones; the old array stays with its
  /// environment.
  void replaceByClone(TavEnvI* env);
};

/// Another name of TavNumExprArray.
using TavExprArray = TavNumExprArray;

/// Array of integer expressions.
class TavIntExprArray : public TavHandleArray<TavIntExprArg, TavIntExprI> {
 public:
  using TavHandleArray::TavHandleArray;
  using TavHandleArray::operator[];
  /// The element at the position that `index` evaluates to; documented with TavElement.
  TavIntExprArg operator[](TavIntExprArg index) const;
  ///@{
  /// As on TavNumExprArray.
  void lockExprs() const noexcept;
  void releaseExprs() const;
  void endElements() const;
  void replaceByClone(TavEnvI* env);
  ///@}
  /// A new array in `env` (null: in this array's environment, asking each element's own) of the registered clones.
  TavIntExprArray getClone(TavEnvI* env) const;
};

class TavIntVarArray;

/// Array of variables.
class TavNumVarArray : public TavHandleArray<TavNumVar, TavNumVarI> {
 public:
  using TavHandleArray::TavHandleArray;
  using TavHandleArray::operator[];
  using Type = TavNumVar::Type;

  /// n new unnamed variables; n of 0 or less gives an empty array. Boolean bounds are truncated first. The shared
  /// domain is looked up once.
  TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, Type type = TavNumVar::Float);
  /// One new variable per element of the first array given, `ubs` being at least as long as `lbs`. An empty array
  /// handle: TavEmptyHandleException.
  TavNumVarArray(TavEnv env, TavNumArray lbs, TavNumArray ubs, Type type = TavNumVar::Float);
  TavNumVarArray(TavEnv env, double lb, TavNumArray ubs, Type type = TavNumVar::Float);
  TavNumVarArray(TavEnv env, TavNumArray lbs, double ub, Type type = TavNumVar::Float);
  /// One new variable per non-empty column, installed into it, with bounds [0, infinity] or the given ones; an empty
  /// element per empty column. An empty array handle: TavEmptyHandleException.
  TavNumVarArray(TavEnv env, TavNumColumnArray columns, Type type = TavNumVar::Float);
  TavNumVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs, Type type = TavNumVar::Float);
  /// The listed variables, one to ten. Throws TavWrongUsage "TavNumVarArray::TavNumVarArray: n !=2" (with a blank
  /// before a 1) when n is not their number.
  template <class... E>
  requires TavElementsOf<TavNumVar, E...> TavNumVarArray(TavEnv env, TavInt n, E... elements)
      : TavHandleArray(tavdetail::makeListOf<TavNumVar>(env, n, tavdetail::kNumVarArrayTexts, elements...)) {}

  /// The element at the position that `index` evaluates to; documented with TavElement.
  TavNumExprArg operator[](TavIntExprArg index) const;
  /// A new array of the same variables.
  TavNumExprArray toNumExprArray() const;
  ///@{
  /// A new array of the same variables. Before it is made, a continuous one throws TavBadConversion, an empty element
  /// TavWrongUsage "Using empty handle TavNumVar::getType".
  TavIntExprArray toIntExprArray() const;
  TavIntVarArray toIntVarArray() const;
  ///@}
  /// As on TavIntExprArray.
  TavNumVarArray getClone(TavEnvI* env) const;
  /// Sets the bounds of all elements, upper ones first, and reports them as one modification
  /// (TavSetNumVarArrayBounds). Domains are changed where they are: one that is shared changes for every variable that
  /// shares it. Both arrays are at least as long as this one; an empty handle throws TavEmptyHandleException.
  void setBounds(TavNumArray lbs, TavNumArray ubs) const;
};

/// Array of integer variables.
class TavIntVarArray : public TavHandleArray<TavIntVar, TavNumVarI> {
 public:
  using TavHandleArray::TavHandleArray;
  using TavHandleArray::operator[];

  /// As on TavNumVarArray; both bounds are rounded up.
  TavIntVarArray(TavEnv env, TavInt n, TavInt lb, TavInt ub);
  TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArray ubs);
  TavIntVarArray(TavEnv env, TavInt lb, TavIntArray ubs);
  TavIntVarArray(TavEnv env, TavIntArray lbs, TavInt ub);
  /// One new variable per non-empty column with bounds [0, kMaxInt], or with the given ones cut toward zero.
  TavIntVarArray(TavEnv env, TavNumColumnArray columns);
  TavIntVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs);
  /// The listed variables, one to ten. Throws TavWrongUsage "TavIntVarArray::TavIntVarArray: n !=2" when n is not their
  /// number.
  template <class... E>
  requires TavElementsOf<TavIntVar, E...> TavIntVarArray(TavEnv env, TavInt n, E... elements)
      : TavHandleArray(tavdetail::makeListOf<TavIntVar>(env, n, tavdetail::kIntVarArrayTexts, elements...)) {}

  /// The element at the position that `index` evaluates to; documented with TavElement.
  TavIntExprArg operator[](TavIntExprArg index) const;
  ///@{
  /// New arrays of the same variables, without a test.
  TavIntExprArray toIntExprArray() const;
  TavNumVarArray toNumVarArray() const;
  ///@}
  /// As on TavIntExprArray.
  TavIntVarArray getClone(TavEnvI* env) const;
};

/// Array of 0-1 variables.
class TavBoolVarArray : public TavIntVarArray {
 public:
  TavBoolVarArray() noexcept = default;
  explicit TavBoolVarArray(TavArrayI* impl) noexcept : TavIntVarArray(impl) {}
  /// A new array of `size` empty elements.
  explicit TavBoolVarArray(TavEnv env, TavInt size = 0) : TavIntVarArray(env, size) {}
  /// One new 0-1 variable of type Int per non-empty column, an empty element per empty column. An empty
  /// array handle: TavEmptyHandleException.
  TavBoolVarArray(TavEnv env, TavNumColumnArray columns);
  /// The same array, shared, after a check of every element: TavWrongUsage "Using empty variable" or "Try to add a
  /// float variable to TavBoolVarArray", TavBadConversion unless each bound of an Int variable is exactly 0 or 1.
  TavBoolVarArray(const TavIntVarArray& variables);
  /// The listed variables, one to ten. Throws TavWrongUsage "TavBoolVarArray::TavBoolVarArray: n !=2" when n is not
  /// their number.
  template <class... E>
  requires TavElementsOf<TavBoolVar, E...> TavBoolVarArray(TavEnv env, TavInt n, E... elements)
      : TavIntVarArray(tavdetail::makeListOf<TavBoolVar>(env, n, tavdetail::kBoolVarArrayTexts, elements...)) {}

  using TavIntVarArray::operator[];
  /// The element at position i, counted from 0; nothing checks i.
  TavBoolVar operator[](TavInt i) const noexcept { return TavBoolVar(_impl->get<TavNumVarI*>(i)); }
  /// As on TavIntExprArray.
  TavBoolVarArray getClone(TavEnvI* env) const;
};

// ---- constraints

/// A constraint of any kind: an integer expression whose value is its truth. Not counted; it lives until end().
class TavConstraint : public TavExtractable {
 public:
  TavConstraint() noexcept = default;
  explicit TavConstraint(TavConstraintI* impl) noexcept : TavExtractable(TavImplCast<TavExtractableI>(impl)) {}

  TavConstraintI* getImpl() const noexcept { return TavImplCast<TavConstraintI>(_impl); }
  operator TavIntExprArg() const noexcept { return TavIntExprArg(TavImplCast<TavIntExprI>(_impl)); }
};

/// Array of constraints.
class TavConstraintArray : public TavHandleArray<TavConstraint, TavConstraintI> {
 public:
  using TavHandleArray::TavHandleArray;
  /// The listed constraints, one to ten. Throws TavWrongUsage "TavConstraintArray::TavConstraintArray: n !=2" when n is
  /// not their number; the array made for them then stays with the environment.
  template <class... E>
  requires TavElementsOf<TavConstraint, E...> TavConstraintArray(TavEnv env, TavInt n, E... elements)
      : TavHandleArray(tavdetail::makeListOf<TavConstraint>(env, n, tavdetail::kConstraintArrayTexts, elements...)) {}
};

/// Array of semi-continuous variables.
class TavSemiContVarArray : public TavHandleArray<TavSemiContVar, TavSemiContVarI> {
 public:
  using TavHandleArray::TavHandleArray;
  using Type = TavNumVar::Type;

  /// n new variables with the same threshold and upper bound.
  TavSemiContVarArray(TavEnv env, TavInt n, double sclb, double ub, Type type = TavNumVar::Float);
  /// One new variable per element of `sclbs`, `ubs` being at least as long. An empty array handle:
  /// TavEmptyHandleException.
  TavSemiContVarArray(TavEnv env, TavNumArray sclbs, TavNumArray ubs, Type type = TavNumVar::Float);
  /// One new variable per non-empty column, installed into it; an empty element per empty column.
  TavSemiContVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray sclbs, TavNumArray ubs,
                      Type type = TavNumVar::Float);
  /// The listed variables, one to ten. Throws TavWrongUsage "TavSemiContVarArray::TavSemiContVarArray: n !=2" when n is
  /// not their number.
  template <class... E>
  requires TavElementsOf<TavSemiContVar, E...> TavSemiContVarArray(TavEnv env, TavInt n, E... elements)
      : TavHandleArray(tavdetail::makeListOf<TavSemiContVar>(env, n, tavdetail::kSemiContVarArrayTexts, elements...)) {}
};

/// A conversion in the model: variables and the type that an algorithm is to give them. The variables stay as they are.
class TavConversion : public TavExtractable {
 public:
  TavConversion() noexcept = default;
  explicit TavConversion(TavConversionI* impl) noexcept : TavExtractable(TavImplCast<TavExtractableI>(impl)) {}
  /// A new conversion of one variable, in its environment. An empty variable: TavEmptyHandleException.
  TavConversion(TavEnv env, TavNumVar variable, TavNumVar::Type type, const char* name = nullptr);
  /// A new conversion of a copy of the array, in the array's environment. An empty handle: TavEmptyHandleException.
  TavConversion(TavEnv env, TavNumVarArray variables, TavNumVar::Type type, const char* name = nullptr);
  TavConversion(TavEnv env, TavIntVarArray variables, TavNumVar::Type type, const char* name = nullptr);

  TavConversionI* getImpl() const noexcept { return TavImplCast<TavConversionI>(_impl); }
  /// Takes every occurrence of the variable out, last first, and reports each (TavConversionRemoveVar).
  void removeVar(TavNumVar variable) const;
};

// ---- functions
//
// No function simplifies: constants, equal operands and arrays of one element give a node all the same. Results are
// uncounted: keep them in a TavNumExpr, TavExpr or TavIntExpr. A node costs O(1), one pooled block; array forms copy
// their array, O(n).

/// x * x. Integer operands are not truncated. Prints "TavSquare(" x ") ", or "square(" x ")".
TavNumExprArg TavSquare(TavNumExprArg x);
TavIntExprArg TavSquare(TavIntExprArg x);

/// |x|, with the sign bit cleared: +0.0 for -0.0. Prints "TavAbs(" x ") ", or "abs(" x ")".
TavNumExprArg TavAbs(TavNumExprArg x);
TavIntExprArg TavAbs(TavIntExprArg x);

/// 1, -1 or 0: the sign; 0 for both zeros and for a not-a-number. Prints "TavSgn(" x ") ", or "sgn(" x ")".
TavIntExprArg TavSgn(TavNumExprArg x);

namespace tavdetail {
TavNumExprArg min(TavNumExprArg x, double c);
TavIntExprArg min(TavIntExprArg x, TavInt c);
TavNumExprArg max(TavNumExprArg x, double c);
TavIntExprArg max(TavIntExprArg x, TavInt c);
}  // namespace tavdetail

/// The lesser of two values: a if b > a, else b, so that ties and not-a-numbers give b. Mixed environments:
/// TavWrongUsage "TavMin: mixing mismatch Environments". Prints "TavMin( " a ", " b ") ", or "min(" a ", " b ")".
TavNumExprArg TavMin(TavNumExprArg a, TavNumExprArg b);
TavIntExprArg TavMin(TavIntExprArg a, TavIntExprArg b);
/// x if c > x, else c. Prints "TavMin( " x ", " c ") ", or "min( " x ", " c ")"; an integer one "( " x ", " c ") ", or
/// "min(" x ", " c ")".
template <TavNumber N>
TavNumExprArg TavMin(TavNumExprArg x, N c) {
  return tavdetail::min(x, static_cast<double>(c));
}
template <TavNumber N>
TavNumExprArg TavMin(N c, TavNumExprArg x) {
  return tavdetail::min(x, static_cast<double>(c));
}
template <TavIntegral K>
TavIntExprArg TavMin(TavIntExprArg x, K c) {
  return tavdetail::min(x, static_cast<TavInt>(c));
}
template <TavIntegral K>
TavIntExprArg TavMin(K c, TavIntExprArg x) {
  return tavdetail::min(x, static_cast<TavInt>(c));
}
/// The least value of an array, which is copied: the first of equal ones. Element 0 is evaluated twice unless it is the
/// only one; an empty array throws TavArrayError "Array of size 0 in evaluation of TavMin" when it is evaluated. An
/// element of another environment throws as above, an empty one TavEmptyHandleException.
/// Prints "TavMin( " array ") ", or "min( " array ")"; an integer one "TavMin( " array ") ", or "min(" array ")".
TavNumExprArg TavMin(TavNumExprArray array);
TavIntExprArg TavMin(TavIntExprArray array);
TavNumExprArg TavMin(TavNumVarArray array);
TavIntExprArg TavMin(TavIntVarArray array);
/// The least number, at once. Throws TavArrayError "Array of size 0 in call to TavMin".
double TavMin(TavNumArray array);
TavInt TavMin(TavIntArray array);

/// The greater of two values: a if a > b, else b. Mixed environments: TavWrongUsage "TavMax: mixing mismatch
/// Environments". Prints "TavMax( " a ", " b ") ", or "max(" a ", " b ")".
TavNumExprArg TavMax(TavNumExprArg a, TavNumExprArg b);
TavIntExprArg TavMax(TavIntExprArg a, TavIntExprArg b);
/// x if x > c, else c. Prints "TavMax( " x ", " c ") ", or "max(" x ", " c ")"; an integer one "( " x ", " c ") ", or
/// "max(" x ", " c ")".
template <TavNumber N>
TavNumExprArg TavMax(TavNumExprArg x, N c) {
  return tavdetail::max(x, static_cast<double>(c));
}
template <TavNumber N>
TavNumExprArg TavMax(N c, TavNumExprArg x) {
  return tavdetail::max(x, static_cast<double>(c));
}
template <TavIntegral K>
TavIntExprArg TavMax(TavIntExprArg x, K c) {
  return tavdetail::max(x, static_cast<TavInt>(c));
}
template <TavIntegral K>
TavIntExprArg TavMax(K c, TavIntExprArg x) {
  return tavdetail::max(x, static_cast<TavInt>(c));
}
/// As the forms of TavMin, with "Array of size 0 in evaluation of TavMax" and "Array of size 0 in call to TavMax".
/// Prints "TavMax( " array ") ", or "max(" array ")".
TavNumExprArg TavMax(TavNumExprArray array);
TavIntExprArg TavMax(TavIntExprArray array);
TavNumExprArg TavMax(TavNumVarArray array);
TavIntExprArg TavMax(TavIntVarArray array);
double TavMax(TavNumArray array);
TavInt TavMax(TavIntArray array);

/// The arrays of a scalar product differ in size: "TavScalProd: arrays have different size".
class TavInvalidScalProdArraysException : public TavException {
 public:
  using TavException::TavException;
};

/// The scalar product over variables: a new linear node with one term per position, in array order, nothing merged and
/// zeros kept; integer when both sides are. O(n): one cell each.
/// Throws TavInvalidScalProdArraysException, then TavWrongUsage "TavScalProd: mixing mismatch environments" for a
/// variable of another environment than its array's, TavEmptyHandleException for an empty one; nothing is made then.
TavNumExprArg TavScalProd(TavNumArray coefs, TavNumVarArray variables);
TavNumExprArg TavScalProd(TavNumVarArray variables, TavNumArray coefs);
TavNumExprArg TavScalProd(TavNumArray coefs, TavIntVarArray variables);
TavNumExprArg TavScalProd(TavIntVarArray variables, TavNumArray coefs);
TavNumExprArg TavScalProd(TavIntArray coefs, TavNumVarArray variables);
TavNumExprArg TavScalProd(TavNumVarArray variables, TavIntArray coefs);
TavIntExprArg TavScalProd(TavIntArray coefs, TavIntVarArray variables);
TavIntExprArg TavScalProd(TavIntVarArray variables, TavIntArray coefs);
/// The scalar product over expressions: a new linear node with the products a[i] * b[i] as its parts, also those that
/// are linear because one side is constant. Throws as above.
TavNumExprArg TavScalProd(TavNumExprArray a, TavNumExprArray b);
TavIntExprArg TavScalProd(TavIntExprArray a, TavIntExprArray b);
/// The scalar product of numbers, at once, in index order; integers wrap around. 0 for empty arrays.
double TavScalProd(TavNumArray a, TavNumArray b);
double TavScalProd(TavIntArray a, TavNumArray b);
double TavScalProd(TavNumArray a, TavIntArray b);
TavInt TavScalProd(TavIntArray a, TavIntArray b);

/// The sum of all elements, in order: a new linear node, O(n) in the number of terms. The array's elements stay as they
/// are. 0 for an empty array. Mixed environments: the message of the addition that meets them.
TavNumExprArg TavSum(TavNumExprArray array);
TavNumExprArg TavSum(TavNumVarArray array);
TavIntExprArg TavSum(TavIntExprArray array);
TavIntExprArg TavSum(TavIntVarArray array);
/// The sum of numbers, at once, in index order; integers wrap around.
double TavSum(TavNumArray array);
TavInt TavSum(TavIntArray array);

namespace tavdetail {
TavNumExprArg power(TavNumExprArg base, double exponent);
TavNumExprArg power(double base, TavNumExprArg exponent);
}  // namespace tavdetail

/// x to the power y, by std::pow: a negative base with a fractional exponent gives a not-a-number. Counts as integer
/// when both sides do, negative exponents notwithstanding. Mixed environments: TavWrongUsage "TavPower: mixing mismatch
/// environments". Prints "( " x "^ " y ") ", or x " ^ " y.
TavNumExprArg TavPower(TavNumExprArg x, TavNumExprArg y);
template <TavNumber N>
TavNumExprArg TavPower(TavNumExprArg x, N c) {
  return tavdetail::power(x, static_cast<double>(c));
}
template <TavNumber N>
TavNumExprArg TavPower(N c, TavNumExprArg x) {
  return tavdetail::power(static_cast<double>(c), x);
}

///@{
/// Elementary functions, x in radians where it is an angle. Each evaluates to the standard function of its operand's
/// value, without a domain check: the logarithm of 0 is minus infinity, the arc cosine of 2 a not-a-number.
/// Print "TavSin(" x ") ", or "sin(" x ")" ("cos(", "tan(", "arc-sin(", "arc-cos(", "arc-tan(", "log(", "exp(").
TavNumExprArg TavSin(TavNumExprArg x);
TavNumExprArg TavCos(TavNumExprArg x);
TavNumExprArg TavTan(TavNumExprArg x);
TavNumExprArg TavArcSin(TavNumExprArg x);
TavNumExprArg TavArcCos(TavNumExprArg x);
TavNumExprArg TavArcTan(TavNumExprArg x);
TavNumExprArg TavLog(TavNumExprArg x);
TavNumExprArg TavExponent(TavNumExprArg x);
///@}
///@{
/// TavLog(x) divided by the natural logarithm of 2, of 10.
TavNumExprArg TavLog2(TavNumExprArg x);
TavNumExprArg TavLog10(TavNumExprArg x);
///@}

///@{
/// Roundings. They count as integer when their operand does, but for TavNumToInt, which always does.
/// Up and down: std::ceil, std::floor. Print "TavCeil(" x ") ", or "ceil(" x ")"; "floor(".
TavNumExprArg TavCeil(TavNumExprArg x);
TavNumExprArg TavFloor(TavNumExprArg x);
///@}
/// Toward zero, through a 64-bit integer. Prints "TavTrunc(" x ") ", or "trunc(" x ")".
TavNumExprArg TavTrunc(TavNumExprArg x);
/// The distance to the nearest whole number; the operand is evaluated twice. Prints "TavDistToInt(" x ") ", or
/// "distToInt(" x ")".
TavNumExprArg TavDistToInt(TavNumExprArg x);
/// What is behind the point, with the sign of x: -0.75 for -2.75. Prints "TavFract(" x ") ", or "fract(" x ")".
TavNumExprArg TavFract(TavNumExprArg x);
/// To the nearest whole number, halves to the even one. Prints "TavVurRound(" x ") ", or "round(" x ")".
TavNumExprArg TavVurRound(TavNumExprArg x);
/// The same value as an integer expression; evaluating anything that is not exactly whole throws TavWrongUsage
/// "TavNumToIntI::eval : expr is not IntExpr". Prints "TavNumToInt(" x ") ", or "numToInt(" x ")".
TavIntExprArg TavNumToInt(TavNumExprArg x);

/// The element of an array at the position that `index` evaluates to, cut toward zero: array[index]. The node keeps a
/// copy of the array, in whose environment it is made. No bound is checked: a position outside is undefined.
/// Prints "TavNumArrayIndex(" index ", " array ") " or "nums[" index "]"; "TavIntArrayIndex(" and "ints[",
/// "TavNumExprArrayIndex(" and "num-exprs[", "TavIntExprArrayIndex(" and "int-exprs[" by the array's kind.
TavIntExprArg TavElement(TavIntArray array, TavIntExprArg index);
TavIntExprArg TavElement(TavIntVarArray array, TavIntExprArg index);
TavNumExprArg TavElement(TavNumArray array, TavIntExprArg index);
TavNumExprArg TavElement(TavNumVarArray array, TavIntExprArg index);

/// The piecewise-linear function of x with n breakpoints and n + 1 slopes that takes `anchorValue` at `anchor`. Two
/// equal breakpoints are a jump, whose height is the slope between them. Both arrays are copied; their sizes and order
/// are not checked. An empty handle: TavEmptyHandleException. Prints "piecewiselinear(" x ", " breakpoints ", " slopes
/// ", " anchor ", " anchorValue ")" in both syntaxes.
TavNumExprArg TavPiecewiseLinear(TavNumExprArg x, TavNumArray breakpoints, TavNumArray slopes, double anchor,
                                 double anchorValue);
/// The form by values at the breakpoints, with the slopes outside. The segment is the one that `firstSlope`, taken as a
/// position, falls into, whatever x is. Prints "piecewiselinear(" x ", " firstSlope ", " breakpoints ", " values ", "
/// lastSlope ")".
TavNumExprArg TavPiecewiseLinear(TavNumExprArg x, double firstSlope, TavNumArray breakpoints, TavNumArray values,
                                 double lastSlope);

///@{
/// A client's function of x, declared monotonic; `second` is carried along for algorithms. Neither is checked.
/// Print "TavMonotonicDecreasingNumExpr(" x ")" and "TavMonotonicIncreasingNumExpr(" x ")" in both syntaxes.
TavNumExprArg TavMonotonicDecreasingNumExpr(TavNumExprArg x, double (*function)(double), double (*second)(double));
TavNumExprArg TavMonotonicIncreasingNumExpr(TavNumExprArg x, double (*function)(double), double (*second)(double));
///@}

/// How many expressions take exactly this value. The array is copied. Throws TavArrayError "TavCount: array of size 0"
/// or "TavCount: empty handle in array", TavWrongUsage "TavCount: mixing mismatch Environments".
/// Prints "TavCount( " exprs ", " value ") ", or "count(" exprs ", " value ")".
TavIntExprArg TavCount(TavIntExprArray exprs, TavInt value);

/// The population standard deviation; every expression is evaluated twice. The bounds are carried along for algorithms.
/// The array is copied. Throws as TavCount, with "TavStandardDeviation: " before the texts.
/// Prints "TavStandardDeviation( " exprs ") ", or "stddev(" exprs ")".
TavNumExprArg TavStandardDeviation(TavIntExprArray exprs, double lowerBound, double upperBound);
TavNumExprArg TavStandardDeviation(TavIntExprArray exprs);

#undef TAV_REFUSED
#ifdef __clang__
#pragma clang diagnostic pop
#endif

#pragma GCC visibility pop
