#include "modelfile/nl_tokens.h"

#include <cmath>
#include <limits>

bool TavNlText::refill() {
  const bool some = _input.nextLines();
  _token = _at = _input.begin();
  _end = _input.end();
  return some;
}

void TavNlText::endOfFile() const { _input.fail(_input.end(), "the file ends here, expected more"); }

void TavNlText::refuseInteger(const char* first, const char* end) const {
  if (end - first > kMostDigits) fail("a whole number of this size, expected at most 15 digits");
  fail("expected a whole number");
}

void TavNlText::endLineSlowly() {
  skipBlanks();
  if (*_at == '\n') return;
  if (*_at != '#') {
    _token = _at;
    fail("expected the end of the line");
  }
  _at = static_cast<const char*>(std::memchr(_at, '\n', static_cast<std::size_t>(_end - _at)));
}

double TavNlText::hardNumber() {
  _at = _token;
  const bool negative = *_at == '-';
  const char* first = _at + (negative || *_at == '+');
  TavScannedNumber number = TavScanNumber(first);
  if (number.fault == TavNumberFault::NoNumber) {
    for (const char* word : {"Infinity", "infinity", "Inf", "inf"}) {
      if (std::strncmp(first, word, std::strlen(word)) != 0) continue;
      number = {first + std::strlen(word), std::numeric_limits<double>::infinity(), TavNumberFault::None};
      break;
    }
  }
  if (number.fault == TavNumberFault::NoNumber || isWordByte(*number.end)) fail("expected a number");
  if (number.fault != TavNumberFault::None) fail("a number beyond the range of doubles");
  _at = number.end;
  return negative ? -number.value : number.value;
}

std::string TavNlText::word() {
  needLine();
  skipBlanks();
  _token = _at;
  const char* first = _at;
  while (isWordByte(*_at)) ++_at;
  if (_at == first) fail("expected a name");
  return std::string(first, _at);
}

bool TavNlBinary::refill(std::size_t bytes) {
  while (static_cast<std::size_t>(_end - _at) < bytes) {
    const bool some = _input.more(_at);
    _token = _at = _input.begin();
    _end = _input.end();
    if (!some) return false;
  }
  return true;
}

void TavNlBinary::endOfFile() const {
  throw TavFileError(_input.name(), _input.bytePlaceOf(_end), "the file ends here, expected more");
}

std::string TavNlBinary::word() {
  const std::int64_t length = integer();
  if (length < 1 || length > 1 << 16) fail("a name of " + std::to_string(length) + " bytes, expected 1 to 65536");
  if (static_cast<std::int64_t>(_end - _at) < length && !refill(static_cast<std::size_t>(length))) endOfFile();
  std::string word(_at, static_cast<std::size_t>(length));
  _at += length;
  return word;
}
