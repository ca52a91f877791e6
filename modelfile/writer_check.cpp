#include "modelfile/writer_check.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace {

/// Readers take bounds of this size for infinite ones.
constexpr double kTextInfinity = 1e20;

template <class Name>
void checkFinite(double value, const char* what, const std::string& file, Name name) {
  if (!std::isfinite(value)) throw TavFileError(file, {}, name() + " has a " + what + " that is not finite");
}

/// The numbers of objectives, expressions and sets.
void checkOtherNumbers(const TavFileModel& model, const std::string& file) {
  const auto objectives = [] { return std::string("the objective"); };
  for (const TavFileObjective& objective : model.objectives) {
    checkFinite(objective.constant, "constant", file, objectives);
    for (const TavFileTerm& term : objective.linear) checkFinite(term.value, "coefficient", file, objectives);
    for (const TavFileProduct& product : objective.products) {
      checkFinite(product.value, "coefficient", file, objectives);
    }
  }
  const auto expressions = [] { return std::string("an expression"); };
  for (const TavFileToken& token : model.tokens) {
    if (token.op == TavFileOp::Number) checkFinite(token.value, "number", file, expressions);
  }
  for (const TavFileCommon& common : model.commons) {
    for (const TavFileTerm& term : common.linear) checkFinite(term.value, "coefficient", file, expressions);
  }
  for (const TavFileSet& set : model.sets) {
    const auto name = [&] { return TavNamed("set", set.name); };
    for (const TavFileTerm& member : set.members) checkFinite(member.value, "weight", file, name);
  }
}

/// Fails for numbers that no format can say. The names of variables and rows are functions of their index.
template <class VariableName, class RowName>
void checkNumbers(const TavFileModel& model, const std::string& file, VariableName variableName, RowName rowName) {
  const auto checkBounds = [&](double lower, double upper, auto name) {
    const bool low = lower == -HUGE_VAL || std::fabs(lower) < kTextInfinity;
    const bool high = upper == HUGE_VAL || std::fabs(upper) < kTextInfinity;
    if (low && high) return;
    throw TavFileError(file, {}, name() + " has a bound that readers would take for infinite, or that is no number");
  };
  for (std::size_t j = 0; j < model.variables.size(); ++j) {
    checkBounds(model.variables[j].lower, model.variables[j].upper, [&] { return variableName(j); });
  }
  for (std::size_t i = 0; i < model.rows.size(); ++i) {
    const auto name = [&] { return rowName(i); };
    checkBounds(model.rows[i].lower, model.rows[i].upper, name);
    for (std::size_t k = model.linearBegin[i]; k != model.linearBegin[i + 1]; ++k) {
      checkFinite(model.linearValue[k], "coefficient", file, name);
    }
  }
  for (const TavFileRowPart& part : model.rowParts) {
    const auto name = [&] { return rowName(static_cast<std::size_t>(part.row)); };
    for (const TavFileProduct& product : part.products) checkFinite(product.value, "coefficient", file, name);
  }
  checkOtherNumbers(model, file);
}

class Checker {
 public:
  Checker(const TavFileModel& model, const TavWriterNames& variables, const TavWriterNames& rows,
          const std::string& file)
      : _model(model), _variables(variables), _rows(rows), _file(file) {}

  void check() const {
    checkKinds();
    checkNumbers(
        _model, _file, [&](std::size_t j) { return TavNamed("variable", _variables[index(j)]); },
        [&](std::size_t i) { return TavNamed("row", _rows[index(i)]); });
    for (std::size_t j = 0; j < _model.variables.size(); ++j) checkKind(_model.variables[j], j);
    for (const TavFileRowPart& part : _model.rowParts) {
      checkProducts(part.products, part.expr, TavNamed("row", _rows[part.row]));
    }
    for (const TavFileObjective& objective : _model.objectives) {
      checkProducts(objective.products, objective.expr, "the objective");
    }
  }

 private:
  static std::int32_t index(std::size_t i) noexcept { return static_cast<std::int32_t>(i); }
  [[noreturn]] void fail(const std::string& what) const { throw TavFileError(_file, {}, what); }

  void checkKinds() const {
    if (_model.objectives.size() > 1) {
      fail("the model has " + std::to_string(_model.objectives.size()) + " objectives, the format can say one");
    }
    if (!_model.logical.empty()) fail("the model has logical constraints, which the format cannot say");
    std::unordered_set<std::string_view> names;
    for (const TavFileSet& set : _model.sets) {
      if (!set.name.empty() && !names.insert(set.name).second) fail("two sets have the name \"" + set.name + '"');
    }
  }

  void checkKind(const TavFileVariable& variable, std::size_t i) const {
    const bool semi = variable.kind == TavFileKind::SemiContinuous || variable.kind == TavFileKind::SemiInteger;
    if (semi && (variable.lower < 0.0 || !(variable.upper > 0.0))) {
      fail(TavNamed("variable", _variables[index(i)]) +
           " is semi-continuous with a lower bound below 0 or an upper one not above it, which the format cannot say");
    }
    const bool between =
        variable.lower >= 0.0 && variable.lower <= 1.0 && variable.upper >= 0.0 && variable.upper <= 1.0;
    if (variable.kind == TavFileKind::Binary && !between) {
      fail(TavNamed("variable", _variables[index(i)]) +
           " is binary with bounds outside 0 and 1, which the format cannot say");
    }
  }

  void checkProducts(const std::vector<TavFileProduct>& products, const TavFileExpr& expr,
                     const std::string& name) const {
    if (!expr.empty()) fail(name + " has a non-linear expression, which the format cannot say");
    for (const TavFileProduct& product : products) {
      // Both formats double or halve coefficients.
      if (!std::isfinite(product.value * 2) || product.value / 2 * 2 != product.value) {
        fail(name + " has a quadratic coefficient that is too large or too small for the format");
      }
    }
  }

  const TavFileModel& _model;
  const TavWriterNames& _variables;
  const TavWriterNames& _rows;
  const std::string& _file;
};

}  // namespace

std::string TavNamed(const char* kind, std::string_view name) {
  return std::string("the ") + kind + " \"" + std::string(name) + '"';
}

void TavCheckForNl(const TavFileModel& model, const std::string& file) {
  const auto fail = [&](const std::string& what) { throw TavFileError(file, {}, what); };
  const auto label = [&](std::size_t j) {
    const std::string_view name = model.variableNames[static_cast<std::int32_t>(j)];
    return "variable " + (name.empty() ? "number " + std::to_string(j + 1) : std::string(name));
  };
  checkNumbers(model, file, label, [&](std::size_t i) {
    const std::string_view name = model.rowNames[static_cast<std::int32_t>(i)];
    return "row " + (name.empty() ? "number " + std::to_string(i + 1) : std::string(name));
  });
  for (std::size_t j = 0; j < model.variables.size(); ++j) {
    const TavFileKind kind = model.variables[j].kind;
    if (kind == TavFileKind::SemiContinuous || kind == TavFileKind::SemiInteger) {
      fail(label(j) + " is semi-continuous, which .nl files cannot say");
    }
  }
  for (const TavFileSuffix& suffix : model.suffixes) {
    const auto ends = [](unsigned char c) { return c <= ' ' || c == '#'; };
    if (suffix.name.empty() || std::any_of(suffix.name.begin(), suffix.name.end(), ends)) {
      fail("the suffix \"" + suffix.name + "\" has a name that text .nl files cannot say");
    }
  }
  std::vector<bool> inSet(model.variables.size());
  for (const TavFileSet& set : model.sets) {
    for (const TavFileTerm& member : set.members) {
      const auto j = static_cast<std::size_t>(member.variable);
      if (inSet[j]) fail(label(j) + " is in two special ordered sets, which .nl files cannot say");
      inSet[j] = true;
    }
  }
}

TavWriterNames::TavWriterNames(const TavNameTable& names, std::size_t count, const char* prefix, const char* what,
                               const std::string& file)
    : _all(names) {
  const auto size = static_cast<std::int32_t>(count);
  bool complete = names.size() == size;
  for (std::int32_t i = 0; complete && i < size; ++i) complete = !names[i].empty();
  const std::int32_t twice = _all.rehash();
  if (twice != TavNameTable::kNone) {
    throw TavFileError(file, {}, std::string("two ") + what + " have the name \"" + std::string(names[twice]) + '"');
  }
  if (complete) return;
  TavNameTable all;
  for (std::int32_t i = 0; i < size; ++i) {
    all.append(names[i].empty() ? freeName(prefix + std::to_string(i + 1)) : std::string(names[i]));
  }
  all.rehash();
  _all = std::move(all);
}

std::string TavWriterNames::freeName(std::string name) const {
  while (!isFree(name)) name += '_';
  return name;
}

void TavCheckForText(const TavFileModel& model, const TavWriterNames& variables, const TavWriterNames& rows,
                     const std::string& file) {
  Checker(model, variables, rows, file).check();
}
