#pragma once
/// Class header of the writers: names for what has none, and what the formats cannot say.

#include <cstdint>
#include <string>
#include <string_view>

#include "modelfile/tavmodelfile.h"

/// The names of all items of one kind; those without one get one that is free: the prefix and their number.
class TavWriterNames {
 public:
  /// `count` is the number of items, which `names` may lack; `what` and `file` stand in messages. Throws TavFileError
  /// when two items have one name.
  TavWriterNames(const TavNameTable& names, std::size_t count, const char* prefix, const char* what,
                 const std::string& file);
  std::string_view operator[](std::int32_t i) const noexcept { return _all[i]; }
  /// No item has this name.
  bool isFree(std::string_view name) const noexcept { return _all.find(name) == TavNameTable::kNone; }
  /// The name, or with underscores behind it when an item has it.
  std::string freeName(std::string name) const;

 private:
  TavNameTable _all;
};

/// Fails unless the model is one that MPS and LP can say: one objective at most, no non-linear and no logical
/// expressions, finite coefficients, bounds that are below 1e20 or infinite.
void TavCheckForText(const TavFileModel& model, const TavWriterNames& variables, const TavWriterNames& rows,
                     const std::string& file);

/// Fails unless the model is one that .nl files can say: no semi-continuous variables, no variable in two special
/// ordered sets, suffixes with names of one word, numbers as above.
void TavCheckForNl(const TavFileModel& model, const std::string& file);

/// `kind "name"`, for messages.
std::string TavNamed(const char* kind, std::string_view name);
