#pragma once
/// From the draft of a shape to its programs.

#include <vector>

#include "evaluator/differentiate.h"
#include "evaluator/elements.h"
#include "evaluator/lower.h"

namespace taveval {

/// What is known of a shape beside its programs while the structure is laid out.
struct ShapePlan {
  std::vector<Derivative> jacobian;  ///< row: output; column: variable of the shape.
  std::vector<Derivative> gradient;  ///< The same of the objective.
  std::vector<Derivative> hessian;   ///< Variables of the shape.
};

/// Compiles shapes; memory is kept from shape to shape.
class ShapeCompiler {
 public:
  /// Fills programs, parameters and the tables of variables and rows of `shape`. `derivatives` is the highest order.
  /// Fewer elements than a block of `lanes` are worth are run one by one.
  void compile(const ShapeDraft& draft, int derivatives, std::uint32_t lanes, Shape& shape, ShapePlan& plan);

 private:
  struct Reading;
  void readDraft(const ShapeDraft& draft);
  std::vector<std::uint32_t>& rootsOf(Section section) { return _roots[static_cast<std::size_t>(section)]; }
  std::uint32_t parameter(std::uint32_t number) { return _graph.parameter(number, _isVarying[number]); }
  void readMark(KeyMark mark, std::uint32_t node, std::uint32_t& parameters);
  void endOutput();
  void differentiate(int derivatives, ShapePlan& plan);
  void makePrograms(Shape& shape);
  static void chooseLanes(std::uint32_t lanes, Shape& shape);
  void fillParameters(const ShapeDraft& draft, Shape& shape);
  void fillIndices(const ShapeDraft& draft, Shape& shape) const;

  Graph _graph;
  Differentiator _differentiator;
  Lowering _lowering;
  DerivedParameters _derived;
  Roots _roots;
  std::vector<bool> _isVarying;        // by parameter of the key
  std::vector<std::uint32_t> _nodeOf;  // by number in the key
  std::vector<std::uint32_t> _outputs, _uses;
  std::vector<std::uint32_t> _summands;        // of the output that is read
  std::vector<std::uint32_t> _wholeValues;     // of outputs that are their rows
  std::uint32_t _sum = kNone, _value = kNone;  // of the output that is read, without and with the linear part
};

}  // namespace taveval
