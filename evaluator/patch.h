#pragma once
/// Brings a program up to date where a few rows were modified. Elements whose structure is as before receive new
/// parameters in place; others are left out, and new ones are appended to the tape.

#include <span>
#include <vector>

#include "evaluator/elements.h"
#include "evaluator/patch_structure.h"
#include "evaluator/tape.h"

namespace taveval {

/// The elements of each row; made when it is asked for the first time.
class RowElements {
 public:
  std::span<const ElementRef> of(const Code& code, std::uint32_t row) {
    if (_starts.empty()) build(code);
    return std::span(_elements).subspan(_starts[row], _starts[row + 1] - _starts[row]);
  }
  /// To be called when elements have changed.
  void clear() noexcept { _starts.clear(); }

 private:
  void build(const Code& code);

  std::vector<std::size_t> _starts;
  std::vector<ElementRef> _elements;
};

/// The expressions of a program: constraints, then the objective, which may be null.
struct Expressions {
  const std::vector<TavNumExprI*>& constraints;
  TavNumExprI* objective;
  TavNumExprI* operator[](std::uint32_t row) const { return row < constraints.size() ? constraints[row] : objective; }
};

/// One update of a program. Whatever can fail is done by prepare(), which changes nothing that is visible.
class Patch {
 public:
  Patch(Code& code, RowElements& elementsOfRow, Columns& columns, Watch& watch, Expressions expressions,
        const TavEvaluator::Options& options);
  /// Compiles the rows, ascending. False if the whole should be compiled instead.
  bool prepare(std::span<const std::uint32_t> rows);
  /// Changes the program. Returns whether positions have changed.
  bool commit() noexcept;

 private:
  struct OldElement {
    ElementRef ref;
    std::vector<std::uint32_t> rows, variables, sorted;
    bool isKept = false;  // with new parameters
  };
  /// New parameters of an element that stays.
  struct Update {
    ElementRef ref;
    std::vector<double> values;  // own, then derived ones
  };
  /// A parameter that was the same in all elements of a shape and is not any more.
  struct Promotion {
    std::uint32_t shape;
    std::vector<std::uint32_t> parameters;  // numbers in Shape::parameterPlace
    AlignedDoubles values;                  // Shape::parameters in the end
  };
  struct NewRow {
    std::uint32_t number;
    bool isWhole, isByObjects;
    bool keepsTerms;  // their columns are as before
    struct {
      std::size_t first, count;
    } source;  // of the terms, in _rows
    Code::RowFacts facts;
    LooseRow loose;
    std::vector<std::uint32_t> summands;
  };

  bool isTape(ElementRef ref) const noexcept { return ref.shape >= _code.shapes.size(); }
  TapeShape& tapeShape(ElementRef ref) const { return _code.tape.shapes[ref.shape - _code.shapes.size()]; }
  std::uint32_t objectiveRow() const noexcept { return static_cast<std::uint32_t>(_code.constraintCount()); }

  void findOldElements(std::span<const std::uint32_t> rows);
  void describe(OldElement& element) const;
  void readRows();
  bool draftElements();
  bool matchElements();
  void sortOldElements();
  OldElement* findMatch(const ShapeDraft& draft, std::uint32_t e);
  bool isSameStructure(const OldElement& old, const ShapeDraft& draft) const;
  void update(OldElement& old, const ShapeDraft& draft, std::uint32_t e);
  void append(const ShapeDraft& draft, std::span<const std::uint32_t> elements);
  std::uint32_t valuePlace(const OldElement& old, std::uint32_t k) const;
  void findPromotions();
  void makeRows();
  void patchStructures();
  void makeAllRoom();

  void commitParameters() noexcept;
  void commitPromotion(Promotion& promotion) noexcept;
  void removeElements() noexcept;
  void appendTape() noexcept;
  void commitRow(NewRow& row, std::size_t& nextNumber) noexcept;
  void commitTerms(const NewRow& row, std::size_t& nextNumber) noexcept;
  double& gradientStart(const TavEvaluator::LinearTerm& term) noexcept {
    return _code.gradientStart.values[static_cast<std::size_t>(term.column)];
  }
  void findRowsWithoutDerivative() noexcept;

  Code& _code;
  RowElements& _elementsOfRow;
  Columns& _columns;
  Watch& _watch;
  Expressions _expressions;
  const TavEvaluator::Options& _options;

  std::vector<std::uint32_t> _numbers;  // of the rows that are read, ascending
  std::vector<bool> _isModified;        // by row that is read; others share elements with these
  std::vector<OldElement> _old;
  std::vector<std::pair<std::uint64_t, std::uint32_t>> _oldByHash;
  Rows _rows;
  Drafts _drafts;
  TapeCompiler _compiler{};
  std::vector<Update> _updates;
  std::vector<Promotion> _promotions;
  Tape _fresh;                          // new elements
  std::vector<std::uint32_t> _placeOf;  // by summand of _rows
  std::size_t _valueCount = 0;          // of the program in the end
  std::vector<NewRow> _newRows;
  std::size_t _newTerms = 0;  // that are appended to the program's
  StructurePatch _jacobian, _hessian;
  std::vector<std::uint32_t> _termNumbers;  // the same by term of _newRows, where the structure changes
  bool _isOtherStructure = false;
};

}  // namespace taveval
