#pragma once
/// Edits: the modifications of a model that people write, on the command line and in files of commands.

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "modelfile/tavmodelfile.h"

namespace tavsolve {

namespace edit {

struct Bounds {
  std::string column;
  double lb, ub;
};
struct Fix {
  std::string column;
  double value;
};
struct Coef {
  /// A row's name, or the objective's.
  std::string row;
  std::string column;
  double value;
};
struct RowBounds {
  std::string row;
  double lb, ub;
};
struct Sense {
  bool maximise;
};
struct Remove {
  std::string column;
};
/// New rows and columns from a model file. A name of a column that the model has means that column, and its bounds in
/// the file count for nothing. The file's linear objective is added to the model's.
struct Add {
  std::string path;
  std::shared_ptr<const TavFileModel> file;
};

}  // namespace edit

using Edit = std::variant<edit::Bounds, edit::Fix, edit::Coef, edit::RowBounds, edit::Sense, edit::Remove, edit::Add>;

/// One verb of the edit language. Command lines have the same words, the verb with two dashes in front.
struct EditVerb {
  const char* name;
  /// The operands for people, separated by blanks.
  const char* operands;
  /// Sentences on what it does.
  const char* help;
  std::size_t operandCount;
  Edit (*parse)(std::span<const std::string> operands);
};

std::span<const EditVerb> editVerbs();
/// Null for an unknown verb.
const EditVerb* findVerb(std::string_view name);

/// The edit as the language says it.
std::string describe(const Edit& edit);

/// Edits that are applied together; then the model is solved.
using EditStage = std::vector<Edit>;

/// The edit that a command's words say. Throws InputError for what is no edit.
Edit parseEdit(std::span<const std::string> words);

/// Appends the commands of a text to `stages`, which has at least one: an edit to the last of them, and an empty stage
/// for each command `then`. Throws InputError, "FILE:LINE: …", for what is no edit.
void parseEdits(std::string_view text, const std::string& file, std::vector<EditStage>& stages);

}  // namespace tavsolve
