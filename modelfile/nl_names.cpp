#include "modelfile/nl_names.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

#include "modelfile/file_error.h"
#include "modelfile/input.h"
#include "modelfile/nl_order.h"

namespace {

/// The file's path without .nl, .nl.gz or .nl.bz2.
std::string stubOf(std::string path) {
  for (const char* end : {".gz", ".bz2", ".nl"}) {
    const std::size_t length = std::strlen(end);
    if (path.size() > length && path.compare(path.size() - length, length, end) == 0) path.resize(path.size() - length);
  }
  return path;
}

/// Calls take(name, place) for every line of the file, if there is one.
template <class Take>
void eachLine(const std::string& path, const TavReadOptions& options, Take take) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return;
  TavReadOptions quiet = options;
  quiet.progress = nullptr;
  TavFileInput input = TavFileInput::openFile(path, quiet);
  while (input.nextLines()) {
    for (const char* at = input.begin(); at != input.end();) {
      const char* end = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(input.end() - at)));
      std::string_view name(at, static_cast<std::size_t>(end - at));
      while (!name.empty() && (name.back() == '\r' || name.back() == ' ')) name.remove_suffix(1);
      take(name, input, at);
      at = end + 1;
    }
  }
}

void refuseTwice(TavNameTable& names, const std::string& path) {
  const std::int32_t twice = names.rehash();
  if (twice == TavNameTable::kNone) return;
  throw TavFileError(path, {static_cast<std::uint64_t>(twice) + 1, 1},
                     "the name " + std::string(names[twice]) + " stands here twice, expected different names");
}

/// Writes lines to a file; the first failure is thrown.
class LineFile {
 public:
  explicit LineFile(const std::string& path) : _path(path), _file(std::fopen(path.c_str(), "wb")) {
    if (!_file) fail();
  }
  void line(std::string_view text) {
    if (text.find('\n') != text.npos) {
      throw TavFileError(_path, {}, "the name " + std::string(text) + " has a line feed, which name files cannot say");
    }
    if (std::fwrite(text.data(), 1, text.size(), _file.get()) != text.size() || std::fputc('\n', _file.get()) == EOF) {
      fail();
    }
  }
  void close() {
    if (std::fclose(_file.release()) != 0) fail();
  }

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  [[noreturn]] void fail() const { throw TavFileError(_path, {}, "cannot be written"); }

  std::string _path;
  std::unique_ptr<std::FILE, Closer> _file;
};

/// The name, or a letter and the item's number.
std::string nameOr(std::string_view name, char letter, std::size_t item) {
  return name.empty() ? letter + std::to_string(item + 1) : std::string(name);
}

}  // namespace

void TavNlTakeSets(TavFileModel& model) {
  const auto find = [&model](const char* name) {
    return std::find_if(model.suffixes.begin(), model.suffixes.end(), [name](const TavFileSuffix& suffix) {
      return suffix.of == TavFileSuffix::Of::Variables && suffix.name == name;
    });
  };
  const auto numbers = find("sosno"), weights = find("ref");
  if (numbers == model.suffixes.end() || weights == model.suffixes.end()) return;
  std::map<std::int32_t, double> weightOf;
  for (const TavFileTerm& weight : weights->values) weightOf[weight.variable] = weight.value;
  const auto byNumber = [](double a, double b) {  // the order of the sets
    return std::pair(std::fabs(a), a) < std::pair(std::fabs(b), b);
  };
  std::map<double, TavFileSet, decltype(byNumber)> sets(byNumber);
  for (const TavFileTerm& number : numbers->values) {
    if (number.value == 0.0) continue;
    TavFileSet& set = sets[number.value];
    set.type = number.value > 0.0 ? 1 : 2;
    set.members.push_back({number.variable, weightOf[number.variable]});
  }
  for (auto& [number, set] : sets) {
    set.name = "set" + std::to_string(static_cast<std::int64_t>(std::fabs(number)));
    model.sets.push_back(std::move(set));
  }
  std::erase_if(model.suffixes, [](const TavFileSuffix& suffix) {
    return suffix.of == TavFileSuffix::Of::Variables && (suffix.name == "sosno" || suffix.name == "ref");
  });
}

void TavReadNlNames(TavFileModel& model, const std::string& path, const TavReadOptions& options) {
  const std::string stub = stubOf(path);
  eachLine(stub + ".col", options, [&model](std::string_view name, const TavFileInput& input, const char* at) {
    if (model.variableNames.size() == std::ssize(model.variables)) input.fail(at, "more names than variables");
    model.variableNames.append(name);
  });
  refuseTwice(model.variableNames, stub + ".col");
  const auto rows = static_cast<std::int32_t>(model.rows.size() + model.logical.size());
  std::size_t objective = 0;
  eachLine(stub + ".row", options, [&](std::string_view name, const TavFileInput& input, const char* at) {
    if (model.rowNames.size() < rows) {
      model.rowNames.append(name);
    } else if (objective < model.objectives.size()) {
      model.objectives[objective++].name = name;
    } else {
      input.fail(at, "more names than constraints and objectives");
    }
  });
  refuseTwice(model.rowNames, stub + ".row");
}

void TavWriteNlNames(const TavFileModel& model, const std::string& path) {
  const std::string stub = stubOf(path);
  const TavNlLayout layout(model);
  if (model.variableNames.size() > 0) {
    LineFile file(stub + ".col");
    for (const std::int32_t j : layout.variables.itemAt) {
      file.line(nameOr(model.variableNames[j], 'x', static_cast<std::size_t>(j)));
    }
    file.close();
  }
  if (model.rowNames.size() > 0 || (!model.objectives.empty() && !model.objectives.front().name.empty())) {
    LineFile file(stub + ".row");
    for (const std::int32_t i : layout.rows.itemAt) {
      file.line(nameOr(model.rowNames[i], 'c', static_cast<std::size_t>(i)));
    }
    for (std::size_t i = model.rows.size(); i < model.rows.size() + model.logical.size(); ++i) {
      file.line(nameOr(model.rowNames[static_cast<std::int32_t>(i)], 'c', i));
    }
    for (std::size_t i = 0; i < model.objectives.size(); ++i) file.line(nameOr(model.objectives[i].name, 'o', i));
    file.close();
  }
}
