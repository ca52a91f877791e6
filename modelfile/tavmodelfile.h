#pragma once
/// THE public header of tavmodelfile: model files in the formats MPS, LP and .nl are read and written.
///
/// ```
/// TavFileModel model = TavReadModel("plan.lp.gz");
/// TavWriteModel(model, "plan.mps");
/// ```

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "modelfile/file_error.h"
#include "modelfile/file_model.h"

#pragma GCC visibility push(default)

/// A format of model files.
enum class TavFileFormat : std::uint8_t {
  Auto,  ///< by the name's extension, and where that says nothing by the contents
  Mps,   ///< MPS, fixed or free, told apart by the contents; written free
  Lp,    ///< LP
  Nl     ///< .nl, text or binary; written as text
};

/// The format that a file's name says by its extension, one for compression behind it left out; Auto when none.
TavFileFormat TavFormatOfName(std::string_view name);

/// How to read.
struct TavReadOptions {
  TavFileFormat format = TavFileFormat::Auto;  ///< Auto recognises it.
  /// Bounds of this size and beyond are no bounds.
  double infinity = 1e20;
  /// A compressed file that holds more bytes than this is refused.
  std::uint64_t decompressedLimit = std::uint64_t{8} << 30;
  /// Called now and then with the bytes that have been taken from the file and the file's size, 0 where that is
  /// unknown. What it throws ends the reading.
  std::function<void(std::uint64_t, std::uint64_t)> progress;
};

/// Reads a model from the file `path`, from standard input when it is `-`. Compressed files (gzip, bzip2) are
/// recognised by their contents. The file is read as its format says or refused; nothing partial is returned. Throws
/// TavFileError for whatever is wrong with the file and std::bad_alloc.   Cost: linear in the size of the file.
TavFileModel TavReadModel(const std::string& path, const TavReadOptions& options = {});

/// Reads a model from text in memory, which may be compressed; `name` stands in messages. Otherwise as above.
TavFileModel TavReadModelText(std::string_view text, const std::string& name, const TavReadOptions& options = {});

/// Writes the model to the file `path`, to standard output when it is `-`. Format Auto: by the name's extension, which
/// must be .mps, .lp or .nl. Numbers are written as the shortest text that reads back the same; items without a name
/// get one (x1, …, c1, …). Reading the file gives the same model.
/// Files are not compressed. Names of .nl models are in files of their own beside it, `stub.col` and `stub.row`.
/// Throws TavFileError, naming the item, for what the format cannot say, and when the file cannot be written; nothing
/// has been written in the first case.   Cost: linear.
void TavWriteModel(const TavFileModel& model, const std::string& path, TavFileFormat format = TavFileFormat::Auto);

/// Returns the model's text in the format, which is not Auto, without the names of an .nl model; otherwise as above.
std::string TavWriteModelText(const TavFileModel& model, TavFileFormat format);

#pragma GCC visibility pop
