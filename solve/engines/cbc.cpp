#include "solve/engines/cbc.h"

#include <CoinPackedVector.hpp>
#include <algorithm>

#include "solve/engines/cbc_load.h"

/// How a model gets into the solver and how the loaded solver is edited.

namespace tavsolve {

namespace {

void add(CoinPackedVector& vector, int index, double value) {
  const int known = vector.findIndex(index);
  if (known < 0) {
    vector.insert(index, value);
  } else {
    vector.setElement(known, vector.getElements()[known] + value);
  }
}

}  // namespace

CbcEngineI::CbcEngineI(const Model& model) : EngineI(model), _solver(std::make_unique<OsiClpSolverInterface>()) {
  _solver->messageHandler()->setLogLevel(0);
  _solver->getModelPtr()->setLogLevel(0);
}

CbcEngineI::~CbcEngineI() = default;

std::unique_ptr<CoinPackedMatrix> CbcEngineI::gather() const {
  ColumnMatrix matrix(columns().size());
  const int* place = places().data();  // every variable of the rows has one: columns are extracted first
  LargeVector<int> order;              // of all terms, by column: from a term to its column is a long way in memory
  order.reserve(model().nonZeros());
  for (const Row& row : rows()) {
    for (const auto* term = row.sum()->getFirstTerm(); term; term = term->next) {
      order.push_back(place[term->var->getId()]);
      matrix.count(order.back());
    }
  }
  matrix.reserve();
  auto column = order.begin();
  for (std::size_t i = 0; i < rows().size(); ++i) {
    for (const auto* term = rows()[i].sum()->getFirstTerm(); term; term = term->next) {
      matrix.put(i, *column++, term->coef);
    }
  }
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
  std::vector<CoinPackedVector> inOldRows(columns().size() - static_cast<std::size_t>(firstColumn));
  for (int i = 0; i < firstRow; ++i) {
    for (const auto* term = rows()[static_cast<std::size_t>(i)].sum()->getFirstTerm(); term; term = term->next) {
      const int column = placeOf(term->var);
      if (column >= firstColumn) add(inOldRows[static_cast<std::size_t>(column - firstColumn)], i, term->coef);
    }
  }
  for (int j = firstColumn; j < static_cast<int>(columns().size()); ++j) {
    _solver->addCol(inOldRows[static_cast<std::size_t>(j - firstColumn)], 0.0, 0.0, 0.0);
    columnChanged(j);
  }
  for (const auto* term = objectiveSum()->getFirstTerm(); term; term = term->next) {
    const int column = placeOf(term->var);
    if (column >= firstColumn)
      _solver->setObjCoeff(column, _solver->getObjCoefficients()[column] + sign() * term->coef);
  }
  for (std::size_t i = static_cast<std::size_t>(firstRow); i < rows().size(); ++i) {
    CoinPackedVector terms;
    for (const auto* term = rows()[i].sum()->getFirstTerm(); term; term = term->next) {
      add(terms, placeOf(term->var), term->coef);
    }
    _solver->addRow(terms, clpBound(rows()[i].lb() - rows()[i].constant()),
                    clpBound(rows()[i].ub() - rows()[i].constant()));
  }
}

void CbcEngineI::senseChanged() {
  writeCosts(_solver->getModelPtr()->objective());
  _solver->setDblParam(OsiObjOffset, -sign() * objectiveSum()->getNumConstant());
}

}  // namespace tavsolve
