#pragma once
/// Class header for authors of algorithms: elements of arrays at a position that an expression gives.

#include <cassert>
#include <ostream>

#include "expression/core/array_family.h"
#include "expression/core/families.h"
#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// array[index]: base of the element nodes. Self defines `kTexts`.
template <class Self, class Base, class Array>
class TavElementI : public TavNested<Self, Base> {
 public:
  /// Takes over a new array, to which no other handle refers.
  TavElementI(TavEnvI* env, TavIntExprI* index, Array array)
      : TavNested<Self, Base>(env, nullptr), _index(index), _array(array) {
    index->retain();
  }

  /// The index.
  TavIntExprI* getIndex() const noexcept { return _index; }
  /// The array, which is the node's own.
  Array getArray() const noexcept { return _array; }
  /// The body of display.
  void write(std::ostream& os) const {
    const TavText& text = Self::kTexts.in(this->getEnv());
    os << text.open;
    _index->display(os);
    if (this->getEnv()->librarySyntaxDisplay) os << text.middle << _array;
    os << text.close;
  }

 protected:
  /// The position that the index gives, cut toward zero. No bound is checked.
  TavInt positionIn(TavAlgorithm algorithm) const {
    const TavInt position = TavTrunc(_index->eval(algorithm));
    assert(position >= 0 && position < _array.getSize() && "an element's index lies outside its array");
    return position;
  }

 private:
  TavIntExprI* _index;
  Array _array;
};

/// A new element node, which owns the fresh array; if construction fails, ends the array.
template <class Node, class Array>
Node* TavMakeElement(TavEnvI* env, TavIntExprI* index, Array array) {
  TavGuard<TavArrayI> guard(array.getImpl());
  Node* node = new (env) Node(env, index, array);
  guard.release();
  return node;
}

/// An element of an array of numbers.
template <class Self, class Base, class Array>
class TavConstElementI : public TavElementI<Self, Base, Array> {
 public:
  using TavElementI<Self, Base, Array>::TavElementI;
  // by contract: the array stays with the environment
  ~TavConstElementI() override { this->getEnv()->release(this->getIndex()); }

  /// The body of eval.
  double value(TavAlgorithm algorithm) const {
    const Array array = this->getArray();
    return static_cast<double>(array[this->positionIn(algorithm)]);
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, this->getIndex());
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    TavIntExprI* index = TavCloneOf(this->getIndex(), this->getEnv());
    return TavMakeElement<Self>(target, index, Array(this->getArray().getImpl()->makeCopy(target->getMemory())));
  }
};

/// An element of an array of expressions. The node has one reference on each of them.
template <class Self, class Base, class Array>
class TavExprElementI : public TavElementI<Self, Base, Array> {
 public:
  /// Takes over a new array, to which no other handle refers, and adds one reference to each element.
  TavExprElementI(TavEnvI* env, TavIntExprI* index, Array array) : TavElementI<Self, Base, Array>(env, index, array) {
    array.lockExprs();
  }
  ~TavExprElementI() override {
    Array array = this->getArray();
    this->getEnv()->release(this->getIndex());
    array.releaseExprs();
    array.end();
  }

  /// The body of eval.
  double value(TavAlgorithm algorithm) const { return this->getArray()[this->positionIn(algorithm)].eval(algorithm); }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, this->getIndex());
    visitor->visitArray(this, this->getArray());
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    TavIntExprI* index = TavCloneOf(this->getIndex(), this->getEnv());
    return TavMakeElement<Self>(target, index, TavCloneOfArray(this->getArray(), target));
  }
};

/// An element of an array of numeric expressions.
class TavNumExprArrayElementI final : public TavExprElementI<TavNumExprArrayElementI, TavNumExprI, TavNumExprArray> {
 public:
  using TavExprElementI::TavExprElementI;
  static constexpr const char* kTypeName = "TavNumExprArrayElementI";
  static constexpr TavTexts kTexts{{"TavNumExprArrayIndex(", ", ", ") "}, {"num-exprs[", "", "]"}};
  /// Whether every element is integer, whatever the index is.
  bool isInteger() const override;
};

/// An element of an array of integer expressions.
class TavIntExprArrayElementI final : public TavExprElementI<TavIntExprArrayElementI, TavIntExprI, TavIntExprArray> {
 public:
  using TavExprElementI::TavExprElementI;
  static constexpr const char* kTypeName = "TavIntExprArrayElementI";
  static constexpr TavTexts kTexts{{"TavIntExprArrayIndex(", ", ", ") "}, {"int-exprs[", "", "]"}};
};

/// An element of an array of doubles.
class TavNumArrayElementI final : public TavConstElementI<TavNumArrayElementI, TavNumExprI, TavNumArray> {
 public:
  using TavConstElementI::TavConstElementI;
  static constexpr const char* kTypeName = "TavNumArrayElementI";
  static constexpr TavTexts kTexts{{"TavNumArrayIndex(", ", ", ") "}, {"nums[", "", "]"}};
  /// Whether every value is whole.
  bool isInteger() const override;
};

/// An element of an array of integers.
class TavIntArrayElementI final : public TavConstElementI<TavIntArrayElementI, TavIntExprI, TavIntArray> {
 public:
  using TavConstElementI::TavConstElementI;
  static constexpr const char* kTypeName = "TavIntArrayElementI";
  static constexpr TavTexts kTexts{{"TavIntArrayIndex(", ", ", ") "}, {"ints[", "", "]"}};
};

static_assert(sizeof(TavNumExprArrayElementI) == 56 && sizeof(TavIntArrayElementI) == 56);

#pragma GCC visibility pop
