#include "nl_models.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "modelfile/operations.h"

namespace {

using enum TavFileOp;

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
    const std::vector<TavFileTerm> linear = terms();
    objective.linear.assign(linear.begin(), linear.end());
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
