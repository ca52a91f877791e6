#include "modelfile/nl_names.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "modelfile/file_error.h"
#include "modelfile/input.h"
#include "modelfile/nl_order.h"
#include "modelfile/number_text.h"

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
  [[noreturn]] void fail() const {
    throw TavFileError(_path, {}, std::string("cannot be written: ") + std::strerror(errno));
  }

  std::string _path;
  std::unique_ptr<std::FILE, Closer> _file;
};

/// Refuses a name that would not come back from its line.
void checkLine(std::string_view name, const std::string& file) {
  if (name.find('\n') == name.npos && (name.empty() || (name.back() != ' ' && name.back() != '\r'))) return;
  throw TavFileError(file, {},
                     "the name \"" + std::string(name) +
                         "\" has a line feed or ends with a blank, which files of names " + "cannot say");
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
  std::set<std::string> names;
  for (auto& [number, set] : sets) {
    char text[kTavLongestNumber];
    set.name = "set" + std::string(text, TavWriteNumber(text, std::fabs(number)));
    while (!names.insert(set.name).second) set.name += '_';
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

TavNlNames::TavNlNames(const TavFileModel& model, const std::string& path) : _model(model), _stub(stubOf(path)) {
  const auto check = [](const TavWriterNames& names, std::size_t count, const std::string& file) {
    for (std::size_t i = 0; i < count; ++i) checkLine(names[static_cast<std::int32_t>(i)], file);
  };
  if (model.variableNames.size() > 0) {
    const std::string file = _stub + ".col";
    check(_variables.emplace(model.variableNames, model.variables.size(), "x", "variables", file),
          model.variables.size(), file);
  }
  if (model.rowNames.size() > 0 || (!model.objectives.empty() && !model.objectives.front().name.empty())) {
    const std::size_t count = model.rows.size() + model.logical.size();
    const std::string file = _stub + ".row";
    check(_rows.emplace(model.rowNames, count, "c", "rows", file), count, file);
    for (const TavFileObjective& objective : model.objectives) checkLine(objective.name, file);
  }
}

void TavNlNames::write() const {
  const TavNlLayout layout(_model);
  if (_variables) {
    LineFile file(_stub + ".col");
    for (const std::int32_t j : layout.variables.itemAt) file.line((*_variables)[j]);
    file.close();
  }
  if (_rows) {
    LineFile file(_stub + ".row");
    for (const std::int32_t i : layout.rows.itemAt) file.line((*_rows)[i]);
    for (std::size_t i = _model.rows.size(); i < _model.rows.size() + _model.logical.size(); ++i) {
      file.line((*_rows)[static_cast<std::int32_t>(i)]);
    }
    for (std::size_t i = 0; i < _model.objectives.size(); ++i) {
      const std::string& name = _model.objectives[i].name;
      file.line(name.empty() ? "o" + std::to_string(i + 1) : name);
    }
    file.close();
  }
  std::error_code ignored;
  if (!_variables) std::filesystem::remove(_stub + ".col", ignored);
  if (!_rows) std::filesystem::remove(_stub + ".row", ignored);
}
