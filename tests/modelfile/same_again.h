#pragma once
/// What must hold for every sequence of bytes that a reader is given: the fuzzers and the corpus ask it.

#include <string>
#include <string_view>

#include "modelfile/tavmodelfile.h"

/// Reads the bytes as a file of the format. A file that is refused is fine; one that is accepted must be the same model
/// again after writing and reading. Returns what is wrong, empty when nothing is.
std::string wrongWith(std::string_view bytes, TavFileFormat format);
