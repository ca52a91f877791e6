#pragma once
/// From rows to shapes. Summands over the same variables, also those of different rows, form one element, so that they
/// share subexpressions; elements of equal structure form a shape.

#include <vector>

#include "evaluator/rows.h"

namespace taveval {

/// A shape before its programs: the structure that its elements share, and their data.
struct ShapeDraft {
  std::vector<std::uint32_t> key;  ///< The structure, for readKey.
  std::uint32_t count = 0;
  std::uint32_t variableCount = 0, parameterCount = 0, outputCount = 0;
  std::vector<std::uint32_t> variables;  ///< Columns, by element.
  std::vector<double> parameters;        ///< By element.
  std::vector<std::uint32_t> rows;       ///< Rows of the outputs, by element; the objective is the row behind the last.
  std::uint32_t valueCount = 0;          ///< Summands that an element gives, the objective's first.
  std::vector<std::uint32_t> values;     ///< Numbers of these summands, by element.
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
  Elements(const Rows& rows, std::size_t columns, std::uint32_t objectiveRow, bool byObjects)
      : _byObjects(byObjects),
        _rows(rows),
        _objectiveRow(objectiveRow),
        _recordStamp(rows.records.size()),
        _columnStamp(columns) {}
  std::vector<ShapeDraft> collect();

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

  void addToShape(const Element& element, std::vector<ShapeDraft>& shapes);
  void writeOutput(const Output& output);
  void writeRecord(std::uint32_t record);
  void writeColumn(std::uint32_t column);
  void writeLinearPart(const Row& row);
  std::uint32_t draftOf(std::vector<ShapeDraft>& shapes);

  const bool _byObjects;
  const Rows& _rows;
  const std::uint32_t _objectiveRow;
  std::uint32_t _stamp = 0;
  std::vector<std::uint32_t> _recordStamp, _columnStamp;
  std::vector<std::uint32_t> _stack;
  std::vector<std::uint32_t> _sets;
  std::vector<Local> _locals, _merged;
  std::vector<Link> _links;
  std::vector<Output> _outputs;
  std::vector<Element> _elements;
  std::vector<std::uint32_t> _elementOfHash;  // heads of chains
  std::vector<std::vector<std::uint32_t>> _localsOfColumn;

  // Of the element that is being written to a key.
  std::vector<std::uint32_t> _numberOf;        // by record
  std::vector<std::uint32_t> _numberOfColumn;  // valid where _columnStamp has the stamp
  std::vector<std::uint32_t> _key, _variables, _rowsOfOutputs, _summands, _values, _objectiveValues;
  std::vector<double> _parameters;
  std::uint32_t _written = 0;
  std::vector<std::vector<std::uint32_t>> _shapesOfHash;
};

}  // namespace taveval
