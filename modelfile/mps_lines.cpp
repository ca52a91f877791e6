#include "modelfile/mps_lines.h"

#include <cstring>

namespace {

/// First and last column, counted from 0, of the fields of the fixed format.
constexpr int kColumns[6][2] = {{1, 2}, {4, 11}, {14, 21}, {24, 35}, {39, 46}, {49, 60}};

bool isBlank(char c) noexcept { return c == ' ' || c == '\t'; }

std::string_view trimmed(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

std::string TavQuoted(std::string_view text) {
  constexpr std::size_t kMost = 60;
  if (text.size() <= kMost) return '"' + std::string(text) + '"';
  return '"' + std::string(text.substr(0, kMost)) + "...\"";
}

bool TavMpsLines::next() {
  for (;;) {
    if (_next == _input.end() || !_next) {
      if (!_input.nextLines()) {
        _line = _textEnd = _next = _input.end();
        ++_number;
        return false;
      }
      _next = _input.begin();
    }
    _line = _next;
    ++_number;
    const char* end =
        static_cast<const char*>(std::memchr(_line, '\n', static_cast<std::size_t>(_input.end() - _line)));
    _next = end + 1;
    if (end != _line && end[-1] == '\r') --end;
    while (end != _line && isBlank(end[-1])) --end;
    _textEnd = end;
    if (_line != end && *_line != '*') return true;
  }
}

const TavMpsFields& TavMpsLines::fields(Plausible plausible) {
  if (_layout == Layout::Fixed && plausible) {
    if (!cutAtColumns(_fields)) failLine("text between the columns of the fixed format, expected blanks there");
    return _fields;
  }
  cutAtBlanks();
  if (_layout == Layout::Undecided && plausible) decide(plausible);
  return _fields;
}

void TavMpsLines::cutAtBlanks() {
  _fields.count = 0;
  const char* at = _line;
  for (;;) {
    while (at != _textEnd && isBlank(*at)) ++at;
    if (at == _textEnd) return;
    const char* begin = at;
    while (at != _textEnd && static_cast<unsigned char>(*at) > ' ') ++at;
    if (at != _textEnd && !isBlank(*at)) failAt(at, "a control character, expected text");
    _fields.field[_fields.count++] = {begin, static_cast<std::size_t>(at - begin)};
    if (_fields.count == TavMpsFields::kMost) return;
  }
}

/// The fields by their columns, empty ones left out. False when something stands elsewhere.
bool TavMpsLines::cutAtColumns(TavMpsFields& fields) const {
  fields.count = 0;
  const std::string_view line = text();
  std::size_t behind = 0;
  for (const auto& columns : kColumns) {
    const auto first = static_cast<std::size_t>(columns[0]), last = static_cast<std::size_t>(columns[1]);
    for (; behind < first && behind < line.size(); ++behind) {
      if (line[behind] != ' ') return false;
    }
    if (line.size() <= first) return true;
    const std::string_view field = trimmed(line.substr(first, last - first + 1));
    for (const char c : field) {
      if (static_cast<unsigned char>(c) < ' ') return false;
    }
    // A dollar sign that begins the third or the fifth field begins a comment.
    if ((first == 14 || first == 39) && !field.empty() && field.front() == '$') return true;
    if (!field.empty()) fields.field[fields.count++] = field;
    behind = last + 1;
  }
  return line.size() <= behind;
}

bool TavMpsLines::isInColumns(const char* line, int field, const char* begin, const char* end) const noexcept {
  const int first = kColumns[field][0], last = kColumns[field][1];
  if (_layout == Layout::Fixed || begin - line < first || end - line > last + 1) return false;
  return field == 3 || field == 5 || begin - line == first;
}

bool TavMpsLines::eachFieldInItsColumns() const noexcept {
  int column = 0;
  for (int i = 0; i < _fields.count; ++i) {
    const auto begin = static_cast<int>(_fields[i].data() - _line);
    const int last = begin + static_cast<int>(_fields[i].size()) - 1;
    while (column < 6 && begin > kColumns[column][1]) ++column;
    if (column == 6 || begin < kColumns[column][0] || last > kColumns[column][1]) return false;
    // Names begin where their field begins; a number may stand anywhere in it.
    if (column != 3 && column != 5 && column != 0 && begin != kColumns[column][0]) return false;
    ++column;
  }
  return true;
}

void TavMpsLines::decide(Plausible plausible) {
  if (_textEnd - _line > 61 || std::memchr(_line, '\t', static_cast<std::size_t>(_textEnd - _line))) {
    _layout = Layout::Free;
    return;
  }
  if (eachFieldInItsColumns()) return;
  TavMpsFields fixed;
  if (!cutAtColumns(fixed) || fixed.count >= _fields.count || !plausible(fixed)) {
    _layout = Layout::Free;
    return;
  }
  if (plausible(_fields)) {
    failLine(
        "a line that reads differently in fixed and in free format, expected FREE behind the name on the NAME line");
  }
  _layout = Layout::Fixed;
  _fields = fixed;
}

void TavMpsLines::failAt(const char* at, const std::string& what) const {
  throw TavFileError(_input.name(), placeOf(at), what);
}

void TavMpsLines::failLine(const std::string& what) const {
  const char* at = _line;
  while (at != _textEnd && isBlank(*at)) ++at;
  failAt(at, what);
}
