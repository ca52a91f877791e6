#pragma once
/// Rows of one form, added up in blocks; included once by a translation unit for each instruction set.

#include "evaluator/run.h"
#include "evaluator/vectors.h"

namespace taveval::TAV_INSTRUCTION_SET {

using namespace tavdetail::TAV_INSTRUCTION_SET;

class BlockOfSums {
 public:
  static constexpr std::uint32_t kLanes = SumShape::kLanes;

  void clear() noexcept {
    for (double& sum : _sums) sum = 0.0;
  }
  /// Adds factor * from[...] to each sum; rounded twice.
  void add(double factor, const double* from, const Indices& indices, const Indices::Entry& entry) noexcept {
    if (entry.kind == Indices::Kind::Run) {
      addAll(factor, from + entry.at);
      return;
    }
    alignas(64) double values[kLanes];
    if (entry.kind == Indices::Kind::Same) {
      for (double& value : values) value = from[entry.at];
    } else {
      const std::uint32_t* lane = indices.lanes(entry);
#pragma GCC unroll 8
      for (std::uint32_t i = 0; i < kLanes; ++i) values[i] = from[lane[i]];
    }
    addAll(factor, values);
  }
  /// Writes the sums of `live` rows with their constants.
  void store(double* to, const double* constants, const Indices& indices, const Indices::Entry& entry,
             std::uint32_t live) noexcept {
    addAll(1.0, constants);
    if (entry.kind == Indices::Kind::Run) {
      for (std::uint32_t i = 0; i < live; ++i) to[entry.at + i] = _sums[i];
      return;
    }
    const std::uint32_t* lane = indices.lanes(entry);
    for (std::uint32_t i = 0; i < live; ++i) {
      if (lane[i] != kNone) to[lane[i]] = _sums[i];
    }
  }

 private:
  void addAll(double factor, const double* from) noexcept {
    for (std::uint32_t i = 0; i < kLanes; i += tavdetail::TAV_INSTRUCTION_SET::kLanes) {
      const Doubles sum = load(_sums + i), product = factor * load(from + i);
      tavdetail::TAV_INSTRUCTION_SET::store(_sums + i, sum + product);
    }
  }

  alignas(64) double _sums[kLanes];
};

[[gnu::flatten]] static void runSums(const SumShape& shape, const Task& task) {
  const std::size_t terms = shape.coefficients.size();
  const Indices::Entry *summand = shape.summands.entries(), *column = shape.columns.entries();
  BlockOfSums sums;
  for (std::uint32_t first = 0, block = 0; first < shape.count; first += BlockOfSums::kLanes, ++block) {
    sums.clear();
    for (std::uint32_t s = 0; s < shape.summandCount; ++s) sums.add(1.0, task.summands, shape.summands, *summand++);
    for (std::size_t t = 0; t < terms; ++t) sums.add(shape.coefficients[t], task.x, shape.columns, *column++);
    const std::uint32_t live = shape.count - first < BlockOfSums::kLanes ? shape.count - first : BlockOfSums::kLanes;
    sums.store(task.results[static_cast<std::size_t>(Section::Rows)], shape.constants.data() + first, shape.rows,
               shape.rows.entries()[block], live);
  }
}

}  // namespace taveval::TAV_INSTRUCTION_SET
