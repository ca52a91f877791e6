#pragma once
/// The library as a contender: the operations of the benchmarks (benchmarks.h), written as a user would write them.

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "expression/nodes.h"

/// The coefficient of term i.
inline double coefAt(std::size_t i) { return 1.5 + static_cast<double>(i % 7); }

/// The values of `count` variables, by identifier.
inline std::vector<double> someValues(std::size_t count) {
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = 0.5 + 0.001 * static_cast<double>(i % 1000);
  return values;
}

inline std::string nameOf(std::size_t i) {
  std::string name = "x";
  return name += std::to_string(i);
}

/// 0 to count - 1 in random order.
inline std::vector<std::size_t> shuffled(std::size_t count) {
  std::vector<std::size_t> order(count);
  for (std::size_t i = 0; i < count; ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937_64(7));
  return order;
}

/// A world is an environment with variables 0, 1, 2, … and the operations of the benchmarks. The worlds of other
/// contenders have the same members, or those that they support.
class Library {
 public:
  static constexpr const char* kName = "library";
  using Sum = TavExpr;
  using Node = TavExpr;

  explicit Library(std::size_t variables, bool named = false) : _values(env.getImpl(), variables) {
    named ? makeNamed(variables) : makeOneByOne(variables);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { env.end(); }

  // variables
  std::size_t size() const { return vars.size(); }
  void makeOneByOne(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) vars.emplace_back(env, 0.0, 10.0);
  }
  void makeNamed(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) vars.emplace_back(env, 0.0, 10.0, nameOf(i).c_str());
  }
  void makeArray(std::size_t count) { array = TavNumVarArray(env, static_cast<TavInt>(count), 0.0, 10.0); }

  // sums
  Sum newSum() { return TavExpr(env); }
  void add(Sum& sum, std::size_t i, double coef) { sum += coef * vars[i]; }
  void clear(Sum& sum) { sum.clear(); }
  void end(Sum& sum) { sum.end(); }
  double walk(const Sum& sum) const {
    double total = 0.0;
    for (auto it = sum.getLinearIterator(); it; ++it)
      total += it.getCoef() * static_cast<double>(it.getVar().getImpl()->getId());
    return total;
  }
  /// `sum` has a reference to the node, so the second handle copies it.
  Sum copy(const Sum& sum) { return TavExpr(TavNumExprArg(sum)); }
  double eval(const Sum& sum) { return sum.eval(TavAlgorithm(&_values)); }
  /// Returns the number of characters.
  double print(std::ostream& os, const Sum& sum) {
    os << sum;
    return static_cast<double>(os.tellp());
  }

  /// One statement: 2 * x + 3 * y + … over ten variables from `first` on.
  Sum tenTerms(std::size_t first) {
    const TavNumVar* x = &vars[first];
    return TavExpr(2.5 * x[0] + 3.5 * x[1] + 4.5 * x[2] + 5.5 * x[3] + 6.5 * x[4] + 7.5 * x[5] + 8.5 * x[6] +
                   9.5 * x[7] + 10.5 * x[8] + 11.5 * x[9]);
  }
  /// e = e + c * x over a temporary.
  Sum chained() {
    TavNumExprArg e = TavNumExprArg(coefAt(0) * vars[0]);
    for (std::size_t i = 1; i < vars.size(); ++i) e = e + coefAt(i) * vars[i];
    return TavExpr(e);
  }

  // benchmarks over arrays of all variables
  void makeArrays() {
    array = TavNumVarArray(env, 0);
    half = TavNumVarArray(env, 0);
    coefs = TavNumArray(env, static_cast<TavInt>(vars.size()));
    for (std::size_t i = 0; i < vars.size(); ++i) {
      array.add(vars[i]);
      if (i % 2 != 0) half.add(vars[i]);
      coefs.set(static_cast<TavInt>(i), coefAt(i));
    }
  }
  Sum scalProd() { return TavExpr(TavScalProd(coefs, array)); }
  Sum sumOfArray() { return TavExpr(TavSum(array)); }
  void setCoefs(Sum& sum) { sum.setLinearCoefs(array, coefs); }
  /// Removes every second variable.
  void remove(Sum& sum) { sum.remove(half); }

  // normalisation
  double normalize(Sum& sum) { return static_cast<double>(sum.getImpl()->normalize()); }
  void useFields() { env.getImpl()->markArraysAvailable = false; }
  /// Leaves the recycled cells in random order.
  void scatter(std::size_t count) {
    std::vector<TavNumLinExprTermI*> cells(count);
    for (TavNumLinExprTermI*& cell : cells) cell = env.getImpl()->newTerm(vars[0].getImpl(), 0.0);
    for (const std::size_t i : shuffled(count)) env.getImpl()->recycleTerm(cells[i]);
  }

  // trees
  /// The sum over i of 100 (x[i+1] - x[i]²)² + (1 - x[i])².
  Node rosenbrock() {
    TavExpr total(env);
    for (std::size_t i = 0; i + 1 < vars.size(); ++i) {
      total += 100 * TavSquare(vars[i + 1] - TavSquare(vars[i]));
      total += TavSquare(1 - vars[i]);
    }
    return total;
  }
  double evalNode(const Node& node) { return eval(node); }
  void endNode(Node& node) { node.end(); }

  // cloning into another environment
  void newTarget() { _target = TavEnv(); }
  void cloneRows(const std::vector<Sum>& rows) {
    TavClonePass pass(env.getImpl(), _target.getImpl());
    for (const Sum& row : rows) _clones.push_back(pass.clone(row.getImpl()));
  }
  std::size_t cloned() const { return static_cast<std::size_t>(_target.getImpl()->liveObjectCount()); }
  void endTarget() {
    _clones.clear();
    _target.end();
  }

  TavEnv env;
  std::vector<TavNumVar> vars{};

 protected:
  TavNumVarArray array{}, half{};
  TavNumArray coefs{};

 private:
  class Values final : public TavAlgorithmI {
   public:
    Values(TavEnvI* env, std::size_t count) : TavAlgorithmI(env), _values(someValues(count)) {}
    using TavAlgorithmI::getValue;
    double getValue(const TavNumVarI* var) const override { return _values[static_cast<std::size_t>(var->getId())]; }

   private:
    std::vector<double> _values;
  };

  Values _values;
  TavEnv _target{nullptr};
  std::vector<TavExtractableI*> _clones{};
};

/// The library's own `+=` as a contender: shorter ways of writing a sum should cost about the same.
class OwnLoop : public Library {
 public:
  static constexpr const char* kName = "own";
  static constexpr long kLargest = 10'000'000;
  using Library::Library;

  Sum tenTerms(std::size_t first) {
    Sum sum = newSum();
    for (std::size_t i = 0; i < 10; ++i) add(sum, first + i, 2.5 + static_cast<double>(i));
    return sum;
  }
  Sum chained() { return loop(coefAt); }
  Sum scalProd() { return loop(coefAt); }
  Sum sumOfArray() {
    return loop([](std::size_t) { return 1.0; });
  }

 private:
  template <class Coef>
  Sum loop(Coef coef) {
    Sum sum = newSum();
    for (std::size_t i = 0; i < vars.size(); ++i) add(sum, i, coef(i));
    return sum;
  }
};
