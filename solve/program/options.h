#pragma once
/// The command line.

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "modelfile/tavmodelfile.h"
#include "solve/edits/edit.h"
#include "solve/engines/engine.h"

namespace tavsolve {

enum class PrintForm { None, Plain, Library };

struct Options {
  std::string file;
  /// How it is read.
  TavReadOptions reading;
  /// What is done after the first solve, stage by stage.
  std::vector<EditStage> stages{1};
  /// The engine's name; empty for the one that suits the model.
  std::string engine;
  /// What every solve keeps to; the seconds are for the whole run.
  Controls controls;
  /// Overrides the sense of the file.
  std::optional<bool> maximise;
  bool relax = false;
  bool check = false;
  bool noSolve = false;
  PrintForm print = PrintForm::None;
  // Names of files; empty for none.
  std::string start, write, solution, log, keepFailed;
  // Of a run of scenarios.
  std::string scenarios, results;
  std::vector<std::string> values;
  int jobs = 1;
  bool printValues = false;
  bool quiet = false;
  bool help = false;
  bool version = false;
  // As a modelling system calls it.
  bool protocol = false;
  bool listKeywords = false;
};

using Operands = std::span<const std::string>;

/// One row of the table that command line, help, man page and completion come from.
struct OptionRow {
  /// Without the dashes in front.
  const char* name;
  /// The operands for people, separated by blanks; empty for none.
  const char* operands;
  /// Sentences on what it does.
  const char* help;
  /// Throws InputError for operands that make no sense.
  void (*set)(Options& options, Operands operands);
  /// Of an option that is an edit, and then `set` is null.
  const EditVerb* verb = nullptr;

  std::size_t operandCount() const;
};

struct OptionSection {
  const char* title;
  /// What holds for all of them; may be empty.
  const char* remark;
  std::vector<OptionRow> rows;
};

/// All options.
const std::vector<OptionSection>& optionTable();

/// Reads the command line, and in a call by a modelling system the options in the environment. Throws InputError.
Options parseOptions(int argc, const char* const* argv);

}  // namespace tavsolve
