#include "solve/scenarios/scenario_file.h"

#include <algorithm>
#include <unordered_set>

#include "solve/edits/words.h"
#include "solve/model/errors.h"

namespace tavsolve {

ScenarioFile::ScenarioFile(const std::string& path) : _contents(contentsOf(path)) {
  std::unordered_set<std::string> names;
  std::vector<std::string> words;
  int number = 0;
  for (std::string_view rest = _contents; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    CommandReader commands(line, path, ++number);
    if (!commands.next(words)) continue;
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    if (std::any_of(words[0].begin(), words[0].end(), isControl)) commands.fail("a name has a control character");
    if (!names.insert(words[0]).second) commands.fail("two scenarios are named " + words[0]);
    _scenarios.push_back({words[0], line});
  }
}

EditStage ScenarioFile::edits(std::size_t scenario) const {
  EditStage edits;
  CommandReader commands(_scenarios[scenario].line, "scenario " + _scenarios[scenario].name);
  bool isFirst = true;
  for (std::vector<std::string> words; commands.next(words); isFirst = false) {
    const std::span<const std::string> command = std::span<const std::string>(words).subspan(isFirst ? 1 : 0);
    if (!command.empty()) edits.push_back(parseEdit(command));
  }
  return edits;
}

}  // namespace tavsolve
