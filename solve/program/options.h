#pragma once
/// The command line.

#include <limits>
#include <string>
#include <vector>

#include "solve/program/edits.h"

namespace tavsolve {

enum class PrintForm { None, Plain, Library };

struct Options {
  std::string file;
  std::vector<Edit> edits;
  /// The engine's name; empty for the one that suits the model.
  std::string engine;
  PrintForm print = PrintForm::None;
  double seconds = std::numeric_limits<double>::infinity();
  bool relax = false;
  bool check = false;
  /// Where the model is to be written; empty for nowhere.
  std::string write;
  bool noSolve = false;
  bool quiet = false;
  bool help = false;
};

/// Reads the command line. Throws InputError.
Options parseOptions(int argc, const char* const* argv);

/// The text of `--help`.
extern const char* const kHelp;

}  // namespace tavsolve
