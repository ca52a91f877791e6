#include "evaluator/start.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace taveval {

void Start::append(std::size_t first, std::size_t end, Kind kind) {
  if (first == end) return;
  if (kind == Kind::Copied && !_parts.empty() && _parts.back().kind == Kind::Copied && _parts.back().end == first) {
    _parts.back().end = end;
  } else {
    _parts.push_back({first, end, kind});
  }
}

void Start::findParts(const std::vector<bool>& isStored) {
  _parts.clear();
  const auto isLeftOut = [&](std::size_t k) { return k < isStored.size() && isStored[k]; };
  for (std::size_t first = 0, end = 0; first < values.size(); first = end) {
    const bool leavesOut = isLeftOut(first);
    const auto bits = std::bit_cast<std::uint64_t>(values[first]);
    while (end < values.size() && isLeftOut(end) == leavesOut && std::bit_cast<std::uint64_t>(values[end]) == bits)
      ++end;
    const bool isLong = end - first >= kShortest;
    if (!leavesOut || !isLong) append(first, end, isLong ? Kind::Filled : Kind::Copied);
  }
  if (_parts.empty()) _parts.push_back({0, 0, Kind::Copied});
  _parts.shrink_to_fit();
}

void Start::write(double* to) const noexcept {
  if (_parts.empty()) std::copy(values.begin(), values.end(), to);
  for (const Part& part : _parts) {
    if (part.kind == Kind::Filled) {
      std::fill(to + part.first, to + part.end, values[part.first]);
    } else {
      std::copy(values.data() + part.first, values.data() + part.end, to + part.first);
    }
  }
}

void Start::set(std::size_t at, double value) noexcept {
  values[at] = value;
  const auto part =
      std::lower_bound(_parts.begin(), _parts.end(), at, [](const Part& its, std::size_t k) { return its.end <= k; });
  if (part != _parts.end() && part->first <= at) part->kind = Kind::Copied;
}

}  // namespace taveval
