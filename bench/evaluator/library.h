#pragma once
/// The library's evaluator on the problems, whose models are built through the public interface.

#include <memory>
#include <vector>

#include "bench/evaluator/by_hand.h"
#include "evaluator/functions.h"
#include "evaluator/tavevaluator.h"
#include "examples/power_flow/model.h"
#include "expression/nodes.h"

/// A model and its columns.
struct Model {
  TavEnv env;
  TavNumVarArray columns{env};
  TavNumExpr objective;
  TavNumExprArray constraints{env};
};

/// Receives a problem's description and builds its expressions.
class ModelReceiver {
 public:
  ModelReceiver(Model& model, int rows) : _model(model) {
    for (int row = 0; row <= rows; ++row) _rows.emplace_back(model.env);
  }
  TavNumVar x(int column) const { return _model.columns[column]; }
  void constant(int row, double value) { at(row) += value; }
  void linear(int row, double coefficient, int column) { at(row) += coefficient * x(column); }
  void add(int row, TavNumExprArg term) { at(row) += term; }
  void finish() {
    _model.objective = _rows[0];
    for (std::size_t row = 1; row < _rows.size(); ++row) _model.constraints.add(_rows[row]);
  }

 private:
  TavExpr& at(int row) { return _rows[static_cast<std::size_t>(row + 1)]; }  // the objective comes first

  Model& _model;
  std::vector<TavExpr> _rows;
};
inline TavNumExprArg sqr(TavNumExprArg e) { return TavSquare(e); }
inline TavNumExprArg sin(TavNumExprArg e) { return TavSin(e); }
inline TavNumExprArg cos(TavNumExprArg e) { return TavCos(e); }
inline TavNumExprArg exp(TavNumExprArg e) { return TavExponent(e); }

template <class Problem>
void buildModel(const Problem& problem, Model& model) {
  for (int i = 0; i < problem.columns(); ++i) model.columns.add(TavNumVar(model.env));
  ModelReceiver receiver(model, problem.rows());
  problem.describe(receiver);
  receiver.finish();
}
/// The model of the example, as its author writes it.
inline void buildModel(const PowerFlow& problem, Model& model) {
  const PowerFlowModel made = makeModel(model.env, problem.network);
  model.columns = made.columns();
  model.objective = made.cost;
  model.constraints = made.constraints;
}

/// The evaluator, with code for instruction sets up to `Widest`.
template <class ProblemType, tavdetail::TavInstructionSet Widest = tavdetail::TavInstructionSet::Avx512>
class Evaluator {
 public:
  using Problem = ProblemType;

  explicit Evaluator(const Problem& problem) {
    buildModel(problem, _model);
    compile();
  }
  ~Evaluator() {
    release();
    _model.env.end();
  }

  /// Compiles the model again, with both structures.
  void compile() {
    release();
    tavdetail::limitInstructionSet(Widest);
    _evaluator = std::make_unique<TavEvaluator>(_model.env, _model.objective, _model.constraints, _model.columns,
                                                TavEvaluator::Options{});
    _at = std::make_unique<TavEvaluation>(*_evaluator);
    jacobianPlaces = placesOf(_evaluator->getJacobianStructure());
    hessianPlaces = placesOf(_evaluator->getHessianStructure());
  }
  void release() {
    _at.reset();
    _evaluator.reset();
  }

  double objective(const double* x) { return _at->objective({x, columns()}); }
  void gradient(const double* x, double* values) { _at->gradient({x, columns()}, {values, columns()}); }
  void constraints(const double* x, double* g) { _at->constraints({x, columns()}, {g, rows()}); }
  void jacobian(const double* x, double* values) { _at->jacobian({x, columns()}, {values, jacobianPlaces.size()}); }
  void hessian(const double* x, double sigma, const double* lambda, double* values) {
    _at->hessian({x, columns()}, sigma, {lambda, rows()}, {values, hessianPlaces.size()});
  }
  double all(const double* x, double sigma, const double* lambda, double* gradientValues, double* g,
             double* jacobianValues, double* hessianValues) {
    return _at->all({x, columns()}, sigma, {lambda, rows()}, {gradientValues, columns()}, {g, rows()},
                    {jacobianValues, jacobianPlaces.size()}, {hessianValues, hessianPlaces.size()});
  }
  double memory() const { return static_cast<double>(_evaluator->getMemoryUse()); }

  Places jacobianPlaces, hessianPlaces;

 private:
  static Places placesOf(std::span<const TavEvaluator::Position> structure) {
    Places places;
    for (const TavEvaluator::Position& position : structure) places.emplace_back(position.row, position.column);
    return places;
  }
  std::size_t columns() const { return _evaluator->getColumnCount(); }
  std::size_t rows() const { return _evaluator->getRowCount(); }

  Model _model;
  std::unique_ptr<TavEvaluator> _evaluator;
  std::unique_ptr<TavEvaluation> _at;
};

/// Evaluates the expressions as objects.
template <class ProblemType>
class Objects : public TavAlgorithmI {
 public:
  static constexpr const char* kName = "eval";
  static constexpr long kLargest = 1'000'000;
  using Problem = ProblemType;

  explicit Objects(const Problem& problem) : Objects(problem, std::make_unique<Model>()) {}
  ~Objects() override { _model->env.end(); }

  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    return _x[_columnOf[static_cast<std::size_t>(variable->getId())]];
  }
  double objective(const double* x) {
    _x = x;
    return _model->objective.eval(this);
  }
  void constraints(const double* x, double* g) {
    _x = x;
    for (TavInt i = 0; i < _model->constraints.getSize(); ++i) g[i] = _model->constraints[i].eval(this);
  }

  Places jacobianPlaces, hessianPlaces;

 private:
  Objects(const Problem& problem, std::unique_ptr<Model> model)
      : TavAlgorithmI(model->env.getImpl()), _model(std::move(model)) {
    buildModel(problem, *_model);
    for (TavInt i = 0; i < _model->columns.getSize(); ++i) {
      const auto id = static_cast<std::size_t>(_model->columns[i].getImpl()->getId());
      if (id >= _columnOf.size()) _columnOf.resize(id + 1);
      _columnOf[id] = static_cast<std::size_t>(i);
    }
  }

  std::unique_ptr<Model> _model;
  const double* _x = nullptr;
  std::vector<std::size_t> _columnOf;  // by the variable's number
};
