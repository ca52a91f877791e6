#pragma once
/// Arrays: 8-byte words in fixed-size blocks behind one-pointer handles.

#include <concepts>
#include <cstring>
#include <iosfwd>
#include <type_traits>

#include "host/extractable.h"
#include "host/memory.h"

#pragma GCC visibility push(default)

class TavAddNumVar;
class TavIntExprArg;
class TavNumArray;
class TavNumExprArg;

/// The implementation behind every array handle. Element i lies in block i >> blockShift at position i & indexMask.
/// Nothing checks an index. Appending is O(1) amortised; elements keep their place for good once the array has more
/// than one block.
class TavArrayI final : public TavMemoryManagerObjectI {
 public:
  /// `size` words, all zero bits.
  explicit TavArrayI(TavGenAlloc* memory, TavInt size = 0);
  /// A copy of `source`.
  TavArrayI(TavGenAlloc* memory, TavArrayI* source);

  /// The number of elements.
  TavInt getSize() const noexcept { return _size; }
  /// The word at position i, counted from 0.
  void* at(TavInt i) const noexcept { return static_cast<Word*>(_blockTable[i >> _blockShift]) + (i & _indexMask); }
  /// The word at position i, as a T.
  template <class T>
  T get(TavInt i) const noexcept {
    static_assert(sizeof(T) == sizeof(Word) && std::is_trivially_copyable_v<T>, "an element is one plain word");
    T value;
    std::memcpy(&value, at(i), sizeof value);
    return value;
  }
  /// Replaces the word at position i.
  template <class T>
  void set(TavInt i, T value) noexcept {
    static_assert(sizeof(T) == sizeof(Word) && std::is_trivially_copyable_v<T>, "an element is one plain word");
    std::memcpy(at(i), &value, sizeof value);
  }
  /// Makes room for `size` elements; throws std::bad_alloc and is then unchanged.
  void reserve(TavInt size);
  /// Appends the word that `word` points to.
  void add(const void* word);
  /// Appends all elements of `other`, which may be this array.
  void addArray(TavArrayI* other);
  /// Drops `count` elements from position `first` on; the rest moves up.
  void remove(TavInt first, TavInt count);

 private:
  template <class T>
  friend class TavArrayReader;
  using Word = std::uint64_t;
  static constexpr TavInt kShift = 10;
  static constexpr TavInt kBlock = TavInt{1} << kShift;

  struct Empty {};
  TavArrayI(TavGenAlloc* memory, Empty) noexcept : TavMemoryManagerObjectI(memory) {}
  ~TavArrayI() override;
  void growTable(TavInt blocks);

  TavInt _size = 0;
  TavInt _indexMask = kBlock - 1;
  TavInt _blockShift = kShift;
  void** _blockTable = &_firstBlock;
  TavInt _tableSize = 1;
  TavInt _capacity = 0;
  void* _firstBlock = nullptr;
};

/// Reads the elements of an array in order, as words of type T, faster than by their positions. The array must not
/// change meanwhile.
template <class T>
class TavArrayReader {
 public:
  /// Stands before the first element; null for none.
  explicit TavArrayReader(const TavArrayI* array) noexcept : _array(array) {}

  /// The next element; there must be one.
  T next() noexcept {
    if (_word == _blockEnd) {
      _word = static_cast<const std::byte*>(_array->at(_blockStart));
      _blockStart += TavArrayI::kBlock;
      _blockEnd = _word + TavArrayI::kBlock * sizeof(T);
    }
    T value;
    std::memcpy(&value, _word, sizeof value);
    _word += sizeof value;
    return value;
  }

 private:
  const TavArrayI* _array;
  const std::byte* _word = nullptr;
  const std::byte* _blockEnd = nullptr;
  TavInt _blockStart = 0;
};

/// The types of which arrays are made; the arrays of variables and of expressions are arrays of TavExtractable.
template <class T>
concept TavArrayElement = std::same_as<T, TavInt> || std::same_as<T, TavNum> || std::same_as<T, TavAny> ||
    std::same_as<T, TavExtractable> || std::same_as<T, TavAddNumVar>;

/// Handle on an array of T, one plain word: a number, an object pointer or a one-pointer handle. Copies name the same
/// array. The array lives in its environment's memory until end() or the environment's end.
template <TavArrayElement T>
class TavArray {
 public:
  TavArray() noexcept = default;
  explicit TavArray(TavArrayI* impl) noexcept : _impl(impl) {}
  /// A new array of `size` zeros or empty handles.
  explicit TavArray(TavEnv env, TavInt size = 0);

  TavArrayI* getImpl() const noexcept { return _impl; }
  /// The number of elements. The handle must not be empty.
  TavInt getSize() const noexcept { return _impl->getSize(); }
  TavEnv getEnv() const noexcept { return TavEnv(_impl->getEnv()); }
  /// The element at position i, counted from 0; nothing checks i. A reference holds until the array grows or ends.
  T operator[](TavInt i) const noexcept { return _impl->get<T>(i); }
  T& operator[](TavInt i) noexcept { return *static_cast<T*>(_impl->at(i)); }
  /// Replaces the element at position i, which nothing checks.
  void set(TavInt i, T value) noexcept { _impl->set(i, value); }
  /// Appends an element, O(1) amortised. Throws std::bad_alloc; the array is then as it was.
  void add(T value) { _impl->add(&value); }
  /// Drops `count` elements from position `first` on; the rest moves up.
  void remove(TavInt first, TavInt count = 1) { _impl->remove(first, count); }
  /// Drops all elements.
  void clear() { _impl->remove(0, getSize()); }
  /// Destroys the array (never its elements) and empties this handle; an empty handle is left alone.
  void end() {
    if (_impl) _impl->end();
    _impl = nullptr;
  }

 protected:
  TavArrayI* _impl = nullptr;
};

/// "[", the elements separated by "," and a blank, a line break instead of the blank after every tenth, "]". Empty
/// element handles print nothing.
template <TavArrayElement T>
std::ostream& operator<<(std::ostream& os, const TavArray<T>& array);

/// Array of signed 64-bit integers.
class TavIntArray : public TavArray<TavInt> {
 public:
  using TavArray::TavArray;
  using TavArray::operator[];
  /// The element at the position that `index` evaluates to; documented with the element expressions.
  TavIntExprArg operator[](TavIntExprArg index) const;
  /// A new array with the same values as doubles.
  TavNumArray toNumArray() const;
};

/// Array of doubles.
class TavNumArray : public TavArray<double> {
 public:
  using TavArray::TavArray;
  using TavArray::operator[];
  /// The element at the position that `index` evaluates to; documented with the element expressions.
  TavNumExprArg operator[](TavIntExprArg index) const;
};

/// Array of arbitrary objects.
class TavAnyArray : public TavArray<TavAny> {
 public:
  using TavArray::TavArray;
};

/// Array of model objects, elements may be null.
class TavExtractableArray : public TavArray<TavExtractable> {
 public:
  using TavArray::TavArray;

  /// Ends every non-null element. Uncounted objects (variables, constraints) go in one batch: one sweep over the model
  /// whatever their number. The array keeps its stale elements.
  void endElements();
  /// Drops the elements that `env` reports removed.
  void removeMarked(TavEnvI* env);
  /// Makes this handle point to a new array in `env` of the clones that `env` has registered for the elements (null
  /// where there is none); the old array is left to its environment.
  void replaceByClone(TavEnvI* env);
};

#pragma GCC visibility pop
