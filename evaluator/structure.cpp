#include "evaluator/structure.h"

#include <algorithm>

namespace taveval {

namespace {

using Position = TavEvaluator::Position;

/// A hash table of positions: how often each was met, and its place in the order.
class Places {
 public:
  explicit Places(std::size_t count) {
    std::size_t size = 64;
    while (size < 2 * count) size *= 2;
    _slots.resize(size);
  }
  /// The slot of a position, which is entered if it is new.
  std::uint32_t meet(Position position) {
    const std::uint64_t key =
        (std::uint64_t{static_cast<std::uint32_t>(position.row)} << 32 | static_cast<std::uint32_t>(position.column)) +
        1;
    const std::size_t mask = _slots.size() - 1;
    std::size_t at = (key * 0x9e3779b97f4a7c15ULL >> 24) & mask;
    while (_slots[at].key != 0 && _slots[at].key != key) at = (at + 1) & mask;
    _slots[at].key = key;
    ++_slots[at].met;
    return static_cast<std::uint32_t>(at);
  }
  bool isAlone(std::uint32_t slot) const noexcept { return _slots[slot].met == 1; }
  std::uint32_t& place(std::uint32_t slot) noexcept { return _slots[slot].place; }

 private:
  struct Slot {
    std::uint64_t key = 0;
    std::uint32_t met = 0;
    std::uint32_t place = kNone;
  };
  std::vector<Slot> _slots;
};

class Layout {
 public:
  Layout(const std::vector<ShapeEntries>& shapes, const std::vector<Position>& singles,
         std::vector<std::uint32_t>& placesOfSingles, const std::vector<FixedEntry>& fixed, std::size_t shared)
      : _shapes(shapes),
        _singles(singles),
        _placesOfSingles(placesOfSingles),
        _fixed(fixed),
        _shared(shared),
        _places(countEntries(shapes) + singles.size() + shared) {}

  Structure make() {
    meetAll();
    for (std::size_t s = 0; s < _shapes.size(); ++s) placeOwnRuns(s);
    for (std::size_t i = 0; i < _singles.size(); ++i) {
      if (_places.isAlone(_placesOfSingles[i])) _places.place(_placesOfSingles[i]) = newPlace(_singles[i]);
    }
    _structure.firstAdded = _structure.positions.size();
    for (std::size_t i = 0; i < _shared; ++i) {
      _places.place(_slotOfFixed[i]) = newPlace(_fixed[i].position);
      _structure.start.push_back(_fixed[i].value);
    }
    for (std::size_t s = 0; s < _shapes.size(); ++s) fillIndices(s);
    for (std::size_t i = 0; i < _singles.size(); ++i) {
      _placesOfSingles[i] = placeOrNew(_placesOfSingles[i], _singles[i]);  // instead of the slot
    }
    for (std::size_t i = _shared; i < _fixed.size(); ++i) {
      newPlace(_fixed[i].position);
      _structure.start.push_back(_fixed[i].value);
    }
    _structure.positions.shrink_to_fit();
    _structure.start.shrink_to_fit();
    return std::move(_structure);
  }

 private:
  static std::size_t countEntries(const std::vector<ShapeEntries>& shapes) {
    std::size_t count = 0;
    for (const ShapeEntries& entries : shapes) count += std::size_t{entries.shape->count} * entries.width;
    return count;
  }
  std::uint32_t newPlace(Position position) {
    _structure.positions.push_back(position);
    return static_cast<std::uint32_t>(_structure.positions.size() - 1);
  }
  void meetAll() {
    for (std::size_t i = 0; i < _shared; ++i) _slotOfFixed.push_back(_places.meet(_fixed[i].position));
    for (const ShapeEntries& entries : _shapes) {
      auto& slots = _slotsOf.emplace_back();
      slots.reserve(std::size_t{entries.shape->count} * entries.width);
      for (std::uint32_t e = 0; e < entries.shape->count; ++e) {
        for (std::uint32_t k = 0; k < entries.width; ++k) slots.push_back(_places.meet(entries.position(e, k)));
      }
    }
    _placesOfSingles.resize(_singles.size());
    for (std::size_t i = 0; i < _singles.size(); ++i) _placesOfSingles[i] = _places.meet(_singles[i]);
  }
  /// The place of a slot's position, which starts from 0 if it is new.
  std::uint32_t placeOrNew(std::uint32_t slot, Position position) {
    std::uint32_t& place = _places.place(slot);
    if (place == kNone) {
      place = newPlace(position);
      _structure.start.push_back(0.0);
    }
    return place;
  }
  template <class Visit>
  void forEachBlock(const ShapeEntries& entries, Visit visit) {
    const Shape& shape = *entries.shape;
    for (std::uint32_t first = 0; first < shape.count; first += shape.lanes) {
      const std::uint32_t end = std::min(first + shape.lanes, shape.count);
      for (std::uint32_t k = 0; k < entries.width; ++k) visit(first, end, k);
    }
  }
  void placeOwnRuns(std::size_t s) {
    const ShapeEntries& entries = _shapes[s];
    const auto& slots = _slotsOf[s];
    forEachBlock(entries, [&](std::uint32_t first, std::uint32_t end, std::uint32_t k) {
      for (std::uint32_t e = first; e < end; ++e) {
        if (!_places.isAlone(slots[std::size_t{e} * entries.width + k])) return;
      }
      for (std::uint32_t e = first; e < end; ++e) {
        _places.place(slots[std::size_t{e} * entries.width + k]) = newPlace(entries.position(e, k));
      }
    });
  }
  void fillIndices(std::size_t s) {
    const ShapeEntries& entries = _shapes[s];
    const auto& slots = _slotsOf[s];
    std::vector<std::uint32_t> lanes(entries.shape->lanes);
    forEachBlock(entries, [&](std::uint32_t first, std::uint32_t end, std::uint32_t k) {
      for (std::uint32_t e = first; e < end; ++e) {
        lanes[e - first] = placeOrNew(slots[std::size_t{e} * entries.width + k], entries.position(e, k));
      }
      if (lanes[0] < _structure.firstAdded) {
        entries.indices->appendOwn(lanes[0]);
      } else {
        entries.indices->append(lanes.data(), end - first, entries.shape->lanes);
      }
    });
    entries.indices->shrink();
  }

  const std::vector<ShapeEntries>& _shapes;
  const std::vector<Position>& _singles;
  std::vector<std::uint32_t>& _placesOfSingles;
  const std::vector<FixedEntry>& _fixed;
  const std::size_t _shared;
  Places _places;
  std::vector<std::uint32_t> _slotOfFixed;
  std::vector<std::vector<std::uint32_t>> _slotsOf;  // by shape, element and entry
  Structure _structure;
};

}  // namespace

std::size_t Structure::bytes() const noexcept {
  return positions.capacity() * sizeof(Position) + start.capacity() * sizeof(double);
}

Structure layOut(const std::vector<ShapeEntries>& shapes, const std::vector<Position>& singles,
                 std::vector<std::uint32_t>& placesOfSingles, const std::vector<FixedEntry>& fixed,
                 std::size_t shared) {
  return Layout(shapes, singles, placesOfSingles, fixed, shared).make();
}

}  // namespace taveval
