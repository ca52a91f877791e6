// A second oracle: the solver library of AMPL's authors (ASL) reads the same .nl files. Values, gradients, Jacobians
// and Hessians of the evaluator agree with its own.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "evaluator/tavevaluator.h"
#include "tests/modelfile/nl_models.h"

extern "C" {
#include "asl_pfgh.h"
}
#undef f
#undef getenv
#undef expr

namespace {

using Matrix = std::map<std::pair<int, int>, double>;

/// What either side gives at a point.
struct Results {
  double objective = 0.0;
  std::vector<double> constraints;
  Matrix gradient, jacobian, hessian;
};

constexpr double kSigma = 0.7;

/// The file as ASL reads it.
class AslModel {
 public:
  explicit AslModel(std::string path) {
    asl = ASL_alloc(ASL_read_pfgh);
    return_nofile = 1;
    if (std::FILE* const nl = jac0dim(path.data(), static_cast<fint>(path.size()))) {
      isRead = pfgh_read(nl, ASL_findgroups | ASL_return_read_err) == 0;
    }
    if (isRead) entries = static_cast<std::size_t>(sphsetup(-1, 1, n_con > 0, 1));
  }
  AslModel(const AslModel&) = delete;
  AslModel& operator=(const AslModel&) = delete;
  ~AslModel() { ASL_free(&asl); }

  std::size_t columns() const { return static_cast<std::size_t>(n_var); }
  std::size_t rows() const { return static_cast<std::size_t>(n_con); }
  bool isPlain() const { return isRead && n_lcon == 0 && n_obj > 0; }

  /// False where it has no values.
  bool evaluate(std::vector<double> x, std::vector<double> lambda, Results& results) {
    fint error = 0;
    results.objective = objval(0, x.data(), &error);
    std::vector<double> gradient(columns()), jacobian(static_cast<std::size_t>(nzc) + 1), hessian(entries + 1);
    results.constraints.resize(rows() + 1);
    if (error == 0) objgrd(0, x.data(), gradient.data(), &error);
    if (error == 0 && n_con > 0) conval(x.data(), results.constraints.data(), &error);
    if (error == 0 && n_con > 0) jacval(x.data(), jacobian.data(), &error);
    if (error != 0) return false;
    results.constraints.resize(rows());
    std::vector<double> sigmas(static_cast<std::size_t>(n_obj));
    sigmas[0] = kSigma;
    sphes(hessian.data(), -1, sigmas.data(), n_con > 0 ? lambda.data() : nullptr);
    for (int i = 0; i < n_var; ++i) results.gradient[{0, i}] = gradient[static_cast<std::size_t>(i)];
    for (int i = 0; i < n_con; ++i) {
      for (const cgrad* c = Cgrad[i]; c != nullptr; c = c->next) {
        results.jacobian[{i, c->varno}] = jacobian[static_cast<std::size_t>(c->goff)];
      }
    }
    for (int c = 0; c < n_var; ++c) {
      for (auto k = sputinfo->hcolstarts[c]; k < sputinfo->hcolstarts[c + 1]; ++k) {
        const int a = c, b = static_cast<int>(sputinfo->hrownos[k]);
        results.hessian[{std::max(a, b), std::min(a, b)}] = hessian[static_cast<std::size_t>(k)];
      }
    }
    return true;
  }

 private:
  ASL* asl = nullptr;  // the macros of its header want this name
  bool isRead = false;
  std::size_t entries = 0;
};

/// Whether ASL's second derivatives are those of its first ones. In functions of constants they are not always.
bool isConsistent(AslModel& asl, const std::vector<double>& x, const std::vector<double>& lambda) {
  constexpr double kStep = 1e-5;
  Results at;
  if (!asl.evaluate(x, lambda, at)) return false;
  double largest = 1.0;
  for (const auto& [place, value] : at.hessian) largest = std::max(largest, std::fabs(value));
  for (int j = 0; j < static_cast<int>(x.size()); ++j) {
    std::vector<double> slopes(x.size());
    for (const double sign : {1.0, -1.0}) {
      std::vector<double> near = x;
      near[static_cast<std::size_t>(j)] += sign * kStep;
      Results there;
      if (!asl.evaluate(near, lambda, there)) return false;
      for (const auto& [place, value] : there.gradient) {
        slopes[static_cast<std::size_t>(place.second)] += sign * kSigma * value;
      }
      for (const auto& [place, value] : there.jacobian) {
        slopes[static_cast<std::size_t>(place.second)] += sign * lambda[static_cast<std::size_t>(place.first)] * value;
      }
    }
    for (int i = j; i < static_cast<int>(x.size()); ++i) {
      const double difference = slopes[static_cast<std::size_t>(i)] / (2 * kStep) - at.hessian[{i, j}];
      if (!(std::fabs(difference) < 1e-5 * largest)) return false;
    }
  }
  return true;
}

Matrix matrixOf(std::span<const TavEvaluator::Position> positions, const std::vector<double>& values) {
  Matrix matrix;
  for (std::size_t k = 0; k < values.size(); ++k) matrix[{positions[k].row, positions[k].column}] = values[k];
  return matrix;
}

Results evaluate(TavEvaluator& evaluator, const std::vector<double>& x, const std::vector<double>& lambda) {
  Results r;
  r.constraints.resize(lambda.size());
  std::vector<double> gradient(x.size()), jacobian(evaluator.getJacobianStructure().size()),
      hessian(evaluator.getHessianStructure().size());
  r.objective = TavEvaluation(evaluator).all(x, kSigma, lambda, gradient, r.constraints, jacobian, hessian);
  for (std::size_t i = 0; i < x.size(); ++i) r.gradient[{0, static_cast<int>(i)}] = gradient[i];
  r.jacobian = matrixOf(evaluator.getJacobianStructure(), jacobian);
  r.hessian = matrixOf(evaluator.getHessianStructure(), hessian);
  return r;
}

int compared = 0;

/// Entries that one side leaves out are 0.
void expectSame(const char* what, const Matrix& got, const Matrix& wanted) {
  double largest = 1.0;
  for (const auto& [at, value] : wanted) largest = std::max(largest, std::fabs(value));
  Matrix both = wanted;
  both.insert(got.begin(), got.end());
  for (const auto& [at, unused] : both) {
    const auto valueIn = [&at = at](const Matrix& matrix) { return matrix.contains(at) ? matrix.at(at) : 0.0; };
    if (!std::isfinite(valueIn(wanted))) continue;
    ++compared;
    EXPECT_NEAR(valueIn(got), valueIn(wanted), 1e-8 * largest) << what << " " << at.first << ", " << at.second;
  }
}

/// Whether values have few digits in common, because points are rounded and sums cancel.
bool isSteep(const Results& results) {
  for (const Matrix* matrix : {&results.gradient, &results.jacobian, &results.hessian}) {
    for (const auto& [at, value] : *matrix) {
      if (std::fabs(value) > 1e3) return true;
    }
  }
  return false;
}

void compare(const std::string& path, unsigned seed) {
  SCOPED_TRACE(path + ", seed " + std::to_string(seed));
  const TavFileModel file = TavReadModel(path);
  if (file.objectives.empty() || file.variables.empty()) return;
  AslModel asl(path);
  if (!asl.isPlain()) return;
  TavEnv env;
  const TavModelContents model = TavBuildModel(env, file);
  std::vector<TavNumExprArg> rows;
  for (const TavModelRow& row : model.rows) rows.push_back(row.expression);
  ASSERT_EQ(model.variables.size(), asl.columns());
  ASSERT_EQ(rows.size(), asl.rows());
  TavEvaluator evaluator(env, model.objectives[0].expression, rows, model.variables, {});
  bool hasDerivatives = !evaluator.getClassWithoutDerivative(TavEvaluator::kObjective);
  for (std::size_t r = 0; r < rows.size(); ++r) hasDerivatives &= !evaluator.getClassWithoutDerivative(r);
  std::mt19937 random(seed);
  for (int point = 0; hasDerivatives && point < 3; ++point) {
    const std::vector<double> x = randomPoint(file, random);
    std::vector<double> lambda(rows.size());
    for (double& value : lambda) value = std::uniform_real_distribution(-1.0, 1.0)(random);
    Results wanted;
    if (!asl.evaluate(x, lambda, wanted) || isSteep(wanted) || !isConsistent(asl, x, lambda)) continue;
    const Results got = evaluate(evaluator, x, lambda);
    expectSame("objective", {{{0, 0}, got.objective}}, {{{0, 0}, wanted.objective}});
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
      const auto r = static_cast<std::size_t>(i);
      const auto columns = std::count_if(got.jacobian.begin(), got.jacobian.end(),
                                         [i](const auto& entry) { return entry.first.first == i; });
      // ASL leaves out functions of constants.
      if (static_cast<std::size_t>(columns) == evaluator.getLinearPart(r).size()) continue;
      expectSame("constraint", {{{i, 0}, got.constraints[r]}}, {{{i, 0}, wanted.constraints[r]}});
    }
    expectSame("gradient", got.gradient, wanted.gradient);
    expectSame("Jacobian", got.jacobian, wanted.jacobian);
    expectSame("Hessian", got.hessian, wanted.hessian);
  }
  env.end();
}

/// ASL has second derivatives of squares, powers with constants and functions of constants only where it has found
/// these forms itself: numbers become variables, but for some factors, summands and exponents.
TavFileModel withoutPitfalls(TavFileModel model) {
  using enum TavFileOp;
  for (std::size_t k = 0; k < model.tokens.size(); ++k) {
    TavFileToken& token = model.tokens[k];
    if (token.op == Square) token.op = Cosh;
    if (token.op == PowerConstantExponent || token.op == PowerConstantBase) token.op = Power;
    if (token.op != Number) continue;
    const TavFileOp before = k > 0 ? model.tokens[k - 1].op : Number;
    const bool isExponent = k > 1 && before == Variable && model.tokens[k - 2].op == Power;
    if (before != Add && before != Multiply && !isExponent) token = {Variable, 0, 0.0};
  }
  return model;
}

TEST(Asl, AgreesOnRandomModels) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("tavasl" + std::to_string(getpid()) + ".nl")).string();
  for (unsigned seed = 1; seed <= 300; ++seed) {
    const TavFileModel model = withoutPitfalls(randomNlModel(seed, true));
    TavWriteModel(model, path);
    compare(path, seed);
    if (testing::Test::HasFailure()) break;
  }
  std::filesystem::remove(path);
  EXPECT_GT(compared, 10000);
}

// The files of the corpus, and those of the folder that TAV_NL_FILES names.
TEST(Asl, AgreesOnFiles) {
  const char* own = std::getenv("TAV_NL_FILES");
  for (const std::string& folder : {std::string(TAV_SOURCE_DIR "/tests/fuzz/corpus/nl"), std::string(own ? own : "")}) {
    if (folder.empty()) continue;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".nl") compare(entry.path().string(), 1);
    }
  }
}

}  // namespace
