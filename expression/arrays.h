#pragma once
/// Arrays of variables and of expressions.

#include <initializer_list>
#include <type_traits>

#include "expression/handles.h"

#pragma GCC visibility push(default)

/// The families of arrays whose elements are listed one by one; each has its messages.
enum class TavListOf { NumVar, IntVar, BoolVar, SemiContVar, Constraint };
/// An array of the k elements. Throws TavWrongUsage with the family's message for k elements when n differs from k.
TavArrayI* TavMakeList(TavListOf family, TavEnv env, TavInt n, const void* const* elements, TavInt k);

/// Array of model objects of one kind, read and written as Handle. Elements are uncounted and may be empty. `Impl` is
/// the handle's implementation class.
template <class Handle, class Impl>
class TavHandleArray : public TavExtractableArray {
 public:
  using TavExtractableArray::TavExtractableArray;
  /// The type of an element.
  using Element = Handle;

  TavHandleArray() noexcept = default;
  /// A new array of these elements.
  TavHandleArray(TavEnv env, std::initializer_list<Handle> elements)
      : TavExtractableArray(env, static_cast<TavInt>(elements.size())) {
    TavInt i = 0;
    for (const Handle& element : elements) set(i++, element);
  }

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

 protected:
  /// A new array of the elements. Throws TavWrongUsage with the family's message when n is not their number.
  template <class... E>
  static TavArrayI* listOf(TavListOf family, TavEnv env, TavInt n, const E&... elements) {
    const void* const impls[] = {Handle(elements).getImpl()...};
    return TavMakeList(family, env, n, impls, sizeof...(E));
  }
};

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
  ///@{
  /// The same with names: "x_0", "x_1" and so on for the name "x", or the listed ones, one for each variable.
  TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, TavNameArg name);
  TavNumVarArray(TavEnv env, TavInt n, double lb, double ub, Type type, TavNameArg name);
  TavNumVarArray(TavEnv env, std::initializer_list<TavNameArg> names, double lb, double ub,
                 Type type = TavNumVar::Float);
  ///@}
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
      : TavHandleArray(listOf(TavListOf::NumVar, env, n, elements...)) {}

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

  /// n new unnamed variables; n of 0 or less gives an empty array. Floating-point bounds do not compile.
  TavIntVarArray(TavEnv env, TavInt n, TavIntArg lb, TavIntArg ub);
  ///@{
  /// The same with names: "x_0", "x_1" and so on for the name "x", or the listed ones, one for each variable.
  TavIntVarArray(TavEnv env, TavInt n, TavIntArg lb, TavIntArg ub, TavNameArg name);
  TavIntVarArray(TavEnv env, std::initializer_list<TavNameArg> names, TavIntArg lb, TavIntArg ub);
  ///@}
  /// One new variable per element of the first array given, `ubs` being at least as long as `lbs`. An empty array
  /// handle: TavEmptyHandleException.
  TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArray ubs);
  TavIntVarArray(TavEnv env, TavIntArg lb, TavIntArray ubs);
  TavIntVarArray(TavEnv env, TavIntArray lbs, TavIntArg ub);
  /// One new variable per non-empty column, installed into it, with bounds [0, kMaxInt], or with the given ones cut
  /// toward zero; an empty element per empty column. An empty array handle: TavEmptyHandleException.
  TavIntVarArray(TavEnv env, TavNumColumnArray columns);
  TavIntVarArray(TavEnv env, TavNumColumnArray columns, TavNumArray lbs, TavNumArray ubs);
  /// The listed variables, one to ten. Throws TavWrongUsage "TavIntVarArray::TavIntVarArray: n !=2" when n is not their
  /// number.
  template <class... E>
  requires TavElementsOf<TavIntVar, E...> TavIntVarArray(TavEnv env, TavInt n, E... elements)
      : TavHandleArray(listOf(TavListOf::IntVar, env, n, elements...)) {}

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
  /// The type of an element.
  using Element = TavBoolVar;

  TavBoolVarArray() noexcept = default;
  explicit TavBoolVarArray(TavArrayI* impl) noexcept : TavIntVarArray(impl) {}
  /// A new array of `size` empty elements.
  explicit TavBoolVarArray(TavEnv env, TavInt size = 0) : TavIntVarArray(env, size) {}
  /// A new array of these elements.
  TavBoolVarArray(TavEnv env, std::initializer_list<TavBoolVar> elements);
  ///@{
  /// New variables with bounds [0, 1] and names: "x_0", "x_1" and so on for the name "x", or the listed ones.
  TavBoolVarArray(TavEnv env, TavInt n, TavNameArg name);
  TavBoolVarArray(TavEnv env, std::initializer_list<TavNameArg> names);
  ///@}
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
      : TavIntVarArray(listOf(TavListOf::BoolVar, env, n, elements...)) {}

  using TavIntVarArray::operator[];
  /// The element at position i, counted from 0; nothing checks i.
  TavBoolVar operator[](TavInt i) const noexcept { return TavBoolVar(_impl->get<TavNumVarI*>(i)); }
  /// As on TavIntExprArray.
  TavBoolVarArray getClone(TavEnvI* env) const;
};

/// Array of semi-continuous variables.
class TavSemiContVarArray : public TavHandleArray<TavSemiContVar, TavSemiContVarI> {
 public:
  using TavHandleArray::TavHandleArray;
  using Type = TavNumVar::Type;

  /// n new variables with the same threshold and upper bound.
  TavSemiContVarArray(TavEnv env, TavInt n, double sclb, double ub, Type type = TavNumVar::Float);
  /// The same with names: "x_0", "x_1" and so on for the name "x".
  TavSemiContVarArray(TavEnv env, TavInt n, double sclb, double ub, Type type, TavNameArg name);
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
      : TavHandleArray(listOf(TavListOf::SemiContVar, env, n, elements...)) {}

  /// The same array, shared, as one of variables: for sums, scalar products and whatever else takes variables.
  operator TavNumVarArray() const noexcept { return TavNumVarArray(_impl); }
  ///@{
  /// New arrays of the same variables.
  TavNumVarArray toNumVarArray() const;
  TavNumExprArray toNumExprArray() const;
  ///@}
};

#pragma GCC visibility pop
