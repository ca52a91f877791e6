/// Characters, names and numbers of the LP reader.

#include <cmath>
#include <cstring>

#include "modelfile/lp_reader.h"
#include "modelfile/words.h"

void TavLpReader::fail(TavFilePlace place, const std::string& what) const {
  throw TavFileError(_input.name(), place, what);
}

void TavLpReader::fail(const char* at, const std::string& what) const { fail(placeOf(at), what); }

TavFilePlace TavLpReader::placeOf(const char* at) const noexcept {
  return {_line, static_cast<std::uint64_t>(at - _lineBegin) + 1};
}

bool TavLpReader::nextWindow() {
  settleNames();
  if (_atEnd || !_input.nextLines()) {
    _atEnd = true;
    _at = _lineBegin = _input.end();
    return false;
  }
  _at = _lineBegin = _input.begin();
  return true;
}

/// Moves to the next byte that is neither blank nor in a comment, and returns it; 0 at the end of the file.
char TavLpReader::peek() {
  for (;;) {
    const char c = *_at;
    if (static_cast<unsigned char>(c) > ' ' && c != '\\') return c;
    if (c == ' ' || c == '\t' || (c == '\r' && _at[1] == '\n')) {
      ++_at;
    } else if (c == '\\') {
      skipComment();
    } else if (c == '\n') {
      _lineBegin = ++_at;
      ++_line;
      _atLineStart = true;
      if (_at == _input.end() && !nextWindow()) return 0;
    } else if (_atEnd) {
      return 0;
    } else {
      fail("a control character, expected text");
    }
  }
}

/// Moves to the end of the line. A comment may give the problem's name.
void TavLpReader::skipComment() {
  constexpr std::string_view kName = "\\Problem name:";
  const char* end = static_cast<const char*>(std::memchr(_at, '\n', static_cast<std::size_t>(_input.end() - _at)));
  std::string_view text(_at, static_cast<std::size_t>(end - _at));
  if (_model.name.empty() && text.substr(0, kName.size()) == kName) {
    text.remove_prefix(kName.size());
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\r')) text.remove_suffix(1);
    _model.name = text;
  }
  _at = end;
}

char TavLpReader::behindBlanks(const char* at) const noexcept {
  while (*at == ' ' || *at == '\t') ++at;
  return *at;
}

/// The byte at hand begins the name of a section, and nothing behind it makes it a name: no colon, operator or
/// relation.
bool TavLpReader::atSection(TavLpSection& section, const char*& end) const noexcept {
  section = TavLpSectionAt(_at, end);
  if (section == TavLpSection::None) return false;
  const char next = behindBlanks(end);
  return next == '\0' || !std::strchr(":+-<>=*^", next);
}

bool TavLpReader::atLabel(const char* nameEnd) const noexcept { return behindBlanks(nameEnd) == ':'; }

/// Takes a name that may be none: checkName has not been asked.
std::string_view TavLpReader::takeName() {
  if (!kTavLpBytes.beginsName(*_at)) fail("expected a name, found " + found());
  const std::string_view name(_at, static_cast<std::size_t>(TavLpNameEnd(_at) - _at));
  take(name.size());
  return name;
}

/// Takes a name.
std::string_view TavLpReader::name() {
  const std::string_view name = takeName();
  checkName(name);
  return name;
}

/// Of a name in the window.
void TavLpReader::checkName(std::string_view name) const {
  if (const char* fault = TavLpNameFault(name))
    fail(_input.placeOf(name.data()), '"' + std::string(name) + "\" " + fault);
}

/// Takes a number without a sign.
double TavLpReader::number() {
  const TavScannedNumber scanned = TavScanNumber(_at);
  const auto text = [&] { return std::string(_at, scanned.end); };
  if (scanned.fault == TavNumberFault::NoNumber) fail("expected a number, found " + found());
  if (scanned.fault == TavNumberFault::TooLarge)
    fail(text() + " is beyond the range of a double, expected a smaller number");
  if (scanned.fault == TavNumberFault::TooSmall)
    fail(text() + " is too small for a double, expected 0 or a larger number");
  take(static_cast<std::size_t>(scanned.end - _at));
  return scanned.value;
}

bool TavLpReader::infinityAt(const char*& end) const noexcept {
  if (TavLowerLetter(*_at) != 'i') return false;
  end = TavLpNameEnd(_at);
  const std::string_view word(_at, static_cast<std::size_t>(end - _at));
  return TavSameWord(word, "inf") || TavSameWord(word, "infinity");
}

/// Takes a relation, if there is one: < <= =< > >= => =.
bool TavLpReader::relation(Relation& relation) {
  const char first = peek(), second = first ? _at[1] : '\0';
  if (first != '<' && first != '>' && first != '=') return false;
  const bool two = first == '=' ? second == '<' || second == '>' : second == '=';
  const char sign = two && first == '=' ? second : first;
  relation = sign == '<' ? Relation::AtMost : sign == '>' ? Relation::AtLeast : Relation::Equal;
  take(two ? 2 : 1);
  if (*_at == '<' || *_at == '>' || *_at == '=') fail("expected one relation: <=, >= or =");
  return true;
}

/// What stands at hand, for a message.
std::string TavLpReader::found() const {
  if (_atEnd) return "the end of the file";
  const char* end = _at;
  while (static_cast<unsigned char>(*end) > ' ' && end - _at < 40) ++end;
  if (end == _at) return "the end of the line";
  return '"' + std::string(_at, end) + '"';
}
