#include "modelfile/lp_names.h"

#include <string>

#include "modelfile/words.h"

namespace {

struct Word {
  const char* text;
  const char* second;
  TavLpSection section;
};
constexpr Word kWords[] = {{"subject", "to", TavLpSection::Rows},
                           {"such", "that", TavLpSection::Rows},
                           {"st", nullptr, TavLpSection::Rows},
                           {"s.t.", nullptr, TavLpSection::Rows},
                           {"st.", nullptr, TavLpSection::Rows},
                           {"bounds", nullptr, TavLpSection::Bounds},
                           {"bound", nullptr, TavLpSection::Bounds},
                           {"general", "constraints", TavLpSection::Unsupported},
                           {"general", nullptr, TavLpSection::Integer},
                           {"generals", nullptr, TavLpSection::Integer},
                           {"gen", nullptr, TavLpSection::Integer},
                           {"integer", nullptr, TavLpSection::Integer},
                           {"integers", nullptr, TavLpSection::Integer},
                           {"int", nullptr, TavLpSection::Integer},
                           {"binary", nullptr, TavLpSection::Binary},
                           {"binaries", nullptr, TavLpSection::Binary},
                           {"bin", nullptr, TavLpSection::Binary},
                           {"semi-continuous", nullptr, TavLpSection::Semi},
                           {"semi", nullptr, TavLpSection::Semi},
                           {"semis", nullptr, TavLpSection::Semi},
                           {"sos", nullptr, TavLpSection::Sets},
                           {"sos1", nullptr, TavLpSection::Sets1},
                           {"sos2", nullptr, TavLpSection::Sets2},
                           {"end", nullptr, TavLpSection::End},
                           {"lazy", "constraints", TavLpSection::Unsupported},
                           {"user", "cuts", TavLpSection::Unsupported},
                           {"pwlobj", nullptr, TavLpSection::Unsupported},
                           {"multi-objectives", nullptr, TavLpSection::Unsupported}};

/// Behind the word when it stands at `at`, else null.
const char* wordEnd(const char* at, const char* word) noexcept {
  for (; *word; ++word, ++at) {
    if (TavLowerLetter(*at) != *word) return nullptr;
  }
  return kTavLpBytes.inName(*at) || *at == '[' ? nullptr : at;
}

const char* skipBlanks(const char* at) noexcept {
  while (*at == ' ' || *at == '\t') ++at;
  return at;
}

}  // namespace

TavLpSection TavLpSectionAt(const char* at, const char*& end) noexcept {
  for (const Word& word : kWords) {
    const char* behind = TavLowerLetter(*at) == *word.text ? wordEnd(at, word.text) : nullptr;
    if (behind && word.second) behind = wordEnd(skipBlanks(behind), word.second);
    if (!behind) continue;
    end = behind;
    return word.section;
  }
  return TavLpSection::None;
}

const char* TavLpLongNameEnd(const char* at) noexcept {
  const char* end = at + 1;
  int open = 0;
  for (;; ++end) {
    if (kTavLpBytes.inName(*end)) continue;
    if (*end == '[') {
      ++open;
    } else if (*end == ']' && open > 0) {
      --open;
    } else {
      return end;
    }
  }
}

const char* TavLpNameFault(std::string_view name) noexcept {
  int brackets = 0, parentheses = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    brackets += (c == '[') - (c == ']');
    parentheses += (c == '(') - (c == ')');
    if (brackets < 0 || parentheses < 0) break;
    if (c == '/' && i + 1 < name.size() && name[i + 1] >= '0' && name[i + 1] <= '9') {
      return "reads as a division, expected a name without / before a digit";
    }
  }
  if (brackets != 0 || parentheses != 0) return "has a bracket without its partner, expected a name";
  if (name.back() == ';' || name.back() == ',') return "ends with a comma or semicolon, expected a name";
  if (TavSameWord(name, "nan")) return "is not a number, expected a number or a name";
  return nullptr;
}

const char* TavLpNameProblem(std::string_view name, bool ofVariable) {
  // With line feeds behind it the scans end.
  const std::string text = std::string(name).append(16, '\n');
  if (name.empty() || !kTavLpBytes.beginsName(name.front())) return "does not begin as a name of the LP format";
  if (TavLpNameEnd(text.data()) != text.data() + name.size())
    return "has a character that no name of the LP format has";
  if (TavLpNameFault(name)) return "has brackets, commas or a / that no name of the LP format has";
  if (!ofVariable) return nullptr;
  const char* end;
  const bool isWord = TavLpSectionAt(text.data(), end) != TavLpSection::None && end == text.data() + name.size();
  if (isWord || TavSameWord(name, "inf") || TavSameWord(name, "infinity") || TavSameWord(name, "free")) {
    return "is a word of the LP format";
  }
  return nullptr;
}
