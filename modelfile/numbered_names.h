#pragma once
/// A run of numbered names.

#include <bit>
#include <cstdint>

#include "modelfile/number_text.h"

#pragma GCC visibility push(default)

/// What a table of names compares first: names of up to eight bytes whole, longer ones hashed.
struct TavNameKey {
  std::uint64_t word;  ///< The bytes or their hash.
  std::uint32_t size;  ///< Bytes of the name.
};

/// Names such as x1, x2, x3, of up to eight bytes: a prefix and consecutive numbers, with or without zeros in front.
/// They are found by their number, without a look at memory, which in large tables is what costs.
class TavNumberedNames {
 public:
  /// Number of names.
  std::int32_t count() const noexcept { return _count; }
  /// The place of a name in the run, counted from 0, or -1.
  std::int32_t find(const TavNameKey& key) const noexcept {
    const std::int64_t place = numberOf(key) - _first;
    return place >= 0 && place < _count ? static_cast<std::int32_t>(place) : -1;
  }
  /// Whether the name would be the next one of the run.
  bool isNext(const TavNameKey& key) const noexcept { return _count > 0 && numberOf(key) == _first + _count; }
  /// Takes the next name.
  void extend() noexcept { ++_count; }
  /// Starts again with this name; the run is empty when it has no number.
  void begin(const TavNameKey& key) noexcept {
    *this = {};
    if (!kTavWordsBeginLow || key.size == 0 || key.size > 8) return;
    const std::uint64_t others = TavNoDigitsIn(key.word ^ kZeros) & bytes(key.size);
    _prefixSize = static_cast<std::uint32_t>(8 - std::countl_zero(others) / 8);
    if (_prefixSize == key.size) return;
    _mask = bytes(_prefixSize);
    _prefix = key.word & _mask;
    const bool zeros = static_cast<char>(key.word >> 8 * _prefixSize) == '0';
    _digits = zeros ? key.size - _prefixSize : 1;
    _first = numberOf(key);
    _count = 1;
  }

 private:
  static constexpr std::uint64_t kZeros = 0x3030303030303030;
  /// The lowest bytes of a word, up to eight.
  static constexpr std::uint64_t bytes(std::uint32_t count) noexcept {
    return count == 0 ? 0 : ~std::uint64_t{0} >> (64 - 8 * count);
  }

  /// The number in a name of the run's form, or one below all numbers.
  std::int64_t numberOf(const TavNameKey& key) const noexcept {
    constexpr std::int64_t kNone = -1;
    if (key.size > 8 || key.size <= _prefixSize || (key.word & _mask) != _prefix) return kNone;
    const std::uint32_t digits = key.size - _prefixSize;
    const std::uint64_t word = (key.word ^ kZeros) >> 8 * _prefixSize & bytes(digits);
    const bool zeros = (word & 0xff) == 0 && digits != _digits;
    if (TavNoDigitsIn(word) != 0 || zeros || digits < _digits) return kNone;
    return static_cast<std::int64_t>(TavNumberOfDigits(word, static_cast<int>(digits)));
  }

  std::uint64_t _prefix = 0;
  std::uint64_t _mask = 0;
  std::uint32_t _prefixSize = 0;
  /// The least number of digits.
  std::uint32_t _digits = 1;
  std::int64_t _first = 0;
  std::int32_t _count = 0;
};

#pragma GCC visibility pop
