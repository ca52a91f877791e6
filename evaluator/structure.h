#pragma once
/// The order of a sparse matrix's values. Runs of values that one shape alone computes come first and are stored. The
/// others start from a template: first those that are added to, then constants, by value.

#include <vector>

#include "evaluator/program.h"
#include "evaluator/start.h"
#include "evaluator/tavevaluator.h"
#include "host/large_array.h"

namespace taveval {

/// Positions of a matrix, each once.
struct Structure {
  std::vector<TavEvaluator::Position> positions;
  Start start;  ///< What values from `firstAdded` on start from.
  std::size_t firstAdded = 0;

  std::size_t bytes() const noexcept;
};

/// The entries of one shape, `width` for each element.
struct ShapeEntries {
  const Shape* shape;
  std::uint32_t width;
  Indices* indices;
};

/// A value that is the same at every point.
struct FixedEntry {
  TavEvaluator::Position position;
  double value;
};

/// What a matrix consists of.
struct Entries {
  /// Those of the shapes by shape, element and number, then single ones.
  TavLargeArray<TavEvaluator::Position> positions;
  std::vector<ShapeEntries> shapes;
  /// These have distinct positions; those behind `sharedCount` of them share theirs with no other entry.
  TavLargeArray<FixedEntry> fixed;
  std::size_t sharedCount = 0;
  std::size_t rows, columns;  ///< Of the matrix.
};

/// Where single and fixed entries are.
struct OtherPlaces {
  std::vector<std::uint32_t> singles, fixed;
};

/// Lays a matrix out and fills the shapes' indices, in time linear in the numbers of entries, rows and columns. The
/// positions of fixed entries are appended to the others.
Structure layOut(Entries& entries, OtherPlaces& places);

/// Finds the parts of the gradient's start: see Start. Shapes store to what they are the first to add to.
void layOutGradient(std::vector<Shape>& shapes, Start& start);
/// From now on shapes store to no results but their own runs.
void forgetStored(std::vector<Shape>& shapes) noexcept;

/// The position of a second derivative by two columns.
inline TavEvaluator::Position lowerTriangle(std::uint32_t i, std::uint32_t j) noexcept {
  return {static_cast<std::int32_t>(i > j ? i : j), static_cast<std::int32_t>(i > j ? j : i)};
}

}  // namespace taveval
