#include "solve/engines/cbc_options.h"

#include <CbcModel.hpp>
#include <CbcOrClpParam.hpp>
#include <CbcSolver.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "solve/engines/option_errors.h"

namespace tavsolve {

namespace {

std::string text(double number) {
  std::ostringstream os;
  os.precision(17);
  os << number;
  return os.str();
}

/// Whether the word is a number, and a whole one where it must be, from `lower` to `upper`.
bool isNumber(const std::string& word, bool whole, double lower, double upper) {
  double value = 0.0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size()) return false;
  return value >= lower && value <= upper && (!whole || value == std::floor(value));
}

/// By the ranges of CBC's numbers for its parameters.
bool isCommand(const CbcOrClpParam& parameter) { return parameter.type() < 1 || parameter.type() > 400; }

bool takes(const CbcOrClpParam& parameter, const std::string& value) {
  if (parameter.type() <= 100) {
    return isNumber(value, false, parameter.lowerDoubleValue(), parameter.upperDoubleValue());
  }
  if (parameter.type() <= 200) return isNumber(value, true, parameter.lowerIntValue(), parameter.upperIntValue());
  return parameter.parameterOption(value) >= 0;
}

}  // namespace

void checkCbcOptions(const Controls& controls) {
  if (controls.options.empty()) return;
  CbcModel none{OsiClpSolverInterface()};
  CbcSolverUsefulData known;
  CbcMain0(none, known);
  for (const auto& [name, value] : controls.options) {
    const auto matches = [&name = name](const CbcOrClpParam& parameter) { return parameter.matches(name) == 1; };
    const auto parameter = std::find_if(known.parameters_.begin(), known.parameters_.end(), matches);
    if (parameter == known.parameters_.end() || isCommand(*parameter)) throw noOption("cbc", name);
    if (!takes(*parameter, value)) throw noValue("cbc", name, value);
  }
}

std::vector<std::string> cbcWords(const Controls& controls, double seconds, bool careful) {
  std::vector<std::string> words{"tavsolve", "-log", controls.log.empty() ? "0" : "1"};
  const auto say = [&words](const char* name, const std::string& value) { words.insert(words.end(), {name, value}); };
  if (std::isfinite(seconds)) {
    say("-timeMode", "elapsed");
    say("-seconds", text(seconds));
  }
  if (controls.gap) say("-ratioGap", text(*controls.gap));
  if (controls.absoluteGap) say("-allowableGap", text(*controls.absoluteGap));
  if (controls.nodes) say("-maxNodes", std::to_string(*controls.nodes));
  if (controls.threads && *controls.threads > 1) say("-threads", std::to_string(*controls.threads));
  if (controls.seed) say("-randomCbcSeed", std::to_string(*controls.seed));
  if (careful || !controls.presolve.value_or(true)) {
    say("-preprocess", "off");
    say("-presolve", "off");
  }
  if (careful) {
    say("-heuristicsOnOff", "off");
    say("-cutsOnOff", "off");
    say("-strongBranching", "0");  // dynamic branching breaks down on sets beside whole columns
    say("-trustPseudoCosts", "0");
  }
  for (const auto& [name, value] : controls.options) say(("-" + name).c_str(), value);
  switch (controls.method) {
    case Method::Primal:
      words.push_back("-primalSimplex");
      break;
    case Method::Barrier:
      words.push_back("-barrier");
      break;
    case Method::Automatic:
    case Method::Dual:
      break;
  }
  words.insert(words.end(), {"-solve", "-quit"});
  return words;
}

}  // namespace tavsolve
