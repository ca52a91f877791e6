#include "expression/core/text_writer.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <locale>
#include <utility>

#include "host/deep_stack.h"

void TavTextWriter::look() {
  constexpr std::streamsize kMostDigits = 32;
  _precision = static_cast<int>(_os.precision());
  _collects = _os.width() == 0;
  _converts = _collects && (_os.flags() & ~std::ios_base::unitbuf) == (std::ios_base::skipws | std::ios_base::dec) &&
              _os.precision() >= 0 && _os.precision() <= kMostDigits && _os.getloc() == std::locale::classic();
}

void TavTextWriter::flush() {
  if (_size == 0) return;
  _os.write(_text, static_cast<std::streamsize>(std::exchange(_size, 0)));
}

char* TavTextWriter::room(std::size_t bytes) {
  if (kRoom - _size < bytes) flush();
  return _text + _size;
}

TavTextWriter& TavTextWriter::operator<<(std::string_view text) {
  if (!_collects) {
    _os << text;
  } else if (text.size() > kRoom) {
    flush();
    _os.write(text.data(), static_cast<std::streamsize>(text.size()));
  } else {
    std::memcpy(room(text.size()), text.data(), text.size());
    _size += text.size();
  }
  return *this;
}

TavTextWriter& TavTextWriter::operator<<(TavInt number) {
  if (!_converts) {
    flush();
    _os << number;
    return *this;
  }
  char* to = room(kLongestNumber);
  _size += static_cast<std::size_t>(std::to_chars(to, to + kLongestNumber, number).ptr - to);
  return *this;
}

TavTextWriter& TavTextWriter::operator<<(double number) {
  if (!_converts) {
    flush();
    _os << number;
    return *this;
  }
  // A whole number of at most six digits is written as it is by every precision from six on.
  if (_precision >= 6 && number != 0.0 && std::fabs(number) < 1e6) {
    const auto whole = static_cast<TavInt>(number);
    if (static_cast<double>(whole) == number) return *this << whole;
  }
  char* to = room(kLongestNumber);
  _size += static_cast<std::size_t>(
      std::to_chars(to, to + kLongestNumber, number, std::chars_format::general, _precision).ptr - to);
  return *this;
}

TavTextWriter& TavTextWriter::operator<<(const TavExtractableI& object) {
  flush();
  TavDeep([this, &object] { object.display(_os); });
  look();
  return *this;
}
