#include "expression/special/element.h"

namespace {

/// The element node in the array's environment, which need not be the index's. `arrayOf` makes the node's own array.
template <class Node, class Array, class ArrayOf>
Node* makeElement(Array array, TavIntExprArg index, ArrayOf arrayOf) {
  TavRequireEnv(index.getImpl());
  if (!array.getImpl()) throw TavEmptyHandleException();
  return TavMakeElement<Node>(array.getImpl()->getEnv(), index.getImpl(), arrayOf(array));
}

/// The same, for an array that the node copies.
template <class Node, class Array>
Node* makeElementOfCopy(Array array, TavIntExprArg index) {
  return makeElement<Node>(array, index, [](Array source) { return TavCopyOfArray(source); });
}

}  // namespace

bool TavNumExprArrayElementI::isInteger() const {
  const TavNumExprArray array = getArray();
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (!TavIsInteger(array[i].getImpl())) return false;
  }
  return true;
}

bool TavNumArrayElementI::isInteger() const {
  const TavNumArray array = getArray();
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (!TavNumIsInteger(array[i])) return false;
  }
  return true;
}

TavNumExprArg TavNumExprArray::operator[](TavIntExprArg index) const {
  return TavNumExprArg(makeElementOfCopy<TavNumExprArrayElementI>(*this, index));
}

TavNumExprArg TavNumVarArray::operator[](TavIntExprArg index) const {
  return TavNumExprArg(makeElement<TavNumExprArrayElementI>(
      *this, index, [](TavNumVarArray variables) { return variables.toNumExprArray(); }));
}

TavIntExprArg TavIntExprArray::operator[](TavIntExprArg index) const {
  return TavIntExprArg(makeElementOfCopy<TavIntExprArrayElementI>(*this, index));
}

TavIntExprArg TavIntVarArray::operator[](TavIntExprArg index) const {
  return TavIntExprArg(makeElement<TavIntExprArrayElementI>(
      *this, index, [](TavIntVarArray variables) { return variables.toIntExprArray(); }));
}

TavIntExprArg TavIntArray::operator[](TavIntExprArg index) const {
  return TavIntExprArg(makeElementOfCopy<TavIntArrayElementI>(*this, index));
}

TavNumExprArg TavNumArray::operator[](TavIntExprArg index) const {
  return TavNumExprArg(makeElementOfCopy<TavNumArrayElementI>(*this, index));
}

TavIntExprArg TavElement(TavIntArray array, TavIntExprArg index) { return array[index]; }
TavIntExprArg TavElement(TavIntVarArray array, TavIntExprArg index) { return array[index]; }
TavNumExprArg TavElement(TavNumArray array, TavIntExprArg index) { return array[index]; }
TavNumExprArg TavElement(TavNumVarArray array, TavIntExprArg index) { return array[index]; }
