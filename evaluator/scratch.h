#pragma once
/// A workspace: evaluates compiled programs at points.

#include "evaluator/compiled.h"

namespace taveval {

/// What TavEvaluation holds.
class Scratch {
 public:
  explicit Scratch(Compiled& compiled);
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch();

  /// The current program; makes room for it.
  const Code& code();
  /// Where results go: null for what is not asked for.
  struct Results {
    double* objective = nullptr;
    double* rows = nullptr;
    double* gradient = nullptr;
    double* jacobian = nullptr;
    double* hessian = nullptr;
  };
  void evaluate(const double* x, double sigma, const double* lambda, const Results& results);
  /// Working space for a matrix.
  double* matrix(std::size_t size);

 private:
  class Point;
  static void start(const Code& code, const Results& results);
  /// Adds summands up to rows, in the order of `eval`.
  void addUp(const Code& code, const Task& task, const Results& results) const;
  void evaluateByObjects(const Code& code, const double* x, const Results& results);

  Compiled& _compiled;
  AlignedDoubles _registers;
  AlignedDoubles _values;  // summands of rows
  std::vector<TapeNode> _nodes;
  AlignedDoubles _tangents;
  std::vector<double> _matrix;
  std::unique_ptr<Point> _point;
};

}  // namespace taveval
