#pragma once
/// Which rows a modification concerns.

#include <algorithm>
#include <bit>
#include <vector>

#include "evaluator/operations.h"

namespace taveval {

/// Rows by some number: those that contain the object with this identifier, or those that use what another row has
/// read. Few of all numbers have rows; numbers that are near each other are kept near each other.
class RowsOf {
 public:
  /// Notes a row; a row that was noted last for this number is not noted again.
  void add(std::size_t number, std::uint32_t row) {
    if (_links.size() >= kPerHead * _heads.size()) grow();
    const auto its = static_cast<std::uint32_t>(number);
    for (std::uint32_t link = headOf(its); link != kNone; link = _links[link].next) {
      if (_links[link].number != its) continue;
      if (_links[link].row == row) return;
      break;
    }
    _links.push_back({its, row, headOf(its)});
    headOf(its) = static_cast<std::uint32_t>(_links.size() - 1);
  }
  /// Whether the number has rows.
  bool has(std::size_t number) const noexcept {
    bool is = false;
    forEach(number, [&is](std::uint32_t) { is = true; });
    return is;
  }
  /// Forgets the rows of a number.
  void remove(std::size_t number) noexcept {
    if (_heads.empty()) return;
    for (std::uint32_t* link = &headOf(static_cast<std::uint32_t>(number)); *link != kNone;) {
      Link& its = _links[*link];
      if (its.number == number) {
        its.row = kNone;  // grow() leaves it out
        *link = its.next;
      } else {
        link = &its.next;
      }
    }
  }
  template <class Visit>
  void forEach(std::size_t number, Visit visit) const {
    if (_heads.empty()) return;
    for (std::uint32_t link = _heads[number & (_heads.size() - 1)]; link != kNone; link = _links[link].next) {
      if (_links[link].number == number) visit(_links[link].row);
    }
  }
  void shrink() { _links.shrink_to_fit(); }
  std::size_t bytes() const noexcept { return _heads.capacity() * sizeof(kNone) + _links.capacity() * sizeof(Link); }

 private:
  struct Link {
    std::uint32_t number, row, next;
  };
  static constexpr std::size_t kPerHead = 4;

  std::uint32_t& headOf(std::uint32_t number) noexcept { return _heads[number & (_heads.size() - 1)]; }
  void grow() {
    _heads.assign(std::max<std::size_t>(32, 2 * _heads.size()), kNone);
    for (std::uint32_t i = 0; i < _links.size(); ++i) {
      if (_links[i].row == kNone) continue;
      std::uint32_t& head = headOf(_links[i].number);
      _links[i].next = head;
      head = i;
    }
  }

  std::vector<std::uint32_t> _heads;  // of chains, by the lowest bits of the number
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
  RowsOf byObject;  ///< Of linear nodes.
  RowsOf byRow;     ///< Rows that use subexpressions which this row has read first.
};

}  // namespace taveval
