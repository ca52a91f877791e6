#pragma once
/// Class header of the readers: the bytes of a model file, decompressed, block by block.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "modelfile/tavmodelfile.h"

// Exported for the tests and benchmarks of shared builds.
#pragma GCC visibility push(default)

/// Where bytes come from.
class TavByteSource {
 public:
  TavByteSource() = default;
  TavByteSource(const TavByteSource&) = delete;
  TavByteSource& operator=(const TavByteSource&) = delete;
  virtual ~TavByteSource() = default;
  /// Puts up to `room` bytes, at least one, at `to` and returns how many; 0 at the end. Throws TavFileError.
  virtual std::size_t read(char* to, std::size_t room) = 0;
};

/// A place in half the memory; no line is as long as 2^30 bytes.
struct TavPackedPlace {
  std::uint64_t line : 34;
  std::uint64_t column : 30;
  TavFilePlace unpacked() const noexcept { return {line, column}; }
  static TavPackedPlace of(TavFilePlace place) noexcept {
    return {place.line & 0x3ffffffff, place.column & 0x3fffffff};
  }
};

/// A window that moves over the bytes of a file, and the place of each byte in the window. Readers take bytes from
/// begin() up to end() and then ask for more; what they still need they keep.
class TavFileInput {
 public:
  /// Bytes behind end() that may be read; at the end of the file they are 0.
  static constexpr std::size_t kSlack = 64;

  /// Opens the file `path`, standard input when it is `-`. `options` must outlive the input. Throws TavFileError.
  static TavFileInput openFile(const std::string& path, const TavReadOptions& options);
  /// Reads `text`, which must outlive the input.
  static TavFileInput openText(std::string_view text, const std::string& name, const TavReadOptions& options);

  const std::string& name() const noexcept { return _name; }
  const TavReadOptions& options() const noexcept { return *_options; }
  const char* begin() const noexcept { return _buffer.get() + _begin; }
  const char* end() const noexcept { return _buffer.get() + _end; }

  /// Moves the window on: it begins at `keep`, which was in it, and has more bytes behind those that it had. Pointers
  /// into the window become invalid. Returns false, and only drops what is before `keep`, at the end of the file.
  bool more(const char* keep);
  /// Moves the window to the next lines: whole ones, the last of which ends with a line feed even when the file's does
  /// not. The first call begins at the first byte of the file. False at the end of the file. Not to be mixed with
  /// more().
  bool nextLines();

  /// Line and byte of a byte in the window.
  TavFilePlace placeOf(const char* at) const noexcept;
  /// Line 0 and the byte of the file, counted from 1.
  TavFilePlace bytePlaceOf(const char* at) const noexcept;

  /// Throws TavFileError for the place of `at`.
  [[noreturn]] void fail(const char* at, const std::string& what) const {
    throw TavFileError(_name, placeOf(at), what);
  }

 private:
  TavFileInput(std::unique_ptr<TavByteSource> source, const std::string& name, const TavReadOptions& options);

  void drop(std::size_t upTo) noexcept;
  bool fill();

  std::unique_ptr<TavByteSource> _source;
  std::string _name;
  const TavReadOptions* _options;
  std::unique_ptr<char[]> _buffer;
  std::size_t _capacity = 0;
  /// The window; bytes from _end up to _filled belong to a line that is not complete.
  std::size_t _begin = 0;
  std::size_t _end = 0;
  std::size_t _filled = 0;
  bool _atEnd = false;
  /// nextLines() has been called: the window is no longer the first block.
  bool _started = false;
  /// Of what was dropped in front of the buffer.
  std::uint64_t _bytesBefore = 0;
  std::uint64_t _linesBefore = 0;
  /// Dropped bytes of the line that the buffer begins in.
  std::uint64_t _columnsBefore = 0;
};

#pragma GCC visibility pop
