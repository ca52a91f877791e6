#include "nl_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <sstream>

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

namespace {

/// Makes random expressions in prefix order.
class Maker {
 public:
  Maker(unsigned seed, bool smooth) : _random(seed), _smooth(smooth) {}

  TavFileModel make() {
    const int variables = 3 + pick(4);
    for (int j = 0; j < variables; ++j) {
      TavFileVariable variable{-2.0, 2.0, TavFileKind::Continuous};
      if (!_smooth && pick(3) == 0) variable = {0.0, 1.0, TavFileKind::Binary};
      if (!_smooth && pick(4) == 0) variable = {-3.0, 3.0, TavFileKind::Integer};
      if (pick(6) == 0 && variable.kind == TavFileKind::Continuous) variable.upper = INFINITY;
      _model.variables.push_back(variable);
      _model.variableNames.insert("v" + std::to_string(j));
    }
    for (int i = pick(3); i > 0; --i) {
      TavFileCommon common;
      if (pick(2)) common.linear = terms();
      common.expr = expression();
      _model.commons.push_back(common);
    }
    const int rows = 1 + pick(4);
    for (int i = 0; i < rows; ++i) row(i);
    if (!_smooth) {
      for (int i = pick(3); i > 0; --i) _model.logical.push_back(statement());
      for (std::size_t i = 0; i < _model.logical.size(); ++i) _model.rowNames.insert("l" + std::to_string(i));
    }
    TavFileObjective objective;
    objective.name = "goal";
    objective.maximise = pick(2) == 1;
    objective.constant = pick(2) * 1.5;
    objective.linear = terms();
    objective.expr = pick(3) ? expression() : TavFileExpr{};
    if (pick(3) == 0) objective.products.push_back({0, 1, 0.5});
    _model.objectives.push_back(objective);
    if (pick(2)) {
      _model.start.assign(_model.variables.size(), NAN);
      _model.start[0] = 0.25;
    }
    if (pick(2)) _model.suffixes.push_back({"weight", TavFileSuffix::Of::Rows, true, {{rows - 1, 2.5}}});
    if (pick(2)) _model.suffixes.push_back({"order", TavFileSuffix::Of::Variables, false, {{1, -3.0}}});
    return std::move(_model);
  }

 private:
  int pick(std::size_t n) { return static_cast<int>(_random() % n); }
  double number() { return (pick(17) - 8) * 0.25; }

  void row(int i) {
    for (const TavFileTerm& term : terms()) {
      _model.linearVariable.push_back(term.variable);
      _model.linearValue.push_back(term.value);
    }
    _model.linearBegin.push_back(_model.linearVariable.size());
    _model.rows.push_back(pick(2)   ? TavFileRow{-1.0, 4.5}
                          : pick(2) ? TavFileRow{2.0, 2.0}
                                    : TavFileRow{-INFINITY, 3.0});
    _model.rowNames.insert("r" + std::to_string(i));
    TavFileRowPart part{i, {}, {}};
    if (pick(3)) part.expr = expression();
    if (pick(4) == 0) part.products = {{0, 0, 1.0}, {0, 2, -1.5}};
    if (!part.expr.empty() || !part.products.empty()) _model.rowParts.push_back(part);
    if (!_smooth && pick(5) == 0 && _model.variables[0].kind == TavFileKind::Binary) {
      _model.indicators.push_back({i, 0, pick(2) == 1});
    }
  }

  std::vector<TavFileTerm> terms() {
    std::vector<TavFileTerm> terms;
    for (std::int32_t j = 0; j < std::ssize(_model.variables); ++j) {
      const double value = number();
      if (pick(2) && value != 0.0) terms.push_back({j, value});
    }
    return terms;
  }

  TavFileExpr expression() {
    const std::size_t begin = _model.tokens.size();
    value(4);
    return {begin, _model.tokens.size()};
  }
  TavFileExpr statement() {
    const std::size_t begin = _model.tokens.size();
    truth(3);
    return {begin, _model.tokens.size()};
  }

  void put(TavFileOp op, int arg = 0, double value = 0.0) { _model.tokens.push_back({op, arg, value}); }

  void leaf() {
    if (pick(4) == 0) return put(Number, 0, number());
    if (!_model.commons.empty() && pick(3) == 0) return put(Common, pick(_model.commons.size()));
    put(Variable, pick(_model.variables.size()));
  }

  void value(int depth) {
    static constexpr TavFileOp kUnary[] = {Negate, Abs, Tanh, Sinh, Cosh, Sin, Cos, Atan, Asinh, Square, Exp};
    static constexpr TavFileOp kBinary[] = {Add, Subtract, Multiply, Less, Atan2};
    static constexpr TavFileOp kRounding[] = {Floor, Ceil, Round, Truncate, TruncatedQuotient, Remainder};
    if (depth == 0) return leaf();
    switch (pick(_smooth ? 6 : 10)) {
      case 0:
      case 1:
        put(kUnary[pick(std::size(kUnary))]);
        return value(depth - 1);
      case 2:
        put(kBinary[pick(std::size(kBinary) - (_smooth ? 2 : 0))]);
        value(depth - 1);
        return value(depth - 1);
      case 3: {
        const int count = 1 + pick(4);
        put(pick(2) || _smooth ? Sum : pick(2) ? Min : Max, count);
        for (int i = 0; i < count; ++i) value(depth - 1);
        return;
      }
      case 4:
        put(pick(2) ? Power : Divide);
        value(depth - 1);
        return put(Number, 0, 1.0 + pick(3));
      case 5:
        put(pick(2) ? Log : Sqrt);  // of something that is positive
        put(Add);
        put(Number, 0, 1.25);
        put(Square);
        return value(depth - 1);
      case 6: {
        const TavFileOp op = kRounding[pick(std::size(kRounding))];
        put(op);
        value(depth - 1);
        if (op == Round || op == Truncate) put(Number, 0, pick(4) - 1);
        if (op == Remainder || op == TruncatedQuotient) put(Number, 0, 0.75);
        return;
      }
      case 7:
        put(If);
        truth(depth - 1);
        value(depth - 1);
        return value(depth - 1);
      case 8:
        put(Piecewise, 3);
        for (const double constant : {-1.0, -0.5, 2.0, 1.25, number()}) put(Number, 0, constant);
        return value(depth - 1);
      default:
        return counts(depth);
    }
  }

  void counts(int depth) {
    const int count = 1 + pick(3);
    if (pick(2)) {
      put(Count, count);
      for (int i = 0; i < count; ++i) truth(depth - 1);
    } else {
      put(NumberOf, count + 1);
      put(Number, 0, pick(3));
      for (int i = 0; i < count; ++i) value(0);
    }
  }

  void truth(int depth) {
    static constexpr TavFileOp kComparisons[] = {LessThan, AtMost, Equal, AtLeast, GreaterThan, NotEqual};
    static constexpr TavFileOp kCounts[] = {CountAtLeast,    CountAtMost,    CountExactly,
                                            NotCountAtLeast, NotCountAtMost, NotCountExactly};
    if (depth == 0) {
      put(kComparisons[pick(std::size(kComparisons))]);
      leaf();
      return put(Number, 0, pick(3));
    }
    switch (pick(6)) {
      case 0:
        put(Not);
        return truth(depth - 1);
      case 1:
        put(pick(3) == 0 ? Or : pick(2) ? And : Iff);
        truth(depth - 1);
        return truth(depth - 1);
      case 2: {
        const int count = 1 + pick(3);
        put(pick(2) ? All : Any, count);
        for (int i = 0; i < count; ++i) truth(depth - 1);
        return;
      }
      case 3: {
        const int count = 1 + pick(3);
        put(pick(2) ? AllDifferent : NotAllDifferent, count);
        for (int i = 0; i < count; ++i) value(0);
        return;
      }
      case 4:
        put(kCounts[pick(std::size(kCounts))]);
        put(Number, 0, pick(3));
        put(Count, 2);
        truth(depth - 1);
        return truth(depth - 1);
      default:
        put(Implies);
        truth(depth - 1);
        truth(depth - 1);
        return truth(depth - 1);
    }
  }

  std::mt19937 _random;
  bool _smooth;
  TavFileModel _model;
};

}  // namespace

TavFileModel randomNlModel(unsigned seed, bool smooth) { return Maker(seed, smooth).make(); }

std::vector<double> randomPoint(const TavFileModel& model, std::mt19937& random) {
  std::vector<double> x;
  for (const TavFileVariable& variable : model.variables) {
    const double share = std::uniform_real_distribution<double>()(random);
    const double value = variable.lower + share * (std::min(variable.upper, 3.0) - variable.lower);
    x.push_back(variable.kind == TavFileKind::Continuous ? value : std::round(value));
  }
  return x;
}

std::vector<double> reordered(const TavFileModel& from, const std::vector<double>& x, const TavFileModel& to) {
  std::vector<double> out;
  for (std::int32_t j = 0; j < std::ssize(to.variables); ++j) {
    out.push_back(x[static_cast<std::size_t>(from.variableNames.find(to.variableNames[j]))]);
  }
  return out;
}

namespace {

/// Appends numbers of fixed width in either byte order.
class Bytes {
 public:
  explicit Bytes(bool bigEndian) : _swap(bigEndian == (std::endian::native == std::endian::little)) {}
  template <class T>
  void put(T value) {
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    if (_swap) std::reverse(bytes, bytes + sizeof value);
    text.append(bytes, sizeof value);
  }
  void whole(std::istream& in) {
    int value = 0;
    in >> value;
    put(value);
  }
  void real(std::istream& in) {
    std::string word;
    in >> word;
    put(std::stod(word));
  }
  std::string text;

 private:
  bool _swap;
};

}  // namespace

std::string binaryOf(const std::string& text, bool bigEndian) {
  Bytes out(bigEndian);
  std::istringstream lines(text);
  std::string line;
  for (int i = 0; i < 10; ++i) {
    std::getline(lines, line);
    if (i == 0) line[0] = 'b';
    if (i == 5) line = bigEndian ? " 0 0 2" : " 0 0 1";
    out.text += line + "\n";
  }
  int left = 0;       // lines of numbers that still belong to the segment
  std::string shape;  // what they hold: i whole, d real, b bounds
  while (std::getline(lines, line)) {
    std::istringstream in(line);
    if (shape == "b" && left == 0) left = line[0] >= '0' && line[0] <= '9' ? 1 : 0;
    if (left > 0) {
      --left;
      if (shape == "b") {
        out.text += static_cast<char>(in.get());
        while (in.peek() == ' ' && in.get()) out.real(in);
        continue;
      }
      for (const char c : shape) c == 'i' ? out.whole(in) : out.real(in);
      continue;
    }
    const char letter = static_cast<char>(in.get());
    out.text += letter;
    int a = 0, b = 0, c = 0;
    switch (letter) {
      case 'n':
        out.real(in);
        break;
      case 'v':
      case 'C':
      case 'L':
        out.whole(in);
        break;
      case 'o':
        in >> a;
        out.put(a);
        left =
            a == 11 || a == 12 || a == 54 || a == 59 || a == 60 || a == 64 || a == 70 || a == 71 || a == 74 || a == 75;
        shape = "i";
        break;
      case 'r':
      case 'b':
        shape = "b";
        break;
      case 'x':
      case 'd':
        in >> left;
        out.put(left);
        shape = "id";
        break;
      case 'k':
        in >> left;
        out.put(left);
        shape = "i";
        break;
      case 'O':
        out.whole(in);
        out.whole(in);
        break;
      case 'J':
      case 'G':
        in >> a >> left;
        out.put(a);
        out.put(left);
        shape = "id";
        break;
      case 'V':
        in >> a >> left >> b;
        out.put(a);
        out.put(left);
        out.put(b);
        shape = "id";
        break;
      case 'S':
        in >> a >> left >> line;
        out.put(a), out.put(left), out.put(static_cast<int>(line.size()));
        out.text += line;
        shape = a & 4 ? "id" : "ii";
        break;
      default:
        ADD_FAILURE() << "no segment: " << letter << c;
    }
  }
  return out.text;
}
