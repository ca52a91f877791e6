#pragma once
/// From rows to shapes. Summands over the same variables, also those of different rows, form one element, so that they
/// share subexpressions; elements of equal structure form a shape.

#include <bit>
#include <functional>
#include <span>
#include <vector>

#include "evaluator/pages.h"
#include "evaluator/rows.h"

namespace taveval {

/// What elements are made of, before programs: structures and, for each element, its data.
struct Drafts {
  /// Elements of one structure.
  struct Shape {
    std::size_t firstWord;  ///< Of the key, in `words`.
    std::uint32_t wordCount;
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
  std::vector<Shape> shapes;
  std::vector<Element> elements;
  std::vector<std::uint32_t> order;      ///< Elements by shape.
  std::vector<std::uint32_t> words;      ///< Keys.
  std::vector<std::uint32_t> variables;  ///< Columns.
  std::vector<std::uint32_t> rows;       ///< Rows of the outputs; the objective is the row behind the last.
  std::vector<std::uint32_t> values;     ///< Numbers of the summands whose values an element gives.
  std::vector<double> parameters;
  std::vector<bool> isWhole;  ///< By row: it is an output of an element.
};

/// One shape of drafts.
class ShapeDraft : public Drafts::Shape {
 public:
  ShapeDraft(const Drafts& drafts, std::size_t shape) : Shape(drafts.shapes[shape]), _drafts(drafts) {}
  std::span<const std::uint32_t> key() const { return std::span(_drafts.words).subspan(firstWord, wordCount); }
  const std::uint32_t* variables(std::uint32_t e) const { return _drafts.variables.data() + element(e).variables; }
  const std::uint32_t* rows(std::uint32_t e) const { return _drafts.rows.data() + element(e).rows; }
  const std::uint32_t* values(std::uint32_t e) const { return _drafts.values.data() + element(e).values; }
  const double* parameters(std::uint32_t e) const { return _drafts.parameters.data() + element(e).parameters; }

 private:
  const Drafts::Element& element(std::uint32_t e) const { return _drafts.elements[_drafts.order[firstInOrder + e]]; }
  const Drafts& _drafts;
};

/// Marks in a key, beside the numbers of operations.
enum class KeyMark : std::uint32_t {
  Plus = 200,    ///< A record follows: summand of the output.
  Minus,         ///< The same, negative.
  Scaled,        ///< The same, times the next parameter.
  LinearPlus,    ///< A record follows: a term of the linear part, which counts for the value alone.
  LinearMinus,   ///< The same, negative.
  LinearScaled,  ///< The same, times the next parameter.
  LinearNumber,  ///< The next parameter is a term.
  Output,        ///< The output is complete; its uses follow.
};

/// Calls the receiver for each item of a key: node(op, value of a constant, operands), mark(mark, node) and
/// output(uses). Nodes are numbered as they come.
template <class Receiver>
void readKey(std::span<const std::uint32_t> key, Receiver&& receiver) {
  for (std::size_t i = 0; i < key.size();) {
    const std::uint32_t word = key[i++];
    if (word == static_cast<std::uint32_t>(KeyMark::Output)) {
      receiver.output(key[i++]);
    } else if (word >= static_cast<std::uint32_t>(KeyMark::Plus)) {
      const auto mark = static_cast<KeyMark>(word);
      receiver.mark(mark, mark == KeyMark::LinearNumber ? kNone : key[i++]);
    } else {
      const auto op = static_cast<Op>(word);
      double value = 0.0;
      std::uint32_t of[3] = {kNone, kNone, kNone};
      if (op == Op::Constant) {
        value = std::bit_cast<double>(std::uint64_t{key[i]} << 32 | key[i + 1]);
        i += 2;
      }
      for (int k = 0; k < operandCount(op); ++k) of[k] = key[i++];
      receiver.node(op, value, of);
    }
  }
}

/// What an output is used for.
enum OutputUse : std::uint32_t {
  kOfObjective = 1,  ///< It belongs to the objective.
  kDerivatives = 2,  ///< Derivatives.
  kWhole = 4,        ///< Its value, with the linear part, is its row's value.
  kSum = 8,          ///< Its value is a summand of its row.
  kEach = 16,        ///< Each of its summands is one of its row.
};

/// Makes the drafts. `objectiveRow` is the number of the objective among the rows.
class Elements {
 public:
  /// `byObjects`: no values are computed here.
  Elements(const Rows& rows, std::uint32_t objectiveRow, bool byObjects)
      : _byObjects(byObjects), _rows(rows), _objectiveRow(objectiveRow), _recordStamp(rows.records.size()) {}
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
  void writeRecord(std::uint32_t record);
  void writeColumn(std::uint32_t column);
  void writeLinearPart(const Row& row);
  std::uint32_t shapeOfKey(const Drafts::Element& from);
  void growShapeTable();
  void sortByShape();

  const Filter* _wanted = nullptr;
  const bool _byObjects;
  const Rows& _rows;
  const std::uint32_t _objectiveRow;
  std::uint32_t _stamp = 0;
  std::vector<std::uint32_t> _recordStamp;
  std::vector<std::uint32_t> _stack;
  std::vector<std::uint32_t> _sets;
  std::vector<Local> _locals, _merged;
  std::vector<Link> _links;
  std::vector<Output> _outputs;
  std::vector<Element> _elements;
  std::vector<std::uint32_t> _elementOfHash;  // heads of chains
  Pages<std::uint32_t, kNone> _lastLocal;     // by column, of this row: heads of chains in _sharing
  std::vector<Link> _sharing;                 // numbers in _merged, in the place of summands

  // Of the element that is being written to a key.
  std::vector<std::uint32_t> _numberOf;         // by record
  Pages<std::uint32_t, kNone> _numberOfColumn;  // valid where the stamp is that of the element
  Pages<std::uint32_t, 0> _columnStamp;
  std::vector<std::uint32_t> _key, _summands, _values, _objectiveValues;
  std::uint32_t _written = 0;
  Drafts _drafts;
  std::vector<std::uint32_t> _shapeOfHash;  // heads of chains
};

}  // namespace taveval
