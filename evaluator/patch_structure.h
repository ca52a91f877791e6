#pragma once
/// Changes the order of a sparse matrix's values where a few elements were replaced. Positions that remain keep their
/// order, new ones come last.

#include <unordered_map>
#include <vector>

#include "evaluator/code.h"

namespace taveval {

/// Elements by number: those of shapes, then those of the tape's shapes.
struct ElementRef {
  std::uint32_t shape;
  std::uint32_t element;
  friend bool operator==(const ElementRef&, const ElementRef&) noexcept = default;
  friend bool operator<(const ElementRef& x, const ElementRef& y) noexcept {
    return x.shape != y.shape ? x.shape < y.shape : x.element < y.element;
  }
};

/// Where the place of one entry is kept.
struct PlaceRef {
  Indices* indices = nullptr;  ///< Of a shape, else `single`.
  std::size_t entry = 0;
  std::uint32_t lane = 0, live = 0, width = 0;
  std::uint32_t* single = nullptr;

  std::uint32_t get() const noexcept { return single ? *single : indices->of(entry, lane); }
  /// Allocates nothing after reserve().
  void set(std::uint32_t place) const {
    if (single) {
      *single = place;
    } else {
      indices->set(entry, lane, place, live, width);
    }
  }
  void reserve(std::size_t count) const {
    if (indices) indices->reserve(count, width);
  }
};

/// One of the two matrices of a program.
class Matrix {
 public:
  Matrix(Code& code, bool isHessian) : _code(code), _isHessian(isHessian) {}
  Structure& structure() const noexcept { return _isHessian ? _code.hessian : _code.jacobian; }
  /// Calls visit(PlaceRef) for the entries of an element.
  template <class Visit>
  void forEachEntry(ElementRef element, Visit visit) const;
  /// The same for all elements that are alive.
  template <class Visit>
  void forEachEntry(Visit visit) const;
  /// Renumbers all places but those of dead elements of the tape.
  void renumber(const std::vector<std::uint32_t>& renumbered) const noexcept;

 private:
  template <class Visit>
  void visitBlock(Shape& shape, std::uint32_t block, std::uint32_t firstLane, std::uint32_t endLane, Visit visit) const;
  template <class Visit>
  void visitSingle(const TapeShape& shape, std::uint32_t e, Visit visit) const;

  Code& _code;
  bool _isHessian;
};

/// A change of a matrix. First what goes and what comes is named, then prepare() finds the places, then commit() takes
/// them over without allocating.
class StructurePatch {
 public:
  using Position = TavEvaluator::Position;
  StructurePatch(Code& code, bool isHessian) : _matrix(code, isHessian), _old(_matrix.structure()) {}

  /// The entries of this element go.
  void remove(ElementRef element);
  /// An entry comes; its number.
  std::uint32_t add(Position position);
  /// The value that a position starts from: a fixed one, or none where `isFixed` is false any more. Its number. `place`
  /// is where it is now, kNone for nowhere.
  std::uint32_t fix(Position position, bool isFixed, double value, std::uint32_t place);
  void prepare();
  /// The place of a position, by its number.
  std::uint32_t place(std::uint32_t number) const noexcept { return _touched[number].newPlace; }
  /// Renumbers the places of linear terms as well. Returns whether positions have changed.
  bool commit(std::vector<std::uint32_t>* termPlaces) noexcept;

 private:
  struct Touched {
    Position position;
    std::uint32_t oldPlace = kNone, newPlace = kNone;
    std::uint32_t count = 0;  // of entries in the end
    bool isFixed = false;
    double value = 0.0;
    PlaceRef owner{};  // of an own place, unless that is removed
  };

  Touched& touch(Position position);
  std::uint32_t numberOf(Position position) { return static_cast<std::uint32_t>(&touch(position) - _touched.data()); }
  void findOldPlaces();
  void countEntries();
  void choosePlaces();

  Matrix _matrix;
  Structure& _old;
  std::vector<Touched> _touched;
  std::unordered_map<std::uint64_t, std::uint32_t> _numberOf;
  std::vector<PlaceRef> _removed;
  std::vector<std::uint32_t> _redirected;  // numbers
  std::vector<std::uint32_t> _vanished;    // places, ascending
  std::vector<std::uint32_t> _appended;    // numbers
  std::vector<std::uint32_t> _renumbered;  // by old place; empty: as they were
};

template <class Visit>
void Matrix::visitBlock(Shape& shape, std::uint32_t block, std::uint32_t firstLane, std::uint32_t endLane,
                        Visit visit) const {
  Indices& indices = _isHessian ? shape.hessian : shape.jacobian;
  const std::size_t width = indices.size() / shape.blockCount();
  const std::uint32_t live = std::min(shape.lanes, shape.count - block * shape.lanes);
  for (std::size_t k = 0; k < width; ++k) {
    for (std::uint32_t lane = firstLane; lane < std::min(endLane, live); ++lane) {
      const PlaceRef ref{&indices, block * width + k, lane, live, shape.lanes, nullptr};
      if (ref.get() != kNone) visit(ref);
    }
  }
}

template <class Visit>
void Matrix::visitSingle(const TapeShape& shape, std::uint32_t e, Visit visit) const {
  const std::uint32_t width = _isHessian ? shape.hessianCount : shape.jacobianCount;
  auto& places = _isHessian ? _code.tape.hessian : _code.tape.jacobian;
  std::uint32_t* place = places.data() + (_isHessian ? shape.hessian : shape.jacobian) + std::size_t{e} * width;
  for (std::uint32_t k = 0; k < width; ++k) visit(PlaceRef{nullptr, 0, 0, 0, 0, place + k});
}

template <class Visit>
void Matrix::forEachEntry(ElementRef element, Visit visit) const {
  if (element.shape >= _code.shapes.size()) {
    visitSingle(_code.tape.shapes[element.shape - _code.shapes.size()], element.element, visit);
  } else {
    Shape& shape = _code.shapes[element.shape];
    const std::uint32_t lane = element.element % shape.lanes;
    visitBlock(shape, element.element / shape.lanes, lane, lane + 1, visit);
  }
}

template <class Visit>
void Matrix::forEachEntry(Visit visit) const {
  for (Shape& shape : _code.shapes) {
    for (std::uint32_t block = 0; block < shape.blockCount(); ++block) visitBlock(shape, block, 0, shape.lanes, visit);
  }
  for (const TapeShape& shape : _code.tape.shapes) {
    for (std::uint32_t e = 0; e < shape.count; ++e) visitSingle(shape, e, visit);
  }
}

}  // namespace taveval
