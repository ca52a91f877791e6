// An algorithm layer in one file. Its solver is the simplest there is: the greatest value that a linear sum takes while
// each variable stays within its bounds. docs/algorithm_author.md explains it.

#include <iostream>
#include <unordered_map>

#include "expression/nodes.h"

/// One column of the solver for each variable of the sum.
struct Column {
  double coef, lb, ub;
};

class GreatestI final : public TavAlgorithmI {
 public:
  explicit GreatestI(TavEnv env) : TavAlgorithmI(env.getImpl()) { installHooks(); }

  /// Extracts a sum: one reference keeps it alive as long as it is extracted.
  void extract(TavExpr sum) {
    sum.normalize();  // one term for each variable
    _sum = TavNumExpr(TavNumExprArg(sum.getImpl()));
    _sum.getImpl()->extractToCP(this);
  }
  void finish() { _sum.end(); }

  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    const auto found = _columns.find(variable);
    if (found == _columns.end()) throw TavAlgorithm::Exception("the variable is not in the sum");
    const Column& column = found->second;
    return column.coef < 0 ? column.lb : column.ub;
  }
  double greatest() const { return _sum.eval(TavAlgorithm(const_cast<GreatestI*>(this))); }

  bool hasExtracted(const TavExtractableI* object) const override {
    return object == _sum.getImpl() || _columns.contains(object);
  }
  void forget(TavExtractableI* object) override { object->unextractFromCP(this, &_columns.at(object)); }

 private:
  static GreatestI& in(TavAlgorithm algorithm) { return static_cast<GreatestI&>(*algorithm.getImpl()); }

  static void* addSum(TavAlgorithm algorithm, const TavExtractableI* object) {
    const auto* sum = static_cast<const TavNumLinTermI*>(object);
    if (sum->getFirstPart()) throw TavAlgorithm::Exception("the sum is not linear");
    const auto* cell = sum->getFirstTerm();
    for (; cell; cell = cell->next) static_cast<Column*>(cell->var->extractToCP(algorithm))->coef = cell->coef;
    return algorithm.getImpl();
  }
  static void* addColumn(TavAlgorithm algorithm, const TavExtractableI* object) {
    Column& column = in(algorithm)._columns[object];
    object->modifyCP(algorithm, &column);
    return &column;
  }
  static void setBounds(TavAlgorithm, const TavExtractableI* object, void* column) {
    const auto* variable = static_cast<const TavNumVarI*>(object);
    static_cast<Column*>(column)->lb = variable->getLB();
    static_cast<Column*>(column)->ub = variable->getUB();
  }
  static void dropColumn(TavAlgorithm algorithm, const TavExtractableI* object, void*) {
    in(algorithm)._columns.erase(object);
  }

  static void applyBounds(TavAlgorithm algorithm, const TavChange* change, void*) {
    TavNumVarI* variable = static_cast<const TavSetNumVarBounds*>(change)->getVar();
    variable->modifyCP(algorithm, &in(algorithm)._columns.at(variable));
  }
  /// The records say that a coefficient has changed, not its value: that is read from the sum.
  template <class Record>
  static void applyCoefficient(TavAlgorithm algorithm, const TavChange* change, void*) {
    TavNumVarI* variable = static_cast<const Record*>(change)->getVar();
    auto* column = static_cast<Column*>(variable->extractToCP(algorithm));
    column->coef = 0;
    const auto* cell = static_cast<const Record*>(change)->getLinear()->getFirstTerm();
    for (; cell; cell = cell->next) column->coef += cell->var == variable ? cell->coef : 0;
  }

  static void installHooks() {
    TavNumLinTermI::_extractCP = addSum;
    TavNumVarI::_extractCP = addColumn;
    TavNumVarI::_modifyCP = setBounds;
    TavNumVarI::_unextractCP = dropColumn;
    TavSetNumVarBounds::_applyCP = applyBounds;
    TavNumLinTermAddVar::_applyCP = applyCoefficient<TavNumLinTermAddVar>;
    TavNumLinTermRemoveVar::_applyCP = applyCoefficient<TavNumLinTermRemoveVar>;
  }

  TavNumExpr _sum;
  std::unordered_map<const TavExtractableI*, Column> _columns;
};

int main() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, -5, 5, "y"), z(env, 0, 1, "z");
  const TavExpr sum = 3 * x - 2 * y + 1;
  GreatestI greatest(env);
  greatest.extract(sum);
  std::cout << sum << "is at most " << greatest.greatest() << "\n";

  x.setUB(4);
  sum.getImpl()->setCoef(z, 7);  // in place; a call on the handle would copy a shared node
  std::cout << sum << "with x up to 4 is at most " << greatest.greatest() << "\n";
  y.end();
  std::cout << sum << "is at most " << greatest.greatest() << "\n";

  const TavIntVar machines(env, 0, 9, "machines");
  const TavNumExpr cost = 100 * machines + sum;
  try {
    std::cout << cost.eval(&greatest) << "\n";
  } catch (const TavAlgorithm::Exception& failure) {
    std::cout << "without the evaluator: " << failure.what() << "\n";
  }
  env.getImpl()->getModelEvaluator().activate([](TavIntExprI*) -> TavInt { return 2; });
  std::cout << cost << "= " << cost.eval(&greatest) << "\n";

  TavEnv other;
  GreatestI there(other);
  {
    TavClonePass pass(env.getImpl(), other.getImpl());
    there.extract(TavExpr(static_cast<TavNumLinTermI*>(pass.clone(sum.getImpl()))));
  }
  greatest.finish();
  env.end();
  std::cout << "the clone is at most " << there.greatest() << "\n";
  there.finish();
  other.end();
}
