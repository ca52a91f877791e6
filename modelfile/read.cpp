#include <algorithm>
#include <stdexcept>

#include "modelfile/formats.h"
#include "modelfile/nl_names.h"
#include "modelfile/words.h"

namespace {

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && TavSameWord(text.substr(text.size() - end.size()), end);
}

/// A letter g or b and the number of options: no other format begins so.
bool looksLikeNl(std::string_view text) {
  return text.size() > 1 && (text[0] == 'g' || text[0] == 'b') && text[1] >= '0' && text[1] <= '9';
}

/// The first word that is not in a comment begins in the first column and is a section of an MPS file.
bool looksLikeMps(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    if (line.empty() || line.front() == '*' || line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
    line = line.substr(0, line.find_first_of(" \t\r"));
    for (const char* word : {"NAME", "ROWS", "OBJSENSE", "OBJNAME"}) {
      if (TavSameWord(line, word)) return true;
    }
    return false;
  }
  return false;
}

TavFileModel read(TavFileInput& input) {
  TavFileFormat format = input.options().format;
  if (format == TavFileFormat::Auto) format = TavFormatOfName(input.name());
  if (format == TavFileFormat::Auto) {
    const std::string_view head(input.begin(), static_cast<std::size_t>(input.end() - input.begin()));
    format = looksLikeNl(head) ? TavFileFormat::Nl : looksLikeMps(head) ? TavFileFormat::Mps : TavFileFormat::Lp;
  }
  try {
    if (format == TavFileFormat::Mps) return TavReadMps(input);
    if (format == TavFileFormat::Nl) return TavReadNl(input);
    return TavReadLp(input);
  } catch (const std::length_error&) {
    input.fail(input.begin(), "more than 2^31 - 1 names, expected fewer");
  }
}

}  // namespace

TavFileFormat TavFormatOfName(std::string_view name) {
  for (const char* packed : {".gz", ".bz2"}) {
    if (endsWith(name, packed)) name.remove_suffix(std::string_view(packed).size());
  }
  if (endsWith(name, ".mps")) return TavFileFormat::Mps;
  if (endsWith(name, ".lp")) return TavFileFormat::Lp;
  return endsWith(name, ".nl") ? TavFileFormat::Nl : TavFileFormat::Auto;
}

TavFileModel TavReadModel(const std::string& path, const TavReadOptions& options) {
  TavFileInput input = TavFileInput::openFile(path, options);
  TavFileModel model = read(input);
  if (TavFormatOfName(path) == TavFileFormat::Nl) TavReadNlNames(model, path, options);
  return model;
}

TavFileModel TavReadModelText(std::string_view text, const std::string& name, const TavReadOptions& options) {
  TavFileInput input = TavFileInput::openText(text, name, options);
  return read(input);
}
