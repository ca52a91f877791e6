#include "solve/edits/words.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

#include "solve/model/errors.h"

namespace tavsolve {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

/// The bytes of the character of UTF-8 that the text begins with; 0 where it begins with none.
std::size_t characterSize(std::string_view text) {
  const auto byte = [&](std::size_t k) { return k < text.size() ? static_cast<unsigned char>(text[k]) : 0U; };
  const unsigned first = byte(0), second = byte(1);
  const std::size_t size = first < 0x80   ? 1
                           : first < 0xc2 ? 0
                           : first < 0xe0 ? 2
                           : first < 0xf0 ? 3
                           : first < 0xf5 ? 4
                                          : 0;
  for (std::size_t k = 1; k < size; ++k) {
    if ((byte(k) & 0xc0) != 0x80) return 0;
  }
  const bool isOverlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
  const bool isNoCharacter = (first == 0xed && second >= 0xa0) || (first == 0xf4 && second >= 0x90);
  return isOverlong || isNoCharacter ? 0 : size;
}

}  // namespace

bool CommandReader::next(std::vector<std::string>& words) {
  words.clear();
  while (!atEnd()) {
    const char c = _text[_at];
    if (isBlank(c)) {
      ++_at;
    } else if (c == '\n') {
      ++_at;
      ++_line;
      if (!words.empty()) return true;
    } else if (c == '#') {
      _at = std::min(_text.find('\n', _at), _text.size());
    } else {
      if (words.empty()) _lineOfCommand = _line;
      if (c == '"') {
        words.push_back(quotedWord());
        continue;
      }
      std::string word;
      const bool ended = plainWord(word);
      if (!word.empty()) words.push_back(std::move(word));
      if (ended && !words.empty()) return true;
    }
  }
  return !words.empty();
}

std::string CommandReader::quotedWord() {
  std::string word;
  for (++_at; !atEnd() && _text[_at] != '\n'; ++_at) {
    if (_text[_at] == '"') {
      ++_at;
      return word;
    }
    const bool escaped = _text[_at] == '\\' && _at + 1 < _text.size() && std::strchr("\"\\", _text[_at + 1]);
    word += _text[escaped ? ++_at : _at];
  }
  fail("a quote is not closed");
}

bool CommandReader::plainWord(std::string& word) {
  while (!atEnd() && !isBlank(_text[_at]) && _text[_at] != '\n') word += _text[_at++];
  if (!word.ends_with(';')) return false;
  word.pop_back();
  return true;
}

void CommandReader::fail(const std::string& what) const {
  throw InputError(_file + ":" + std::to_string(_lineOfCommand) + ": " + what);
}

std::string quotedName(std::string_view name) {
  if (!name.empty() && name[0] != '#' && name.back() != ';' && name.find_first_of(" \t\"") == name.npos) {
    return std::string(name);
  }
  std::string word = "\"";
  for (const char c : name) {
    if (c == '"' || c == '\\') word += '\\';
    word += c;
  }
  return word + '"';
}

double numberOf(const std::string& word) {
  const char* first = word.c_str() + (word[0] == '+' && word[1] != '-');
  const char* last = word.c_str() + word.size();
  double value = 0.0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (error != std::errc() || end != last || std::isnan(value)) throw InputError("\"" + word + "\" is not a number");
  return value;
}

std::string text(double number) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.12g", number);
  return buffer;
}

std::string exactText(double number) {
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number + 0.0).ptr};  // never -0
}

std::string jsonNumber(double number) { return std::isfinite(number) ? exactText(number) : "null"; }

std::string jsonString(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const auto c = static_cast<unsigned char>(text[0]);
    const std::size_t size = characterSize(text);
    if (c < 0x20 || size == 0) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      result += escape;
    } else {
      if (c == '"' || c == '\\') result += '\\';
      result += text.substr(0, size);
    }
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
  return result + '"';
}

std::string contentsOf(const std::string& path) {
  const auto all = [](std::istream& is) {
    return std::string(std::istreambuf_iterator<char>(is), std::istreambuf_iterator<char>());
  };
  errno = 0;
  if (path == "-") {
    std::string contents = all(std::cin);
    if (std::ferror(stdin)) throw InputError(std::string("standard input: cannot be read: ") + std::strerror(errno));
    return contents;
  }
  std::ifstream is(path, std::ios::binary);
  std::string contents;
  if (is && is.peek() != std::ifstream::traits_type::eof()) contents = all(is);
  if (is.bad() || !is.is_open() || errno == EISDIR) {
    throw InputError(path + ": cannot be read: " + std::strerror(errno ? errno : EIO));
  }
  return contents;
}

}  // namespace tavsolve
