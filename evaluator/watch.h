#pragma once
/// Which rows a modification concerns.

#include <bit>
#include <vector>

#include "evaluator/operations.h"
#include "evaluator/pages.h"

namespace taveval {

/// Rows by some number: those that contain the object with this identifier, or those that use what another row has
/// read.
class RowsOf {
 public:
  void add(std::size_t number, std::uint32_t row) {
    std::uint32_t& head = _first[number];
    if (head < kEmpty && _links[head].row == row) return;
    _links.push_back({row, head < kEmpty ? head : kEmpty});
    head = static_cast<std::uint32_t>(_links.size() - 1);
  }
  /// Notes a number without rows.
  void note(std::size_t number) {
    std::uint32_t& head = _first[number];
    if (head == kNone) head = kEmpty;
  }
  bool has(std::size_t number) const noexcept { return _first.get(number) != kNone; }
  void remove(std::size_t number) noexcept {
    if (has(number)) _first[number] = kNone;
  }
  template <class Visit>
  void forEach(std::size_t number, Visit visit) const {
    for (std::uint32_t link = _first.get(number); link < kEmpty; link = _links[link].next) visit(_links[link].row);
  }
  std::size_t bytes() const noexcept { return _first.bytes() + _links.capacity() * sizeof(Link); }

 private:
  static constexpr std::uint32_t kEmpty = kNone - 1;
  struct Link {
    std::uint32_t row, next;
  };
  Pages<std::uint32_t, kNone> _first;
  std::vector<Link> _links;
};

/// A set of rows.
class RowSet {
 public:
  explicit RowSet(std::size_t rows = 0) : _words(rows / 64 + 1) {}
  void add(std::uint32_t row) noexcept { _words[row / 64] |= std::uint64_t{1} << row % 64; }
  bool has(std::uint32_t row) const noexcept { return _words[row / 64] >> row % 64 & 1; }
  void clear() noexcept { std::fill(_words.begin(), _words.end(), 0); }
  template <class Visit>
  void forEach(Visit visit) const {
    for (std::size_t w = 0; w < _words.size(); ++w) {
      for (std::uint64_t word = _words[w]; word; word &= word - 1) {
        visit(static_cast<std::uint32_t>(64 * w) + static_cast<std::uint32_t>(std::countr_zero(word)));
      }
    }
  }

 private:
  std::vector<std::uint64_t> _words;
};

/// What a compiled program listens to.
struct Watch {
  RowsOf byObject;  ///< Linear nodes have their rows, variables none.
  RowsOf byRow;     ///< Rows that use subexpressions which this row has read first.
};

}  // namespace taveval
