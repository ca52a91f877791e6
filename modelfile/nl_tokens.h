#pragma once
/// Internal header of tavmodelfile: the tokens of .nl files, text and binary, behind one set of calls.

#include <bit>
#include <cstring>
#include <string>

#include "modelfile/blank_bytes.h"
#include "modelfile/input.h"
#include "modelfile/nl_plain_terms.h"
#include "modelfile/number_text.h"

/// What both variants share. Calls fail with the place of the token that is wrong.
class TavNlTokens {
 public:
  explicit TavNlTokens(TavFileInput& input) noexcept : _input(input) {}
  TavNlTokens& operator=(const TavNlTokens&) = delete;

 protected:
  static constexpr const char* kZeroByte = "a byte of value 0, expected a letter";

  TavNlTokens(const TavNlTokens&) = default;
  ~TavNlTokens() = default;

  TavFileInput& _input;
  /// The next byte.
  const char* _at = nullptr;
  const char* _end = nullptr;
  /// The token read last.
  const char* _token = nullptr;
};

/// Text: numbers and names separated by blanks; `#` begins a comment.
class TavNlText final : public TavNlTokens {
 public:
  /// Begins at the first line of the input.
  explicit TavNlText(TavFileInput& input) noexcept : TavNlTokens(input) {}

  /// The first byte of the next line that has one, 0 at the end of the file.
  char letter() {
    for (;;) {
      if (_at == _end && !refill()) return 0;
      skipBlanks();
      if (*_at != '\n' && *_at != '#') break;
      endLine();
    }
    _token = _at;
    if (*_at == '\0') fail(kZeroByte);
    return *_at++;
  }
  /// Takes a line that is the number 0 in the shortest form, if there is one.
  bool zeroLine() noexcept {
    if (std::strncmp(_at, "n0\n", 3) != 0) return false;
    _at += 3;
    return true;
  }
  /// An integer.
  std::int64_t integer() {
    needLine();
    const char* at = skipped(_at);
    _token = at;
    const bool negative = *at == '-';
    at += negative || *at == '+';
    const char* first = at;
    std::uint64_t value = 0;
    at = TavScanDigits(at, value);
    if (at == first || at - first > kMostDigits || isWordByte(*at)) refuseInteger(first, at);
    _at = at;
    return negative ? -static_cast<std::int64_t>(value) : static_cast<std::int64_t>(value);
  }
  std::int64_t shortInteger() { return integer(); }
  /// An integer, or `missing` where the line ends.
  std::int64_t integerOr(std::int64_t missing) {
    needLine();
    skipBlanks();
    return *_at == '\n' || *_at == '#' ? missing : integer();
  }
  /// A number; infinite ones where the file says so.
  double number() {
    needLine();
    const char* at = skipped(_at);
    _token = at;
    const std::uint64_t word = TavWordAt(at);
    const int size = std::countr_zero(TavBlanksIn(word)) / 8;
    double value;
    if (size < 8 && TavShortNumber(word, size, value)) {
      _at = at + size;
      return value;
    }
    const bool negative = *at == '-';
    const TavScannedNumber number = TavScanNumber(at + (negative || *at == '+'));
    if (number.fault != TavNumberFault::None || isWordByte(*number.end)) return hardNumber();
    _at = number.end;
    return negative ? -number.value : number.value;
  }
  /// As TavTakePlainTerms does.
  std::int64_t plainTerms(std::int64_t count, std::int32_t size, std::int32_t* indices, double* values) noexcept {
    return TavTakePlainTerms(_at, _end, count, size, indices, values);
  }
  /// The type of a bound.
  std::int64_t boundType() { return integer(); }
  /// Takes a line of a type of bounds, 0 to 4, and its numbers, of at most eight bytes each and behind one blank each.
  /// Other lines, and all mistakes, are left where they are.
  bool plainBounds(std::int64_t& type, double (&numbers)[2]) noexcept {
    static constexpr int kNumbers[] = {2, 1, 1, 0, 1};
    std::uint64_t blanks = TavBlankBytes<2>(_at);
    int end = std::countr_zero(blanks);
    type = *_at - '0';
    if (end != 1 || type < 0 || type > 4) return false;
    for (int i = 0; i != kNumbers[type]; ++i) {
      if (_at[end] != ' ') return false;
      const int begin = end + 1;
      blanks &= blanks - 1;
      end = std::countr_zero(blanks);
      if (end - begin > 8 || !TavShortNumber(TavWordAt(_at + begin), end - begin, numbers[i])) return false;
    }
    if (_at[end] != '\n') return false;
    _at += end + 1;
    return true;
  }
  /// A name: what stands up to the next blank.
  std::string word();
  /// Goes on to the next line.
  void endLine() {
    if (*_at != '\n') endLineSlowly();
    ++_at;
  }
  /// Throws TavFileError for the token read last.
  [[noreturn]] void fail(const std::string& what) const { _input.fail(_token, what); }

 private:
  /// Whole numbers of so many digits are exact in doubles and far from the end of 64 bits.
  static constexpr std::ptrdiff_t kMostDigits = 15;

  static bool isWordByte(char c) noexcept { return c != ' ' && c != '\n' && c != '\t' && c != '\r' && c != '#'; }
  static const char* skipped(const char* at) noexcept {
    while (*at == ' ' || *at == '\t' || *at == '\r') ++at;
    return at;
  }
  [[noreturn]] void refuseInteger(const char* first, const char* end) const;
  double hardNumber();
  void endLineSlowly();
  bool refill();
  void needLine() {
    if (_at == _end && !refill()) endOfFile();
  }
  [[noreturn]] void endOfFile() const;
  void skipBlanks() noexcept { _at = skipped(_at); }
};

/// Binary: fixed widths, in either byte order.
class TavNlBinary final : public TavNlTokens {
 public:
  /// Begins behind the header. `swapped`: the byte order is not this machine's.
  TavNlBinary(const TavNlText& header, bool swapped) : TavNlTokens(header), _swapped(swapped) {
    _input.more(_at);
    _token = _at = _input.begin();
    _end = _input.end();
  }

  char letter() {
    if (_at == _end && !refill(1)) return 0;
    _token = _at;
    if (*_at == '\0') fail(kZeroByte);
    return *_at++;
  }
  std::int64_t integer() { return take<std::int32_t>(); }
  std::int64_t shortInteger() { return take<std::int16_t>(); }
  /// Binary files leave nothing out, so `missing` is for text alone.
  std::int64_t integerOr(std::int64_t) { return integer(); }
  double number() { return std::bit_cast<double>(take<std::uint64_t>()); }
  /// Binary numbers, terms and bounds are read one by one.
  static bool zeroLine() noexcept { return false; }
  static std::int64_t plainTerms(std::int64_t, std::int32_t, std::int32_t*, double*) noexcept { return 0; }
  std::int64_t boundType() { return take<std::uint8_t>() - '0'; }
  static bool plainBounds(std::int64_t&, double (&)[2]) noexcept { return false; }
  std::string word();
  void endLine() noexcept {}
  [[noreturn]] void fail(const std::string& what) const {
    throw TavFileError(_input.name(), _input.bytePlaceOf(_token), what);
  }

 private:
  template <class T>
  T take() {
    if (static_cast<std::size_t>(_end - _at) < sizeof(T) && !refill(sizeof(T))) endOfFile();
    _token = _at;
    unsigned char bytes[sizeof(T)];
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      bytes[i] = static_cast<unsigned char>(_at[_swapped ? sizeof(T) - 1 - i : i]);
    }
    _at += sizeof(T);
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  /// Makes `bytes` bytes available; false at the end of the file.
  bool refill(std::size_t bytes);
  [[noreturn]] void endOfFile() const;

  bool _swapped;
};
