#include "modelfile/file_error.h"

namespace {

/// The text on one line: control characters as \xHH.
void appendPrintable(std::string& out, const std::string& text) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7f) {
      out += c;
    } else {
      out += "\\x";
      out += kDigits[byte >> 4];
      out += kDigits[byte & 15];
    }
  }
}

std::shared_ptr<const std::string> message(const std::string& file, TavFilePlace place, const std::string& what) {
  std::string text;
  appendPrintable(text, file);
  if (place.line != 0 || place.column != 0) {
    text += ':' + std::to_string(place.line) + ':' + std::to_string(place.column);
  }
  text += ": ";
  appendPrintable(text, what);
  return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

TavFileError::TavFileError(const std::string& file, TavFilePlace place, const std::string& what)
    : _text(message(file, place, what)), _place(place) {}
