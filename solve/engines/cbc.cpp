#include "solve/engines/cbc.h"

#include <CoinPackedMatrix.hpp>
#include <CoinPackedVector.hpp>
#include <OsiClpSolverInterface.hpp>
#include <numeric>

/// How a model gets into the solver and how the loaded solver is edited.

namespace tavsolve {

namespace {

/// The solver's way to say "no bound"; whole bounds end where doubles stop counting.
double solverBound(double bound, bool whole = false) {
  const double last = whole ? static_cast<double>(TavIntVar::kMaxInt) : TavGetInfinity();
  if (bound >= last) return COIN_DBL_MAX;
  return bound <= -last ? -COIN_DBL_MAX : bound;
}

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
  const std::size_t columnCount = columns().size();
  // start[j + 1] says where column j goes on, in the end where it ended.
  auto start = std::make_unique<CoinBigIndex[]>(columnCount + 2);
  const int* place = places().data();  // every variable of the rows has one: columns are extracted first
  std::vector<int> order;              // of all terms, by column: from a term to its column is a long way in memory
  order.reserve(model().nonZeros());
  for (const Row& row : rows()) {
    for (const auto* term = row.sum->getFirstTerm(); term; term = term->next) {
      const int column = place[term->var->getId()];
      order.push_back(column);
      ++start[static_cast<std::size_t>(column) + 2];
    }
  }
  std::partial_sum(start.get(), start.get() + columnCount + 2, start.get());
  const CoinBigIndex count = start[columnCount + 1];
  auto indices = std::make_unique_for_overwrite<int[]>(static_cast<std::size_t>(count));
  auto values = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(count));
  auto column = order.begin();
  for (std::size_t i = 0; i < rows().size(); ++i) {
    for (const auto* term = rows()[i].sum->getFirstTerm(); term; term = term->next) {
      const CoinBigIndex k = start[static_cast<std::size_t>(*column++) + 1]++;
      indices[static_cast<std::size_t>(k)] = static_cast<int>(i);
      values[static_cast<std::size_t>(k)] = term->coef;
    }
  }
  auto matrix = std::make_unique<CoinPackedMatrix>();
  double* takenValues = values.release();
  int* takenIndices = indices.release();
  CoinBigIndex* takenStart = start.release();
  int* lengths = nullptr;
  matrix->assignMatrix(true, static_cast<int>(rows().size()), static_cast<int>(columnCount), count, takenValues,
                       takenIndices, takenStart, lengths);
  return matrix;
}

std::vector<double> CbcEngineI::costs() const {
  std::vector<double> result(columns().size());
  for (const auto* term = objectiveSum()->getFirstTerm(); term; term = term->next) {
    result[static_cast<std::size_t>(placeOf(term->var))] += sign() * term->coef;
  }
  return result;
}

void CbcEngineI::load() {
  loadVectors();
  // Loaded without a coefficient, the solver takes the matrix as it is instead of a copy.
  _solver->getModelPtr()->replaceMatrix(gather().release(), true);
  _solver->setDblParam(OsiObjOffset, -sign() * objectiveSum()->getNumConstant());
}

void CbcEngineI::loadVectors() {
  const std::size_t rowCount = rows().size(), columnCount = columns().size();
  std::vector<double> rowLower(rowCount), rowUpper(rowCount), lower(columnCount), upper(columnCount);
  std::vector<int> integers;
  for (std::size_t i = 0; i < rowCount; ++i) {
    rowLower[i] = solverBound(rows()[i].lb - rows()[i].constant);
    rowUpper[i] = solverBound(rows()[i].ub - rows()[i].constant);
  }
  for (std::size_t j = 0; j < columnCount; ++j) {
    const Column& column = columns()[j];
    const bool whole = column.variable->isInteger();
    lower[j] = solverBound(column.variable->getLB(), whole);
    upper[j] = solverBound(column.variable->getUB(), whole);
    if (whole && !column.relaxed) integers.push_back(static_cast<int>(j));
  }
  CoinPackedMatrix none;
  none.setDimensions(static_cast<int>(rowCount), static_cast<int>(columnCount));
  _solver->loadProblem(none, lower.data(), upper.data(), costs().data(), rowLower.data(), rowUpper.data());
  if (!integers.empty()) _solver->setInteger(integers.data(), static_cast<int>(integers.size()));
}

void CbcEngineI::columnChanged(int column) {
  const Column& data = columns()[static_cast<std::size_t>(column)];
  // Between 0 and its threshold a semi-continuous column is kept out by branching, not by a bound.
  const bool whole = data.variable->isInteger();
  _solver->setColBounds(column, solverBound(data.variable->getLB(), whole), solverBound(data.variable->getUB(), whole));
  if (data.isWhole()) {
    _solver->setInteger(column);
  } else {
    _solver->setContinuous(column);
  }
}

void CbcEngineI::rowChanged(int row) {
  const Row& data = rows()[static_cast<std::size_t>(row)];
  _solver->setRowBounds(row, solverBound(data.lb - data.constant), solverBound(data.ub - data.constant));
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
    for (const auto* term = rows()[static_cast<std::size_t>(i)].sum->getFirstTerm(); term; term = term->next) {
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
    for (const auto* term = rows()[i].sum->getFirstTerm(); term; term = term->next) {
      add(terms, placeOf(term->var), term->coef);
    }
    _solver->addRow(terms, solverBound(rows()[i].lb - rows()[i].constant),
                    solverBound(rows()[i].ub - rows()[i].constant));
  }
}

void CbcEngineI::senseChanged() {
  _solver->setObjective(costs().data());
  _solver->setDblParam(OsiObjOffset, -sign() * objectiveSum()->getNumConstant());
}

}  // namespace tavsolve
