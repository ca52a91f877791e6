#pragma once
/// The order of a sparse matrix's values. Runs of values that one shape alone computes come first and are stored; the
/// others start from a template and are added to.

#include <functional>
#include <vector>

#include "evaluator/program.h"
#include "evaluator/tavevaluator.h"

namespace taveval {

/// Positions of a matrix, each once.
struct Structure {
  std::vector<TavEvaluator::Position> positions;
  std::vector<double> start;  ///< What values from `firstAdded` on start from.
  std::size_t firstAdded = 0;

  std::size_t bytes() const noexcept;
};

/// The positions of one shape's entries: entry k of element e.
struct ShapeEntries {
  const Shape* shape;
  std::uint32_t width;
  std::function<TavEvaluator::Position(std::uint32_t element, std::uint32_t entry)> position;
  Indices* indices;
};

/// A value that is the same at every point.
struct FixedEntry {
  TavEvaluator::Position position;
  double value;
};

/// Lays a matrix out, fills the shapes' indices, and writes the places of the entries `singles` to `placesOfSingles`.
/// Entries of `fixed` have distinct positions; those behind `shared` of them share theirs with no other entry.
Structure layOut(const std::vector<ShapeEntries>& shapes, const std::vector<TavEvaluator::Position>& singles,
                 std::vector<std::uint32_t>& placesOfSingles, const std::vector<FixedEntry>& fixed, std::size_t shared);

/// The position of a second derivative by two columns.
inline TavEvaluator::Position lowerTriangle(std::uint32_t i, std::uint32_t j) noexcept {
  return {static_cast<std::int32_t>(i > j ? i : j), static_cast<std::int32_t>(i > j ? j : i)};
}

}  // namespace taveval
