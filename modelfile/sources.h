#pragma once
/// Class header of the readers: files, pipes and texts as sources of bytes, decompressed where their contents say so.

#include <memory>
#include <string>
#include <string_view>

#include "modelfile/input.h"

/// The bytes of the file `path`, of standard input when it is `-`. `options` must outlive the source.
/// Throws TavFileError.
std::unique_ptr<TavByteSource> TavOpenFileSource(const std::string& path, const TavReadOptions& options);

/// The bytes of `text`, which must outlive the source.
std::unique_ptr<TavByteSource> TavOpenTextSource(std::string_view text, const std::string& name,
                                                 const TavReadOptions& options);
