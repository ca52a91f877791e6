#pragma once
/// The work by hand as a contender of the benchmarks (benchmarks.h).

#include <memory>
#include <string>
#include <vector>

#include "bench/by_hand.h"
#include "bench/library.h"

class ByHand {
 public:
  static constexpr const char* kName = "hand";
  static constexpr long kLargest = 10'000'000;
  using Sum = hand::Sum*;
  using Node = hand::Node*;

  explicit ByHand(std::size_t variables, bool named = false) : _values(variables) {
    named ? makeNamed(variables) : makeOneByOne(variables);
  }

  std::size_t size() const { return vars.size(); }
  void makeOneByOne(std::size_t count) {
    hand::Domain* domain = hand::newDomain(&env, 0.0, 10.0);
    for (std::size_t i = 0; i < count; ++i) vars.push_back(hand::newVar(&env, domain));
  }
  void makeNamed(std::size_t count) {
    hand::Domain* domain = hand::newDomain(&env, 0.0, 10.0);
    for (std::size_t i = 0; i < count; ++i) vars.push_back(hand::newVar(&env, domain, nameOf(i).c_str()));
  }
  void makeArray(std::size_t count) {
    vars.reserve(count);
    makeOneByOne(count);
  }

  Sum newSum() {
    hand::Sum* sum = hand::newSum(&env, 0.0);
    ++sum->count;
    return sum;
  }
  void add(Sum& sum, std::size_t i, double coef) { hand::add(sum, hand::times(vars[i], coef)); }
  void clear(Sum& sum) { hand::clear(sum); }
  void end(Sum& sum) { hand::release(sum); }
  double walk(const Sum& sum) const {
    double total = 0.0;
    for (const hand::Cell* cell = sum->first; cell; cell = cell->next) {
      total += cell->coef * static_cast<double>(cell->var->id);
    }
    return total;
  }
  Sum copy(const Sum& sum) {
    hand::Sum* copied = hand::copy(sum);
    ++copied->count;
    return copied;
  }
  double eval(const Sum& sum) { return sum->eval(_values); }
  double print(std::ostream& os, const Sum& sum) {
    hand::print(os, sum);
    return static_cast<double>(os.tellp());
  }

  Sum tenTerms(std::size_t first) {
    Sum sum = newSum();
    for (std::size_t i = 0; i < 10; ++i) add(sum, first + i, 2.5 + static_cast<double>(i));
    return sum;
  }
  Sum chained() { return loop(coefAt); }

  void makeArrays() {
    for (std::size_t i = 0; i < vars.size(); ++i) {
      _coefs.push_back(coefAt(i));
      if (i % 2 != 0) _half.push_back(vars[i]);
    }
  }
  Sum scalProd() {
    return loop([this](std::size_t i) { return _coefs[i]; });
  }
  Sum sumOfArray() {
    return loop([](std::size_t) { return 1.0; });
  }
  void setCoefs(Sum& sum) { hand::setCoefs(sum, vars, _coefs); }
  void remove(Sum& sum) { hand::remove(sum, _half); }

  double normalize(Sum& sum) { return static_cast<double>(hand::normalize(sum)); }
  /// By hand there is one way to merge.
  void useFields() {}
  void scatter(std::size_t count) {
    std::vector<hand::Cell*> cells(count);
    for (hand::Cell*& cell : cells) cell = env.newCell(vars[0], 0.0);
    for (const std::size_t i : shuffled(count)) env.giveCells(cells[i], cells[i]);
  }

  Node rosenbrock() {
    Sum total = newSum();
    for (std::size_t i = 0; i + 1 < vars.size(); ++i) {
      hand::Sum* gap = hand::newSum(&env, 0.0);
      hand::add(gap, hand::times(vars[i + 1], 1.0));
      hand::add(gap, hand::scale(hand::square(vars[i]), -1.0));
      hand::add(total, hand::scale(hand::square(gap), 100.0));
      hand::Sum* rest = hand::newSum(&env, 1.0);
      hand::add(rest, hand::times(vars[i], -1.0));
      hand::add(total, hand::square(rest));
    }
    return total;
  }
  double evalNode(const Node& node) { return node->eval(_values); }
  void endNode(Node& node) { hand::release(node); }

  void newTarget() { _target = std::make_unique<hand::Env>(); }
  void cloneRows(const std::vector<Sum>& rows) {
    hand::CloneMap map;
    for (const hand::Sum* row : rows) {
      hand::Node* clone = hand::clone(row, _target.get(), map);
      map[row] = clone;
      _clones.push_back(clone);
    }
  }
  std::size_t cloned() const { return _target->nodes.size(); }
  void endTarget() {
    _clones.clear();
    _target.reset();
  }

  hand::Env env;
  std::vector<hand::Var*> vars{};

 private:
  class Values final : public hand::Values {
   public:
    explicit Values(std::size_t count) : _values(someValues(count)) {}
    double getValue(const hand::Var* var) const override { return _values[static_cast<std::size_t>(var->id)]; }

   private:
    std::vector<double> _values;
  };

  template <class Coef>
  Sum loop(Coef coef) {
    Sum sum = newSum();
    for (std::size_t i = 0; i < vars.size(); ++i) add(sum, i, coef(i));
    return sum;
  }

  Values _values;
  std::vector<double> _coefs{};
  std::vector<hand::Var*> _half{};
  std::unique_ptr<hand::Env> _target{};
  std::vector<hand::Node*> _clones{};
};
