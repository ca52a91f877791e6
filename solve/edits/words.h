#pragma once
/// Words: what command files, start values and plain solutions are made of.

#include <string>
#include <string_view>
#include <vector>

namespace tavsolve {

/// Reads commands. A command ends with its line, or with a semicolon behind a word; its words are separated by blanks.
/// A word in double quotes may have blanks, and \" and \\ stand for " and \ in it. A word that begins with # begins a
/// comment, up to the end of the line.
class CommandReader {
 public:
  /// `text` must outlive the reader; `file` and the number of its first line stand in messages.
  CommandReader(std::string_view text, std::string file, int firstLine = 1)
      : _text(text), _file(std::move(file)), _line(firstLine), _lineOfCommand(firstLine) {}

  /// The words of the next command that has some; false at the end. Throws InputError for a quote that is not closed.
  bool next(std::vector<std::string>& words);
  /// Throws InputError: FILE:LINE: what.
  [[noreturn]] void fail(const std::string& what) const;

 private:
  bool atEnd() const { return _at == _text.size(); }
  std::string quotedWord();
  /// Whether a semicolon has ended the command.
  bool plainWord(std::string& word);

  std::string_view _text;
  std::string _file;
  std::size_t _at = 0;
  int _line, _lineOfCommand;
};

/// The name as one word: in quotes where it would not be read back otherwise.
std::string quotedName(std::string_view name);

/// The number that the word is, inf and -inf included; throws InputError for another word.
double numberOf(const std::string& word);

/// Twelve significant digits.
std::string text(double number);

/// The shortest text that reads back the same; 0 for -0 too.
std::string exactText(double number);

///@{
/// A number and a text as JSON has them: an infinity is null, bytes that are no UTF-8 are taken for Latin-1.
std::string jsonNumber(double number);
std::string jsonString(std::string_view text);
///@}

/// The contents of a file, of standard input for "-". Throws InputError.
std::string contentsOf(const std::string& path);

}  // namespace tavsolve
