#pragma once
/// Results of scenarios, as lines of a file.

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "solve/engines/engine.h"

namespace tavsolve {

/// A hash of bytes, and of what was hashed before them (64-bit FNV-1a).
std::uint64_t hashOf(std::string_view bytes, std::uint64_t before = 0xcbf29ce484222325U);

/// Whether the status is an answer. What ends otherwise, at a limit for instance, has failed.
bool isAnswer(Status status);

/// What is known of one scenario; NaN for what is not.
struct ScenarioResult {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  std::string name{};
  /// "failed", or wordsFor() the status.
  std::string status = "failed";
  double objective = kNone, bound = kNone, violation = kNone, seconds = kNone;
  /// Those that were asked for.
  std::vector<double> values{};
  /// Why the scenario has failed; empty where it has not.
  std::string reason{};
};

/// How results are written: as CSV, or as one JSON object a line. The last field of a line is a hash of the line, which
/// shows whether the line is complete and belongs to this run.
class ResultFormat {
 public:
  /// JSON for a path that ends with .json or .jsonl. `values` are the names of ScenarioResult::values; `run` is a hash
  /// of all that the results depend on.
  ResultFormat(const std::string& path, std::vector<std::string> values, std::uint64_t run);

  const std::vector<std::string>& values() const { return _values; }
  /// The first line of the file; empty where the format has none. It ends with a line feed, as lines do.
  std::string header() const;
  std::string line(const ScenarioResult& result) const;

  struct Finished {
    std::string name;
    bool failed;
  };
  /// What a line, without its end, says; nothing when it is no complete line of this run.
  std::optional<Finished> read(std::string_view line) const;
  /// Whether a line with this beginning can be one of the format.
  bool canBegin(std::string_view text) const;

 private:
  std::string body(const ScenarioResult& result) const;

  bool _isJson;
  std::vector<std::string> _values;
  std::uint64_t _run;
};

}  // namespace tavsolve
