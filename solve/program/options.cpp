#include "solve/program/options.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>

#include "solve/edits/words.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

const OptionRow* findOption(std::string_view name) {
  for (const OptionSection& section : optionTable()) {
    for (const OptionRow& row : section.rows) {
      if (row.name == name) return &row;
    }
  }
  return nullptr;
}

/// How many letters must be inserted, left out or replaced (V. I. Levenshtein, 1966).
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> last(b.size() + 1), row(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      row[j + 1] = std::min({last[j] + (a[i] != b[j]), last[j + 1] + 1, row[j] + 1});
    }
    std::swap(last, row);
  }
  return last.back();
}

/// `word` as it was written; `dashes` stand before the name of an option there.
[[noreturn]] void failUnknown(const std::string& word, const std::string& dashes) {
  const std::string name = word.substr(std::min(word.find_first_not_of('-'), word.size()));
  const OptionRow* nearest = nullptr;
  std::size_t least = std::max<std::size_t>(2, name.size() / 3) + 1;
  for (const OptionSection& section : optionTable()) {
    for (const OptionRow& row : section.rows) {
      const std::size_t far = std::string_view(row.name).starts_with(name) ? 1 : distance(name, row.name);
      if (far >= least) continue;
      least = far;
      nearest = &row;
    }
  }
  const std::string unknown = "unknown option " + word;
  if (!nearest || name.size() < 2) throw InputError(unknown + " (see --help)");
  throw InputError(unknown + ": did you mean " + dashes + nearest->name + "?");
}

void set(Options& options, const OptionRow& row, const std::string& label, Operands operands) {
  try {
    if (std::find(operands.begin(), operands.end(), "") != operands.end()) throw InputError("an argument is empty");
    if (row.verb) {
      options.stages.back().push_back(row.verb->parse(operands));
    } else {
      row.set(options, operands);
    }
  } catch (const InputError& error) {
    throw InputError(label + ": " + error.what());
  }
}

void takeFile(Options& options, const std::string& file) {
  if (!options.file.empty()) throw InputError("more than one file: " + options.file + " and " + file);
  options.file = file;
}

/// Walks the arguments of a person.
void parseWords(Options& options, const std::vector<std::string>& words) {
  bool onlyFiles = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (!onlyFiles && word == "--") {
      onlyFiles = true;
      continue;
    }
    if (onlyFiles || word == "-" || word[0] != '-') {
      takeFile(options, word);
      continue;
    }
    const std::size_t sign = word.starts_with("--") ? word.find('=') : std::string::npos;
    const std::string label = word == "-h" ? "--help" : word.substr(0, sign);
    const OptionRow* row = label.starts_with("--") ? findOption(label.substr(2)) : nullptr;
    if (!row) failUnknown(label, "--");
    std::vector<std::string> operands;
    if (sign != std::string::npos) operands.push_back(word.substr(sign + 1));
    if (operands.size() > row->operandCount()) throw InputError(label + ": takes no value");
    while (operands.size() < row->operandCount()) {
      if (++i == words.size()) throw InputError(label + ": too few arguments: expected " + row->operands);
      operands.push_back(words[i]);
    }
    set(options, *row, label, operands);
    if (options.help || options.version) return;
  }
}

/// "key=value", or "key" alone for an option without operands; underscores stand for the dashes within names.
void parseKeyword(Options& options, const std::string& word) {
  const std::size_t sign = word.find('=');
  std::string name = word.substr(0, sign);
  std::replace(name.begin(), name.end(), '_', '-');
  const OptionRow* row = findOption(name);
  if (!row) failUnknown(name, "");
  std::vector<std::string> operands;
  if (sign != std::string::npos) operands.push_back(word.substr(sign + 1));
  if (operands.size() != row->operandCount()) throw InputError(name + ": expected " + name + "=" + row->operands);
  set(options, *row, name, operands);
}

/// Walks the arguments of a modelling system: stub -AMPL [key=value …].
void parseCall(Options& options, const std::vector<std::string>& words) {
  if (const char* environment = std::getenv("tavsolve_options")) {
    CommandReader reader(environment, "tavsolve_options");
    for (std::vector<std::string> keywords; reader.next(keywords);) {
      for (const std::string& keyword : keywords) parseKeyword(options, keyword);
    }
  }
  for (const std::string& word : words) {
    if (word == "-AMPL") continue;
    if (options.file.empty()) {
      options.file = word.ends_with(".nl") ? word : word + ".nl";
    } else {
      parseKeyword(options, word);
    }
  }
  if (!options.file.empty()) options.solution = options.file.substr(0, options.file.size() - 2) + "sol";
}

/// Throws InputError for options that scenarios need, or that they leave no sense.
void checkScenarios(const Options& options) {
  if (options.scenarios.empty()) {
    const char* alone = !options.results.empty()  ? "--results"
                        : !options.values.empty() ? "--values"
                        : options.jobs > 1        ? "--jobs"
                                                  : nullptr;
    if (alone) throw InputError(std::string(alone) + " is for --scenarios");
    return;
  }
  if (options.results.empty() || options.results == "-") throw InputError("--scenarios needs --results FILE");
  if (options.file == "-" || options.scenarios == "-") {
    throw InputError("--scenarios needs files, which can be read again when the run is continued");
  }
  const char* other = options.stages.size() > 1     ? "--then"
                      : options.check               ? "--check"
                      : options.noSolve             ? "--no-solve"
                      : !options.solution.empty()   ? "--solution"
                      : options.printValues         ? "--print-values"
                      : !options.write.empty()      ? "--write"
                      : !options.keepFailed.empty() ? "--keep-failed"
                                                    : nullptr;
  if (other) throw InputError(std::string(other) + " cannot be used with --scenarios");
}

bool isSameFile(const std::string& a, const std::string& b) {
  if (a.empty() || b.empty() || a == "-" || b == "-") return false;
  std::error_code none;  // a file that is missing is not the same
  if (std::filesystem::exists(a, none) && !std::filesystem::is_regular_file(a, none)) return false;
  return a == b || std::filesystem::equivalent(a, b, none);
}

/// Throws InputError where what is written would replace what is read, or something else that is written. A model may
/// be written over the one that was read, and a solution over the one to start from.
void checkFiles(const Options& options) {
  struct Written {
    const char* option;
    const std::string& file;
    bool mayReplaceModel = false, mayReplaceStart = true;
  };
  const Written written[] = {{"--log", options.log, false, false},
                             {"--solution", options.solution},
                             {"--results", options.results},
                             {"--write", options.write, true},
                             {"--keep-failed", options.keepFailed, true}};
  for (const Written* a = std::begin(written); a != std::end(written); ++a) {
    const bool isRead = isSameFile(a->file, options.scenarios) ||
                        (!a->mayReplaceModel && isSameFile(a->file, options.file)) ||
                        (!a->mayReplaceStart && isSameFile(a->file, options.start));
    if (isRead) throw InputError(std::string(a->option) + ": " + a->file + " is read too, expected another file");
    const Written* const b =
        std::find_if(a + 1, std::end(written), [a](const Written& other) { return isSameFile(a->file, other.file); });
    if (b == std::end(written)) continue;
    throw InputError(std::string(a->option) + " and " + b->option + ": " + a->file + " is the file of both");
  }
}

}  // namespace

Options parseOptions(int argc, const char* const* argv) {
  Options options;
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.size() == 1 && (words[0] == "-v" || words[0] == "-=")) {
    options.version = words[0] == "-v";
    options.listKeywords = words[0] == "-=";
    return options;
  }
  options.protocol = std::find(words.begin(), words.end(), "-AMPL") != words.end();
  if (options.protocol) {
    parseCall(options, words);
  } else {
    parseWords(options, words);
  }
  if (options.help || options.version) return options;
  if (options.file.empty()) throw InputError("no model file given (see --help)");
  checkScenarios(options);
  checkFiles(options);
  return options;
}

}  // namespace tavsolve
