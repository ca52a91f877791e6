#pragma once
/// The name of a model object as functions take it.

#include <string>
#include <string_view>

#pragma GCC visibility push(default)

/// A name that is passed: a literal or any other C string, a std::string or a std::string_view; null, or nothing, for
/// no name. The function that takes it copies the text up to its first null character. A parameter type, never a
/// member: it refers to the caller's text.
class TavNameArg {
 public:
  /// A C string, or null for no name.
  constexpr TavNameArg(const char* text = nullptr) noexcept : _text(text) {}
  /// The text of a string.
  constexpr TavNameArg(const std::string& text) noexcept : _text(text.data()), _size(text.size()) {}
  /// The text of a view; no name for a view that was never given a text.
  constexpr TavNameArg(std::string_view text) noexcept : _text(text.data()), _size(text.size()) {}

  /// Whether there is a name.
  constexpr explicit operator bool() const noexcept { return _text != nullptr; }
  /// The name up to its first null character; empty for no name.
  constexpr std::string_view text() const noexcept {
    if (!_text) return {};
    if (_size == kTerminated) return _text;
    const std::string_view all(_text, _size);
    return all.substr(0, all.find('\0'));
  }

 private:
  static constexpr std::size_t kTerminated = static_cast<std::size_t>(-1);

  const char* _text;
  std::size_t _size = kTerminated;
};

#pragma GCC visibility pop
