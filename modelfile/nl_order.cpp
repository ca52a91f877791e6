#include "modelfile/nl_order.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>

namespace {

/// Where something is used.
enum Use : std::uint8_t { kNowhere = 0, kInRows = 1, kInObjectives = 2, kInBoth = 3 };

/// Notes in which nonlinear parts variables and common expressions occur.
class Uses {
 public:
  explicit Uses(const TavFileModel& model)
      : variables(model.variables.size(), kNowhere), commons(model.commons.size(), kNowhere), _model(model) {}

  void note(TavFileExpr expr, Use use) {
    for (std::size_t i = expr.begin; i < expr.end; ++i) {
      const TavFileToken& token = _model.tokens[i];
      if (token.op == TavFileOp::Variable) add(variables, token.arg, use);
      if (token.op == TavFileOp::Common) add(commons, token.arg, use);
    }
  }
  void note(std::span<const TavFileProduct> products, Use use) {
    for (const TavFileProduct& product : products) {
      add(variables, product.first, use);
      add(variables, product.second, use);
    }
  }
  void noteVariable(std::int32_t variable, Use use) { add(variables, variable, use); }
  /// What common expressions use is used where they are; each refers to those before it.
  void followCommons() {
    for (std::size_t i = _model.commons.size(); i-- > 0;) {
      const auto use = static_cast<Use>(commons[i]);
      if (use == kNowhere) continue;
      note(_model.commons[i].expr, use);
      for (const TavFileTerm& term : _model.commons[i].linear) add(variables, term.variable, use);
    }
  }

  std::vector<std::uint8_t> variables;
  std::vector<std::uint8_t> commons;

 private:
  static void add(std::vector<std::uint8_t>& uses, std::int32_t item, Use use) {
    uses[static_cast<std::size_t>(item)] |= use;
  }

  const TavFileModel& _model;
};

/// Orders items by the group that each is in, and counts the groups.
template <std::size_t kGroups>
std::array<std::int32_t, kGroups> order(TavNlOrder& out, const std::vector<std::uint8_t>& groupOf) {
  std::array<std::int32_t, kGroups> sizes{}, next{};
  for (const std::uint8_t group : groupOf) ++sizes[group];
  for (std::size_t g = 1; g < kGroups; ++g) next[g] = next[g - 1] + sizes[g - 1];
  out.itemAt.resize(groupOf.size());
  out.placeOf.resize(groupOf.size());
  for (std::size_t i = 0; i < groupOf.size(); ++i) {
    out.placeOf[i] = next[groupOf[i]]++;
    out.itemAt[static_cast<std::size_t>(out.placeOf[i])] = static_cast<std::int32_t>(i);
  }
  return sizes;
}

/// In both, in rows, in objectives, nowhere.
constexpr std::uint8_t kRankOfUse[] = {3, 1, 2, 0};

/// Moves the linear parts so that they stand in the order of the rows.
void moveLinearParts(TavFileModel& model, TavLargeArray<TavNlPiece>& pieces) {
  std::vector<std::size_t> order(pieces.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) { return pieces[a].row < pieces[b].row; });
  TavLargeArray<std::int32_t> variables;
  TavLargeArray<double> values;
  variables.reserve(model.linearVariable.size());
  values.reserve(model.linearValue.size());
  TavLargeArray<TavNlPiece> moved;
  for (const std::size_t i : order) {
    const std::size_t end = i + 1 < pieces.size() ? pieces[i + 1].begin : model.linearVariable.size();
    moved.push_back({pieces[i].row, variables.size()});
    for (std::size_t k = pieces[i].begin; k < end; ++k) {
      variables.push_back(model.linearVariable[k]);
      values.push_back(model.linearValue[k]);
    }
  }
  pieces = std::move(moved);
  model.linearVariable = std::move(variables);
  model.linearValue = std::move(values);
}

}  // namespace

bool TavNlIsNonlinear(const TavFileObjective& objective) noexcept {
  return !objective.expr.empty() || !objective.products.empty();
}

TavNlLayout::TavNlLayout(const TavFileModel& model) : partOf(model.rows.size()), indicatorOf(model.rows.size()) {
  Uses uses(model);
  for (const TavFileRowPart& part : model.rowParts) {
    partOf[static_cast<std::size_t>(part.row)] = &part;
    uses.note(part.products, kInRows);
    uses.note(part.expr, kInRows);
  }
  for (const TavFileIndicator& indicator : model.indicators) {
    const auto row = static_cast<std::size_t>(indicator.row);
    indicatorOf[row] = &indicator;
    uses.noteVariable(indicator.variable, kInRows);
    for (std::size_t k = model.linearBegin[row]; k < model.linearBegin[row + 1]; ++k) {
      uses.noteVariable(model.linearVariable[k], kInRows);
    }
  }
  for (const TavFileExpr& expr : model.logical) uses.note(expr, kInRows);
  for (const TavFileObjective& objective : model.objectives) {
    uses.note(objective.products, kInObjectives);
    uses.note(objective.expr, kInObjectives);
    nonlinearObjectives += TavNlIsNonlinear(objective);
  }
  uses.followCommons();

  std::vector<std::uint8_t> groups(model.rows.size());
  for (std::size_t i = 0; i < groups.size(); ++i) groups[i] = partOf[i] || indicatorOf[i] ? 0 : 1;
  nonlinearRows = order<2>(rows, groups)[0];

  groups.assign(model.commons.size(), 0);
  for (std::size_t i = 0; i < groups.size(); ++i) groups[i] = kRankOfUse[uses.commons[i]];
  const auto commonSizes = order<4>(commons, groups);
  commonsInBoth = commonSizes[0];
  commonsInRows = commonSizes[1];
  commonsInObjectives = commonSizes[2] + commonSizes[3];  // one that nobody uses may stand anywhere

  groups.assign(model.variables.size(), 0);
  for (std::size_t j = 0; j < groups.size(); ++j) {
    const TavFileKind kind = model.variables[j].kind;
    const bool whole = kind != TavFileKind::Continuous;
    const std::uint8_t rank = kRankOfUse[uses.variables[j]];
    groups[j] = static_cast<std::uint8_t>(2 * rank + (whole ? 1 : 0));
    if (rank == 3 && kind == TavFileKind::Integer) groups[j] = 8;
  }
  const auto sizes = order<9>(variables, groups);
  inBoth = sizes[0] + sizes[1];
  inRows = sizes[2] + sizes[3];
  inObjectives = sizes[4] + sizes[5];
  integersInBoth = sizes[1];
  integersInRows = sizes[3];
  integersInObjectives = sizes[5];
  binaries = sizes[7];
  integers = sizes[8];
}

std::int32_t TavNlSortRows(TavFileModel& model, TavLargeArray<TavNlPiece> pieces) {
  const auto byRow = [](const TavNlPiece& a, const TavNlPiece& b) { return a.row < b.row; };
  if (!std::is_sorted(pieces.begin(), pieces.end(), byRow)) moveLinearParts(model, pieces);
  model.linearBegin.reserve(model.rows.size() + 1);
  auto piece = pieces.begin();
  for (std::int32_t row = 0; row < std::ssize(model.rows); ++row) {
    if (piece != pieces.end() && piece->row == row) ++piece;
    if (piece != pieces.end() && piece->row == row) return row;
    model.linearBegin.push_back(piece != pieces.end() ? piece->begin : model.linearVariable.size());
  }
  return -1;
}
