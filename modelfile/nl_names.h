#pragma once
/// Internal header of tavmodelfile: what stands beside the segments of an .nl file: names in files of their own,
/// special ordered sets in suffixes.

#include <string>

#include "modelfile/file_model.h"
#include "modelfile/tavmodelfile.h"

/// Turns the suffixes sosno and ref of the variables into special ordered sets: variables with one sosno are members of
/// one set, of type 1 when it is above 0, of type 2 below; ref gives the weights. Does nothing unless both are there.
void TavNlTakeSets(TavFileModel& model);

/// Reads the names of variables from the file `path` with .col in place of .nl, those of rows, logical constraints and
/// objectives from .row; nothing where a file is missing. Throws TavFileError.
void TavReadNlNames(TavFileModel& model, const std::string& path, const TavReadOptions& options);

/// Writes both files, in the order in which the .nl file has the items; none where the model has no names. Items
/// without a name get one. Throws TavFileError.
void TavWriteNlNames(const TavFileModel& model, const std::string& path);
