#pragma once
/// Class header of the readers: words in any case.

#include <string_view>

/// The character as a small letter, when it is a letter of ASCII.
inline char TavLowerLetter(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

/// The words are the same but for the case of their letters.
inline bool TavSameWord(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (TavLowerLetter(a[i]) != TavLowerLetter(b[i])) return false;
  }
  return true;
}
