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
  Layout(const std::vector<ShapeEntries>& shapes, const OtherEntries& others, OtherPlaces& placesOfOthers)
      : _shapes(shapes),
        _others(others),
        _placesOfOthers(placesOfOthers),
        _places(countEntries(shapes) + others.singles.size() + others.sharedCount) {}

  Structure make() {
    meetAll();
    for (std::size_t s = 0; s < _shapes.size(); ++s) placeOwnRuns(s);
    auto& placesOfSingles = _placesOfOthers.singles;
    for (std::size_t i = 0; i < placesOfSingles.size(); ++i) {
      if (_places.isAlone(placesOfSingles[i])) _places.place(placesOfSingles[i]) = newPlace(_others.singles[i]);
    }
    _structure.firstAdded = _structure.positions.size();
    placeSharedFixed();
    for (std::size_t s = 0; s < _shapes.size(); ++s) fillIndices(s);
    for (std::size_t i = 0; i < placesOfSingles.size(); ++i) {
      placesOfSingles[i] = placeOrNew(placesOfSingles[i], _others.singles[i]);  // instead of the slot
    }
    placeConstants();
    _structure.positions.shrink_to_fit();
    _structure.start.values.shrink_to_fit();
    _structure.start.findParts(_isStored);
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
    for (std::size_t i = 0; i < _others.sharedCount; ++i) {
      _slotOfFixed.push_back(_places.meet(_others.fixed[i].position));
    }
    for (const ShapeEntries& entries : _shapes) {
      auto& slots = _slotsOf.emplace_back();
      slots.reserve(std::size_t{entries.shape->count} * entries.width);
      for (std::uint32_t e = 0; e < entries.shape->count; ++e) {
        for (std::uint32_t k = 0; k < entries.width; ++k) slots.push_back(_places.meet(entries.position(e, k)));
      }
    }
    for (const Position position : _others.singles) _placesOfOthers.singles.push_back(_places.meet(position));
  }
  void placeFixed(std::size_t i) {
    _placesOfOthers.fixed[i] = newPlace(_others.fixed[i].position);
    _structure.start.values.push_back(_others.fixed[i].value);
  }
  void placeSharedFixed() {
    _placesOfOthers.fixed.resize(_others.fixed.size());
    for (std::size_t i = 0; i < _others.sharedCount; ++i) {
      if (_places.isAlone(_slotOfFixed[i])) continue;
      placeFixed(i);
      _places.place(_slotOfFixed[i]) = _placesOfOthers.fixed[i];
    }
  }
  /// Places the others, sorted by the first few values that are met.
  void placeConstants() {
    constexpr std::size_t kMostValues = 8;
    std::vector<double> values;
    std::vector<std::uint32_t> numbers[kMostValues + 1];
    for (std::uint32_t i = 0; i < _others.fixed.size(); ++i) {
      if (i < _others.sharedCount && !_places.isAlone(_slotOfFixed[i])) continue;
      const double value = _others.fixed[i].value;
      const auto found = std::find(values.begin(), values.end(), value);
      const auto number = static_cast<std::size_t>(found - values.begin());
      if (found == values.end() && number < kMostValues) values.push_back(value);
      numbers[number].push_back(i);
    }
    for (const auto& numbersOfValue : numbers) {
      for (const std::uint32_t i : numbersOfValue) placeFixed(i);
    }
  }
  /// The place of a slot's position, which starts from 0 if it is new.
  std::uint32_t placeOrNew(std::uint32_t slot, Position position) {
    std::uint32_t& place = _places.place(slot);
    if (place == kNone) {
      place = newPlace(position);
      _structure.start.values.push_back(0.0);
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
      const std::size_t met = _structure.positions.size();
      for (std::uint32_t e = first; e < end; ++e) {
        lanes[e - first] = placeOrNew(slots[std::size_t{e} * entries.width + k], entries.position(e, k));
      }
      if (lanes[0] < _structure.firstAdded) {
        entries.indices->appendOwn(lanes[0]);
        return;
      }
      entries.indices->append(lanes.data(), end - first, entries.shape->lanes);
      storeNew(*entries.indices, lanes, end - first, met);
    });
    entries.indices->shrink();
  }

  /// Lets the last entry store to places that are new since there were `met`.
  void storeNew(Indices& indices, const std::vector<std::uint32_t>& lanes, std::uint32_t count, std::size_t met) {
    std::uint32_t firstNew = count;
    while (firstNew > 0 && lanes[firstNew - 1] >= met) --firstNew;
    if (firstNew == count || !indices.storeFrom(indices.size() - 1, firstNew)) return;
    _isStored.resize(_structure.start.values.size(), false);
    for (std::uint32_t i = firstNew; i < count; ++i) _isStored[lanes[i] - _structure.firstAdded] = true;
  }

  const std::vector<ShapeEntries>& _shapes;
  const OtherEntries& _others;
  OtherPlaces& _placesOfOthers;
  Places _places;
  std::vector<std::uint32_t> _slotOfFixed;
  std::vector<std::vector<std::uint32_t>> _slotsOf;  // by shape, element and entry
  std::vector<bool> _isStored;                       // by place from `firstAdded` on
  Structure _structure;
};

}  // namespace

std::size_t Structure::bytes() const noexcept { return positions.capacity() * sizeof(Position) + start.bytes(); }

Structure layOut(const std::vector<ShapeEntries>& shapes, const OtherEntries& others, OtherPlaces& places) {
  return Layout(shapes, others, places).make();
}

void layOutGradient(std::vector<Shape>& shapes, Start& start) {
  std::vector<bool> isMet, isStored(start.values.size(), false);
  for (const double value : start.values) isMet.push_back(value != 0.0);
  for (Shape& shape : shapes) {
    for (std::uint32_t block = 0; block < shape.blockCount(); ++block) {
      const std::uint32_t live = std::min(shape.lanes, shape.count - block * shape.lanes);
      for (const std::uint32_t variable : shape.gradientVariables) {
        const std::size_t entry = std::size_t{block} * shape.variableCount + variable;
        const auto column = [&](std::uint32_t lane) { return shape.variables.of(entry, lane); };
        std::uint32_t firstNew = live;
        while (firstNew > 0 && !isMet[column(firstNew - 1)]) --firstNew;
        const bool stores = firstNew < live && shape.variables.storeFrom(entry, firstNew);
        for (std::uint32_t i = 0; i < live; ++i) {
          isMet[column(i)] = true;
          if (stores && i >= firstNew) isStored[column(i)] = true;
        }
      }
    }
  }
  start.findParts(isStored);
}

void forgetStored(std::vector<Shape>& shapes) noexcept {
  for (Shape& shape : shapes) {
    for (Indices* indices : {&shape.variables, &shape.jacobian, &shape.hessian}) indices->forgetStored();
  }
}

}  // namespace taveval
