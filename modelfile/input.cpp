#include "modelfile/input.h"

#include <algorithm>
#include <cstring>

#include "modelfile/sources.h"

namespace {

constexpr std::size_t kReadBlock = std::size_t{1} << 18;
/// A longer line is no model file's.
constexpr std::size_t kLongestLine = std::size_t{1} << 30;

/// Line feeds in the text. Blocks whose count fits into a byte, so that the compiler adds up bytes in vectors.
std::uint64_t linesIn(const char* at, const char* end) noexcept {
  std::uint64_t lines = 0;
  while (at != end) {
    const char* const stop = at + std::min<std::ptrdiff_t>(end - at, 255);
    std::uint8_t some = 0;
    for (; at != stop; ++at) some = static_cast<std::uint8_t>(some + (*at == '\n'));
    lines += some;
  }
  return lines;
}

}  // namespace

TavFileInput::TavFileInput(std::unique_ptr<TavByteSource> source, const std::string& name,
                           const TavReadOptions& options)
    : _source(std::move(source)), _name(name), _options(&options) {
  // As much as the first block holds: a source may give a few bytes at a time, too few to recognise the format.
  while (_filled < kReadBlock / 2 && fill()) {
  }
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  if (std::string_view(_buffer.get(), _filled).substr(0, 3) == kByteOrderMark) _begin = 3;
  _end = _filled;
}

TavFileInput TavFileInput::openFile(const std::string& path, const TavReadOptions& options) {
  return {TavOpenFileSource(path, options), path == "-" ? "standard input" : path, options};
}

TavFileInput TavFileInput::openText(std::string_view text, const std::string& name, const TavReadOptions& options) {
  return {TavOpenTextSource(text, name, options), name, options};
}

/// Reads one block behind what is there; grows the buffer when it is full.
bool TavFileInput::fill() {
  if (_atEnd) return false;
  if (_capacity - _filled < kReadBlock / 2) {
    const std::size_t wanted = std::max(_capacity * 2, kReadBlock);
    if (wanted > kLongestLine) fail(begin(), "a line of more than 2^29 bytes, expected a model file");
    std::unique_ptr<char[]> larger(new char[wanted + kSlack]);
    if (_filled != 0) std::memcpy(larger.get(), _buffer.get(), _filled);
    std::memset(larger.get() + wanted, 0, kSlack);
    _buffer = std::move(larger);
    _capacity = wanted;
  }
  // One byte stays free for the line feed that the last line may lack.
  const std::size_t count = _source->read(_buffer.get() + _filled, _capacity - _filled - 1);
  _filled += count;
  _atEnd = count == 0;
  std::memset(_buffer.get() + _filled, 0, kSlack);
  return count != 0;
}

void TavFileInput::drop(std::size_t upTo) noexcept {
  const char* text = _buffer.get();
  const char* stop = text + upTo;
  const auto lines = linesIn(text, stop);
  if (lines == 0) {
    _columnsBefore += upTo;
  } else {
    const char* last = stop;
    while (last[-1] != '\n') --last;
    _columnsBefore = static_cast<std::uint64_t>(stop - last);
  }
  _linesBefore += lines;
  _bytesBefore += upTo;
  std::memmove(_buffer.get(), stop, _filled - upTo);
  _filled -= upTo;
  _begin = 0;
  std::memset(_buffer.get() + _filled, 0, kSlack);
}

bool TavFileInput::more(const char* keep) {
  drop(static_cast<std::size_t>(keep - _buffer.get()));
  const bool some = fill();
  _end = _filled;
  return some;
}

bool TavFileInput::nextLines() {
  if (_started) drop(_end);
  _started = true;
  std::size_t searched = _begin;
  for (;;) {
    const void* newline = ::memrchr(_buffer.get() + searched, '\n', _filled - searched);
    if (newline) {
      _end = static_cast<std::size_t>(static_cast<const char*>(newline) - _buffer.get()) + 1;
      return true;
    }
    searched = _filled;
    if (fill()) continue;
    if (_filled == _begin) {
      _end = _filled;
      return false;
    }
    _buffer[_filled++] = '\n';
  }
}

TavFilePlace TavFileInput::placeOf(const char* at) const noexcept {
  const char* text = _buffer.get();
  const auto lines = linesIn(text, at);
  const char* line = at;
  while (line != text && line[-1] != '\n') --line;
  const std::uint64_t column = static_cast<std::uint64_t>(at - line) + (lines == 0 ? _columnsBefore : 0);
  return {_linesBefore + lines + 1, column + 1};
}

TavFilePlace TavFileInput::bytePlaceOf(const char* at) const noexcept {
  return {0, _bytesBefore + static_cast<std::uint64_t>(at - _buffer.get()) + 1};
}
