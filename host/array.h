#pragma once
/// Arrays: 8-byte words in fixed-size blocks behind one-pointer handles.

#include <compare>
#include <concepts>
#include <cstring>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <span>
#include <type_traits>
#include <utility>

#include "host/extractable.h"
#include "host/memory.h"

#pragma GCC visibility push(default)

class TavAddNumVar;
class TavIntExprArg;
class TavNumArray;
class TavNumExprArg;

/// The implementation behind every array handle. Element i lies in block i >> blockShift at position i & indexMask.
/// Nothing checks an index. Appending is O(1) amortised. Once the array has more than one block, growing moves no
/// element.
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
  /// A new array of the same elements in `memory`. Throws std::bad_alloc.
  TavArrayI* makeCopy(TavGenAlloc* memory) { return new (memory) TavArrayI(memory, this); }
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

/// Reads the elements of an array in order, as words of type T, faster than by position. The array must not change
/// meanwhile.
template <class T>
class TavArrayReader {
 public:
  /// Starts before the first element; null for no elements.
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

/// A random access iterator over an array. It returns elements that are plain words by reference, the
/// handles of variable and expression arrays by value.
template <class Element>
class TavArrayIterator {
  static constexpr bool kInPlace = TavArrayElement<Element>;

 public:
  ///@{
  /// The types that the standard library requires of an iterator.
  using value_type = Element;
  using difference_type = std::ptrdiff_t;
  using reference = std::conditional_t<kInPlace, Element&, Element>;
  using pointer = void;
  using iterator_concept = std::random_access_iterator_tag;
  using iterator_category = std::conditional_t<kInPlace, std::random_access_iterator_tag, std::input_iterator_tag>;
  ///@}

  /// An iterator of no array.
  TavArrayIterator() noexcept = default;
  /// An iterator at position i.
  TavArrayIterator(TavArrayI* array, TavInt i) noexcept : _array(array), _i(i) {}

  ///@{
  /// The element at its position, or at a distance from it.
  reference operator*() const noexcept {
    if constexpr (kInPlace) {
      return *static_cast<Element*>(_array->at(_i));
    } else {
      return Element(_array->get<decltype(std::declval<Element>().getImpl())>(_i));
    }
  }
  reference operator[](difference_type distance) const noexcept { return *(*this + distance); }
  ///@}
  ///@{
  /// Moves and distances.
  TavArrayIterator& operator++() noexcept { return *this += 1; }
  TavArrayIterator& operator--() noexcept { return *this -= 1; }
  TavArrayIterator operator++(int) noexcept { return std::exchange(*this, *this + 1); }
  TavArrayIterator operator--(int) noexcept { return std::exchange(*this, *this - 1); }
  TavArrayIterator& operator+=(difference_type distance) noexcept {
    _i += distance;
    return *this;
  }
  TavArrayIterator& operator-=(difference_type distance) noexcept { return *this += -distance; }
  friend TavArrayIterator operator+(TavArrayIterator a, difference_type distance) noexcept { return a += distance; }
  friend TavArrayIterator operator+(difference_type distance, TavArrayIterator a) noexcept { return a += distance; }
  friend TavArrayIterator operator-(TavArrayIterator a, difference_type distance) noexcept { return a -= distance; }
  friend difference_type operator-(TavArrayIterator a, TavArrayIterator b) noexcept { return a._i - b._i; }
  ///@}
  ///@{
  /// Comparisons of iterators over one array.
  friend bool operator==(TavArrayIterator a, TavArrayIterator b) noexcept { return a._i == b._i; }
  friend auto operator<=>(TavArrayIterator a, TavArrayIterator b) noexcept { return a._i <=> b._i; }
  ///@}

 private:
  TavArrayI* _array = nullptr;
  TavInt _i = 0;
};

/// Handle on an array of T, one plain word: a number, an object pointer or a one-pointer handle. Copies name the same
/// array. The array lives in its environment's memory until end() or the environment's end.
template <TavArrayElement T>
class TavArray {
 public:
  /// The type of an element.
  using Element = T;

  TavArray() noexcept = default;
  explicit TavArray(TavArrayI* impl) noexcept : _impl(impl) {}
  /// A new array of `size` zeros or empty handles.
  explicit TavArray(TavEnv env, TavInt size = 0);

  TavArrayI* getImpl() const noexcept { return _impl; }
  /// The number of elements. The handle must not be empty.
  TavInt getSize() const noexcept { return _impl->getSize(); }
  /// The same, as the standard library counts.
  std::size_t size() const noexcept { return static_cast<std::size_t>(getSize()); }
  TavEnv getEnv() const noexcept { return TavEnv(_impl->getEnv()); }
  /// The element at position i, counted from 0; nothing checks i. A reference is valid until the array grows or is
  /// destroyed.
  T operator[](TavInt i) const noexcept { return _impl->get<T>(i); }
  T& operator[](TavInt i) noexcept { return *static_cast<T*>(_impl->at(i)); }
  /// Replaces the element at position i, which nothing checks.
  void set(TavInt i, T value) noexcept { _impl->set(i, value); }
  /// Appends an element, O(1) amortised. Throws std::bad_alloc and is then unchanged.
  void add(T value) { _impl->add(&value); }
  /// Drops `count` elements from position `first` on; the rest moves up.
  void remove(TavInt first, TavInt count = 1) { _impl->remove(first, count); }
  /// Drops all elements.
  void clear() { _impl->remove(0, getSize()); }
  /// Destroys the array (never its elements) and empties this handle; leaves an empty handle unchanged.
  void end() {
    if (_impl) _impl->end();
    _impl = nullptr;
  }

 protected:
  TavArrayI* _impl = nullptr;
};

/// The array handles; `Element` is the type of an element.
template <class A>
concept TavArrayHandle = requires(const A& array) {
  typename A::Element;
  { array.getImpl() } -> std::same_as<TavArrayI*>;
};

///@{
/// Iterators for range-based for loops, algorithms and ranges: `for (const TavNumVar x : variables)`. They are valid
/// until the array grows or is destroyed. (The member end() of a handle destroys the array, so these are free
/// functions. There are two of each because std::ranges::begin prefers its own to one that takes a base class.)
template <TavArrayHandle A>
TavArrayIterator<typename A::Element> begin(const A& array) noexcept {
  return TavArrayIterator<typename A::Element>(array.getImpl(), 0);
}
template <TavArrayHandle A>
TavArrayIterator<typename A::Element> begin(A& array) noexcept {
  return begin(std::as_const(array));
}
template <TavArrayHandle A>
TavArrayIterator<typename A::Element> end(const A& array) noexcept {
  return TavArrayIterator<typename A::Element>(array.getImpl(), array.getSize());
}
template <TavArrayHandle A>
TavArrayIterator<typename A::Element> end(A& array) noexcept {
  return end(std::as_const(array));
}
///@}

/// "[", the elements separated by "," and a blank, a line break instead of the blank after every tenth, "]". Empty
/// element handles print nothing.
template <TavArrayElement T>
std::ostream& operator<<(std::ostream& os, const TavArray<T>& array);

/// Array of signed 64-bit integers.
class TavIntArray : public TavArray<TavInt> {
 public:
  using TavArray::TavArray;
  TavIntArray() noexcept = default;
  ///@{
  /// A new array of the listed numbers, of a copy of `numbers`, of n times the same number.
  TavIntArray(TavEnv env, std::initializer_list<TavInt> numbers);
  TavIntArray(TavEnv env, std::span<const TavInt> numbers);
  TavIntArray(TavEnv env, TavInt n, TavInt number);
  ///@}
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
  TavNumArray() noexcept = default;
  ///@{
  /// A new array of the listed numbers, of a copy of `numbers`, of n times the same number.
  TavNumArray(TavEnv env, std::initializer_list<double> numbers);
  TavNumArray(TavEnv env, std::span<const double> numbers);
  TavNumArray(TavEnv env, TavInt n, double number);
  ///@}
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
  /// where there is none); the old array stays in its environment.
  void replaceByClone(TavEnvI* env);
};

#pragma GCC visibility pop
