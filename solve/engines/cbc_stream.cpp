#include "solve/engines/cbc_stream.h"

#include <algorithm>
#include <string>

#include "expression/nodes.h"
#include "solve/engines/cbc_load.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

constexpr int kNowhere = -1;

}  // namespace

int RowStream::addColumn(TavNumVar column) {
  const TavNumVarI* variable = column.getImpl();
  if (variable->isType(TavSemiContVarI::GetTypeInfo()) || variable->isType(TavConstraintIndVarI::GetTypeInfo())) {
    throw InputError("column " + std::to_string(_columns.size() + 1) + " is neither continuous nor integer");
  }
  const auto id = static_cast<std::size_t>(column.getId());
  if (id >= _places.size()) _places.resize(id + 1, kNowhere);
  _places[id] = static_cast<int>(_columns.size());
  _columns.push_back(column);
  return _places[id];
}

template <class Term>
double RowStream::take(TavExpr sum, const std::string& what, Term term) {
  struct End {
    TavExpr sum;
    ~End() { sum.end(); }
  } const end{sum};
  if (sum.getImpl()->getFirstPart()) throw InputError(what + " is not linear");
  for (const auto* cell = sum.getImpl()->getFirstTerm(); cell; cell = cell->next) {
    const auto id = static_cast<std::size_t>(cell->var->getId());
    if (id >= _places.size() || _places[id] == kNowhere) throw InputError(what + " has a variable that is no column");
    term(_places[id], cell->coef);
  }
  return sum.getImpl()->getConstant();
}

/// A row that was refused may have left terms.
void RowStream::dropUnfinishedRow() {
  const std::size_t end = _ends.empty() ? 0 : _ends.back();
  _termColumns.resize(end);
  _termValues.resize(end);
  _lower.resize(_ends.size());
  _upper.resize(_ends.size());
}

void RowStream::addRow(double lb, TavExpr sum, double ub) {
  dropUnfinishedRow();
  const double constant = take(sum, "row " + std::to_string(_ends.size() + 1), [this](int column, double coef) {
    _termColumns.push_back(column);
    _termValues.push_back(coef);
  });
  _lower.push_back(clpBound(lb - constant));
  _upper.push_back(clpBound(ub - constant));
  _ends.push_back(_termColumns.size());
}

void RowStream::setObjective(TavExpr sum, bool maximise) {
  const double sign = maximise ? -1.0 : 1.0;
  std::vector<std::pair<int, double>> costs;
  _costConstant = sign * take(sum, "the objective",
                              [&costs, sign](int column, double coef) { costs.emplace_back(column, sign * coef); });
  _costs = std::move(costs);
}

std::unique_ptr<OsiClpSolverInterface> RowStream::load() {
  dropUnfinishedRow();
  std::unique_ptr<ClpSimplex> simplex = clpWithRoom(_ends.size(), _columns.size());
  std::vector<int> integers;
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    const TavNumVarI* variable = _columns[j].getImpl();
    simplex->columnLower()[j] = clpBound(variable->getLB(), variable->isInteger());
    simplex->columnUpper()[j] = clpBound(variable->getUB(), variable->isInteger());
    if (variable->isInteger()) integers.push_back(static_cast<int>(j));
  }
  std::copy(_lower.begin(), _lower.end(), simplex->rowLower());
  std::copy(_upper.begin(), _upper.end(), simplex->rowUpper());
  for (const auto& [column, coef] : _costs) simplex->objective()[column] += coef;
  returnZeros(*simplex);
  ColumnMatrix matrix(_columns.size());
  for (const int column : _termColumns) matrix.count(column);
  matrix.reserve();
  std::size_t k = 0;
  for (std::size_t i = 0; i < _ends.size(); ++i) {
    for (; k < _ends[i]; ++k) matrix.put(i, _termColumns[k], _termValues[k]);
  }
  std::unique_ptr<CoinPackedMatrix> taken = matrix.take(_ends.size());
  const double constant = _costConstant;
  *this = RowStream();
  return solverOver(std::move(simplex), std::move(taken), constant, integers);
}

}  // namespace tavsolve
