#include <cmath>
#include <filesystem>
#include <limits>

#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/options.h"

namespace tavsolve {

namespace {

double positive(const std::string& word) {
  const double value = numberOf(word);
  if (value <= 0.0) throw InputError("the value must be above zero");
  return value;
}

double notNegative(const std::string& word) {
  const double value = numberOf(word);
  if (value < 0.0) throw InputError("the value must not be below zero");
  return value;
}

/// Whole numbers up to it have a double of their own.
constexpr std::int64_t kMostBytes = std::int64_t{1} << 53;

template <class Whole>
Whole whole(const std::string& word, double least, std::int64_t most = std::numeric_limits<int>::max()) {
  const double value = numberOf(word);
  if (value != std::floor(value) || value < least || value > static_cast<double>(most)) {
    throw InputError("\"" + word + "\" is not a whole number from " + text(least) + " to " + std::to_string(most));
  }
  return static_cast<Whole>(value);
}

/// Which of the words it is.
std::size_t oneOf(const std::string& word, std::initializer_list<const char*> words) {
  std::string all;
  std::size_t place = 0;
  for (const char* known : words) {
    if (word == known) return place;
    all += (place++ == 0 ? "" : place == words.size() ? " or " : ", ") + std::string(known);
  }
  throw InputError("\"" + word + "\" is not one of " + all);
}

std::string modelName(const std::string& path) {
  // The last extension alone: compressed files are not written.
  if (TavFormatOfName(std::filesystem::path(path).extension().native()) != TavFileFormat::Auto) return path;
  throw InputError(path + " says no format: expected a name that ends with .mps, .lp or .nl");
}

std::pair<std::string, std::string> assignment(const std::string& word) {
  const std::size_t sign = word.find('=');
  if (sign == 0 || sign == std::string::npos) throw InputError("\"" + word + "\" is not NAME=VALUE");
  return {word.substr(0, sign), word.substr(sign + 1)};
}

const std::vector<OptionRow> kSolving{
    {"engine", "NAME", "Solves with this engine instead of the one that suits the model: cbc, ipopt or bonmin.",
     [](Options& o, Operands w) { o.engine = w[0]; }},
    {"time", "SECONDS", "Ends after that long, all phases from reading on together.",
     [](Options& o, Operands w) { o.controls.seconds = positive(w[0]); }},
    {"gap", "RATIO", "Ends when objective and bound differ by no more than this part of the objective.",
     [](Options& o, Operands w) { o.controls.gap = notNegative(w[0]); }},
    {"absolute-gap", "AMOUNT", "Ends when objective and bound differ by no more than this.",
     [](Options& o, Operands w) { o.controls.absoluteGap = notNegative(w[0]); }},
    {"nodes", "COUNT", "Ends each tree search after that many nodes.",
     [](Options& o, Operands w) { o.controls.nodes = whole<long>(w[0], 0); }},
    {"tolerance", "AMOUNT",
     "Rows, bounds and whole numbers hold within this much, relative to values above 1; otherwise the solution is not "
     "called optimal. Default 1e-6.",
     [](Options& o, Operands w) { o.controls.tolerance = positive(w[0]); }},
    {"method", "primal|dual|barrier", "Solves linear models by this method.",
     [](Options& o, Operands w) {
       constexpr Method kMethods[] = {Method::Primal, Method::Dual, Method::Barrier};
       o.controls.method = kMethods[oneOf(w[0], {"primal", "dual", "barrier"})];
     }},
    {"presolve", "on|off", "Whether the solver simplifies the model first.",
     [](Options& o, Operands w) {
       o.controls.presolve = oneOf(w[0], {"on", "off"}) == 0;
     }},
    {"threads", "COUNT", "Threads of the tree search, for the engine cbc.",
     [](Options& o, Operands w) { o.controls.threads = whole<int>(w[0], 1); }},
    {"seed", "NUMBER", "Seed of the solver's random numbers.",
     [](Options& o, Operands w) { o.controls.seed = whole<int>(w[0], 0); }},
    {"start", "FILE", "Values to start from, in the plain format of --solution.",
     [](Options& o, Operands w) { o.start = w[0]; }},
    {"option", "NAME=VALUE", "Sets an option of the solver itself, by its own name. Repeats.",
     [](Options& o, Operands w) { o.controls.options.push_back(assignment(w[0])); }},
    {"max", "", "Maximises, whatever the file says.", [](Options& o, Operands) { o.maximise = true; }},
    {"min", "", "Minimises, whatever the file says.", [](Options& o, Operands) { o.maximise = false; }},
    {"relax", "", "Solves the continuous relaxation; the model itself stays as it is.",
     [](Options& o, Operands) { o.relax = true; }},
};

const std::vector<OptionRow> kStages{
    {"edits", "FILE",
     "Reads edits from a file: one command a line, written as above without the dashes, or \"then\"; \"-\" is standard "
     "input.",
     [](Options& o, Operands w) { parseEdits(contentsOf(w[0]), w[0], o.stages); }},
    {"then", "", "Solves here, before the edits that follow are applied.",
     [](Options& o, Operands) { o.stages.emplace_back(); }},
    {"check", "", "After the last edit, extracts the model afresh into a second solver and confirms the answer.",
     [](Options& o, Operands) { o.check = true; }},
};

/// The names of a list, separated by commas; one with a comma or quote stands in double quotes.
std::vector<std::string> namesOf(const std::string& list) {
  std::vector<std::string> names(1);
  bool isQuoted = false;
  for (const char c : list) {
    if (c == '"') {
      isQuoted = !isQuoted;
    } else if (c == ',' && !isQuoted) {
      names.emplace_back();
    } else {
      names.back() += c;
    }
  }
  if (isQuoted) throw InputError("a quote is not closed");
  return names;
}

const std::vector<OptionRow> kScenarios{
    {"scenarios", "FILE",
     "Solves the scenarios of a file: each line is a name and edits as in files of edits, separated by semicolons.",
     [](Options& o, Operands w) { o.scenarios = w[0]; }},
    {"results", "FILE",
     "Where their results go, a line each: as JSON for a name that ends with .json or .jsonl, else as CSV. A run that "
     "was "
     "ended early is continued by the same command.",
     [](Options& o, Operands w) { o.results = w[0]; }},
    {"values", "NAME,...", "Columns and rows whose values are part of the results.",
     [](Options& o, Operands w) { o.values = namesOf(w[0]); }},
    {"jobs", "COUNT", "So many processes solve scenarios at the same time. Default 1.",
     [](Options& o, Operands w) { o.jobs = whole<int>(w[0], 1); }},
};

const std::vector<OptionRow> kAnswers{
    {"solution", "FILE",
     "Writes the solution: as JSON for a name that ends with .json, in the format of modelling systems for .sol, and "
     "else as plain text. A % in the name stands for the number of the solve; without it the last solve remains. \"-\" "
     "is standard output, and the report then goes to standard error; so does -.json.",
     [](Options& o, Operands w) { o.solution = w[0]; }},
    {"print-values", "", "Adds the values of all columns to the report.",
     [](Options& o, Operands) { o.printValues = true; }},
    {"log", "FILE", "Writes report, progress and what the solver prints to a file too.",
     [](Options& o, Operands w) { o.log = w[0]; }},
    {"quiet", "", "No progress.", [](Options& o, Operands) { o.quiet = true; }},
};

const std::vector<OptionRow> kModel{
    {"infinity", "SIZE", "Bounds of this size and beyond in the model file are no bounds. Default 1e20.",
     [](Options& o, Operands w) { o.reading.infinity = positive(w[0]); }},
    {"unpacked-limit", "BYTES", "Refuses a compressed model file that holds more than this. Default 8589934592.",
     [](Options& o, Operands w) { o.reading.decompressedLimit = whole<std::uint64_t>(w[0], 1, kMostBytes); }},
    {"print", "plain|library", "Writes the model as text before it is solved, in either syntax.",
     [](Options& o, Operands w) {
       o.print = oneOf(w[0], {"plain", "library"}) == 0 ? PrintForm::Plain : PrintForm::Library;
     }},
    {"write", "FILE", "Writes the model, after all edits, as MPS, LP or .nl by the name's extension.",
     [](Options& o, Operands w) { o.write = modelName(w[0]); }},
    {"keep-failed", "FILE", "Writes the model, in the same formats, as it is when the solver fails.",
     [](Options& o, Operands w) { o.keepFailed = modelName(w[0]); }},
    {"no-solve", "", "Ends when the model is read, built, edited and written.",
     [](Options& o, Operands) { o.noSolve = true; }},
};

const std::vector<OptionRow> kOthers{
    {"help", "", "Prints this text.", [](Options& o, Operands) { o.help = true; }},
    {"version", "", "Prints the version and the engines.", [](Options& o, Operands) { o.version = true; }},
};

std::vector<OptionRow> editRows() {
  std::vector<OptionRow> rows;
  for (const EditVerb& verb : editVerbs()) rows.push_back({verb.name, verb.operands, verb.help, nullptr, &verb});
  rows.insert(rows.end(), kStages.begin(), kStages.end());
  return rows;
}

}  // namespace

std::size_t OptionRow::operandCount() const {
  std::size_t count = *operands != '\0';
  for (const char* c = operands; *c; ++c) count += *c == ' ';
  return count;
}

const std::vector<OptionSection>& optionTable() {
  static const std::vector<OptionSection> kTable{
      {"Solving",
       "Linear and mixed-integer models, also with semi-continuous columns and special ordered sets, are solved by the "
       "engine cbc, quadratic and non-linear ones by ipopt, and by bonmin where they have integers.",
       kSolving},
      {"Edits",
       "The model is solved as it stands in the file; then these are applied in order, while it stays loaded in the "
       "solver, and it is solved again. All are checked before the first is applied.",
       editRows()},
      {"Scenarios",
       "The model, after the edits, is the base model. It is solved first; then each scenario is solved from the base "
       "model's solution. --time is the limit of each solve. The exit code is 0 when all have a result and none has "
       "failed, "
       "and else 1. Under mpirun the processes share the scenarios.",
       kScenarios},
      {"Answers", "", kAnswers},
      {"The model itself", "", kModel},
      {"Others", "", kOthers},
  };
  return kTable;
}

}  // namespace tavsolve
