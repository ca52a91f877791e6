// Ipopt driven by the solver library of AMPL's authors (ASL), for comparison with tavsolve's engine: reads an .nl file,
// solves it with the same options and prints status, objective, iterations, the total seconds and those
// spent in evaluation. usage: tav_measure_ipopt_asl FILE

#include <IpIpoptApplication.hpp>
#include <IpSolveStatistics.hpp>
#include <IpTNLP.hpp>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

extern "C" {
#include "asl_pfgh.h"
}
#undef f
#undef printf

namespace {

using Ipopt::Index;
using Ipopt::Number;

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

class Problem final : public Ipopt::TNLP {
 public:
  explicit Problem(const std::string& path) {
    asl = ASL_alloc(ASL_read_pfgh);
    std::string stub = path;
    std::FILE* const nl = jac0dim(stub.data(), static_cast<fint>(stub.size()));
    _start.resize(static_cast<std::size_t>(n_var));
    _hasStart.resize(static_cast<std::size_t>(n_var));
    X0 = _start.data();
    havex0 = _hasStart.data();
    pfgh_read(nl, ASL_findgroups);
    _sign = n_obj > 0 && objtype[0] ? -1.0 : 1.0;
    _hessian = static_cast<Index>(sphsetup(-1, 1, n_con > 0, 1));
  }

  double objective = NAN, seconds = 0;

  bool get_nlp_info(Index& n, Index& m, Index& jacobian, Index& hessian, IndexStyleEnum& style) override {
    n = n_var;
    m = n_con;
    jacobian = static_cast<Index>(nzc);
    hessian = _hessian;
    style = C_STYLE;
    return true;
  }
  bool get_bounds_info(Index n, Number* lower, Number* upper, Index m, Number* least, Number* most) override {
    for (Index j = 0; j < n; ++j) lower[j] = LUv[2 * j], upper[j] = LUv[2 * j + 1];
    for (Index i = 0; i < m; ++i) least[i] = LUrhs[2 * i], most[i] = LUrhs[2 * i + 1];
    return true;
  }
  /// As in tavsolve's engine: where the file has no value, 0 moved into the bounds.
  bool get_starting_point(Index n, bool, Number* x, bool, Number*, Number*, Index, bool, Number*) override {
    for (Index j = 0; j < n; ++j) {
      const auto i = static_cast<std::size_t>(j);
      x[j] = _hasStart[i] ? _start[i] : std::fmin(std::fmax(0.0, LUv[2 * j]), LUv[2 * j + 1]);
    }
    return true;
  }
  bool eval_f(Index, const Number* x, bool, Number& value) override {
    return timed([&](fint& error) { value = n_obj > 0 ? _sign * objval(0, at(x), &error) : 0.0; });
  }
  bool eval_grad_f(Index n, const Number* x, bool, Number* gradient) override {
    return timed([&](fint& error) {
      if (n_obj > 0) objgrd(0, at(x), gradient, &error);
      for (Index j = 0; j < n; ++j) gradient[j] = n_obj > 0 ? _sign * gradient[j] : 0.0;
    });
  }
  bool eval_g(Index, const Number* x, bool, Index, Number* g) override {
    return timed([&](fint& error) { conval(at(x), g, &error); });
  }
  bool eval_jac_g(Index, const Number* x, bool, Index m, Index, Index* rows, Index* columns, Number* values) override {
    if (values) return timed([&](fint& error) { jacval(at(x), values, &error); });
    for (Index i = 0; i < m; ++i) {
      for (const cgrad* c = Cgrad[i]; c; c = c->next) rows[c->goff] = i, columns[c->goff] = c->varno;
    }
    return true;
  }
  bool eval_h(Index, const Number* x, bool isNew, Number factor, Index m, const Number* lambda, bool, Index,
              Index* rows, Index* columns, Number* values) override {
    if (!values) {
      for (Index c = 0, k = 0; c < n_var; ++c) {
        for (; k < static_cast<Index>(sputinfo->hcolstarts[c + 1]); ++k) {
          rows[k] = static_cast<Index>(sputinfo->hrownos[k]);
          columns[k] = c;
        }
      }
      return true;
    }
    return timed([&](fint& error) {
      if (isNew) {  // ASL computes second derivatives at the point of the last values
        std::vector<double> unused(static_cast<std::size_t>(m));
        if (n_obj > 0) objval(0, at(x), &error);
        if (m > 0) conval(at(x), unused.data(), &error);
      }
      double weight = _sign * factor;
      sphes(values, -1, &weight, m > 0 ? const_cast<double*>(lambda) : nullptr);
    });
  }
  void finalize_solution(Ipopt::SolverReturn, Index, const Number*, const Number*, const Number*, Index, const Number*,
                         const Number*, Number value, const Ipopt::IpoptData*,
                         Ipopt::IpoptCalculatedQuantities*) override {
    objective = _sign * value;
  }

 private:
  template <class Work>
  bool timed(Work work) {
    const double begin = now();
    fint error = 0;
    work(error);
    seconds += now() - begin;
    return error == 0;
  }
  static double* at(const Number* x) { return const_cast<double*>(x); }

  ASL* asl = nullptr;  // the macros of ASL's header require this name
  std::vector<double> _start;
  std::vector<char> _hasStart;
  double _sign = 1.0;
  Index _hessian = 0;
};

}  // namespace

int main(int, char** argv) {
  const double begin = now();
  Ipopt::SmartPtr<Problem> problem = new Problem(argv[1]);
  const Ipopt::SmartPtr<Ipopt::IpoptApplication> solver = IpoptApplicationFactory();
  Ipopt::OptionsList& options = *solver->Options();
  options.SetIntegerValue("print_level", 0);
  options.SetStringValue("sb", "yes");
  options.SetNumericValue("tol", 1e-8);
  options.SetNumericValue("constr_viol_tol", 1e-6);
  options.SetNumericValue("acceptable_constr_viol_tol", 1e-6);
  options.SetStringValue("honor_original_bounds", "no");
  Ipopt::ApplicationReturnStatus status = solver->Initialize();
  if (status == Ipopt::Solve_Succeeded) {
    status = solver->OptimizeTNLP(Ipopt::SmartPtr<Ipopt::TNLP>(Ipopt::GetRawPtr(problem)));
  }
  const int iterations = IsValid(solver->Statistics()) ? solver->Statistics()->IterationCount() : 0;
  std::printf("%d %.12g %d %.6f %.6f\n", static_cast<int>(status), problem->objective, iterations, now() - begin,
              problem->seconds);
}
