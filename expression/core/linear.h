#pragma once
/// Class header for authors of algorithms: the common base of the numeric and the integer linear node.

#include <limits>
#include <vector>

#include "expression/core/guards.h"
#include "expression/core/num_var.h"
#include "expression/core/text_writer.h"

#pragma GCC visibility push(default)

/// The record of one term that a sum of class Linear has gained, changed or lost.
template <class Self, class Linear>
class TavTermChange : public TavChangeRecord<Self> {
 public:
  /// The term of `var` in `linear`.
  TavTermChange(Linear* linear, TavNumVarI* var) noexcept : TavChangeRecord<Self>(linear), _linear(linear), _var(var) {}

  /// The sum.
  Linear* getLinear() const noexcept { return _linear; }
  /// The variable of the term.
  TavNumVarI* getVar() const noexcept { return _var; }
  /// Visits the variable.
  void visitChange(TavEnvI*, TavExtractableI* object, TavChangeVisitor* visitor) const override {
    visitor->visitChild(object, _var);
  }

 private:
  Linear* _linear;
  TavNumVarI* _var;
};

/// constant + sum of coefficient * variable + sum of parts. Self is the node class, Constant its constant's type, Part
/// the class of its parts, RemoveVar the record of a removed variable. Calls Self::termsChanged() for every added cell.
template <class Self, class Base, class Constant, class Part, class RemoveVar>
class TavLinearI : public TavNode<Self, Base> {
 public:
  /// A sum of this constant alone.
  TavLinearI(TavEnvI* env, Constant constant) : TavNode<Self, Base>(env, nullptr, Self::kKind), _constant(constant) {}
  ~TavLinearI() override {
    TavFirstFailure ignored;  // the outermost removal rethrows it
    drop(ignored);
  }

  /// The first cell of the terms, null without terms.
  const TavNumLinExprTermI* getFirstTerm() const noexcept { return _terms.first; }
  /// The first cell of the parts, null without parts.
  const TavPart* getFirstPart() const noexcept { return _parts.first; }
  /// The constant.
  Constant getConstant() const noexcept { return _constant; }
  /// Replaces the constant; reports nothing.
  void setConstant(Constant constant) noexcept { _constant = constant; }
  double getNumConstant() const override { return static_cast<double>(_constant); }
  /// No terms and no parts.
  bool isConstant() const noexcept { return !_terms.first && !_parts.first; }

  /// Drops everything; the cells are recycled in one splice.
  void clear() {
    TavFirstFailure failure;
    drop(failure);
    _constant = 0;
    self()->termsChanged();
    failure.rethrow();
  }
  /// Takes over a cell that is in no list, behind the others.
  void append(TavNumLinExprTermI* cell) noexcept {
    assert(cell->var->getEnv() == this->getEnv() && "a variable of another environment got past the checks");
    _terms.append(cell);
    self()->termsChanged();
  }
  /// Takes over a cell that is in no list, before the others.
  void prepend(TavNumLinExprTermI* cell) noexcept {
    assert(cell->var->getEnv() == this->getEnv() && "a variable of another environment got past the checks");
    _terms.prepend(cell);
    self()->termsChanged();
  }
  /// Takes over cells that are in no list, behind the others.
  void append(TavGuardedCells<TavNumLinExprTermI>& cells) noexcept {
    cells.giveTo(_terms);
    self()->termsChanged();
  }
  /// Adds one reference; the expression becomes a part whatever it is, a linear one too.
  void append(Part* expr) { append(TavMakePart(this->getEnv(), expr).release()); }
  void append(TavPart* part) noexcept {
    _parts.append(part);
    assert(TavMayHold(this->getEnv(), part->expr) && "a part of another environment got past the checks");
    part->expr->retain();
  }
  /// Takes over the terms, parts and constant of `other` and ends it: an uncounted one is destroyed.
  void append(Self* other);
  /// Drops the first term of the variable, if there is one.
  void remove(TavNumVarI* var) noexcept;
  /// Drops the terms and parts of the listed objects, at most as many as the array is long.
  void remove(TavExtractableArray objects);
  /// Drops the terms and parts whose object is marked removed in the environment; references are not released.
  void removeMarked() noexcept;

  double eval(TavAlgorithm algorithm) const override;
  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// A new sum over the clones of parts and variables that `target` has registered. Throws TavEmptyHandleException for
  /// one without a clone; a term of coefficient 0 is left out instead, unless the current pass clones its variable on
  /// demand.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// Drops the terms and parts that are marked removed. With the environment's `oneByOneRemoval` it drops the first
  /// term of `removed` instead when that is a variable, and reports it.
  void atRemove(TavExtractableI* removed, void* data) override;
  void display(std::ostream& os) const override;
  /// Writes one term in the plain syntax; returns false, and writes nothing, for a coefficient of 0.
  virtual bool displayTerm(std::ostream& os, TavNumLinExprTermI* term) const;

 protected:
  /// This node as its own class.
  Self* self() noexcept { return static_cast<Self*>(this); }
  /// The expression of a part.
  Part* partOf(const TavPart* part) const noexcept { return static_cast<Part*>(part->expr); }
  /// Fills this new node with the terms and parts of another one, whose class may differ.
  template <class Linear>
  void copyFrom(const Linear& other);
  /// Replaces every part p by make(p). All new parts are made before the first is replaced. Returns the exception of a
  /// hook when an old part is destroyed, for the caller to rethrow at its end.
  template <class Make>
  TavFirstFailure replaceParts(Make make);

  /// The terms in their order.
  TavTermList _terms;
  /// The constant.
  Constant _constant;
  /// The parts in their order.
  TavPartList _parts;

 private:
  /// Releases all parts and recycles all cells.
  void drop(TavFirstFailure& failure) noexcept;
  void dropParts(TavPartList parts, TavFirstFailure& failure) noexcept;
  void freePart(TavPart* part) noexcept { this->getEnv()->getMemory()->dealloc(part, sizeof *part); }
  /// Drops the cells for which `isDropped` is true, at most `left` of them.
  template <class Cell, class IsDropped, class Drop>
  static void sweep(TavCellList<Cell>& list, TavInt& left, IsDropped isDropped, Drop drop);
  double evalParts(TavAlgorithm algorithm) const;
  void writePlain(TavTextWriter& out) const;
  void writeLibrary(TavTextWriter& out) const;
  static bool writeTerm(TavTextWriter& out, const TavNumLinExprTermI& term);
  static void writeVar(TavTextWriter& out, const TavNumVarI& var);
};

/// Marks the objects of an array removed during its lifetime.
class TavRemovalMarks {
 public:
  /// Marks every element of `objects` in `env`.
  TavRemovalMarks(TavEnvI* env, TavExtractableArray objects);
  TavRemovalMarks(const TavRemovalMarks&) = delete;
  TavRemovalMarks& operator=(const TavRemovalMarks&) = delete;
  ~TavRemovalMarks() { _env->restoreMarks(_count); }

 private:
  TavEnvI* _env;
  std::size_t _count;
};

/// Whether the array contains the object. For parts that are in another environment than their sum, which is rare.
bool TavContains(TavExtractableArray objects, const TavExtractableI* object) noexcept;

///@{
/// The product or quotient of a part of a sum in `env` with a number, as of operator* and operator/. A new node is in
/// `env` even if the part, a constraint, is not. Defined with the products.
TavNumExprI* TavTimes(TavEnvI* env, TavNumExprI* part, double factor);
TavIntExprI* TavTimes(TavEnvI* env, TavIntExprI* part, TavInt factor);
TavNumExprI* TavOver(TavEnvI* env, TavNumExprI* part, double divisor);
///@}

#pragma GCC visibility pop

#include "expression/core/linear_bodies.h"
