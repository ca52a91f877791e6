#include "evaluator/sums.h"

#include <algorithm>
#include <bit>

#include "evaluator/pages.h"

namespace taveval {

namespace {

using Term = TavEvaluator::LinearTerm;

/// Sorts rows by form.
class Forms {
 public:
  explicit Forms(const std::vector<Term>& terms) : _terms(terms), _slots(kSlots, kNone) {}

  /// The number of a row's form; kNone when there are too many.
  std::uint32_t of(const LooseRow& row) {
    for (std::size_t at = hashOf(row) % kSlots;; at = (at + 1) % kSlots) {
      if (_slots[at] == kNone) {
        if (_firsts.size() == kMostForms) return kNone;
        _slots[at] = static_cast<std::uint32_t>(_firsts.size());
        _firsts.push_back(row);
        return _slots[at];
      }
      if (isSame(_firsts[_slots[at]], row)) return _slots[at];
    }
  }

 private:
  static constexpr std::size_t kMostForms = 256, kSlots = 4 * kMostForms;

  std::uint64_t bitsOf(const LooseRow& row, std::uint32_t term) const noexcept {
    return std::bit_cast<std::uint64_t>(_terms[row.firstTerm + term].coefficient);
  }
  std::size_t hashOf(const LooseRow& row) const noexcept {
    std::uint64_t hash = row.summandCount;
    for (std::uint32_t t = 0; t < row.termCount; ++t) hash = (hash ^ bitsOf(row, t)) * 0x9e3779b97f4a7c15ULL;
    return hash >> 40;
  }
  bool isSame(const LooseRow& x, const LooseRow& y) const noexcept {
    bool isEqual = x.summandCount == y.summandCount && x.termCount == y.termCount;
    for (std::uint32_t t = 0; isEqual && t < x.termCount; ++t) isEqual = bitsOf(x, t) == bitsOf(y, t);
    return isEqual;
  }

  const std::vector<Term>& _terms;
  std::vector<LooseRow> _firsts;      // of each form
  std::vector<std::uint32_t> _slots;  // hash table of forms
};

}  // namespace

std::size_t SumShape::bytes() const noexcept {
  return (coefficients.capacity() + constants.capacity()) * sizeof(double) + summands.bytes() + columns.bytes() +
         rows.bytes();
}

std::size_t Sums::bytes() const noexcept {
  std::size_t sum = rows.capacity() * sizeof(LooseRow) + shapes.capacity() * sizeof(SumShape) +
                    summands.capacity() * sizeof(std::uint32_t);
  for (const SumShape& shape : shapes) sum += shape.bytes();
  return sum;
}

void Sums::fill(SumShape& shape, const std::vector<std::uint32_t>& members, const std::vector<Term>& terms) const {
  constexpr std::uint32_t kLanes = SumShape::kLanes;
  const LooseRow& first = rows[members.front()];
  shape.count = static_cast<std::uint32_t>(members.size());
  shape.summandCount = first.summandCount;
  for (std::uint32_t t = 0; t < first.termCount; ++t)
    shape.coefficients.push_back(terms[first.firstTerm + t].coefficient);
  shape.constants.reserve((members.size() + kLanes - 1) / kLanes * kLanes);
  for (const std::uint32_t member : members) shape.constants.push_back(rows[member].constant);
  shape.constants.resize(shape.constants.capacity(), 0.0);
  std::uint32_t lanes[kLanes];
  for (std::uint32_t block = 0; block < shape.count; block += kLanes) {
    const std::uint32_t live = std::min(kLanes, shape.count - block);
    const auto append = [&](Indices& indices, auto numberOf) {
      for (std::uint32_t i = 0; i < live; ++i) lanes[i] = numberOf(rows[members[block + i]]);
      indices.append(lanes, live, kLanes);
    };
    for (std::uint32_t s = 0; s < shape.summandCount; ++s) {
      append(shape.summands, [&](const LooseRow& row) { return summands[row.firstSummand + s]; });
    }
    for (std::uint32_t t = 0; t < first.termCount; ++t) {
      append(shape.columns,
             [&](const LooseRow& row) { return static_cast<std::uint32_t>(terms[row.firstTerm + t].column); });
    }
    append(shape.rows, [](const LooseRow& row) { return row.row; });
  }
  for (Indices* indices : {&shape.summands, &shape.columns, &shape.rows}) indices->shrink();
}

void Sums::makeShapes(const std::vector<Term>& terms) {
  constexpr std::uint32_t kLongest = 64;
  Forms forms(terms);
  std::vector<std::vector<std::uint32_t>> members;
  for (std::uint32_t k = 0; k + 1 < rows.size(); ++k) {
    if (rows[k].termCount + rows[k].summandCount > kLongest) continue;
    const std::uint32_t form = forms.of(rows[k]);
    if (form == kNone) continue;
    if (form == members.size()) members.emplace_back();
    members[form].push_back(k);
  }
  std::vector<bool> isTaken(rows.size(), false);
  for (const auto& rowsOfForm : members) {
    if (rowsOfForm.size() < SumShape::kLanes) continue;
    fill(shapes.emplace_back(), rowsOfForm, terms);
    for (const std::uint32_t k : rowsOfForm) isTaken[k] = true;
  }
  std::vector<LooseRow> others;
  std::vector<std::uint32_t> itsSummands;
  for (std::size_t k = 0; k < rows.size(); ++k) {
    if (isTaken[k]) continue;
    const auto from = summands.begin() + static_cast<std::ptrdiff_t>(rows[k].firstSummand);
    rows[k].firstSummand = itsSummands.size();
    itsSummands.insert(itsSummands.end(), from, from + rows[k].summandCount);
    others.push_back(rows[k]);
  }
  others.shrink_to_fit();
  itsSummands.shrink_to_fit();
  shapes.shrink_to_fit();
  rows = std::move(others);
  summands = std::move(itsSummands);
}

// Modifications

std::vector<LooseRow>::const_iterator Sums::findLoose(std::uint32_t row) const noexcept {
  return std::lower_bound(rows.begin(), rows.end(), row,
                          [](const LooseRow& its, std::uint32_t wanted) { return its.row < wanted; });
}

Sums::Ref Sums::findInShapes(std::uint32_t row) const noexcept {
  for (std::uint32_t s = 0; s < shapes.size(); ++s) {
    std::uint32_t first = 0, end = shapes[s].count;
    while (first < end) {
      std::uint32_t middle = first + (end - first) / 2, alive = middle;
      while (alive < end && shapes[s].row(alive) == kNone) ++alive;
      const std::uint32_t met = alive == end ? kNone : shapes[s].row(alive);
      if (met == row) return {s, alive};
      if (met < row) {
        first = alive + 1;
      } else {
        end = middle;
      }
    }
  }
  return {kNone, 0};
}

std::vector<std::uint32_t> Sums::summandsOf(std::uint32_t row) const {
  const auto loose = findLoose(row);
  if (loose != rows.end() && loose->row == row) {
    const auto first = summands.begin() + static_cast<std::ptrdiff_t>(loose->firstSummand);
    return {first, first + loose->summandCount};
  }
  std::vector<std::uint32_t> places;
  const Ref ref = findInShapes(row);
  if (ref.shape == kNone) return places;
  const SumShape& shape = shapes[ref.shape];
  const std::size_t block = ref.element / SumShape::kLanes;
  for (std::uint32_t s = 0; s < shape.summandCount; ++s) {
    places.push_back(shape.summands.of(block * shape.summandCount + s, ref.element % SumShape::kLanes));
  }
  return places;
}

void Sums::reserve(std::size_t count, std::size_t summandCount) {
  makeRoom(rows, count);
  makeRoom(summands, summandCount);
  for (SumShape& shape : shapes) shape.rows.reserve(count, SumShape::kLanes);
}

void Sums::leaveShape(std::uint32_t row) noexcept {
  const Ref ref = findInShapes(row);
  if (ref.shape == kNone) return;
  SumShape& shape = shapes[ref.shape];
  const std::uint32_t block = ref.element / SumShape::kLanes;
  shape.rows.set(block, ref.element % SumShape::kLanes, kNone,
                 std::min(SumShape::kLanes, shape.count - block * SumShape::kLanes), SumShape::kLanes);
}

void Sums::remove(std::uint32_t row) noexcept {
  const auto at = findLoose(row);
  if (at != rows.end() && at->row == row) {
    rows.erase(at);
  } else {
    leaveShape(row);
  }
}

void Sums::put(LooseRow row, const std::vector<std::uint32_t>& itsSummands) noexcept {
  const auto at = rows.begin() + (findLoose(row.row) - rows.cbegin());
  const bool wasLoose = at != rows.end() && at->row == row.row;
  row.summandCount = static_cast<std::uint32_t>(itsSummands.size());
  if (wasLoose && at->summandCount >= itsSummands.size()) {
    row.firstSummand = at->firstSummand;
  } else {
    row.firstSummand = summands.size();
    summands.resize(summands.size() + itsSummands.size());
  }
  std::copy(itsSummands.begin(), itsSummands.end(), summands.begin() + static_cast<std::ptrdiff_t>(row.firstSummand));
  if (wasLoose) {
    *at = row;
  } else {
    leaveShape(row.row);
    rows.insert(at, row);
  }
}

}  // namespace taveval
