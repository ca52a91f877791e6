#pragma once
/// Internal header of tavmodelfile: the order in which .nl files have variables, rows and common expressions.

#include <cstdint>
#include <vector>

#include "modelfile/file_model.h"

/// An order of items: what stands where.
struct TavNlOrder {
  /// By place in the file: the item of the model.
  std::vector<std::int32_t> itemAt;
  /// By item of the model: the place in the file.
  std::vector<std::int32_t> placeOf;
};

/// The order of a model's items and the sizes that follow from it. Kinds of variable follow from the order: nonlinear
/// in both, in rows only, in objectives only, linear; integer ones behind the others of their group.
struct TavNlLayout {
  explicit TavNlLayout(const TavFileModel& model);

  TavNlOrder variables;
  /// Nonlinear rows come first.
  TavNlOrder rows;
  /// Those used in both rows and objectives come first, then those of rows, then those of objectives.
  TavNlOrder commons;

  /// By model row: its part beside the linear one, or null.
  std::vector<const TavFileRowPart*> partOf;
  /// By model row: its condition, or null.
  std::vector<const TavFileIndicator*> indicatorOf;

  std::int32_t nonlinearRows = 0;
  std::int32_t nonlinearObjectives = 0;
  /// Numbers of nonlinear variables in both, in rows only and in objectives only, and the integer ones among them.
  std::int32_t inBoth = 0, inRows = 0, inObjectives = 0;
  std::int32_t integersInBoth = 0, integersInRows = 0, integersInObjectives = 0;
  /// Linear ones.
  std::int32_t binaries = 0, integers = 0;
  std::int32_t commonsInBoth = 0, commonsInRows = 0, commonsInObjectives = 0;
};

/// Whether the objective has a nonlinear part.
bool TavNlIsNonlinear(const TavFileObjective& objective) noexcept;

/// The linear part of a row in the arrays of a model that is being read: it begins here and ends where the next one
/// begins.
struct TavNlPiece {
  std::int32_t row;
  std::size_t begin;
};

/// Makes the pieces, which came in any order, the linear parts of the model's rows. Returns a row that has two, or -1.
std::int32_t TavNlSortRows(TavFileModel& model, TavLargeArray<TavNlPiece> pieces);
