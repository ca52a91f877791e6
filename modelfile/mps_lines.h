#pragma once
/// Class header of the MPS reader: lines and their fields, fixed and free.

#include <cstdint>
#include <string>
#include <string_view>

#include "modelfile/input.h"

/// The fields of one line; those behind the eighth are left out, since no line has more than six.
struct TavMpsFields {
  static constexpr int kMost = 8;
  int count = 0;
  std::string_view field[kMost];
  std::string_view operator[](int i) const noexcept { return field[i]; }
};

/// Cuts a file into lines and lines into fields.
///
/// Free and fixed format are told apart by the contents, line by line. A line whose fields stand at the columns of the
/// fixed format and have no blanks reads the same in both. The first line that does not decides for the whole file: one
/// with its fields elsewhere for free format, one with a blank inside a name for fixed format.
class TavMpsLines {
 public:
  explicit TavMpsLines(TavFileInput& input) : _input(input) {}

  /// What is a data line in the section at hand: does it make sense with these fields?
  using Plausible = bool (*)(const TavMpsFields& fields);

  /// Moves to the next line that is neither empty nor a comment; false at the end of the file.
  bool next();
  /// The line at hand begins a section.
  bool isHeader() const noexcept { return static_cast<unsigned char>(*_line) > ' '; }
  /// The text of the line, without trailing blanks.
  std::string_view text() const noexcept { return {_line, static_cast<std::size_t>(_textEnd - _line)}; }
  /// Cuts the line at blanks. `plausible` tells what a data line of the section looks like; null for headers.
  const TavMpsFields& fields(Plausible plausible);
  /// The next line moves the window: what refers to the text must be settled before.
  bool lastOfWindow() const noexcept { return _next == _input.end(); }
  /// Where the next line begins if it is in the window; null otherwise.
  const char* ahead() const noexcept { return _next == _input.end() ? nullptr : _next; }
  /// Passes over the next line, which the reader has taken by itself; behind it `next` begins.
  void pass(const char* next) noexcept {
    _line = _next;
    _next = next;
    ++_number;
  }
  bool isFree() const noexcept { return _layout == Layout::Free; }
  /// Whether the text from begin to end is all of this field, counted from 0, in a line of the fixed format that reads
  /// the same as a free one. False when the file is known to be of the fixed format.
  bool isInColumns(const char* line, int field, const char* begin, const char* end) const noexcept;
  /// The file says that it is free.
  void setFree() noexcept { _layout = Layout::Free; }

  [[noreturn]] void fail(std::string_view where, const std::string& what) const { failAt(where.data(), what); }
  /// Fails at the first byte of the line that is not blank.
  [[noreturn]] void failLine(const std::string& what) const;
  /// Fails behind the last byte of the line.
  [[noreturn]] void failBehind(const std::string& what) const { failAt(_textEnd, what); }
  /// Place of a byte in the line.
  TavFilePlace placeOf(const char* at) const noexcept { return {_number, static_cast<std::uint64_t>(at - _line) + 1}; }
  TavFilePlace placeOf(std::string_view where) const noexcept { return placeOf(where.data()); }

 private:
  enum class Layout : std::uint8_t { Undecided, Free, Fixed };

  [[noreturn]] void failAt(const char* at, const std::string& what) const;
  void cutAtBlanks();
  bool cutAtColumns(TavMpsFields& fields) const;
  void decide(Plausible plausible);
  bool eachFieldInItsColumns() const noexcept;

  TavFileInput& _input;
  Layout _layout = Layout::Undecided;
  /// Number of the line, counted from 1.
  std::uint64_t _number = 0;
  /// The line, behind its last byte that is not blank, and its line feed.
  const char* _line = nullptr;
  const char* _textEnd = nullptr;
  const char* _next = nullptr;
  TavMpsFields _fields;
};

/// The text in quotes for a message; long ones are cut.
std::string TavQuoted(std::string_view text);
