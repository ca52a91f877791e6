#pragma once
/// Class header for authors of algorithms: buffered output of long texts.

#include <cstddef>
#include <ostream>
#include <string_view>

#include "host/extractable.h"

#pragma GCC visibility push(default)

/// Writes exactly the characters that inserting the same pieces into the stream would write, in the stream's own
/// format. Pieces are buffered unless the stream has a width for the next one. With the default format in the classic
/// locale, numbers are converted by std::to_chars, about three times as fast; with other formats they are inserted.
class TavTextWriter {
 public:
  /// A writer to the stream, which must outlive it. The destructor writes nothing: call flush().
  explicit TavTextWriter(std::ostream& os) : _os(os) { look(); }
  TavTextWriter(const TavTextWriter&) = delete;
  TavTextWriter& operator=(const TavTextWriter&) = delete;

  /// Writes the characters.
  TavTextWriter& operator<<(std::string_view text);
  /// Writes the number as the stream's insertion of a double does.
  TavTextWriter& operator<<(double number);
  /// Writes the number as the stream's insertion of a long does.
  TavTextWriter& operator<<(TavInt number);
  /// What the object displays. It may leave the stream in another state.
  TavTextWriter& operator<<(const TavExtractableI& object);
  /// Writes the buffer. Call it at the end of every text.
  void flush();

 private:
  /// Looks at the stream's state.
  void look();
  char* room(std::size_t bytes);

  static constexpr std::size_t kRoom = 512;
  static constexpr std::size_t kLongestNumber = 48;

  std::ostream& _os;
  /// Texts may be collected; numbers may be converted.
  bool _collects = false;
  bool _converts = false;
  int _precision = 0;
  std::size_t _size = 0;
  char _text[kRoom];
};

#pragma GCC visibility pop
