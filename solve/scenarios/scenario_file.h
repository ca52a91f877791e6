#pragma once
/// Files of scenarios: variants of one model.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "solve/edits/edit.h"

namespace tavsolve {

/// Each line is a name and the edits that make the scenario of the base model, separated by semicolons:
///
///     dear       set-coef COST SE_NY 4
///     "no SD"    fix SD_NY 0; fix SD_CH 0; fix SD_TO 0
///
/// A name alone is the base model itself; # begins a comment.
class ScenarioFile {
 public:
  /// Throws InputError, with the line, for a name that cannot be read or that two scenarios have. Edits are not read
  /// yet: one that is wrong is a failure of its scenario alone.
  explicit ScenarioFile(const std::string& path);
  ScenarioFile(const ScenarioFile&) = delete;
  ScenarioFile& operator=(const ScenarioFile&) = delete;

  const std::string& contents() const { return _contents; }
  std::size_t size() const { return _scenarios.size(); }
  const std::string& name(std::size_t scenario) const { return _scenarios[scenario].name; }
  /// Throws InputError for what is no edit.
  EditStage edits(std::size_t scenario) const;

 private:
  struct Scenario {
    std::string name;
    std::string_view line;
  };

  std::string _contents;
  std::vector<Scenario> _scenarios;
};

}  // namespace tavsolve
