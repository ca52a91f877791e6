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
  std::vector<char> degree;          ///< By output: 0, 1, 2, or 3 for anything else.
};

/// Compiles shapes; memory is kept from shape to shape.
class ShapeCompiler {
 public:
  /// Fills programs, parameters and the tables of variables and rows of `shape`. `derivatives` is the highest order.
  void compile(const ShapeDraft& draft, int derivatives, Shape& shape, ShapePlan& plan);

 private:
  void readKey(const ShapeDraft& draft);
  void addSummand(std::uint32_t node);
  void findDegrees(ShapePlan& plan) const;
  void differentiate(int derivatives, ShapePlan& plan);
  void makePrograms(Shape& shape);
  void chooseLanes(Shape& shape) const;
  void fillParameters(const ShapeDraft& draft, Shape& shape);
  void fillIndices(const ShapeDraft& draft, Shape& shape) const;

  Graph _graph;
  Differentiator _differentiator;
  Lowering _lowering;
  DerivedParameters _derived;
  Roots _roots;
  std::vector<std::uint32_t> _nodeOf;  // by number in the key
  std::vector<std::uint32_t> _outputs;
  std::vector<char> _isObjective;
  std::uint32_t _sum = kNone;
};

}  // namespace taveval
