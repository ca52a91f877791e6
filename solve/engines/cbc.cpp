#include "solve/engines/cbc.h"

#include <algorithm>
#include <array>

#include "host/prefetch.h"
#include "solve/engines/cbc_load.h"

/// How a model gets into the solver and how the loaded solver is edited.

namespace tavsolve {

namespace {

/// Where an object has its identifier; only prefetching relies on it.
constexpr std::size_t kIdentifierOffset = 2 * sizeof(void*);

/// Vectors one after the other, as CLP takes many of them at once.
struct Vectors {
  std::vector<CoinBigIndex> starts{0};
  std::vector<int> indices{};
  std::vector<double> values{};

  int count() const { return static_cast<int>(starts.size()) - 1; }
  void put(int index, double value) {
    indices.push_back(index);
    values.push_back(value);
  }
  void end() { starts.push_back(static_cast<CoinBigIndex>(indices.size())); }
};

}  // namespace

CbcEngineI::CbcEngineI(const Model& model) : EngineI(model), _solver(std::make_unique<OsiClpSolverInterface>()) {
  _solver->messageHandler()->setLogLevel(0);
  _solver->getModelPtr()->setLogLevel(0);
}

CbcEngineI::~CbcEngineI() = default;

/// Calls visit(row, column, coefficient) for each term of the rows, in their order. From a term to its variable's
/// identifier is a long way in memory, which is begun for a number of terms at once.
template <class Visit>
void CbcEngineI::visitTerms(const Visit& visit) const {
  struct Item {
    std::size_t row;
    const TavNumLinExprTermI* term;
  };
  std::array<Item, 64> items;
  std::size_t count = 0;
  const auto visitItems = [&] {
    for (std::size_t k = 0; k < count; ++k) visit(items[k].row, placeOf(items[k].term->var), items[k].term->coef);
    count = 0;
  };
  for (std::size_t i = 0; i < rows().size(); ++i) {
    for (const auto* term = rows()[i].sum()->getFirstTerm(); term; term = term->next) {
      TavPrefetch(reinterpret_cast<const char*>(term->var) + kIdentifierOffset);
      items[count++] = {i, term};
      if (count == items.size()) visitItems();
    }
  }
  visitItems();
}

std::unique_ptr<CoinPackedMatrix> CbcEngineI::gather() const {
  ColumnMatrix matrix(columns().size());
  visitTerms([&matrix](std::size_t, int column, double) { matrix.count(column); });
  matrix.reserve();
  visitTerms([&matrix](std::size_t row, int column, double value) { matrix.put(row, column, value); });
  return matrix.take(rows().size());
}

void CbcEngineI::writeCosts(double* costs) const {
  std::fill_n(costs, columns().size(), 0.0);
  for (const auto* term = objectiveSum()->getFirstTerm(); term; term = term->next) {
    costs[placeOf(term->var)] += sign() * term->coef;
  }
}

void CbcEngineI::load() {
  std::unique_ptr<ClpSimplex> simplex = clpWithRoom(rows().size(), columns().size());
  std::vector<int> integers;
  for (std::size_t i = 0; i < rows().size(); ++i) {
    const double constant = rows()[i].constant();
    simplex->rowLower()[i] = clpBound(rows()[i].lb() - constant);
    simplex->rowUpper()[i] = clpBound(rows()[i].ub() - constant);
  }
  for (std::size_t j = 0; j < columns().size(); ++j) {
    const Column& column = columns()[j];
    const bool whole = column.variable->isInteger();
    simplex->columnLower()[j] = clpBound(column.variable->getLB(), whole);
    simplex->columnUpper()[j] = clpBound(column.variable->getUB(), whole);
    if (whole && !column.relaxed) integers.push_back(static_cast<int>(j));
  }
  writeCosts(simplex->objective());
  returnZeros(*simplex);
  _solver = solverOver(std::move(simplex), gather(), sign() * objectiveSum()->getNumConstant(), integers);
}

void CbcEngineI::columnChanged(int column) {
  const Column& data = columns()[static_cast<std::size_t>(column)];
  // Between 0 and its threshold a semi-continuous column is kept out by branching, not by a bound.
  const bool whole = data.variable->isInteger();
  _solver->setColBounds(column, clpBound(data.variable->getLB(), whole), clpBound(data.variable->getUB(), whole));
  if (data.isWhole()) {
    _solver->setInteger(column);
  } else {
    _solver->setContinuous(column);
  }
}

void CbcEngineI::rowChanged(int row) {
  const Row& data = rows()[static_cast<std::size_t>(row)];
  _solver->setRowBounds(row, clpBound(data.lb() - data.constant()), clpBound(data.ub() - data.constant()));
}

void CbcEngineI::coefficientChanged(int row, int column, double value) {
  if (row == kObjective) {
    _solver->setObjCoeff(column, sign() * value);
  } else {
    _solver->modifyCoefficient(row, column, value);
  }
}

void CbcEngineI::columnRemoved(int column) {
  _solver->deleteCols(1, &column);
  if (!_state.empty()) _state.erase(_state.begin() + column);
}

void CbcEngineI::appended(int firstColumn, int firstRow) {
  extendBasis(firstColumn, firstRow);
  appendColumns(firstColumn, firstRow);
  appendRows(firstRow);
}

void CbcEngineI::appendColumns(int firstColumn, int firstRow) {
  const std::size_t count = columns().size() - static_cast<std::size_t>(firstColumn);
  if (count == 0) return;
  std::vector<std::vector<std::pair<int, double>>> inOldRows(count);
  for (int i = 0; i < firstRow; ++i) {
    for (const auto* term = rows()[static_cast<std::size_t>(i)].sum()->getFirstTerm(); term; term = term->next) {
      const int column = placeOf(term->var);
      if (column < firstColumn) continue;
      auto& entries = inOldRows[static_cast<std::size_t>(column - firstColumn)];
      if (!entries.empty() && entries.back().first == i) {
        entries.back().second += term->coef;
      } else {
        entries.emplace_back(i, term->coef);
      }
    }
  }
  Vectors added;
  for (const auto& entries : inOldRows) {
    for (const auto& [row, value] : entries) added.put(row, value);
    added.end();
  }
  const std::vector<double> zeros(count);
  _solver->addCols(added.count(), added.starts.data(), added.indices.data(), added.values.data(), zeros.data(),
                   zeros.data(), zeros.data());
  for (int j = firstColumn; j < static_cast<int>(columns().size()); ++j) columnChanged(j);
  for (const auto* term = objectiveSum()->getFirstTerm(); term; term = term->next) {
    const int column = placeOf(term->var);
    if (column >= firstColumn)
      _solver->setObjCoeff(column, _solver->getObjCoefficients()[column] + sign() * term->coef);
  }
}

void CbcEngineI::appendRows(int firstRow) {
  Vectors added;
  std::vector<double> lower, upper;
  std::vector<std::size_t> placeOfColumn(columns().size(), 0);  // of its last term
  for (std::size_t i = static_cast<std::size_t>(firstRow); i < rows().size(); ++i) {
    const auto begin = static_cast<std::size_t>(added.starts.back());
    for (const auto* term = rows()[i].sum()->getFirstTerm(); term; term = term->next) {
      const int column = placeOf(term->var);
      std::size_t& place = placeOfColumn[static_cast<std::size_t>(column)];
      if (place >= begin && place < added.indices.size() && added.indices[place] == column) {
        added.values[place] += term->coef;
      } else {
        place = added.indices.size();
        added.put(column, term->coef);
      }
    }
    added.end();
    lower.push_back(clpBound(rows()[i].lb() - rows()[i].constant()));
    upper.push_back(clpBound(rows()[i].ub() - rows()[i].constant()));
  }
  if (added.count() == 0) return;
  _solver->addRows(added.count(), added.starts.data(), added.indices.data(), added.values.data(), lower.data(),
                   upper.data());
}

void CbcEngineI::senseChanged() {
  writeCosts(_solver->getModelPtr()->objective());
  _solver->setDblParam(OsiObjOffset, -sign() * objectiveSum()->getNumConstant());
}

}  // namespace tavsolve
