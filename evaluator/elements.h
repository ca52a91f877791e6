#pragma once
/// From rows to shapes. Summands over the same variables, also those of different rows, form one element, so that they
/// share subexpressions; elements of equal structure form a shape.

#include <functional>
#include <span>
#include <vector>

#include "evaluator/key.h"
#include "evaluator/pages.h"
#include "evaluator/rows.h"
#include "host/large_array.h"

namespace taveval {

/// What elements are made of, before programs: structures and, for each element, its data.
struct Drafts {
  /// Elements of one structure.
  struct Shape {
    std::size_t firstByte;  ///< Of the key, in `keys`.
    std::uint32_t byteCount;
    std::uint32_t variableCount, parameterCount, outputCount, valueCount, nodeCount;
    std::uint32_t objectiveValueCount;  ///< Of the values; they come first.
    std::uint32_t count, firstInOrder;  ///< Of its elements, in `order`.
    std::uint32_t nextOfHash;
    std::uint64_t hash;
  };
  /// Where the data of an element begins.
  struct Element {
    std::uint32_t shape;
    std::uint32_t variables, rows, values;
    std::size_t parameters;
  };
  TavLargeArray<Shape> shapes;
  TavLargeArray<Element> elements;
  TavLargeArray<std::uint32_t> order;  ///< Elements by shape.
  TavLargeArray<std::uint8_t> keys;
  TavLargeArray<std::uint32_t> variables;  ///< Columns.
  TavLargeArray<std::uint32_t> rows;       ///< Rows of the outputs; the objective is the row behind the last.
  TavLargeArray<std::uint32_t> values;     ///< Numbers of the summands whose values an element gives.
  TavLargeArray<double> parameters;
  std::vector<bool> isWhole;  ///< By row: it is an output of an element.
};

/// One shape of drafts.
class ShapeDraft : public Drafts::Shape {
 public:
  ShapeDraft(const Drafts& drafts, std::size_t shape) : Shape(drafts.shapes[shape]), _drafts(drafts) {}
  Key key() const { return std::span(_drafts.keys).subspan(firstByte, byteCount); }
  const std::uint32_t* variables(std::uint32_t e) const { return _drafts.variables.data() + element(e).variables; }
  const std::uint32_t* rows(std::uint32_t e) const { return _drafts.rows.data() + element(e).rows; }
  const std::uint32_t* values(std::uint32_t e) const { return _drafts.values.data() + element(e).values; }
  const double* parameters(std::uint32_t e) const { return _drafts.parameters.data() + element(e).parameters; }

 private:
  const Drafts::Element& element(std::uint32_t e) const { return _drafts.elements[_drafts.order[firstInOrder + e]]; }
  const Drafts& _drafts;
};

/// Makes the drafts. `objectiveRow` is the number of the objective among the rows.
class Elements {
 public:
  /// Takes the columns out of `rows`. `byObjects`: no values are computed here.
  Elements(Rows& rows, std::uint32_t objectiveRow, bool byObjects)
      : _byObjects(byObjects), _rows(rows), _objectiveRow(objectiveRow), _sets(std::move(rows.columns)) {
    _written.resize(rows.records.size());
  }
  /// Takes of each row only what `wanted` accepts, by row and variables; all if it is empty.
  using Filter = std::function<bool(std::uint32_t row, std::span<const std::uint32_t> variables)>;
  Drafts collect(const Filter& wanted = {});

 private:
  /// Summands of one row over a set of variables, on their way to an element.
  struct Local {
    std::uint32_t firstVariable, variableCount;  // in _sets, ascending
    std::uint32_t firstSummand, lastSummand;     // in _links
    std::uint32_t summandCount;
    bool isCheap;  // made of sums and products
  };
  struct Link {
    std::uint32_t summand;
    std::uint32_t next;
  };
  struct Output {
    std::uint32_t row;
    std::uint32_t firstSummand;  // in _links
    std::uint32_t next;
    std::uint32_t uses;  // of OutputUse
  };
  struct Element {
    std::uint32_t firstVariable, variableCount;
    std::uint32_t firstOutput, lastOutput;  // in _outputs
    std::uint32_t outputCount;
    std::uint32_t nextOfHash;
  };
  /// Larger elements are not made: they would give large shapes of few elements.
  static constexpr std::uint32_t kMostSummands = 8, kMostOutputs = 8, kMostCandidates = 8;
  /// Longer linear parts are left to their rows: with them few elements would have the same structure.
  static constexpr std::size_t kMostTerms = 2;
  /// Of summands, and of their variables, that become one element although their variables differ.
  static constexpr std::size_t kMostJoined = 4;

  void splitRow(std::uint32_t row);
  bool joinSummands(std::uint32_t row);
  void collectVariables(std::uint32_t record, Local& local);
  void addToLocal(Local& into, const Local& from);
  bool isSubset(const Local& small, const Local& large) const;
  std::uint32_t homeOf(const Local& local);
  Local localOf(std::size_t summand);
  void mergeLocals(std::uint32_t row);
  std::uint32_t valueUses(std::uint32_t number) const;
  void addOutput(const Local& local, std::uint32_t number, std::uint32_t uses);
  std::uint32_t elementOf(const Local& local, std::uint32_t row);
  void growTable();

  void addToShape(const Element& element);
  void writeOutput(const Output& output);
  void writeSummand(const Summand& summand);
  void writeRecord(std::uint32_t record);
  void writeNode(std::uint32_t at, const Record& record);
  void writeLeaf(const Record& record);
  void writeColumn(std::uint32_t column);
  void writeMark(KeyMark mark, std::uint32_t node);
  void writeLinearPart(const Row& row);
  std::uint32_t shapeOfKey(const Drafts::Element& from, std::size_t firstByte);
  void growShapeTable();
  void sortByShape();

  const Filter* _wanted = nullptr;
  const bool _byObjects;
  const Rows& _rows;
  const std::uint32_t _objectiveRow;
  std::uint32_t _stamp = 0;
  struct Written {
    std::uint32_t stamp, number;
  };
  TavLargeArray<Written> _written;  // by record: the number in the key, valid where the stamp is that of the element
  std::vector<std::uint32_t> _stack;
  TavLargeArray<std::uint32_t> _sets;
  TavLargeArray<Local> _locals, _merged;
  TavLargeArray<Link> _links;
  TavLargeArray<Output> _outputs;
  TavLargeArray<Element> _elements;
  std::vector<std::uint32_t> _elementOfHash;  // heads of chains
  Pages<std::uint32_t, kNone> _lastLocal;     // by column, of this row: heads of chains in _sharing
  TavLargeArray<Link> _sharing;               // numbers in _merged, in the place of summands

  // Of the element that is being written to a key.
  Pages<Written> _writtenColumn;  // by column
  TavLargeArray<std::uint32_t> _summands, _values, _objectiveValues;
  std::uint32_t _nodeCount = 0;
  Drafts _drafts;
  KeyWriter _key{_drafts.keys};             // of the element; it is dropped again if a shape has it
  std::vector<std::uint32_t> _shapeOfHash;  // heads of chains
};

}  // namespace taveval
