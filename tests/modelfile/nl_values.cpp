#include "nl_values.h"

#include <algorithm>
#include <cmath>

#include "expression/nodes.h"
#include "modelfile/operations.h"

namespace {

using enum TavFileOp;

double apply(const TavFileToken& token, const std::vector<double>& a) {
  const auto truth = [](bool b) { return b ? 1.0 : 0.0; };
  const auto count = [&a](auto is) { return static_cast<double>(std::count_if(a.begin(), a.end(), is)); };
  const auto nonZero = [](double v) { return v != 0.0; };
  const auto pairs = [&a] {
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (std::count(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(i), a[i])) return false;
    }
    return true;
  };
  const auto scaled = [&a](auto round) {
    const double power = std::pow(10.0, std::fabs(a[1]));
    return a[1] >= 0 ? round(a[0] * power) / power : round(a[0] / power) * power;
  };
  const auto piecewise = [&a](double x) {
    double value = 0.0, step = x < 0 ? -1.0 : 1.0;
    // Integrates the slopes from 0 to x, piece by piece.
    for (double at = 0.0; step * at < step * x;) {
      std::size_t piece = 0;
      while (2 * piece + 1 < a.size() - 1 && (step > 0 ? a[2 * piece + 1] <= at : a[2 * piece + 1] < at)) ++piece;
      double next = x;
      if (step > 0 && 2 * piece + 1 < a.size() - 1) next = std::min(next, a[2 * piece + 1]);
      if (step < 0 && piece > 0) next = std::max(next, a[2 * piece - 1]);
      value += (next - at) * a[2 * piece];
      at = next;
    }
    return value;
  };
  switch (token.op) {
    case Add:
      return a[0] + a[1];
    case Subtract:
      return a[0] - a[1];
    case Multiply:
      return a[0] * a[1];
    case Divide:
      return a[0] / a[1];
    case Remainder:
      return std::fmod(a[0], a[1]);
    case Power:
    case PowerConstantExponent:
    case PowerConstantBase:
      return std::pow(a[0], a[1]);
    case Less:
      return std::max(a[0] - a[1], 0.0);
    case Atan2:
      return std::atan2(a[0] + 0.0, a[1] + 0.0);  // the composition does not tell -0 from 0
    case TruncatedQuotient:
      return std::trunc(a[0] / a[1]);
    case Round:
      return scaled([](double v) { return std::round(v); });
    case Truncate:
      return scaled([](double v) { return std::trunc(v); });
    case Or:
      return truth(a[0] != 0 || a[1] != 0);
    case And:
      return truth(a[0] != 0 && a[1] != 0);
    case LessThan:
      return truth(a[0] < a[1]);
    case AtMost:
      return truth(a[0] <= a[1]);
    case Equal:
      return truth(a[0] == a[1]);
    case AtLeast:
      return truth(a[0] >= a[1]);
    case GreaterThan:
      return truth(a[0] > a[1]);
    case NotEqual:
      return truth(a[0] != a[1]);
    case Iff:
      return truth((a[0] != 0) == (a[1] != 0));
    case CountAtLeast:
      return truth(a[1] >= a[0]);
    case CountAtMost:
      return truth(a[1] <= a[0]);
    case CountExactly:
      return truth(a[1] == a[0]);
    case NotCountAtLeast:
      return truth(!(a[1] >= a[0]));
    case NotCountAtMost:
      return truth(!(a[1] <= a[0]));
    case NotCountExactly:
      return truth(a[1] != a[0]);
    case Floor:
      return std::floor(a[0]);
    case Ceil:
      return std::ceil(a[0]);
    case Abs:
      return std::fabs(a[0]);
    case Negate:
      return -a[0];
    case Not:
      return truth(a[0] == 0);
    case Tanh:
      return std::tanh(a[0]);
    case Tan:
      return std::tan(a[0]);
    case Sqrt:
      return std::sqrt(a[0]);
    case Sinh:
      return std::sinh(a[0]);
    case Sin:
      return std::sin(a[0]);
    case Log10:
      return std::log10(a[0]);
    case Log:
      return std::log(a[0]);
    case Exp:
      return std::exp(a[0]);
    case Cosh:
      return std::cosh(a[0]);
    case Cos:
      return std::cos(a[0]);
    case Atanh:
      return std::atanh(a[0]);
    case Atan:
      return std::atan(a[0]);
    case Asinh:
      return std::asinh(a[0]);
    case Asin:
      return std::asin(a[0]);
    case Acosh:
      return std::acosh(a[0]);
    case Acos:
      return std::acos(a[0]);
    case Square:
      return a[0] * a[0];
    case Min:
      return *std::min_element(a.begin(), a.end());
    case Max:
      return *std::max_element(a.begin(), a.end());
    case Sum: {
      double sum = 0.0;
      for (const double v : a) sum += v;
      return sum;
    }
    case Count:
      return count(nonZero);
    case NumberOf:
      return count([&a](double v) { return v == a[0]; }) - 1.0;
    case All:
      return truth(count(nonZero) == static_cast<double>(a.size()));
    case Any:
      return truth(count(nonZero) > 0);
    case AllDifferent:
      return truth(pairs());
    case NotAllDifferent:
      return truth(!pairs());
    case If:
      return a[0] != 0 ? a[1] : a[2];
    case Implies:
      return truth((a[0] != 0 ? a[1] : a[2]) != 0);
    case Piecewise:
      return piecewise(a.back());
    default:
      return NAN;
  }
}

}  // namespace

double valueOf(const TavFileModel& model, TavFileExpr expr, const std::vector<double>& x) {
  if (expr.empty()) return 0.0;
  std::vector<double> stack;
  for (std::size_t i = expr.end; i > expr.begin; --i) {
    const TavFileToken& token = model.tokens[i - 1];
    const auto at = static_cast<std::size_t>(token.arg);
    if (token.op == Number) {
      stack.push_back(token.value);
    } else if (token.op == Variable) {
      stack.push_back(x[at]);
    } else if (token.op == Common) {
      double value = valueOf(model, model.commons[at].expr, x);
      for (const TavFileTerm& term : model.commons[at].linear) {
        value += term.value * x[static_cast<std::size_t>(term.variable)];
      }
      stack.push_back(value);
    } else {
      const std::ptrdiff_t arguments = TavArgumentsOf(token);
      const std::vector<double> args(stack.rbegin(), stack.rbegin() + arguments);
      stack.resize(stack.size() - args.size());
      stack.push_back(apply(token, args));
    }
  }
  return stack.front();
}

std::vector<double> valuesOf(const TavFileModel& model, const std::vector<double>& x) {
  std::vector<double> values;
  const auto at = [&x](std::int32_t variable) { return x[static_cast<std::size_t>(variable)]; };
  for (std::size_t i = 0; i < model.rows.size(); ++i) {
    double value = 0.0;
    for (std::size_t k = model.linearBegin[i]; k < model.linearBegin[i + 1]; ++k) {
      value += model.linearValue[k] * at(model.linearVariable[k]);
    }
    for (const TavFileRowPart& part : model.rowParts) {
      if (part.row != static_cast<std::int32_t>(i)) continue;
      for (const auto& product : part.products) value += product.value * at(product.first) * at(product.second);
      value += valueOf(model, part.expr, x);
    }
    for (const TavFileIndicator& indicator : model.indicators) {
      const bool off = (at(indicator.variable) == 1.0) != indicator.value;
      if (indicator.row == static_cast<std::int32_t>(i) && off) value = TavWithin(model.rows[i]);
    }
    values.push_back(value);
  }
  for (const TavFileExpr& expr : model.logical) values.push_back(valueOf(model, expr, x) != 0.0 ? 1.0 : 0.0);
  for (const TavFileObjective& objective : model.objectives) {
    double value = objective.constant + valueOf(model, objective.expr, x);
    for (const TavFileTerm& term : objective.linear) value += term.value * at(term.variable);
    for (const auto& product : objective.products) value += product.value * at(product.first) * at(product.second);
    values.push_back(value);
  }
  return values;
}

namespace {

class Point final : public TavAlgorithmI {
 public:
  Point(TavEnvI* env, const std::vector<TavNumVar>& variables, const std::vector<double>& x)
      : TavAlgorithmI(env), _x(x) {
    for (const TavNumVar variable : variables) _ids.push_back(variable.getId());
  }
  double getValue(const TavNumVarI* variable) const override {
    return _x[static_cast<std::size_t>(std::find(_ids.begin(), _ids.end(), variable->getId()) - _ids.begin())];
  }
  using TavAlgorithmI::getValue;

 private:
  std::vector<TavInt> _ids;
  const std::vector<double>& _x;
};

}  // namespace

std::vector<double> valuesOf(const TavModelContents& model, const std::vector<double>& x) {
  Point point(model.variables.front().getImpl()->getEnv(), model.variables, x);
  std::vector<double> values;
  for (const TavModelRow& row : model.rows) values.push_back(row.expression.eval(TavAlgorithm(&point)));
  for (const TavModelObjective& objective : model.objectives) {
    values.push_back(objective.expression.eval(TavAlgorithm(&point)));
  }
  return values;
}
