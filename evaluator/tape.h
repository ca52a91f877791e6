#pragma once
/// Elements of structures that occur a few times only. Building and optimising the derivatives of such a structure
/// would cost more than it saves: its operations are written down as they are, and derivatives are computed while they
/// are read, forwards for second derivatives' directions, backwards for adjoints.

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "evaluator/elements.h"
#include "host/large_array.h"

namespace taveval {

/// Elements of one structure, their data beside each other in the arrays of the tape.
struct TapeShape {
  std::uint32_t count;            ///< Of elements.
  std::uint32_t code, codeEnd;    ///< In Tape::code.
  std::uint32_t pattern;          ///< In Tape::pattern: entries of Jacobian, gradient and Hessian.
  std::uint32_t variables, rows;  ///< Of the first element, as the following.
  std::uint32_t jacobian, hessian;
  std::uint32_t parameters;
  std::uint32_t firstValue;  ///< Among the summands of rows.
  std::uint32_t parameterCount;
  std::uint16_t jacobianCount, hessianCount, gradientCount;
  std::uint16_t valueCount, objectiveValueCount;
  std::uint8_t outputCount;
  std::uint8_t variableCount : 7;
  bool hasRows : 1;  ///< Some output is no objective's.
};

/// What the tape knows of an operation while an element is evaluated.
struct TapeNode {
  double value, adjoint;
  double first[2], second[3];  ///< Partial derivatives.
  std::uint32_t operand[2];    ///< That a derivative goes to; kNone for none.
  std::uint8_t seconds;        ///< Those of `second` that count: see Rule.
  std::uint8_t variable;       ///< Number of a variable + 1, else 0.
  bool isActive;               ///< Depends on a variable by a derivative.
};

/// All such elements.
struct Tape {
  /// Variables of an element, at most: their sets are bits of a word.
  static constexpr std::uint32_t kMostVariables = 64;
  /// Directions that one sweep takes.
  static constexpr std::uint32_t kDirections = 8;

  using Mark = KeyMark;

  std::vector<TapeShape> shapes;
  std::vector<std::uint8_t> code;     ///< Keys.
  std::vector<std::uint8_t> pattern;  ///< Pairs: output and variable, or two variables, the second one ascending.
  std::vector<std::uint32_t> variables, rows;
  std::vector<std::uint32_t> jacobian, hessian;  ///< Places of values; those of own runs are stored, not added.
  std::vector<double> parameters;
  std::uint32_t mostNodes = 0;  ///< Of an element.

  /// Appends the positions of an element's entries.
  void appendJacobian(const TapeShape& shape, std::uint32_t e, TavLargeArray<TavEvaluator::Position>& positions) const;
  void appendHessian(const TapeShape& shape, std::uint32_t e, TavLargeArray<TavEvaluator::Position>& positions) const;
  std::size_t bytes() const noexcept;
  void shrink();
};

/// Appends shapes to a tape; memory is kept from shape to shape.
class TapeCompiler {
 public:
  /// Whether the tape can take such elements, and whether it is better than programs although these are faster.
  static bool canTake(const ShapeDraft& draft) noexcept {
    return draft.count < kFewest && draft.variableCount <= Tape::kMostVariables;
  }
  static bool takes(const ShapeDraft& draft, std::size_t rareShapes) noexcept {
    return canTake(draft) && (rareShapes > kFewRare || draft.nodeCount > kManyNodes);
  }
  /// Appends elements of the shape. Places of values are not known yet.
  void add(const ShapeDraft& draft, std::span<const std::uint32_t> elements, int derivatives, Tape& tape);

  /// Structures of fewer elements are not worth programs.
  static constexpr std::uint32_t kFewest = 12;
  /// So few small structures are given programs all the same.
  static constexpr std::uint32_t kFewRare = 64, kManyNodes = 1000;

 private:
  struct Node {
    Op op;
    bool isNeeded;  // some second derivative may depend on it
    std::uint32_t of[3];
    std::uint64_t variables;  // that it depends on by derivatives
  };
  struct Reading;

  void findInteractions(std::uint32_t variableCount);
  void writePattern(int derivatives, TapeShape& shape);
  void addPair(std::uint32_t first, std::uint32_t second);
  std::uint32_t keepPattern(std::vector<std::uint8_t>& patterns);

  /// A pattern that the tape has. Few are different: by hash, one for each remainder.
  struct Pattern {
    std::uint32_t first, size;
  };
  static constexpr std::size_t kPatterns = 256;
  std::array<Pattern, kPatterns> _patterns{};

  // Of the structure that was read last.
  TavLargeArray<Node> _nodes;
  TavLargeArray<std::uint32_t> _uses, _starts;  // of outputs: uses; starts of their nodes in _summands, and the end
  TavLargeArray<std::uint32_t> _summands;
  TavLargeArray<std::uint8_t> _pattern;
  std::uint64_t _interactions[Tape::kMostVariables];  // by variable
};

}  // namespace taveval
