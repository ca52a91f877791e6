#pragma once
/// Rows that are added up: their value is the sum of summands that shapes compute, linear terms and a constant.

#include <vector>

#include "evaluator/program.h"
#include "evaluator/tavevaluator.h"

namespace taveval {

/// One such row.
struct LooseRow {
  double constant;
  std::size_t firstTerm, firstSummand;
  std::uint32_t termCount, summandCount, row;
};

/// Rows of one form: equally many summands, and terms with the same coefficients. They are added up in blocks.
struct SumShape {
  static constexpr std::uint32_t kLanes = 64;  ///< Of a block.
  std::uint32_t count = 0, summandCount = 0;
  std::vector<double> coefficients;
  std::vector<double> constants;  ///< By row; the last block is filled up.
  Indices summands;               ///< Places of values, by block and summand.
  Indices columns;                ///< By block and term.
  Indices rows;                   ///< By block, ascending; kNone for rows that have left.

  std::uint32_t row(std::uint32_t e) const noexcept { return rows.of(e / kLanes, e % kLanes); }
  std::size_t bytes() const noexcept;
};

/// The rows of a program that are added up.
struct Sums {
  std::vector<LooseRow> rows;           ///< Each on its own, ascending; the objective is the last.
  std::vector<SumShape> shapes;         ///< The others.
  std::vector<std::uint32_t> summands;  ///< Of `rows`: places of values that shapes compute.

  /// Makes shapes of the rows but the objective, where many have one form.
  void makeShapes(const std::vector<TavEvaluator::LinearTerm>& terms);
  std::size_t bytes() const noexcept;

  // For modifications.

  /// The places of a row's summands; empty if the row is none of these.
  std::vector<std::uint32_t> summandsOf(std::uint32_t row) const;
  /// Makes room for rows that come or change, `count` rows with `summandCount` summands in all.
  void reserve(std::size_t count, std::size_t summandCount);
  /// Takes a row out. Allocates nothing after reserve(), as the following.
  void remove(std::uint32_t row) noexcept;
  /// Enters a row, or replaces it.
  void put(LooseRow row, const std::vector<std::uint32_t>& itsSummands) noexcept;

 private:
  struct Ref {
    std::uint32_t shape, element;  // kNone for none
  };
  std::vector<LooseRow>::const_iterator findLoose(std::uint32_t row) const noexcept;
  Ref findInShapes(std::uint32_t row) const noexcept;
  void leaveShape(std::uint32_t row) noexcept;
  void fill(SumShape& shape, const std::vector<std::uint32_t>& members,
            const std::vector<TavEvaluator::LinearTerm>& terms) const;
};

}  // namespace taveval
