#pragma once
/// The evaluator: expressions of a model compiled for solvers. It gives the values of an objective and of constraint
/// bodies, the gradient, the sparse Jacobian and the sparse Hessian of the Lagrangian, all derivatives exact.
///
/// ```cpp
/// TavEnv env;
/// TavNumVar x(env, 0, 4, "x"), y(env, 0, 4, "y");
/// const TavNumExpr objective = TavSquare(x - 1) + TavExponent(y);
/// TavExprArray constraints(env);
/// constraints.add(x * y + TavSin(x));
///
/// TavEvaluator evaluator(env, objective, constraints);  // columns: x, y
/// TavEvaluation at(evaluator);                          // one for each thread
/// const std::vector<double> point{2.0, 1.0};
/// const double f = at.objective(point);
/// std::vector<double> jacobian(evaluator.getJacobianStructure().size());
/// at.jacobian(point, jacobian);  // value k stands at position k of the structure
/// ```
///
/// **Values.** In the fast mode a function such as the sine differs from that of the C library by at most 2 units in
/// the last place, a power with exponent 2 is a square, and products are fused with sums where the processor does it;
/// sums are added in the order of `eval`. In the exact mode values are those of `eval` bit for bit. In both modes what
/// `eval` throws is thrown, the same class with the same text.
///
/// **Derivatives** are exact and the same in both modes:
///
/// | expression | derivative |
/// |---|---|
/// | sums, products, quotients, elementary functions | the textbook rule; IEEE values pass through |
/// | integer sums and products | that of the numeric ones |
/// | \|x\| | sgn x, 0 at 0 |
/// | sgn, ceil, floor, trunc, round, count, integer division, modulo | 0 |
/// | fract | 1 |
/// | distance to the nearest integer | -sgn(nearest - x), 0 at whole numbers |
/// | numToInt | 1: it does not change the value |
/// | min, max | that of the operand that gives the value, by the tie rule of `eval` |
/// | x ^ c | c x ^ (c - 1), 0 where c is 0, at x = 0 too; the second one likewise |
/// | c ^ x, x ^ y by the exponent | (base ^ exponent) log base; 0 where the base is not positive |
/// | standard deviation | the textbook rule; 0 where all values are equal |
/// | piecewise-linear | the slope of the segment that gives the value |
/// | element of an array, conditional | that of what is chosen; 0 by the index or condition |
/// | client functions (monotonic), classes made outside the library | none: see TavEvaluator::NoDerivative |
///
/// Where the chain rule multiplies 0 by an infinite or undefined factor, as that of atan(1 / x) at x = 0 does, the
/// derivative is 0 or not a number. Values that are all equal but whose mean is rounded deviate by the rounding.
///
/// **Threads.** A compiled evaluator may be used by several threads at once, each with a TavEvaluation of its own, as
/// long as nobody modifies the model. Rows that are evaluated by their objects (getClassWithoutDerivative tells which)
/// follow the rules of those objects.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

namespace taveval {
class Compiled;
class Scratch;
}  // namespace taveval

/// An objective and constraint bodies of one environment, compiled. It holds one reference on each expression.
///
/// **Modifications.** The evaluator is notified of modifications of the linear nodes in its expressions by their change
/// records: a new coefficient, a new or removed variable, and the removal of variables. It takes them over when it is
/// used next: see update(). A new coefficient of a row of the same structure costs as much as reading the row; new and
/// removed terms and other expressions compile their row alone, and positions that remain keep their order. Columns
/// stay until their variable is destroyed; without columns given, new variables become columns behind the others. It
/// holds the nodes that it was given: a modification through a handle copies a node that is shared, so modify the node
/// itself (`handle.getImpl()->setCoef(x, 2)`). What the library reports to nobody is taken over by refresh():
/// - setConstant, multiply, divide, clear, normalize and remove of a linear node, and terms and parts appended to it;
/// - of the setCoef that sets many coefficients, those that change from one number to another, neither being 0;
/// - elements of the arrays that element nodes look into.
/// Another expression in the place of one is given by setObjective and setConstraint.
class TavEvaluator {
 public:
  /// How values are computed; derivatives are the same in both modes.
  enum class Mode { Fast, Exact };
  /// How a row depends on the columns.
  enum class Kind { Linear, Quadratic, NonLinear };
  /// What is compiled.
  struct Options {
    /// How values are computed.
    Mode mode = Mode::Fast;
    /// Highest order of derivatives that will be asked for: 0, 1 or 2. A lower one compiles faster and takes less
    /// memory.
    int derivatives = 2;
  };
  /// The place of a value in a Jacobian or Hessian, counted from 0.
  struct Position {
    std::int32_t row;                                                             ///< Of the matrix.
    std::int32_t column;                                                          ///< Of the matrix.
    friend bool operator==(const Position&, const Position&) noexcept = default;  ///< The same place.
  };
  /// A sparse matrix compressed by rows: the entries of row r stand at starts[r] .. starts[r + 1] - 1, their columns
  /// ascending. Entry k is value order[k] of the evaluator's own order.
  struct CompressedRows {
    std::vector<std::size_t> starts;    ///< One entry more than rows.
    std::vector<std::int32_t> columns;  ///< One an entry.
    std::vector<std::size_t> order;     ///< One an entry.
  };
  /// A term of a row's linear part.
  struct LinearTerm {
    std::int32_t column;  ///< Position of the variable.
    double coefficient;   ///< Its factor.
  };
  /// An entry of a constant Hessian, of its lower triangle.
  struct HessianEntry {
    Position position;  ///< Its place.
    double value;       ///< The second derivative.
  };
  /// Number of the objective wherever a row is asked for.
  static constexpr std::size_t kObjective = static_cast<std::size_t>(-1);

  /// Base of the failures below. Their texts name the object concerned.
  class Exception : public TavException {
   public:
    /// `text` is the message.
    explicit Exception(std::string text);
    const char* getMessage() const noexcept override { return _text->c_str(); }

   private:
    std::shared_ptr<const std::string> _text;
  };
  /// An expression has a variable that is none of the columns given.
  class UnknownVariable : public Exception {
   public:
    using Exception::Exception;
  };
  /// A derivative was asked for of a row that contains a node of a class without derivatives.
  class NoDerivative : public Exception {
   public:
    using Exception::Exception;
  };

  ///@{
  /// Compiles the expressions, in time and memory linear in their size and in that of their derivatives.
  ///
  /// `objective` may be empty: it is 0 then. `columns` are the variables, in the order of the solver's columns; without
  /// any they are those that the expressions contain, in the order of the first meeting, objective first.
  /// Throws TavEmptyHandleException for an empty constraint or column, TavWrongUsage for an object of another
  /// environment or a column given twice, UnknownVariable, and std::bad_alloc; the expressions are then as they were.
  TavEvaluator(TavEnv env, TavNumExprArg objective, std::span<const TavNumExprArg> constraints,
               std::span<const TavNumVar> columns, Options options);
  TavEvaluator(TavEnv env, TavNumExprArg objective, TavNumExprArray constraints, TavNumVarArray columns,
               Options options);
  TavEvaluator(TavEnv env, TavNumExprArg objective, TavNumExprArray constraints);
  ///@}
  TavEvaluator(const TavEvaluator&) = delete;
  TavEvaluator& operator=(const TavEvaluator&) = delete;
  ~TavEvaluator();

  /// Number of columns.
  std::size_t getColumnCount() const noexcept;
  /// Number of constraints.
  std::size_t getRowCount() const noexcept;
  /// The variable of a column, counted from 0; unchecked.
  TavNumVar getColumn(std::size_t column) const;
  /// The column of a variable, O(1). Throws UnknownVariable for one without column, TavEmptyHandleException for an
  /// empty handle.
  std::size_t getColumnOf(TavNumVar variable) const;

  /// The positions of the Jacobian's values, each once, in the evaluator's own order; linear terms are among them, and
  /// positions whose values happen to be 0. The evaluator keeps them; valid until the structure changes. Throws
  /// NoDerivative, and TavWrongUsage where Options::derivatives is 0.
  std::span<const Position> getJacobianStructure() const;
  /// The same for the Hessian of the Lagrangian; the lower triangle, row >= column. Throws NoDerivative, and
  /// TavWrongUsage where Options::derivatives is below 2.
  std::span<const Position> getHessianStructure() const;
  ///@{
  /// Copies of the structures compressed by rows. O(rows + entries), and sorting within rows. Throws as the functions
  /// above.
  CompressedRows getJacobianByRows() const;
  CompressedRows getHessianByRows() const;
  ///@}
  /// A number that grows whenever the structures above, or the number of columns, change by a modification.
  std::size_t getStructureVersion() const noexcept;

  /// How a constraint, or kObjective, depends on the columns, by the form of its expression: x * x - x * x is
  /// Quadratic. A row that contains a class without derivatives is NonLinear. This and the following functions throw
  /// TavWrongUsage for a row that does not exist.
  Kind getKind(std::size_t row) const;
  /// The linear part of a row as it is written: all of a Linear row except its constant. A column appears once. The
  /// evaluator keeps the terms; valid until the next modification. What squares and products add to it is not there:
  /// all of a Quadratic row's linear part is its Jacobian at 0.
  std::span<const LinearTerm> getLinearPart(std::size_t row) const;
  /// The constant that is added to a row's linear part and to its other parts.
  double getConstant(std::size_t row) const;
  /// The Hessian of a Quadratic row, lower triangle; empty for a Linear one. Compiles the row alone. Throws
  /// TavWrongUsage for a NonLinear row.
  std::vector<HessianEntry> getConstantHessian(std::size_t row) const;
  /// The name of a class in the row that has no derivative, or null when the row has derivatives.
  const char* getClassWithoutDerivative(std::size_t row) const;
  /// Bytes that the compiled program takes, with what following modifications needs; without workspaces.
  std::size_t getMemoryUse() const noexcept;

  /// Takes over the modifications reported since the last call. Every use of a TavEvaluation and every question above
  /// does it; a program of several threads calls it before the threads start. Values that were computed one row at a
  /// time after modifications may differ in the last digits from those of a new evaluator. After modifications of a
  /// quarter of the rows, of a variable's existence, or of a function of more than 64 variables, all is compiled again.
  /// Throws as the constructor; the compiled program is then as it was.
  void update();
  /// Takes over every modification, reported or not: compiles all expressions again.
  void refresh();
  ///@{
  /// Replaces an expression. Throws as the constructor; the compiled program is then as it was.
  void setObjective(TavNumExprArg objective);
  void setConstraint(std::size_t row, TavNumExprArg constraint);
  ///@}

 private:
  friend class TavEvaluation;
  std::unique_ptr<taveval::Compiled> _compiled;
};

/// A workspace to evaluate a compiled program with; each thread uses its own. No evaluation allocates memory, except
/// the first one behind a modification. Make and destroy it on the thread that works on the environment, while the
/// evaluator lives.
///
/// Points have one number for each column; lambda one for each constraint. A span of wrong length fails an assertion,
/// and throws TavWrongUsage in builds without assertions. Results are written completely. Infinities and NaN pass
/// through by the rules of IEEE arithmetic. Where `eval` of an expression throws, the call throws the same and results
/// are undefined. Derivatives throw TavEvaluator::NoDerivative, and TavWrongUsage where Options::derivatives is lower
/// than their order. A call takes time linear in the size of the program, for second derivatives times the number of
/// variables of an element (a group of summands over the same variables) at most.
class TavEvaluation {
 public:
  /// A workspace for this program.
  explicit TavEvaluation(TavEvaluator& evaluator);
  TavEvaluation(const TavEvaluation&) = delete;
  TavEvaluation& operator=(const TavEvaluation&) = delete;
  ~TavEvaluation();

  /// f(x).
  double objective(std::span<const double> x);
  /// g(x), one value for each constraint.
  void constraints(std::span<const double> x, std::span<double> values);
  /// The gradient of the objective, one value for each column.
  void gradient(std::span<const double> x, std::span<double> values);
  /// The Jacobian's values, in the order of getJacobianStructure().
  void jacobian(std::span<const double> x, std::span<double> values);
  /// The values of sigma * (Hessian of f) + sum of lambda[i] * (Hessian of constraint i), in the order of
  /// getHessianStructure().
  void hessian(std::span<const double> x, double sigma, std::span<const double> lambda, std::span<double> values);
  /// All five at once, sharing their work; returns f(x). What an interior-point step asks at a new point.
  double all(std::span<const double> x, double sigma, std::span<const double> lambda, std::span<double> gradient,
             std::span<double> constraints, std::span<double> jacobian, std::span<double> hessian);
  ///@{
  /// Jacobian times v, one value for each constraint, and w times Jacobian, one for each column. They compute the whole
  /// Jacobian.
  void jacobianTimes(std::span<const double> x, std::span<const double> v, std::span<double> result);
  void timesJacobian(std::span<const double> x, std::span<const double> w, std::span<double> result);
  ///@}
  /// The Hessian of the Lagrangian times v, one value for each column. It computes the whole Hessian.
  void hessianTimes(std::span<const double> x, double sigma, std::span<const double> lambda, std::span<const double> v,
                    std::span<double> result);

 private:
  taveval::Compiled* _compiled;
  std::unique_ptr<taveval::Scratch> _scratch;
};

#pragma GCC visibility pop
