#include "solve/engines/cbc_stream.h"

#include <string>

#include "expression/nodes.h"
#include "solve/engines/cbc_load.h"
#include "solve/model/errors.h"

namespace tavsolve {

int RowStream::addColumn(TavNumVar column) {
  const TavNumVarI* variable = column.getImpl();
  if (variable->getTypeInfo() != _lastType) {
    if (variable->isType(TavSemiContVarI::GetTypeInfo()) || variable->isType(TavConstraintIndVarI::GetTypeInfo())) {
      throw InputError("column " + std::to_string(_columns.size() + 1) + " is neither continuous nor integer");
    }
    _lastType = variable->getTypeInfo();
  }
  const auto place = static_cast<int>(_columns.size());
  _places.reserve(static_cast<std::size_t>(column.getId()) + 1);
  _columns.push_back(column);
  _places.set(column.getId(), place);
  return place;
}

template <class Term, class Name>
double RowStream::take(TavExpr sum, Name name, Term term) {
  struct End {
    TavExpr sum;
    ~End() { sum.end(); }
  } const end{sum};
  if (sum.getImpl()->getFirstPart()) throw InputError(name() + " is not linear");
  for (const auto* cell = sum.getImpl()->getFirstTerm(); cell; cell = cell->next) {
    const int place = _places.of(cell->var->getId());
    if (place == Places::kNowhere) throw InputError(name() + " has a variable that is no column");
    term(place, cell->coef);
  }
  return sum.getImpl()->getConstant();
}

void RowStream::addRow(double lb, TavExpr sum, double ub) {
  const std::size_t begin = _termColumns.size();
  try {
    const auto name = [this] { return "row " + std::to_string(_rows.size() + 1); };
    const double constant = take(sum, name, [this](int column, double coef) {
      _termColumns.push_back(column);
      _termValues.push_back(coef);
    });
    _rows.push_back({_termColumns.size(), clpBound(lb - constant), clpBound(ub - constant)});
  } catch (...) {
    _termColumns.resize(begin);
    _termValues.resize(begin);
    throw;
  }
}

void RowStream::setObjective(TavExpr sum, bool maximise) {
  const double sign = maximise ? -1.0 : 1.0;
  std::vector<std::pair<int, double>> costs;
  const auto name = [] { return std::string("the objective"); };
  _costConstant =
      sign * take(sum, name, [&costs, sign](int column, double coef) { costs.emplace_back(column, sign * coef); });
  _costs = std::move(costs);
}

std::unique_ptr<OsiClpSolverInterface> RowStream::load() {
  std::unique_ptr<ClpSimplex> simplex = clpWithRoom(_rows.size(), _columns.size());
  std::vector<int> integers;
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    const TavNumVarI* variable = _columns[j].getImpl();
    simplex->columnLower()[j] = clpBound(variable->getLB(), variable->isInteger());
    simplex->columnUpper()[j] = clpBound(variable->getUB(), variable->isInteger());
    if (variable->isInteger()) integers.push_back(static_cast<int>(j));
  }
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    simplex->rowLower()[i] = _rows[i].lower;
    simplex->rowUpper()[i] = _rows[i].upper;
  }
  for (const auto& [column, coef] : _costs) simplex->objective()[column] += coef;
  returnZeros(*simplex);
  ColumnMatrix matrix(_columns.size());
  for (const int column : _termColumns) matrix.count(column);
  matrix.reserve();
  std::size_t k = 0;
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    for (; k < _rows[i].end; ++k) matrix.put(i, _termColumns[k], _termValues[k]);
  }
  std::unique_ptr<CoinPackedMatrix> taken = matrix.take(_rows.size());
  const double constant = _costConstant;
  *this = RowStream();
  return solverOver(std::move(simplex), std::move(taken), constant, integers);
}

}  // namespace tavsolve
