#include "evaluator/patch_structure.h"

#include <algorithm>

namespace taveval {

void Matrix::renumber(const std::vector<std::uint32_t>& renumbered) const noexcept {
  for (Shape& shape : _code.shapes) (_isHessian ? shape.hessian : shape.jacobian).renumber(renumbered);
  for (const TapeShape& shape : _code.tape.shapes) {
    for (std::uint32_t e = 0; e < shape.count; ++e) {
      visitSingle(shape, e, [&](const PlaceRef& ref) { *ref.single = renumbered[*ref.single]; });
    }
  }
}

StructurePatch::Touched& StructurePatch::touch(Position position) {
  const std::uint64_t key =
      std::uint64_t{static_cast<std::uint32_t>(position.row)} << 32 | static_cast<std::uint32_t>(position.column);
  const auto [at, isNew] = _numberOf.try_emplace(key, static_cast<std::uint32_t>(_touched.size()));
  if (isNew) _touched.push_back({position});
  return _touched[at->second];
}

void StructurePatch::remove(ElementRef element) {
  _matrix.forEachEntry(element, [this](const PlaceRef& ref) {
    const std::uint32_t place = ref.get();
    Touched& touched = touch(_old.positions[place]);
    touched.oldPlace = place;
    --touched.count;  // countEntries adds what is there now
    _removed.push_back(ref);
  });
}

std::uint32_t StructurePatch::add(Position position) {
  ++touch(position).count;
  return numberOf(position);
}

std::uint32_t StructurePatch::fix(Position position, bool isFixed, double value, std::uint32_t place) {
  Touched& touched = touch(position);
  if (place != kNone) touched.oldPlace = place;
  touched.isFixed = touched.isFixed || isFixed;
  if (isFixed) touched.value = value;
  return numberOf(position);
}

void StructurePatch::findOldPlaces() {
  std::vector<bool> isMarked;
  for (const Touched& touched : _touched) {
    if (touched.oldPlace != kNone) continue;
    const auto row = static_cast<std::size_t>(touched.position.row);
    if (row >= isMarked.size()) isMarked.resize(row + 1);
    isMarked[row] = true;
  }
  if (isMarked.empty()) return;
  for (std::size_t k = 0; k < _old.positions.size(); ++k) {
    const Position position = _old.positions[k];
    const auto row = static_cast<std::size_t>(position.row);
    if (row >= isMarked.size() || !isMarked[row]) continue;
    const auto found = _numberOf.find(std::uint64_t{row} << 32 | static_cast<std::uint32_t>(position.column));
    if (found != _numberOf.end()) _touched[found->second].oldPlace = static_cast<std::uint32_t>(k);
  }
}

void StructurePatch::countEntries() {
  std::vector<std::uint32_t> touchedAt(_old.positions.size(), kNone);
  for (std::uint32_t t = 0; t < _touched.size(); ++t) {
    if (_touched[t].oldPlace != kNone) touchedAt[_touched[t].oldPlace] = t;
  }
  _matrix.forEachEntry([&](const PlaceRef& ref) {
    const std::uint32_t at = touchedAt[ref.get()];
    if (at == kNone) return;
    ++_touched[at].count;
    _touched[at].owner = ref;
  });
  for (const PlaceRef& ref : _removed) {  // of an own place it was the only one
    const std::uint32_t place = ref.get();
    if (place < _old.firstAdded) _touched[touchedAt[place]].owner = {};
  }
}

void StructurePatch::choosePlaces() {
  for (std::uint32_t t = 0; t < _touched.size(); ++t) {
    Touched& touched = _touched[t];
    const bool isNeeded = touched.count > 0 || touched.isFixed;
    const bool isOwn = touched.oldPlace < _old.firstAdded;
    const bool stays = touched.oldPlace != kNone && isNeeded && (!isOwn || (touched.count == 1 && !touched.isFixed));
    if (touched.oldPlace != kNone && !stays) _vanished.push_back(touched.oldPlace);
    if (isOwn && !stays && (touched.owner.indices || touched.owner.single)) _redirected.push_back(t);
    if (isNeeded && !stays) _appended.push_back(t);
  }
  std::sort(_vanished.begin(), _vanished.end());
  if (!_vanished.empty()) {
    _renumbered.resize(_old.positions.size());
    std::size_t passed = 0;
    for (std::uint32_t k = 0; k < _renumbered.size(); ++k) {
      if (passed < _vanished.size() && _vanished[passed] == k) ++passed;
      _renumbered[k] = k - static_cast<std::uint32_t>(passed);
    }
  }
  for (Touched& touched : _touched) {
    touched.newPlace =
        touched.oldPlace == kNone || _renumbered.empty() ? touched.oldPlace : _renumbered[touched.oldPlace];
  }
  auto next = static_cast<std::uint32_t>(_old.positions.size() - _vanished.size());
  for (const std::uint32_t t : _appended) _touched[t].newPlace = next++;
}

void StructurePatch::prepare() {
  findOldPlaces();
  countEntries();
  choosePlaces();
  makeRoom(_old.positions, _appended.size());
  makeRoom(_old.start.values, _appended.size());
  std::vector<std::pair<Indices*, PlaceRef>> refs;
  for (const PlaceRef& ref : _removed) refs.emplace_back(ref.indices, ref);
  for (const std::uint32_t t : _redirected) refs.emplace_back(_touched[t].owner.indices, _touched[t].owner);
  std::sort(refs.begin(), refs.end(), [](const auto& x, const auto& y) { return std::less<>()(x.first, y.first); });
  for (std::size_t first = 0, end = 0; first < refs.size(); first = end) {
    while (end < refs.size() && refs[end].first == refs[first].first) ++end;
    refs[first].second.reserve(end - first);
  }
}

bool StructurePatch::commit(std::vector<std::uint32_t>* termPlaces) noexcept {
  _old.start.forgetParts();
  // What leaves a run makes a list of it, before runs are renumbered.
  for (const PlaceRef& ref : _removed) {
    if (ref.indices) ref.set(kNone);
  }
  for (const std::uint32_t t : _redirected) _touched[t].owner.set(_touched[t].oldPlace);
  if (!_renumbered.empty()) {
    _matrix.renumber(_renumbered);
    std::size_t kept = 0, next = 0, keptOwn = 0;
    for (std::size_t k = 0; k < _old.positions.size(); ++k) {
      if (next < _vanished.size() && _vanished[next] == k) {
        ++next;
        continue;
      }
      if (k < _old.firstAdded) {
        ++keptOwn;
      } else {
        _old.start.values[kept - keptOwn] = _old.start.values[k - _old.firstAdded];
      }
      _old.positions[kept++] = _old.positions[k];
    }
    _old.positions.resize(kept);
    _old.start.values.resize(kept - keptOwn);
    _old.firstAdded = keptOwn;
    if (termPlaces) {
      for (std::uint32_t& place : *termPlaces) place = place == kNone ? kNone : _renumbered[place];
    }
  }
  for (const std::uint32_t t : _redirected) _touched[t].owner.set(_touched[t].newPlace);
  for (const std::uint32_t t : _appended) {
    _old.positions.push_back(_touched[t].position);
    _old.start.values.push_back(0.0);
  }
  for (const Touched& touched : _touched) {
    const bool isNeeded = touched.count > 0 || touched.isFixed;
    if (isNeeded && touched.newPlace >= _old.firstAdded) {
      _old.start.values[touched.newPlace - _old.firstAdded] = touched.isFixed ? touched.value : 0.0;
    }
  }
  return !_vanished.empty() || !_appended.empty();
}

}  // namespace taveval
