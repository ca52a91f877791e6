#pragma once
/// Values and derivatives of the problems, written by hand: loops over the parts of a problem with the formulas of
/// their derivatives; each call computes common values once.

#include <cstring>
#include <utility>
#include <vector>

#include "bench/evaluator/problems.h"

/// Positions of values: the row and column of each, in the contender's own order. Positions may repeat; their values
/// are added.
using Places = std::vector<std::pair<int, int>>;

/// The interface of a contender by hand; `all` at one point may share more work than five separate calls.
template <class Problem>
class ByHand;

template <>
class ByHand<PowerFlow> {
 public:
  static constexpr const char* kName = "hand";
  static constexpr long kLargest = 1'000'000;
  using Problem = PowerFlow;

  explicit ByHand(const PowerFlow& problem);

  double objective(const double* x) const;
  void gradient(const double* x, double* values) const;
  void constraints(const double* x, double* g) const;
  void jacobian(const double* x, double* values) const;
  void hessian(const double* x, double sigma, const double* lambda, double* values) const;
  double all(const double* x, double sigma, const double* lambda, double* gradientValues, double* g,
             double* jacobianValues, double* hessianValues);

  Places jacobianPlaces, hessianPlaces;

 private:
  struct Shunt {
    int bus, active, reactive;  // positions in the Jacobian; -1: none
    double conductance, susceptance;
  };
  struct Branch {
    int from, to;
    PowerFlow::Flow flow[4];
    int pair;      // first of four positions in the Hessian
    bool ordered;  // from < to
  };
  void makeJacobian();
  void makeHessian();
  void sums(const double* x, double* g) const;
  void constantParts(const double* x, double* jacobianValues) const;
  void clearHessian(double sigma, const double* lambda, double* values) const;
  static void branchValues(const Branch& branch, const double* p, const double* q, std::size_t to, double vf, double vt,
                           double d, double S, double C, double* g);
  static void branchJacobian(const Branch& branch, const double* p, const double* q, std::size_t to, double vf,
                             double vt, double S, double C, double* values);
  void branchHessian(const Branch& branch, std::size_t l, double vf, double vt, double S, double C,
                     const double* lambda, double* values) const;

  const PowerFlow& _problem;
  std::vector<double> _constants;  // of the Jacobian's rows before the branches
  std::vector<Shunt> _shunts;
  std::vector<Branch> _branches;
  std::vector<std::vector<int>> _ends, _generators;  // by bus
  std::size_t _fixed = 0, _squares = 0, _costs = 0;
};

template <>
class ByHand<Beam> {
 public:
  static constexpr const char* kName = "hand";
  static constexpr long kLargest = 1'000'000;
  using Problem = Beam;

  explicit ByHand(const Beam& problem);

  double objective(const double* x) const;
  void gradient(const double* x, double* values) const;
  void constraints(const double* x, double* g) const;
  void jacobian(const double* x, double* values) const;
  void hessian(const double* x, double sigma, const double* lambda, double* values) const;
  double all(const double* x, double sigma, const double* lambda, double* gradientValues, double* g,
             double* jacobianValues, double* hessianValues);

  Places jacobianPlaces, hessianPlaces;

 private:
  double weight(int i) const { return i == 0 || i == _problem.steps ? 1 : 2; }

  const Beam& _problem;
};

template <>
class ByHand<Rosenbrock> {
 public:
  static constexpr const char* kName = "hand";
  static constexpr long kLargest = 1'000'000;
  using Problem = Rosenbrock;

  explicit ByHand(const Rosenbrock& problem);

  double objective(const double* x) const;
  void gradient(const double* x, double* values) const;
  void constraints(const double*, double*) const {}
  void jacobian(const double*, double*) const {}
  void hessian(const double* x, double sigma, const double* lambda, double* values) const;
  double all(const double* x, double sigma, const double* lambda, double* gradientValues, double* g,
             double* jacobianValues, double* hessianValues);

  Places jacobianPlaces, hessianPlaces;

 private:
  int _count;
};

template <>
class ByHand<RandomRows> {
 public:
  static constexpr const char* kName = "hand";
  static constexpr long kLargest = 1'000'000;
  using Problem = RandomRows;

  explicit ByHand(const RandomRows&);

  double objective(const double*) const { return 0; }
  void gradient(const double*, double* values) const;
  void constraints(const double* x, double* g) const;
  void jacobian(const double* x, double* values) const;
  void hessian(const double* x, double sigma, const double* lambda, double* values) const;

  Places jacobianPlaces, hessianPlaces;

 private:
  std::vector<std::size_t> _firstSlope, _firstSecond;  // by row
};
