#pragma once
/// Internal header of tavmodelfile: what the readers and writers know of the operations of non-linear expressions.

#include "modelfile/file_model.h"

// Exported for the tests and benchmarks of shared builds.
#pragma GCC visibility push(default)

/// How the arguments of an operation are counted.
enum class TavFileShape : std::uint8_t {
  Fixed,      ///< as many as the row of the table says
  List,       ///< as many as the token says
  Piecewise,  ///< the token says the slopes: twice as many arguments
  Leaf        ///< none
};

/// What the format says of one operation.
struct TavFileOperation {
  /// Its name in messages; null for a code that is no operation.
  const char* name = nullptr;
  TavFileShape shape = TavFileShape::Leaf;
  /// Arguments of a fixed one.
  std::uint8_t arguments = 0;
  /// Its value is the truth of a statement, 1 or 0.
  bool logical = false;
};

/// The row of the operation with this code.
const TavFileOperation& TavOperationOf(std::uint8_t code) noexcept;
inline const TavFileOperation& TavOperationOf(TavFileOp op) noexcept {
  return TavOperationOf(static_cast<std::uint8_t>(op));
}

/// The number of arguments that follow the token.
std::int64_t TavArgumentsOf(const TavFileToken& token) noexcept;

/// A number within the bounds of a row, for the case in which the row does not count.
double TavWithin(const TavFileRow& row) noexcept;

#pragma GCC visibility pop
