#pragma once
/// Internal header of tavmodelfile: what stands beside the segments of an .nl file: names in files of their own,
/// special ordered sets in suffixes.

#include <optional>
#include <string>

#include "modelfile/file_model.h"
#include "modelfile/tavmodelfile.h"
#include "modelfile/writer_check.h"

/// Turns the suffixes sosno and ref of the variables into special ordered sets: variables with one sosno are members of
/// one set, of type 1 when it is above 0, of type 2 below; ref gives the weights. Does nothing unless both are there.
void TavNlTakeSets(TavFileModel& model);

/// Reads the names of variables from the file `path` with .col in place of .nl, those of rows, logical constraints and
/// objectives from .row; nothing where a file is missing. Throws TavFileError.
void TavReadNlNames(TavFileModel& model, const std::string& path, const TavReadOptions& options);

/// The names of a model in the files beside its .nl file, in the order in which that has the items.
class TavNlNames {
 public:
  /// Names what has no name, where other items have one. Throws TavFileError for names that the files cannot say. The
  /// model must outlive the names.
  TavNlNames(const TavFileModel& model, const std::string& path);
  /// Writes both files. Where the model has no names, those of an earlier one are removed. Throws TavFileError.
  void write() const;

 private:
  const TavFileModel& _model;
  std::string _stub;
  std::optional<TavWriterNames> _variables, _rows;
};
