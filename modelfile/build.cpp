#include "modelfile/build.h"

#include <algorithm>
#include <cmath>

#include "modelfile/expr_builder.h"
#include "modelfile/file_error.h"
#include "modelfile/operations.h"

namespace {

constexpr double kMaxInt = static_cast<double>(TavIntVar::kMaxInt);

/// Whole bounds within the range in which doubles count exactly.
TavInt wholeLower(double lower) { return TavTrunc(std::clamp(std::ceil(lower), -kMaxInt, kMaxInt)); }
TavInt wholeUpper(double upper) { return TavTrunc(std::clamp(std::floor(upper), -kMaxInt, kMaxInt)); }

/// A null-terminated copy that is used again for the next name.
class NameText {
 public:
  const char* of(std::string_view name) {
    if (name.empty()) return nullptr;
    _text.assign(name);
    return _text.c_str();
  }

 private:
  std::string _text;
};

TavNumVar semiContinuous(TavEnv env, const TavFileVariable& variable, const char* name) {
  const bool whole = variable.kind == TavFileKind::SemiInteger;
  // With a lower bound below 0, "0, or between the bounds" is an ordinary range.
  if (variable.lower < 0.0) {
    return TavNumVar(env, variable.lower, variable.upper, whole ? TavNumVar::Int : TavNumVar::Float, name);
  }
  const TavSemiContVar made(env, variable.lower, variable.upper, whole ? TavNumVar::Int : TavNumVar::Float, name);
  if (made.getUB() != variable.upper) made.setUB(variable.upper);  // made whole and finite
  return made;
}

TavNumVar makeVariable(TavEnv env, const TavFileVariable& variable, const char* name) {
  switch (variable.kind) {
    case TavFileKind::Continuous:
      return TavNumVar(env, variable.lower, variable.upper, name);
    case TavFileKind::SemiContinuous:
    case TavFileKind::SemiInteger:
      return semiContinuous(env, variable, name);
    case TavFileKind::Integer:
    case TavFileKind::Binary:
      break;
  }
  const TavInt lower = wholeLower(variable.lower), upper = wholeUpper(variable.upper);
  const TavNumVar made = lower == 0 && upper == 1 ? TavBoolVar(env, name) : TavIntVar(env, lower, upper, name);
  // An integer variable is made with whole, finite bounds; the model is to have those of the file.
  if (made.getLB() != variable.lower || made.getUB() != variable.upper) made.setBounds(variable.lower, variable.upper);
  return made;
}

std::vector<TavNumVar> makeVariables(TavEnv env, const TavFileModel& model, std::vector<TavNumVar> variables) {
  variables.resize(model.variables.size());
  NameText name;
  for (std::size_t j = 0; j < variables.size(); ++j) {
    if (variables[j]) continue;
    const TavFileVariable& variable = model.variables[j];
    const std::string_view label = model.variableNames[static_cast<std::int32_t>(j)];
    const bool semi = variable.kind == TavFileKind::SemiContinuous || variable.kind == TavFileKind::SemiInteger;
    if (semi && variable.upper < 0.0) {
      throw TavFileError(model.name, {},
                         "variable " + std::string(label) +
                             ": semi-continuous with a range below 0, expected an upper bound of 0 or more");
    }
    variables[j] = makeVariable(env, variable, name.of(label));
  }
  return variables;
}

}  // namespace

struct TavModelBuilder::Parts {
  Parts(TavEnv environment, const TavFileModel& file, std::vector<TavNumVar> known)
      : env(environment.getImpl()),
        model(file),
        variables(makeVariables(environment, file, std::move(known))),
        builder(env, file, variables) {}

  /// The next part, if it is this row's.
  template <class Part>
  static const Part* partOf(const std::vector<Part>& parts, std::int32_t row) {
    const auto found = std::lower_bound(parts.begin(), parts.end(), row,
                                        [](const Part& part, std::int32_t wanted) { return part.row < wanted; });
    return found != parts.end() && found->row == row ? &*found : nullptr;
  }
  void addLinear(TavNumLinTermI* sum, std::int32_t row) const {
    const auto i = static_cast<std::size_t>(row);
    for (std::size_t k = model.linearBegin[i]; k < model.linearBegin[i + 1]; ++k) {
      sum->append(
          env->newTerm(variables[static_cast<std::size_t>(model.linearVariable[k])].getImpl(), model.linearValue[k]));
    }
  }
  /// Replaces the row's sum by a conditional over it.
  TavGuard<TavNumLinTermI> underCondition(TavGuard<TavNumLinTermI> sum, const TavFileIndicator& indicator) const {
    TavNumExprI* condition = variables[static_cast<std::size_t>(indicator.variable)].getImpl();
    if (!indicator.value) {
      condition = (1.0 - variables[static_cast<std::size_t>(indicator.variable)]).getImpl();
    }
    const TavFileRow& row = model.rows[static_cast<std::size_t>(indicator.row)];
    auto whole = TavMakeNode<TavNumLinTermI>(env, env, 0.0);
    whole->append(new (env) TavConditionalNumExprI(env, condition, sum.release(), nullptr, 0.0, TavWithin(row)));
    return whole;
  }

  TavEnvI* env;
  const TavFileModel& model;
  std::vector<TavNumVar> variables;
  TavExprBuilder builder;
};

TavModelBuilder::TavModelBuilder(TavEnv env, const TavFileModel& model, std::vector<TavNumVar> known)
    : _parts(std::make_unique<Parts>(env, model, std::move(known))) {}

TavModelBuilder::~TavModelBuilder() = default;

const std::vector<TavNumVar>& TavModelBuilder::variables() const noexcept { return _parts->variables; }

std::int32_t TavModelBuilder::rowCount() const noexcept {
  return static_cast<std::int32_t>(_parts->model.rows.size() + _parts->model.logical.size());
}

double TavModelBuilder::rowLower(std::int32_t i) const noexcept {
  const auto at = static_cast<std::size_t>(i);
  return at < _parts->model.rows.size() ? _parts->model.rows[at].lower : 1.0;
}

double TavModelBuilder::rowUpper(std::int32_t i) const noexcept {
  const auto at = static_cast<std::size_t>(i);
  return at < _parts->model.rows.size() ? _parts->model.rows[at].upper : 1.0;
}

TavExpr TavModelBuilder::row(std::int32_t i) {
  const TavFileModel& model = _parts->model;
  auto sum = TavMakeNode<TavNumLinTermI>(_parts->env, _parts->env, 0.0);
  const auto at = static_cast<std::size_t>(i);
  if (at >= model.rows.size()) {
    sum->append(_parts->builder.truthOf(model.logical[at - model.rows.size()]));
  } else {
    _parts->addLinear(sum.get(), i);
    if (const TavFileRowPart* part = Parts::partOf(model.rowParts, i)) {
      _parts->builder.addProducts(sum.get(), part->products);
      _parts->builder.addExpr(sum.get(), part->expr);
      if (!part->expr.empty()) sum->normalize();  // .nl files give variables of the expression a term of 0
    }
    if (const TavFileIndicator* indicator = Parts::partOf(model.indicators, i)) {
      sum = _parts->underCondition(std::move(sum), *indicator);
    }
  }
  return TavExpr(TavNumExprArg(sum.release()));
}

TavExpr TavModelBuilder::objective(std::int32_t i) {
  const TavFileObjective& objective = _parts->model.objectives[static_cast<std::size_t>(i)];
  auto sum = TavMakeNode<TavNumLinTermI>(_parts->env, _parts->env, objective.constant);
  _parts->builder.addTerms(sum.get(), objective.linear);
  _parts->builder.addProducts(sum.get(), objective.products);
  _parts->builder.addExpr(sum.get(), objective.expr);
  if (!objective.expr.empty()) sum->normalize();
  return TavExpr(TavNumExprArg(sum.release()));
}

std::vector<TavModelSet> TavModelBuilder::sets() const {
  std::vector<TavModelSet> sets;
  for (const TavFileSet& from : _parts->model.sets) {
    TavModelSet& set = sets.emplace_back(TavModelSet{from.name, from.type, {}, {}});
    for (const TavFileTerm& member : from.members) {
      set.members.push_back(_parts->variables[static_cast<std::size_t>(member.variable)]);
      set.weights.push_back(member.value);
    }
  }
  return sets;
}

TavModelContents TavBuildModel(TavEnv env, const TavFileModel& model) {
  TavModelBuilder builder(env, model);
  TavModelContents contents;
  contents.name = model.name;
  contents.variables = builder.variables();
  NameText name;
  contents.rows.reserve(static_cast<std::size_t>(builder.rowCount()));
  for (std::int32_t i = 0; i < builder.rowCount(); ++i) {
    const TavExpr sum = builder.row(i);
    sum.getImpl()->setName(name.of(model.rowNames[i]));
    contents.rows.push_back({sum, builder.rowLower(i), builder.rowUpper(i), sum.getImpl()->getName()});
  }
  for (std::int32_t i = 0; i < std::ssize(model.objectives); ++i) {
    const TavFileObjective& objective = model.objectives[static_cast<std::size_t>(i)];
    const TavExpr sum = builder.objective(i);
    sum.getImpl()->setName(name.of(objective.name));
    contents.objectives.push_back({sum, objective.maximise, sum.getImpl()->getName()});
  }
  contents.sets = builder.sets();
  contents.start = model.start;
  contents.suffixes = model.suffixes;
  return contents;
}

TavNumExprArg TavExprOf(const TavModelSet& set) {
  TavEnvI* env = set.members.front().getImpl()->getEnv();
  const auto nonZero = [](TavNumVar member) { return TavAbs(TavSgn(member)); };
  if (set.type == 1) {
    TavIntExprArray truths{TavEnv(env)};
    for (const TavNumVar member : set.members) truths.add(nonZero(member));
    const TavNumExprArg count = TavCount(truths, 1);
    truths.end();
    return count;
  }
  // The last position less the first one, counted from both ends so that zeros do not count.
  std::vector<std::size_t> order(set.members.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&set](std::size_t a, std::size_t b) { return set.weights[a] < set.weights[b]; });
  const auto size = static_cast<TavInt>(order.size());
  TavIntExprArray fromFront{TavEnv(env)}, fromBack{TavEnv(env)};
  for (TavInt i = 0; i < size; ++i) {
    const TavIntExprArg present = nonZero(set.members[order[static_cast<std::size_t>(i)]]);
    fromFront.add(present * (i + 1));
    fromBack.add(present * (size - i));
  }
  const TavNumExprArg span = TavMax(fromFront) + TavMax(fromBack) - (size + 1);
  fromFront.end();
  fromBack.end();
  return span;
}
