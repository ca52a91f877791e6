#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "modelfile/formats.h"
#include "modelfile/nl_expressions.h"
#include "modelfile/nl_names.h"
#include "modelfile/nl_order.h"

namespace {

/// Reads the segments behind the header into a model.
template <class Tokens>
class NlReader : private TavNlExpressions<Tokens> {
 public:
  NlReader(Tokens& tokens, TavNlHeader& header, double infinity)
      : TavNlExpressions<Tokens>(tokens, header), _infinity(infinity) {}

  TavFileModel read() {
    constexpr std::int64_t kMostAtOnce = std::int64_t{1} << 25;  // beyond it, memory follows what is really there
    const auto room = static_cast<std::size_t>(std::min(_header.nonzeros, kMostAtOnce));
    _model.linearVariable.reserve(room);
    _model.linearValue.reserve(room);
    while (const char letter = _tokens.letter()) segment(letter);
    finish();
    return std::move(_model);
  }

 private:
  using Base = TavNlExpressions<Tokens>;
  using Base::_header, Base::_model, Base::_tokens, Base::expression, Base::index, Base::text;

  void segment(char letter) {
    switch (letter) {
      case 'C':
        return constraint();
      case 'L':
        return logicalConstraint();
      case 'O':
        return objective();
      case 'V':
        return commonExpression();
      case 'J':
        return linearRow();
      case 'G':
        return gradient();
      case 'r':
        return rowBounds();
      case 'b':
        return variableBounds();
      case 'x':
        return startValues(_start, _header.variables);
      case 'd':
        return startValues(_dualStart, _header.rows);
      case 'k':
      case 'K':
        return columnCounts();
      case 'S':
        return suffix();
      case 'F':
        return importedFunction();
      default:
        _tokens.fail("expected a segment: one of C L O V J G r b x d k K S F");
    }
  }

  void constraint() {
    const std::int32_t row = index(_header.rows, "constraint");
    _tokens.endLine();
    if (_tokens.zeroLine()) return;
    const TavFileExpr expr = wholeExpression();
    if (isZero(expr)) return;
    if (!_model.rowParts.empty() && row <= _model.rowParts.back().row) _partsInOrder = false;
    _model.rowParts.push_back({row, {}, expr});
  }

  void logicalConstraint() {
    const std::int32_t i = index(_header.logical, "logical constraint");
    if (static_cast<std::size_t>(i) != _model.logical.size()) {
      _tokens.fail("logical constraint " + text(i) + ", expected number " + text(std::ssize(_model.logical)));
    }
    _tokens.endLine();
    _model.logical.push_back(expression());
  }

  void objective() {
    TavFileObjective& objective = _objectives[index(_header.objectives, "objective")];
    const std::int64_t sense = _tokens.integer();
    if (sense != 0 && sense != 1) _tokens.fail("expected 0 to minimise, 1 to maximise");
    if (!objective.expr.empty()) _tokens.fail("an objective that has been given before");
    objective.maximise = sense == 1;
    _tokens.endLine();
    objective.expr = wholeExpression();
    if (isNumber(objective.expr)) objective.constant = _model.tokens[objective.expr.begin].value;
  }

  void commonExpression() {
    const std::int64_t i = _tokens.integer();
    if (i < _header.variables || i >= _header.variables + _header.commons) {
      _tokens.fail("common expression " + text(i) + " lies outside those that the header counts");
    }
    const std::int64_t terms = _tokens.integer();
    _tokens.integer();  // where it is used
    TavFileCommon common;
    readTerms(common.linear, terms);
    common.expr = expression();
    if (!Base::_commonOf.emplace(i, static_cast<std::int32_t>(_model.commons.size())).second) {
      _tokens.fail("common expression " + text(i) + " has been given before");
    }
    _model.commons.push_back(std::move(common));
  }

  /// Sums of one argument are that.
  TavFileExpr wholeExpression() {
    TavFileExpr expr = expression();
    while (_model.tokens[expr.begin].op == TavFileOp::Sum && _model.tokens[expr.begin].arg == 1) ++expr.begin;
    return expr;
  }
  bool isNumber(TavFileExpr expr) const {
    return expr.end - expr.begin == 1 && _model.tokens[expr.begin].op == TavFileOp::Number;
  }
  /// Whether it is the number 0, which is then dropped.
  bool isZero(TavFileExpr expr) {
    if (!isNumber(expr) || _model.tokens[expr.begin].value != 0.0) return false;
    _model.tokens.pop_back();
    return true;
  }

  /// Reads `count` lines of an index and a coefficient to the ends of two arrays. Room for some is made at a time: a
  /// count is no promise that they are there.
  void readTerms(TavLargeArray<std::int32_t>& indices, TavLargeArray<double>& values, std::int64_t count) {
    if (count < 0 || count > _header.variables) _tokens.fail("more coefficients than variables");
    _tokens.endLine();
    const std::size_t begin = indices.size();
    for (std::int64_t left = count; left > 0;) {
      const std::int64_t block = std::min(left, kBlock);
      left -= block;
      readBlock(indices.append(static_cast<std::size_t>(block)), values.append(static_cast<std::size_t>(block)), block);
    }
    const std::int32_t *const first = indices.begin() + begin, *const last = indices.end();
    if (std::adjacent_find(first, last, std::greater_equal<>()) != last) refuseTwice({first, last});
  }

  void readBlock(std::int32_t* indices, double* values, std::int64_t count) {
    for (std::int64_t i = 0; i != count; ++i) {
      i += _tokens.plainTerms(count - i, _header.variables, indices + i, values + i);
      if (i == count) return;
      indices[i] = index(_header.variables, "variable");
      values[i] = finite();
      _tokens.endLine();
    }
  }

  /// The same for sums that are lists of terms.
  template <class Terms>
  void readTerms(Terms& terms, std::int64_t count) {
    TavLargeArray<std::int32_t> indices;
    TavLargeArray<double> values;
    readTerms(indices, values, count);
    terms.reserve(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) terms.push_back({indices[i], values[i]});
  }

  void refuseTwice(std::vector<std::int32_t> variables) {
    std::sort(variables.begin(), variables.end());
    const auto twice = std::adjacent_find(variables.begin(), variables.end());
    if (twice != variables.end()) _tokens.fail("variable " + text(*twice) + " occurs twice");
  }

  void linearRow() {
    const std::int32_t row = index(_header.rows, "constraint");
    const std::int64_t count = _tokens.integer();
    const std::size_t begin = _model.linearVariable.size();
    readTerms(_model.linearVariable, _model.linearValue, count);
    _pieces.push_back({row, begin});
  }

  void gradient() {
    TavFileObjective& objective = _objectives[index(_header.objectives, "objective")];
    const std::int64_t count = _tokens.integer();
    if (!objective.linear.empty()) _tokens.fail("an objective whose gradient has been given before");
    readTerms(objective.linear, count);
  }

  /// Both bounds as the type of a line says.
  std::pair<double, double> bounds() {
    std::pair<double, double> bounds{-kTavInfinity, kTavInfinity};
    std::int64_t type;
    double numbers[2];
    // Numbers of at most eight bytes are bounds, unless what counts as infinite is as small.
    if (_infinity > 1e8 && _tokens.plainBounds(type, numbers)) {
      if (type != 1 && type != 3) bounds.first = numbers[0];
      if (type != 2 && type != 3) bounds.second = numbers[type == 0 ? 1 : 0];
      return bounds;
    }
    switch (_tokens.boundType()) {
      case 0:
        bounds.first = lower();
        bounds.second = upper();
        break;
      case 1:
        bounds.second = upper();
        break;
      case 2:
        bounds.first = lower();
        break;
      case 3:
        break;
      case 4:
        bounds.first = lower();
        bounds.second = bounds.first;
        if (std::isinf(bounds.first)) _tokens.fail("expected a finite number");
        break;
      case 5:
        _tokens.fail("complementarity is not supported");
      default:
        _tokens.fail("expected the type of a bound, 0 to 4");
    }
    _tokens.endLine();
    return bounds;
  }

  double lower() {
    const double value = withInfinity(_tokens.number());
    if (value == kTavInfinity) _tokens.fail("a lower bound of plus infinity");
    return value;
  }
  double upper() {
    const double value = withInfinity(_tokens.number());
    if (value == -kTavInfinity) _tokens.fail("an upper bound of minus infinity");
    return value;
  }
  double withInfinity(double bound) {
    if (std::isnan(bound)) _tokens.fail("a bound that is not a number");
    return std::fabs(bound) >= _infinity ? std::copysign(kTavInfinity, bound) : bound;
  }
  double finite() {
    const double value = _tokens.number();
    if (!std::isfinite(value)) _tokens.fail("expected a finite number");
    return value;
  }

  void rowBounds() {
    if (!_model.rows.empty()) _tokens.fail("the bounds of the constraints have been given before");
    _tokens.endLine();
    for (std::int32_t i = 0; i < _header.rows; ++i) {
      const auto [lower, upper] = bounds();
      _model.rows.push_back({lower, upper});
    }
  }

  void variableBounds() {
    if (!_model.variables.empty()) _tokens.fail("the bounds of the variables have been given before");
    _tokens.endLine();
    for (std::int32_t i = 0; i < _header.variables; ++i) {
      const auto [lower, upper] = bounds();
      _model.variables.push_back({lower, upper, TavFileKind::Continuous});
    }
    setKinds();
  }

  /// The kinds follow from the order of the variables.
  void setKinds() {
    const TavNlHeader& h = _header;
    whole(h.nonlinearInBoth - h.integersInBoth, h.integersInBoth);
    whole(h.nonlinearInRows - h.integersInRows, h.integersInRows);
    whole(h.nonlinearInObjectives - h.integersInObjectives, h.integersInObjectives);
    whole(h.variables - h.integers - h.binaries, h.binaries);
    whole(h.variables - h.integers, h.integers);
  }
  void whole(std::int32_t first, std::int32_t count) {
    for (std::int32_t i = first; i < first + count; ++i) {
      TavFileVariable& variable = _model.variables[static_cast<std::size_t>(i)];
      const bool binary = variable.lower >= 0.0 && variable.upper <= 1.0;
      variable.kind = binary ? TavFileKind::Binary : TavFileKind::Integer;
    }
  }

  void startValues(std::vector<TavFileTerm>& values, std::int32_t most) {
    const std::int64_t count = _tokens.integer();
    if (count < 0 || count > most) _tokens.fail("more start values than items");
    _tokens.endLine();
    for (std::int64_t i = 0; i < count; ++i) {
      const std::int32_t item = index(most, "item");
      values.push_back({item, finite()});
      _tokens.endLine();
    }
  }

  /// Said again by the rows.
  void columnCounts() {
    const std::int64_t count = _tokens.integer();
    if (count < 0 || count > _header.variables) _tokens.fail("more columns than variables");
    _tokens.endLine();
    for (std::int64_t i = 0; i < count; ++i) {
      _tokens.integer();
      _tokens.endLine();
    }
  }

  void suffix() {
    const std::int64_t kind = _tokens.integer();
    if (kind < 0 || kind > 7) _tokens.fail("expected the kind of a suffix, 0 to 7");
    const std::int64_t count = _tokens.integer();
    TavFileSuffix suffix;
    suffix.of = static_cast<TavFileSuffix::Of>(kind & 3);
    suffix.real = (kind & 4) != 0;
    suffix.name = _tokens.word();
    _tokens.endLine();
    const std::int32_t sizes[] = {_header.variables, _header.rows, _header.objectives, 1};
    const std::int32_t size = sizes[kind & 3];
    if (count < 0 || count > size) _tokens.fail("a suffix of more values than items");
    for (std::int64_t i = 0; i < count; ++i) {
      const std::int32_t item = index(size, "item");
      const double value = suffix.real ? finite() : static_cast<double>(_tokens.integer());
      suffix.values.push_back({item, value});
      _tokens.endLine();
    }
    _model.suffixes.push_back(std::move(suffix));
  }

  void importedFunction() {
    for (int i = 0; i < 3; ++i) _tokens.integer();
    _tokens.fail("imported functions are not supported: " + _tokens.word());
  }

  void finish() {
    if (std::ssize(_model.rows) != _header.rows) _tokens.fail("the file ends here, expected the constraints' bounds");
    if (std::ssize(_model.variables) != _header.variables) {
      _tokens.fail("the file ends here, expected the variables' bounds");
    }
    if (std::ssize(_model.logical) != _header.logical) _tokens.fail("the file ends here, expected logical constraints");
    requireCoefficients();
    sortRowParts();
    const std::int32_t twice = TavNlSortRows(_model, std::move(_pieces));
    if (twice >= 0) _tokens.fail("constraint " + text(twice) + " has two linear parts");
    for (auto& [i, objective] : _objectives) {
      if (i != std::ssize(_model.objectives))
        _tokens.fail("objective " + text(std::ssize(_model.objectives)) + " is missing");
      if (isNumber(objective.expr)) objective.expr = {};  // it is the constant
      _model.objectives.push_back(std::move(objective));
    }
    if (std::ssize(_model.objectives) != _header.objectives) {
      _tokens.fail("the file ends here, expected objective " + text(std::ssize(_model.objectives)));
    }
    TavNlTakeSets(_model);
    spread(_start, _header.variables, _model.start);
    spread(_dualStart, _header.rows, _model.dualStart);
    if (_header.objectives > 1) {
      _model.notes.push_back(text(_header.objectives) + " objectives; the first is the one to solve for");
    }
    _model.answerOptions = std::move(_header.options);
  }

  /// A file that was cut off between two segments lacks some. More than the header counts are no mistake: some writers
  /// count those of several objectives once.
  void requireCoefficients() const {
    std::int64_t ofObjectives = 0;
    for (const auto& [i, objective] : _objectives) ofObjectives += std::ssize(objective.linear);
    if (std::ssize(_model.linearValue) < _header.nonzeros || ofObjectives < _header.gradientNonzeros) {
      _tokens.fail("the file ends here, expected as many coefficients as its header counts");
    }
  }

  void sortRowParts() {
    auto& parts = _model.rowParts;
    if (_partsInOrder) return;
    std::stable_sort(parts.begin(), parts.end(), [](const auto& a, const auto& b) { return a.row < b.row; });
    for (std::size_t i = 1; i < parts.size(); ++i) {
      if (parts[i].row == parts[i - 1].row) _tokens.fail("constraint " + text(parts[i].row) + " is given twice");
    }
  }

  static void spread(const std::vector<TavFileTerm>& values, std::int32_t size, std::vector<double>& out) {
    if (values.empty()) return;
    out.assign(static_cast<std::size_t>(size), std::numeric_limits<double>::quiet_NaN());
    for (const TavFileTerm& value : values) out[static_cast<std::size_t>(value.variable)] = value.value;
  }

  /// Terms for which room is made at once.
  static constexpr std::int64_t kBlock = 4096;

  double _infinity;
  std::map<std::int32_t, TavFileObjective> _objectives;
  TavLargeArray<TavNlPiece> _pieces;
  bool _partsInOrder = true;
  std::vector<TavFileTerm> _start, _dualStart;
};

}  // namespace

TavFileModel TavReadNl(TavFileInput& input) {
  TavNlText text(input);
  TavNlHeader header = TavReadNlHeader(text);
  const double infinity = input.options().infinity;
  if (!header.binary) return NlReader(text, header, infinity).read();
  if (header.arithmetic > 2) text.fail("arithmetic of kind " + std::to_string(header.arithmetic) + ", expected 0 to 2");
  const bool wantsLittle = header.arithmetic != 2;
  TavNlBinary binary(text, wantsLittle != (std::endian::native == std::endian::little));
  return NlReader(binary, header, infinity).read();
}
