#pragma once
/// Elements of structures that occur a few times only. Building and optimising the derivatives of such a structure
/// would cost more than it saves: its operations are written down as they are, and derivatives are computed while they
/// are read, forwards for second derivatives' directions, backwards for adjoints.

#include <cstdint>
#include <span>
#include <vector>

#include "evaluator/elements.h"

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
  std::uint8_t variableCount, outputCount;
  bool hasRows;  ///< Some output is no objective's.
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

  /// Marks of the code beside operations. Operands follow as distances from the node that uses them, in bytes of seven
  /// bits, the lowest first; constants as eight bytes. An output begins with its uses.
  enum class Mark : std::uint8_t {
    Output = 128,
    Plus,
    Minus,
    Scaled,
    LinearPlus,
    LinearMinus,
    LinearScaled,
    LinearNumber
  };

  std::vector<TapeShape> shapes;
  std::vector<std::uint8_t> code;
  std::vector<std::uint8_t> pattern;  ///< Pairs: output and variable, or two variables, the second one ascending.
  std::vector<std::uint32_t> variables, rows;
  std::vector<std::uint32_t> jacobian, hessian;  ///< Places of values; those of own runs are stored, not added.
  std::vector<double> parameters;
  std::uint32_t mostNodes = 0;  ///< Of an element.

  /// Appends the positions of an element's entries.
  void appendJacobian(const TapeShape& shape, std::uint32_t e, std::vector<TavEvaluator::Position>& positions) const;
  void appendHessian(const TapeShape& shape, std::uint32_t e, std::vector<TavEvaluator::Position>& positions) const;
  std::size_t bytes() const noexcept;
  void shrink();
};

/// The next number of a code.
[[gnu::always_inline]] inline std::uint32_t readNumber(const std::uint8_t*& at) noexcept {
  std::uint32_t number = *at++;
  if (number < 128) return number;
  number &= 127;
  for (int shift = 7;; shift += 7) {
    const std::uint32_t next = *at++;
    number |= (next & 127) << shift;
    if (next < 128) return number;
  }
}

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
  /// Reads a structure, which the following are about.
  void read(const ShapeDraft& draft);
  /// 0, 1, 2 or 3 for more, for each output.
  void findDegrees(std::vector<char>& degrees);
  /// The structure's code.
  void write(const ShapeDraft& draft, std::vector<std::uint8_t>& code) const;
  /// Appends elements of the shape. Places of values are not known yet.
  void add(const ShapeDraft& draft, std::span<const std::uint32_t> elements, int derivatives, Tape& tape);

  /// Structures of fewer elements are not worth programs.
  static constexpr std::uint32_t kFewest = 12;
  /// So few small structures are given programs all the same.
  static constexpr std::uint32_t kFewRare = 64, kManyNodes = 1000;

 private:
  struct Node {
    Op op;
    std::uint32_t a, b, c;
    std::uint64_t variables;  // that it depends on by derivatives
  };
  struct Reading;
  struct Writing;

  static void writeNumber(std::uint32_t number, std::vector<std::uint8_t>& code);
  void findVariables();
  void findInteractions(std::uint32_t variableCount);
  void writePattern(int derivatives, TapeShape& shape, std::vector<std::uint8_t>& pattern);

  std::vector<Node> _nodes;
  std::vector<std::uint32_t> _uses, _ends;  // of outputs: uses; ends of their nodes in _summands
  std::vector<std::uint32_t> _summands;
  std::vector<char> _needed, _degree;
  std::vector<std::uint64_t> _interactions;  // by variable
};

/// The degree of a node as a polynomial, 3 for anything above 2, by those of its operands.
int degreeOf(Op op, int a, int b, int c) noexcept;

}  // namespace taveval
