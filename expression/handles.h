#pragma once
/// Terms and counted handles; clones, text and hashes of handles.

#include <cstddef>
#include <iterator>
#include <string>

#include "expression/refused.h"
#include "expression/variables.h"

#pragma GCC visibility push(default)

class TavNumLinTermI;
class TavNumVarArray;

/// One term: the result of `variable * number`. Single use: its cell belongs to the first expression that takes it.
class TavNumLinExprTerm {
 public:
  /// An empty handle: an operator throws TavEmptyHandleException for it.
  TavNumLinExprTerm() noexcept = default;
  /// A handle on this loose cell.
  explicit TavNumLinExprTerm(TavNumLinExprTermI* cell) noexcept : _cell(cell) {}

  /// The cell.
  TavNumLinExprTermI* getImpl() const noexcept { return _cell; }
  /// The variable. Call it before an expression takes the term.
  TavNumVar getVar() const noexcept { return TavNumVar(_cell->var); }
  /// The coefficient. Call it before an expression takes the term.
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
  /// The variable. Call it before an expression takes the term.
  TavIntVar getVar() const noexcept { return TavIntVar(_cell->var); }
  /// The coefficient. Call it before an expression takes the term.
  double getCoef() const noexcept { return _cell->coef; }
  /// A new integer linear node of this one term. Throws TavEmptyHandleException.
  operator TavIntExprArg() const;
  /// Whether the handle names a term.
  explicit operator bool() const noexcept { return _cell != nullptr; }

 private:
  TavNumLinExprTermI* _cell = nullptr;
};

/// Any numeric expression, counted: construction from an argument handle, a term or a constant adds one reference,
/// end() gives it back. Copying the handle and letting it go out of scope change no count.
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
    /// Writes "Expression ", the expression, " is non linear, setting or querying the constant part is forbidden".
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
  /// The constraint as an expression of its truth.
  TavNumExpr(const TavConstraint& constraint);

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
  /// Replace the expression by the result of the free operator; an unshared linear node is extended in place. The first
  /// two throw TavWrongUsage "TavNumExpr& TavNumExpr::operator += const TavNumExprArg arg : mixing mismatch
  /// Environments" (-= alike). A failure leaves the handle unchanged.
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

  /// Gives the reference back and empties the handle. The node is destroyed with its last reference; a variable stays.
  /// Leaves an empty handle unchanged.
  void end();
  operator TavExtractable() const noexcept { return TavExtractable(TavImplCast<TavExtractableI>(_impl)); }
  explicit operator bool() const noexcept { return _impl != nullptr; }

 protected:
  TavNumExprI* _impl = nullptr;
};

/// A linear sum, counted: terms, a constant, and other expressions as summands, its parts. Its operations change the
/// node in place and copy it first only when another holder shares it, so that `e += c * x` is O(1) where
/// `e = e + c * x` is O(n). Assigning a new expression neither ends nor counts down the old node: call end() before.
class TavExpr : public TavNumExpr {
 public:
  /// Walks the terms as they stand: a variable may come more than once.
  class LinearIterator {
   public:
    /// An iterator at the end.
    LinearIterator() noexcept = default;
    /// An iterator at this cell; null for the end.
    explicit LinearIterator(const TavNumLinExprTermI* cell) noexcept : _cell(cell) {}
    /// Whether there is a term; false at the end.
    bool ok() const noexcept { return _cell != nullptr; }
    /// The same as ok().
    explicit operator bool() const noexcept { return ok(); }
    /// The variable of the current term.
    TavNumVar getVar() const noexcept { return TavNumVar(_cell->var); }
    /// The coefficient of the current term.
    double getCoef() const noexcept { return _cell->coef; }
    /// Moves to the next term.
    LinearIterator& operator++() noexcept {
      _cell = _cell->next;
      return *this;
    }

   private:
    const TavNumLinExprTermI* _cell = nullptr;
  };

  /// One term, as the range of terms gives it.
  struct Term {
    TavNumVar variable;  ///< Never empty.
    double coef;         ///< Its coefficient.
  };
  /// The terms as a range, for `for (const auto [variable, coef] : e.terms())`. It is valid until the sum changes.
  class Terms;

  TavExpr() noexcept = default;
  /// A new sum with this constant and no terms.
  explicit TavExpr(TavEnv env, double constant = 0.0) : TavNumExpr(env, constant) {}
  /// Takes over a linear node that has no references, otherwise a copy of it. An expression that is not linear becomes
  /// the one part of a new sum.
  TavExpr(TavNumExprArg expression);
  /// The same for a counted expression.
  TavExpr(const TavNumExpr& expression) : TavExpr(TavNumExprArg(expression.getImpl())) {}
  /// A new sum of this one term.
  TavExpr(TavNumLinExprTerm term) : TavNumExpr(term) {}
  TavExpr(TavIntLinExprTerm term) : TavNumExpr(term) {}
  /// A new sum whose one part is the constraint.
  TavExpr(const TavConstraint& constraint);
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
  /// Multiply or divide every coefficient, every part and the constant, O(n); 0 and 1 are not special. A coefficient
  /// that becomes 0 clears the sum's mark of being normalised: the next normalisation drops the term, and setting that
  /// coefficient again is reported as an added variable.
  TavExpr& operator*=(double factor);
  TavExpr& operator/=(double divisor);
  ///@}

  /// Drops all terms and parts; the constant becomes 0. O(1) in the number of terms.
  void clear();
  /// Sets the constant. Throws NonLinearExpression when the sum has parts; a shared node then stays shared.
  void setNumConstant(double constant);
  /// Sets one coefficient and reports the modification (TavNumLinTermAddVar, TavNumLinTermRemoveVar); returns the old
  /// one, 0 when the variable was absent. Normalises, then searches: O(n). On a shared node a private copy is edited,
  /// which no algorithm has extracted; to edit an extracted node use the node's setCoef.
  double setLinearCoef(TavNumVar variable, double coef);
  /// Sets many coefficients in O(n + m), reporting zero crossings only. `coefs` is at least as long as `variables`.
  /// Throws TavEmptyHandleException on an empty array or element.
  void setLinearCoefs(TavNumVarArray variables, TavNumArray coefs);
  /// Drop the terms and parts of the given objects in one sweep that ends after as many hits as the array is long. The
  /// sum's references to the parts that it drops are given back.
  void remove(TavNumVarArray variables);
  void remove(TavExtractableArray objects);
  /// Merges the terms of each variable into its last one and drops zeros, O(n). True when nothing had to be merged.
  /// Throws TavEmptyHandleException.
  bool normalize();
  /// True. Throws TavEmptyHandleException.
  bool isNormalized() const;
  /// A new handle on a copy; parts are shared.
  TavExpr copy() const;
  /// An iterator at the first term. It is valid until the sum changes. Throws TavEmptyHandleException.
  LinearIterator getLinearIterator() const;
  /// The terms as a range. Throws TavEmptyHandleException.
  Terms terms() const;
};

/// The terms of a sum as a range: see TavExpr::terms.
class TavExpr::Terms {
 public:
  /// An iterator of the range, a forward one.
  class Iterator {
   public:
    ///@{
    /// The types that the standard library requires of an iterator.
    using value_type = Term;
    using difference_type = std::ptrdiff_t;
    using iterator_concept = std::forward_iterator_tag;
    using iterator_category = std::input_iterator_tag;
    using reference = Term;
    using pointer = void;
    ///@}

    /// An iterator at the end.
    Iterator() noexcept = default;
    /// An iterator at this cell; null for the end.
    explicit Iterator(const TavNumLinExprTermI* cell) noexcept : _cell(cell) {}
    /// The current term.
    Term operator*() const noexcept { return {TavNumVar(_cell->var), _cell->coef}; }
    ///@{
    /// Move to the next term.
    Iterator& operator++() noexcept {
      _cell = _cell->next;
      return *this;
    }
    Iterator operator++(int) noexcept {
      const Iterator before = *this;
      ++*this;
      return before;
    }
    ///@}
    /// Whether both stand on the same term, or at the end.
    friend bool operator==(Iterator, Iterator) noexcept = default;

   private:
    const TavNumLinExprTermI* _cell = nullptr;
  };

  /// The range that starts with this cell.
  explicit Terms(const TavNumLinExprTermI* first) noexcept : _first(first) {}
  ///@{
  /// The range's ends.
  Iterator begin() const noexcept { return Iterator(_first); }
  Iterator end() const noexcept { return Iterator(); }
  ///@}
  /// Whether there are no terms.
  bool empty() const noexcept { return !_first; }
  /// The number of terms. O(n).
  std::size_t size() const noexcept { return static_cast<std::size_t>(std::distance(begin(), end())); }

 private:
  const TavNumLinExprTermI* _first;
};

/// An integer expression, counted.
class TavIntExpr : public TavNumExpr {
 public:
  TavIntExpr() noexcept = default;
  /// Shares the node and adds one reference.
  TavIntExpr(TavIntExprArg expression) : TavNumExpr(static_cast<TavNumExprArg>(expression)) {}
  /// A new integer linear node of this one term.
  TavIntExpr(TavIntLinExprTerm term);
  /// The constraint as an expression of its truth.
  TavIntExpr(const TavConstraint& constraint);
  /// A new integer linear node with this constant.
  explicit TavIntExpr(TavEnv env, TavInt constant = 0);
  /// Names the node without counting it.
  explicit TavIntExpr(TavIntExprI* impl) noexcept : TavNumExpr(TavImplCast<TavNumExprI>(impl)) {}

  TavIntExprI* getImpl() const noexcept { return TavImplCast<TavIntExprI>(_impl); }
  operator TavIntExprArg() const noexcept { return TavIntExprArg(getImpl()); }

  ///@{
  /// Replace the expression by the result of the free operator, whose message they throw. A failure leaves the handle
  /// unchanged.
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

/// A handle of the same kind on the clone of what `original` names, made by the pass with all that it reaches; an empty
/// handle for an empty one. A counted handle counts the clone. Throws what TavClonePass::clone throws.
template <std::convertible_to<TavExtractable> Handle>
Handle TavClone(const Handle& original, TavClonePass& pass) {
  auto* clone = pass.clone(static_cast<TavExtractable>(original).getImpl());
  if constexpr (std::derived_from<Handle, TavNumExpr>) {
    static_cast<void>(TavNumExpr(TavNumExprArg(TavImplCast<TavNumExprI>(clone))));  // adds the reference
  }
  return Handle(TavImplCast<std::remove_pointer_t<decltype(original.getImpl())>>(clone));
}
/// The same in a pass of its own into `target`. Objects that several roots share are cloned once in each pass: to keep
/// them shared, clone all the roots in one pass.
template <std::convertible_to<TavExtractable> Handle>
Handle TavClone(const Handle& original, TavEnv target) {
  if (!original.getImpl()) return Handle();
  TavClonePass pass(static_cast<TavExtractable>(original).getEnv().getImpl(), target.getImpl());
  return TavClone(original, pass);
}

/// What a default stream prints for an expression, a variable or a constraint; an empty string for an empty handle.
std::string TavToString(TavExtractable object);

/// Hashes a handle by the object that it names. With TavHandleEqual it makes handles keys:
/// `std::unordered_map<TavNumVar, double, TavHandleHash, TavHandleEqual>`. A key does not keep its object alive.
struct TavHandleHash {
  /// The hash of the object's address.
  template <class Handle>
  std::size_t operator()(const Handle& handle) const noexcept {
    return std::hash<const void*>()(handle.getImpl());
  }
};

/// Whether two handles name the same object, or none. (`x == y` is left to layers that make constraints of it.)
struct TavHandleEqual {
  /// Compares the objects' addresses.
  template <class Handle>
  bool operator()(const Handle& a, const Handle& b) const noexcept {
    return a.getImpl() == b.getImpl();
  }
};

/// Throws TavEmptyHandleException for null and TavNumExpr::NonLinearExpression unless the node is a linear one without
/// parts.
void TavTestIsLinear(TavNumExprI* node);

#pragma GCC visibility pop
