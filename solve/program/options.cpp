#include "solve/program/options.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "modelfile/tavmodelfile.h"
#include "solve/model/errors.h"

namespace tavsolve {

const char* const kHelp =
    R"(usage: tavsolve [OPTION]... FILE

Reads a model, solves it with the engine for its class, and can then modify it and solve it again.

FILE        an MPS file (fixed or free), an LP file or an .nl file (text or binary), told by the name's extension and
            else by the contents; also compressed (gzip, bzip2); - is standard input

  --set-bounds COLUMN LB UB     new bounds of a column; -inf and inf stand for none. On a semi-continuous
                                column LB is the threshold
  --set-coef ROW COLUMN VALUE   new coefficient; ROW may be the objective's name
  --remove COLUMN               removes a column from the model
                                These three repeat, are applied in order, and all are checked before the first
                                is applied. The model stays loaded in the solver, which is told of each change.
  --check                       after the modifications, extracts the model afresh into a second solver and
                                confirms its objective
  --relax                       solves the continuous relaxation; the model itself stays as it is
  --print=plain|library         writes the model as text first, in either syntax
  --write FILE                  writes the model, after the modifications, as MPS, LP or .nl by the name's extension
  --no-solve                    stops when the model is read, built, modified and written
  --engine NAME                 solves with this engine instead of the one that suits the model:
                                cbc, ipopt or bonmin
  --time SECONDS                stops each solve after that long
  --quiet                       no progress on the terminal
  --help                        this text

Linear and mixed-integer models, also with semi-continuous columns and special ordered sets, are solved by cbc,
quadratic and non-linear ones by ipopt, and by bonmin where they have integers.

exit code: 0 solved; 1 infeasible, unbounded or not solved; 2 bad usage, unreadable file or failed output; 3 the solver
failed
)";

namespace {

double parseNumber(const std::string& option, const char* text) {
  const char* first = *text == '+' ? text + 1 : text;
  const char* last = text + std::strlen(text);
  double value = 0.0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (error != std::errc() || end != last || std::isnan(value)) {
    throw InputError(option + ": \"" + text + "\" is not a number");
  }
  return value;
}

/// Walks the arguments; `name` is the option being read.
class Arguments {
 public:
  Arguments(int argc, const char* const* argv) : _next(argv + 1), _end(argv + argc) {}

  bool advance() {
    if (_next == _end) return false;
    name = *_next++;
    return true;
  }
  const char* word() {
    if (_next == _end) throw InputError(name + ": too few arguments (see --help)");
    return *_next++;
  }
  double number() { return parseNumber(name, word()); }

  std::string name;

 private:
  const char* const* _next;
  const char* const* _end;
};

Edit parseSetBounds(Arguments& arguments) {
  SetBounds edit{arguments.word(), 0.0, 0.0};
  edit.lb = arguments.number();
  edit.ub = arguments.number();
  return edit;
}

Edit parseSetCoef(Arguments& arguments) {
  SetCoef edit{arguments.word(), {}, 0.0};
  edit.column = arguments.word();
  edit.value = arguments.number();
  return edit;
}

}  // namespace

Options parseOptions(int argc, const char* const* argv) {
  Options options;
  Arguments arguments(argc, argv);
  while (arguments.advance()) {
    const std::string& name = arguments.name;
    if (name == "--set-bounds") {
      options.edits.push_back(parseSetBounds(arguments));
    } else if (name == "--set-coef") {
      options.edits.push_back(parseSetCoef(arguments));
    } else if (name == "--remove") {
      options.edits.push_back(Remove{arguments.word()});
    } else if (name == "--engine") {
      options.engine = arguments.word();
    } else if (name == "--time") {
      options.seconds = arguments.number();
      if (options.seconds <= 0) throw InputError("--time: the time must be above zero");
    } else if (name == "--print=plain") {
      options.print = PrintForm::Plain;
    } else if (name == "--print=library") {
      options.print = PrintForm::Library;
    } else if (name == "--relax") {
      options.relax = true;
    } else if (name == "--check") {
      options.check = true;
    } else if (name == "--write") {
      options.write = arguments.word();
      if (TavFormatOfName(options.write) == TavFileFormat::Auto) {
        throw InputError("--write: " + options.write +
                         " says no format: expected a name that ends with .mps, .lp or .nl");
      }
    } else if (name == "--no-solve") {
      options.noSolve = true;
    } else if (name == "--quiet") {
      options.quiet = true;
    } else if (name == "--help" || name == "-h") {
      options.help = true;
      return options;
    } else if (name.size() > 1 && name[0] == '-') {
      throw InputError("unknown option " + name + " (see --help)");
    } else if (options.file.empty()) {
      options.file = name;
    } else {
      throw InputError("more than one file: " + options.file + " and " + name);
    }
  }
  if (options.file.empty()) throw InputError("no model file given (see --help)");
  return options;
}

}  // namespace tavsolve
