#include "host/array.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "host/column.h"
#include "host/environment.h"

// Both delegate to a complete constructor, so that the destructor frees the blocks when a later allocation fails.
TavArrayI::TavArrayI(TavGenAlloc* memory, TavInt size) : TavArrayI(memory, Empty()) {
  reserve(size);
  for (; _size < size; ++_size) set<TavInt>(_size, 0);
}

TavArrayI::TavArrayI(TavGenAlloc* memory, TavArrayI* source) : TavArrayI(memory, Empty()) { addArray(source); }

TavArrayI::~TavArrayI() {
  const TavInt blocks = (_capacity + kBlock - 1) >> kShift;
  const TavInt words = std::min(_capacity, kBlock);
  for (TavInt b = 0; b < blocks; ++b) {
    getMemory()->resizeStorage(_blockTable[b], static_cast<std::size_t>(words) * sizeof(Word), 0);
  }
  if (_blockTable != &_firstBlock) {
    getMemory()->resizeStorage(_blockTable, static_cast<std::size_t>(_tableSize) * sizeof(void*), 0);
  }
}

void TavArrayI::growTable(TavInt blocks) {
  if (blocks <= _tableSize) return;
  const TavInt size = std::max(blocks, 2 * _tableSize);
  const bool own = _blockTable != &_firstBlock;
  void* table = getMemory()->resizeStorage(own ? _blockTable : nullptr,
                                           own ? static_cast<std::size_t>(_tableSize) * sizeof(void*) : 0,
                                           static_cast<std::size_t>(size) * sizeof(void*));
  _blockTable = static_cast<void**>(table);
  if (!own) _blockTable[0] = _firstBlock;
  _tableSize = size;
}

void TavArrayI::reserve(TavInt size) {
  if (size <= _capacity) return;
  if (_capacity < kBlock) {  // the first block grows geometrically up to its full size
    TavInt words = std::max<TavInt>(_capacity, 4);
    while (words < std::min(size, kBlock)) words *= 2;
    _blockTable[0] = getMemory()->resizeStorage(_blockTable[0], static_cast<std::size_t>(_capacity) * sizeof(Word),
                                                static_cast<std::size_t>(words) * sizeof(Word));
    _capacity = words;
  }
  for (; _capacity < size; _capacity += kBlock) {
    const TavInt block = _capacity >> kShift;
    growTable(block + 1);
    _blockTable[block] = getMemory()->resizeStorage(nullptr, 0, static_cast<std::size_t>(kBlock) * sizeof(Word));
  }
}

void TavArrayI::add(const void* word) {
  Word copy;
  std::memcpy(&copy, word, sizeof copy);  // `word` may lie in the block that moves
  if (_size == _capacity) reserve(_size + 1);
  set(_size++, copy);
}

void TavArrayI::addArray(TavArrayI* other) {
  const TavInt count = other->_size;
  reserve(_size + count);
  for (TavInt i = 0; i < count;) {
    const TavInt run = std::min({count - i, kBlock - (i & _indexMask), kBlock - (_size & _indexMask)});
    std::memcpy(at(_size), other->at(i), static_cast<std::size_t>(run) * sizeof(Word));
    _size += run;
    i += run;
  }
}

void TavArrayI::remove(TavInt first, TavInt count) {
  for (TavInt i = first + count; i < _size; ++i) set(i - count, get<Word>(i));
  _size -= count;
}

template <TavArrayElement T>
TavArray<T>::TavArray(TavEnv env, TavInt size) {
  TavGenAlloc* memory = env.getImpl()->getMemory();
  _impl = new (memory) TavArrayI(memory, size);
}

// g++ gives an instance of a function template the visibility of its definition.
#pragma GCC visibility push(default)
template <TavArrayElement T>
std::ostream& operator<<(std::ostream& os, const TavArray<T>& array) {
  os << "[";
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (i > 0) os << (i % 10 == 0 ? ",\n" : ", ");
    os << array[i];
  }
  return os << "]";
}

template class TavArray<double>;
template class TavArray<TavInt>;
template class TavArray<TavAny>;
template class TavArray<TavExtractable>;
template class TavArray<TavAddNumVar>;
template std::ostream& operator<<(std::ostream&, const TavArray<double>&);
template std::ostream& operator<<(std::ostream&, const TavArray<TavInt>&);
template std::ostream& operator<<(std::ostream&, const TavArray<TavAny>&);
template std::ostream& operator<<(std::ostream&, const TavArray<TavExtractable>&);
#pragma GCC visibility pop

TavIntArray::TavIntArray(TavEnv env, std::initializer_list<TavInt> numbers)
    : TavIntArray(env, std::span(numbers.begin(), numbers.size())) {}

TavIntArray::TavIntArray(TavEnv env, std::span<const TavInt> numbers)
    : TavArray(env, static_cast<TavInt>(numbers.size())) {
  std::copy(numbers.begin(), numbers.end(), begin(*this));
}

TavIntArray::TavIntArray(TavEnv env, TavInt n, TavInt number) : TavArray(env, std::max<TavInt>(n, 0)) {
  std::fill(begin(*this), ::end(*this), number);
}

TavNumArray::TavNumArray(TavEnv env, std::initializer_list<double> numbers)
    : TavNumArray(env, std::span(numbers.begin(), numbers.size())) {}

TavNumArray::TavNumArray(TavEnv env, std::span<const double> numbers)
    : TavArray(env, static_cast<TavInt>(numbers.size())) {
  std::copy(numbers.begin(), numbers.end(), begin(*this));
}

TavNumArray::TavNumArray(TavEnv env, TavInt n, double number) : TavArray(env, std::max<TavInt>(n, 0)) {
  std::fill(begin(*this), ::end(*this), number);
}

TavNumArray TavIntArray::toNumArray() const {
  TavNumArray numbers(getEnv(), getSize());
  for (TavInt i = 0; i < getSize(); ++i) numbers.set(i, static_cast<double>((*this)[i]));
  return numbers;
}

void TavExtractableArray::endElements() {
  std::vector<TavExtractableI*> batch;
  batch.reserve(static_cast<std::size_t>(getSize()));  // nothing below allocates
  TavFirstFailure failure;
  for (TavInt i = 0; i < getSize(); ++i) {
    TavExtractableI* element = (*this)[i].getImpl();
    if (!element) continue;
    if (element->isRefCountedExpr()) {
      failure.attempt([element] { element->end(); });
    } else {
      batch.push_back(element);
    }
  }
  failure.attempt([&batch] { TavEnvI::removeAcrossEnvs(batch.data(), batch.data() + batch.size()); });
  failure.rethrow();
}

void TavExtractableArray::removeMarked(TavEnvI* env) {
  TavInt kept = 0;
  for (TavInt i = 0; i < getSize(); ++i) {
    const TavExtractable element = (*this)[i];
    if (!element.getImpl() || !env->isRemoved(element.getImpl())) set(kept++, element);
  }
  remove(kept, getSize() - kept);
}

void TavExtractableArray::replaceByClone(TavEnvI* env) {
  TavExtractableArray clones(TavEnv(env), getSize());
  for (TavInt i = 0; i < getSize(); ++i) clones.set(i, TavExtractable(env->getClone((*this)[i].getImpl())));
  *this = clones;
}
