#include "evaluator/structure.h"

#include <algorithm>

namespace taveval {

namespace {

using Position = TavEvaluator::Position;

class Layout {
 public:
  Layout(Entries& entries, OtherPlaces& placesOfOthers)
      : _entries(entries),
        _placesOfOthers(placesOfOthers),
        _positions(entries.positions),
        _firstFixed(entries.positions.size()) {}

  Structure make() {
    for (std::size_t i = 0; i < _entries.sharedCount; ++i) _positions.push_back(_entries.fixed[i].position);
    findFirst();
    const std::size_t firstSingle =
        forEachShape([this](const ShapeEntries& shape, std::size_t first) { placeOwnRuns(shape, first); });
    for (std::size_t k = firstSingle; k < _firstFixed; ++k) {
      if (_place[k] == kAlone) _place[k] = newPlace(_positions[k]);
    }
    _structure.firstAdded = _structure.positions.size();
    placeSharedFixed();
    forEachShape([this](const ShapeEntries& shape, std::size_t first) { fillIndices(shape, first); });
    _placesOfOthers.singles.resize(_firstFixed - firstSingle);
    for (std::size_t k = firstSingle; k < _firstFixed; ++k) _placesOfOthers.singles[k - firstSingle] = placeOrNew(k);
    placeConstants();
    _structure.positions.shrink_to_fit();
    _structure.start.values.shrink_to_fit();
    _structure.start.findParts(_isStored);
    return std::move(_structure);
  }

 private:
  /// Places that are not known yet: of an entry whose position no other has, and of one whose position others have.
  static constexpr std::uint32_t kAlone = kNone, kShared = kNone - 1;

  std::uint32_t newPlace(Position position) {
    _structure.positions.push_back(position);
    return static_cast<std::uint32_t>(_structure.positions.size() - 1);
  }

  /// Finds for each entry the first one of the same position. Entries are taken row by row: a row needs to know no more
  /// than the entry that met each column last.
  void findFirst() {
    const auto rowOf = [this](std::size_t k) { return static_cast<std::size_t>(_positions[k].row); };
    std::vector<std::uint32_t> next(_entries.rows + 1, 0);
    for (const Position position : _positions) ++next[static_cast<std::size_t>(position.row) + 1];
    for (std::size_t r = 0; r < _entries.rows; ++r) next[r + 1] += next[r];
    std::uint32_t* const byRow = _place.append(_positions.size());
    for (std::size_t k = 0; k < _positions.size(); ++k) byRow[next[rowOf(k)]++] = static_cast<std::uint32_t>(k);
    struct Met {
      std::int32_t row;
      std::uint32_t entry;
    };
    std::vector<Met> lastOf(_entries.columns, Met{-1, 0});
    std::vector<bool> isShared(_positions.size());  // valid for first ones
    _first.append(_positions.size());
    for (std::size_t i = 0; i < _positions.size(); ++i) {
      const std::uint32_t k = byRow[i];
      Met& met = lastOf[static_cast<std::size_t>(_positions[k].column)];
      if (met.row == _positions[k].row) {
        isShared[met.entry] = true;
      } else {
        met = {_positions[k].row, k};
      }
      _first[k] = met.entry;
    }
    for (std::size_t k = 0; k < _positions.size(); ++k) _place[k] = isShared[_first[k]] ? kShared : kAlone;
  }

  void placeFixed(std::size_t i) {
    _placesOfOthers.fixed[i] = newPlace(_entries.fixed[i].position);
    _structure.start.values.push_back(_entries.fixed[i].value);
  }
  void placeSharedFixed() {
    _placesOfOthers.fixed.resize(_entries.fixed.size());
    for (std::size_t i = 0; i < _entries.sharedCount; ++i) {
      if (_place[_firstFixed + i] == kAlone) continue;
      placeFixed(i);
      _place[_first[_firstFixed + i]] = _placesOfOthers.fixed[i];
    }
  }
  /// Places the others, sorted by the first few values that are met.
  void placeConstants() {
    constexpr std::size_t kMostValues = 8;
    std::vector<double> values;
    std::vector<std::uint32_t> numbers[kMostValues + 1];
    for (std::uint32_t i = 0; i < _entries.fixed.size(); ++i) {
      if (i < _entries.sharedCount && _place[_firstFixed + i] != kAlone) continue;
      const double value = _entries.fixed[i].value;
      const auto found = std::find(values.begin(), values.end(), value);
      const auto number = static_cast<std::size_t>(found - values.begin());
      if (found == values.end() && number < kMostValues) values.push_back(value);
      numbers[number].push_back(i);
    }
    for (const auto& numbersOfValue : numbers) {
      for (const std::uint32_t i : numbersOfValue) placeFixed(i);
    }
  }
  /// The place of an entry's position, which starts from 0 if it is new.
  std::uint32_t placeOrNew(std::size_t k) {
    std::uint32_t& place = _place[_first[k]];
    if (place >= kShared) {
      place = newPlace(_positions[k]);
      _structure.start.values.push_back(0.0);
    }
    return place;
  }
  /// Calls visit(shape, its first entry) and returns the first entry behind those of shapes.
  template <class Visit>
  std::size_t forEachShape(Visit visit) {
    std::size_t first = 0;
    for (const ShapeEntries& shape : _entries.shapes) {
      visit(shape, first);
      first += std::size_t{shape.shape->count} * shape.width;
    }
    return first;
  }
  template <class Visit>
  void forEachBlock(const ShapeEntries& entries, Visit visit) {
    const Shape& shape = *entries.shape;
    for (std::uint32_t first = 0; first < shape.count; first += shape.lanes) {
      const std::uint32_t end = std::min(first + shape.lanes, shape.count);
      for (std::uint32_t k = 0; k < entries.width; ++k) visit(first, end, k);
    }
  }
  void placeOwnRuns(const ShapeEntries& entries, std::size_t firstEntry) {
    forEachBlock(entries, [&](std::uint32_t first, std::uint32_t end, std::uint32_t k) {
      const auto entry = [&](std::uint32_t e) { return firstEntry + std::size_t{e} * entries.width + k; };
      for (std::uint32_t e = first; e < end; ++e) {
        if (_place[entry(e)] != kAlone) return;
      }
      for (std::uint32_t e = first; e < end; ++e) _place[entry(e)] = newPlace(_positions[entry(e)]);
    });
  }
  void fillIndices(const ShapeEntries& entries, std::size_t firstEntry) {
    std::vector<std::uint32_t> lanes(entries.shape->lanes);
    forEachBlock(entries, [&](std::uint32_t first, std::uint32_t end, std::uint32_t k) {
      const std::size_t met = _structure.positions.size();
      for (std::uint32_t e = first; e < end; ++e) {
        lanes[e - first] = placeOrNew(firstEntry + std::size_t{e} * entries.width + k);
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

  Entries& _entries;
  OtherPlaces& _placesOfOthers;
  TavLargeArray<Position>& _positions;
  const std::size_t _firstFixed;        // entry
  TavLargeArray<std::uint32_t> _first;  // by entry: the first one of the same position
  TavLargeArray<std::uint32_t> _place;  // by entry; of those that share a position, the first one has it
  std::vector<bool> _isStored;          // by place from `firstAdded` on
  Structure _structure;
};

}  // namespace

std::size_t Structure::bytes() const noexcept { return positions.capacity() * sizeof(Position) + start.bytes(); }

Structure layOut(Entries& entries, OtherPlaces& places) { return Layout(entries, places).make(); }

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
