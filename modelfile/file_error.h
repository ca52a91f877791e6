#pragma once
/// The failure that the author of a model file can mend.

#include <cstdint>
#include <memory>
#include <string>

#include "host/errors.h"

#pragma GCC visibility push(default)

/// A place in a model file, counted from 1; 0 where there is none. Columns count bytes, in binary files from its start.
struct TavFilePlace {
  /// Line; 0 in binary files.
  std::uint64_t line = 0;
  /// Byte in the line.
  std::uint64_t column = 0;
};

/// A model file cannot be read, or a model cannot be said in a format. The message is one line,
/// `FILE:LINE:COLUMN: what is wrong, and what was expected`; without LINE and COLUMN where there is no place.
class TavFileError : public TavException {
 public:
  /// `file` as the message shows it; `what` says what is wrong and what was expected. Control characters in both are
  /// shown as hexadecimal escapes; a `what` of more than 450 bytes loses its middle.
  TavFileError(const std::string& file, TavFilePlace place, const std::string& what);

  const char* getMessage() const noexcept override { return _text->c_str(); }
  /// Where it is.
  TavFilePlace place() const noexcept { return _place; }

 private:
  std::shared_ptr<const std::string> _text;
  TavFilePlace _place;
};

#pragma GCC visibility pop
