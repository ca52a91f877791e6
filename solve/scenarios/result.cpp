#include "solve/scenarios/result.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "solve/edits/words.h"

namespace tavsolve {

namespace {

constexpr std::size_t kDigits = 16;
constexpr std::string_view kJsonBegin = "{\"name\": \"";

std::string hexadecimal(std::uint64_t hash) {
  char text[kDigits + 1];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

/// In quotes where CSV needs them (RFC 4180).
std::string csvText(const std::string& text) {
  if (text.find_first_of(",\"") == text.npos) return text;
  std::string result = "\"";
  for (const char c : text) result += c == '"' ? "\"\"" : std::string(1, c);
  return result + '"';
}

std::string csvNumber(double number) { return std::isnan(number) ? "" : exactText(number); }

/// Takes the text up to `end` off the front, where quotes and backslashes hide what follows as the format says.
std::string takeText(std::string_view& rest, bool isJson) {
  std::string text;
  const bool isQuoted = !isJson && rest.starts_with('"');
  std::size_t at = isQuoted;
  for (; at < rest.size(); ++at) {
    const char c = rest[at];
    if (isJson && c == '\\') {
      text += rest[std::min(++at, rest.size() - 1)];
    } else if (isQuoted && rest.substr(at).starts_with("\"\"")) {
      text += rest[++at];
    } else if (c == (isJson || isQuoted ? '"' : ',')) {
      break;
    } else {
      text += c;
    }
  }
  rest.remove_prefix(std::min(at + (isQuoted ? 2 : 1), rest.size()));
  return text;
}

}  // namespace

std::uint64_t hashOf(std::string_view bytes, std::uint64_t before) {
  for (const char c : bytes) before = (before ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  return before;
}

bool isAnswer(Status status) {
  return isSolved(status) || status == Status::Infeasible || status == Status::LocallyInfeasible ||
         status == Status::Unbounded;
}

ResultFormat::ResultFormat(const std::string& path, std::vector<std::string> values, std::uint64_t run)
    : _isJson(path.ends_with(".json") || path.ends_with(".jsonl")), _values(std::move(values)), _run(run) {}

std::string ResultFormat::header() const {
  if (_isJson) return "";
  std::string text = "name,status,objective,bound,violation,seconds";
  for (const std::string& value : _values) text.append(",").append(csvText(value));
  return text + ",reason,check\n";
}

std::string ResultFormat::body(const ScenarioResult& result) const {
  struct Field {
    const char* name;
    double number;
  };
  const Field fields[] = {{"objective", result.objective},
                          {"bound", result.bound},
                          {"violation", result.violation},
                          {"seconds", result.seconds}};
  const auto valueAt = [&](std::size_t k) { return k < result.values.size() ? result.values[k] : result.kNone; };
  std::string reason = result.reason;
  std::replace_if(
      reason.begin(), reason.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  std::string text;
  if (_isJson) {
    text = "{\"name\": " + jsonString(result.name) + ", \"status\": " + jsonString(result.status);
    for (const Field& field : fields) text += std::string(", \"") + field.name + "\": " + jsonNumber(field.number);
    text += ", \"values\": {";
    for (std::size_t k = 0; k < _values.size(); ++k) {
      text += (k ? ", " : "") + jsonString(_values[k]) + ": " + jsonNumber(valueAt(k));
    }
    return text + "}, \"reason\": " + jsonString(reason) + ", \"check\": \"";
  }
  text = csvText(result.name) + "," + result.status;
  for (const Field& field : fields) text.append(",").append(csvNumber(field.number));
  for (std::size_t k = 0; k < _values.size(); ++k) text.append(",").append(csvNumber(valueAt(k)));
  return text + "," + csvText(reason) + ",";
}

std::string ResultFormat::line(const ScenarioResult& result) const {
  const std::string text = body(result);
  return text + hexadecimal(hashOf(text, _run)) + (_isJson ? "\"}\n" : "\n");
}

std::optional<ResultFormat::Finished> ResultFormat::read(std::string_view line) const {
  const std::string_view end = _isJson ? "\"}" : "";
  if (line.size() < kDigits + end.size() || !line.ends_with(end)) return {};
  line.remove_suffix(end.size());
  const std::string_view digits = line.substr(line.size() - kDigits);
  line.remove_suffix(kDigits);
  if (digits != hexadecimal(hashOf(line, _run))) return {};
  if (_isJson) line.remove_prefix(kJsonBegin.size());
  Finished finished{takeText(line, _isJson), false};
  if (_isJson) line.remove_prefix(line.find(": \"") + 3);
  const std::string status = takeText(line, _isJson);
  finished.failed = true;
  for (int s = 0; s <= static_cast<int>(Status::Stopped); ++s) {
    if (status == wordsFor(static_cast<Status>(s))) finished.failed = !isAnswer(static_cast<Status>(s));
  }
  return finished;
}

bool ResultFormat::canBegin(std::string_view text) const {
  return !_isJson || kJsonBegin.substr(0, text.size()) == text.substr(0, kJsonBegin.size());
}

}  // namespace tavsolve
