#pragma once
/// Internal header of tavmodelfile: the expressions of .nl files become tokens of a model.

#include <cmath>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

#include "modelfile/nl_header.h"
#include "modelfile/operations.h"

/// Reads expressions, text or binary, in one pass without recursion: prefix order stays prefix order.
template <class Tokens>
class TavNlExpressions {
 protected:
  TavNlExpressions(Tokens& tokens, TavNlHeader& header) : _tokens(tokens), _header(header) {}
  ~TavNlExpressions() = default;

  TavFileExpr expression() {
    const std::size_t begin = _model.tokens.size();
    _hasDigits = false;
    for (std::int64_t wanted = 1; wanted > 0;) wanted += token(_tokens.letter()) - 1;
    if (_hasDigits) checkDigits(begin);
    return {begin, _model.tokens.size()};
  }

  std::int32_t index(std::int32_t size, const char* what) {
    const std::int64_t i = _tokens.integer();
    if (i < 0 || i >= size) {
      _tokens.fail(std::string(what) + " " + text(i) + ", expected 0 to " + text(std::int64_t{size} - 1));
    }
    return static_cast<std::int32_t>(i);
  }

  static std::string text(std::int64_t number) { return std::to_string(number); }

  Tokens& _tokens;
  TavNlHeader& _header;
  TavFileModel _model;
  /// The number of each common expression among those given so far.
  std::unordered_map<std::int64_t, std::int32_t> _commonOf;

 private:
  /// Appends the token that begins with this letter and returns the number of arguments that follow it.
  std::int64_t token(char letter) {
    switch (letter) {
      case 'o':
        return operation();
      case 'v':
        return variable();
      case 'n':
        return number(_tokens.number());
      case 's':
        return number(static_cast<double>(_tokens.shortInteger()));
      case 'l':
        return number(static_cast<double>(_tokens.integer()));
      case 'f':
        _tokens.fail("a call of an imported function is not supported");
      case 'h':
        _tokens.fail("symbols are not supported");
      case 0:
        _tokens.fail("the file ends within an expression");
      default:
        _tokens.fail("expected an operation, a number or a variable: one of o n s l v");
    }
  }

  std::int64_t number(double value) {
    if (std::isnan(value) || std::isinf(value)) _tokens.fail("expected a finite number");
    _tokens.endLine();
    _model.tokens.push_back({TavFileOp::Number, 0, value});
    return 0;
  }

  std::int64_t variable() {
    const std::int64_t i = _tokens.integer();
    if (i >= 0 && i < _header.variables) {
      _model.tokens.push_back({TavFileOp::Variable, static_cast<std::int32_t>(i), 0.0});
    } else {
      const auto common = _commonOf.find(i);
      if (common == _commonOf.end()) {
        _tokens.fail("v" + text(i) + " is neither a variable nor a common expression given before");
      }
      _model.tokens.push_back({TavFileOp::Common, common->second, 0.0});
    }
    _tokens.endLine();
    return 0;
  }

  std::int64_t operation() {
    const std::int64_t code = _tokens.integer();
    refuseByName(code);
    constexpr std::int64_t kSquareToo = 82;
    const auto op = static_cast<TavFileOp>(code == kSquareToo ? static_cast<std::int64_t>(TavFileOp::Square) : code);
    const TavFileOperation& operation = TavOperationOf(op);
    _hasDigits |= op == TavFileOp::Round || op == TavFileOp::Truncate;
    _tokens.endLine();
    TavFileToken token{op, 0, 0.0};
    if (operation.shape == TavFileShape::List || operation.shape == TavFileShape::Piecewise) {
      const std::int64_t count = _tokens.integer();
      if (count < 1 || count > kMostArguments) _tokens.fail("expected the number of arguments, 1 to 2^30");
      if (count > kMostDifferent && (op == TavFileOp::AllDifferent || op == TavFileOp::NotAllDifferent)) {
        _tokens.fail("alldiff of more than " + text(kMostDifferent) + " expressions is not supported");
      }
      token.arg = static_cast<std::int32_t>(count);
      _tokens.endLine();
    }
    _model.tokens.push_back(token);
    if (op != TavFileOp::Piecewise) return TavArgumentsOf(token);
    piecewise(token.arg);
    return 1;
  }

  void refuseByName(std::int64_t code) {
    constexpr std::int64_t kPrecision = 56, kNumberOfSymbols = 61, kIfOfSymbols = 65;
    if (code == kPrecision) _tokens.fail("the function precision is not supported");
    if (code == kNumberOfSymbols || code == kIfOfSymbols) _tokens.fail("symbols are not supported");
    if (code < 0 || code > 82 || (code < 82 && !TavOperationOf(static_cast<std::uint8_t>(code)).name)) {
      _tokens.fail("o" + text(code) + " is no operation");
    }
  }

  /// Slopes and breakpoints of a piecewise-linear function.
  void piecewise(std::int64_t slopes) {
    double last = -std::numeric_limits<double>::infinity();
    for (std::int64_t i = 0; i < 2 * slopes - 1; ++i) {
      const char letter = _tokens.letter();
      if (letter != 'n' && letter != 's' && letter != 'l') {
        _tokens.fail("expected a number: a slope or a breakpoint");
      }
      token(letter);
      if (i % 2 == 0) continue;
      const double breakpoint = _model.tokens.back().value;
      if (!(breakpoint > last)) _tokens.fail("expected breakpoints that increase");
      last = breakpoint;
    }
  }

  /// The second argument of round and trunc must be a number: walks the expression backwards, keeping where the
  /// arguments begin.
  void checkDigits(std::size_t begin) {
    std::vector<std::size_t> starts;
    for (std::size_t i = _model.tokens.size(); i > begin; --i) {
      const TavFileToken& token = _model.tokens[i - 1];
      const auto arguments = static_cast<std::size_t>(TavArgumentsOf(token));
      if ((token.op == TavFileOp::Round || token.op == TavFileOp::Truncate) &&
          _model.tokens[starts[starts.size() - 2]].op != TavFileOp::Number) {
        _tokens.fail("round and trunc to digits that are not a number are not supported");
      }
      starts.resize(starts.size() - arguments);
      starts.push_back(i - 1);
    }
  }

  static constexpr std::int64_t kMostArguments = std::int64_t{1} << 30;
  /// n arguments of alldiff take n (n - 1) / 2 comparisons.
  static constexpr std::int64_t kMostDifferent = 1000;

  /// The expression under way rounds to digits.
  bool _hasDigits = false;
};
