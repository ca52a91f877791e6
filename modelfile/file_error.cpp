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

/// Without its middle where the text is long, as with a name of a million characters.
std::string shortened(const std::string& text) {
  constexpr std::size_t kHead = 300, kTail = 150;
  if (text.size() <= kHead + kTail) return text;
  const auto isInCharacter = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xc0) == 0x80; };
  std::size_t head = kHead, tail = text.size() - kTail;
  while (head > 0 && isInCharacter(head)) --head;
  while (tail < text.size() && isInCharacter(tail)) ++tail;
  return text.substr(0, head) + " ... " + text.substr(tail);
}

std::shared_ptr<const std::string> message(const std::string& file, TavFilePlace place, const std::string& what) {
  std::string text;
  appendPrintable(text, file);
  if (place.line != 0 || place.column != 0) {
    text += ':' + std::to_string(place.line) + ':' + std::to_string(place.column);
  }
  text += ": ";
  appendPrintable(text, shortened(what));
  return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

TavFileError::TavFileError(const std::string& file, TavFilePlace place, const std::string& what)
    : _text(message(file, place, what)), _place(place) {}
