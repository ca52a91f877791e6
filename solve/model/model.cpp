#include "solve/model/model.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "solve/model/errors.h"

namespace tavsolve {

namespace {

constexpr double kMaxInt = static_cast<double>(TavIntVar::kMaxInt);

const char* nameOrNull(const std::string& name) { return name.empty() ? nullptr : name.c_str(); }

constexpr std::size_t kNowhere = ~std::size_t{0}, kShared = kNowhere - 1;

const TavExtractableI* objectOf(TavNumVar column) { return column.getImpl(); }
const TavExtractableI* objectOf(const RangeConstraintI* row) { return row; }

/// The place of the object of this name.
template <class Objects, class Index>
std::size_t find(const Objects& objects, Index& index, const std::string& name, const char* what) {
  if (index.empty()) {
    for (std::size_t i = 0; i < objects.size(); ++i) {
      const TavExtractableI* object = objectOf(objects[i]);
      if (!object || !object->getName()) continue;
      const auto [known, isNew] = index.emplace(object->getName(), i);
      if (!isNew) known->second = kShared;
    }
  }
  const auto found = index.find(name);
  if (found == index.end()) return kNowhere;
  if (found->second == kShared) throw InputError(std::string("two ") + what + " are named " + name);
  return found->second;
}

}  // namespace

TavInt wholeLowerBound(double lb) { return TavTrunc(std::clamp(std::ceil(lb), -kMaxInt, kMaxInt)); }

TavInt wholeUpperBound(double ub) { return TavTrunc(std::clamp(std::floor(ub), -kMaxInt, kMaxInt)); }

Model::Model() {
  // Each sum that loses a removed column says so in a change record of its own.
  _env.getImpl()->oneByOneRemoval = true;
  _objective = new (_env.getImpl()) ObjectiveI(_env.getImpl(), TavExpr(_env), false, nullptr);
}

Model::Model(TavFileModel file) : Model() {
  _name = file.name;
  _nonZeros = file.linearValue.size();
  TavModelBuilder builder(_env, file);
  _columns.assign(builder.variables().begin(), builder.variables().end());
  file.variableNames = {};  // the variables have them
  for (const TavNumVar column : _columns) noteKind(column);
  makeRows(builder, file);
  if (!file.objectives.empty()) {
    setObjective(builder.objective(0), file.objectives[0].maximise, nameOrNull(file.objectives[0].name));
  }
  _sets = builder.sets();
  _start = std::move(file.start);
  _suffixes = std::move(file.suffixes);
}

void Model::noteKind(TavNumVar column) {
  if (!column.getImpl()->isType(TavSemiContVarI::GetTypeInfo())) return;
  _semiContinuous.emplace(column.getId(), TavSemiContVar(static_cast<TavSemiContVarI*>(column.getImpl())));
}

void Model::makeRows(TavModelBuilder& builder, TavFileModel& file) {
  _rows.reserve(static_cast<std::size_t>(builder.rowCount()));
  std::string name;
  for (std::int32_t i = 0; i < builder.rowCount(); ++i) {
    if (i < std::ssize(file.rows)) file.discardRowsBefore(i);
    name = file.rowNames[i];
    addRow(builder.rowLower(i), builder.row(i), builder.rowUpper(i), nameOrNull(name));
  }
}

TavModelContents Model::contents() const {
  TavModelContents contents;
  contents.name = _name;
  std::vector<std::int32_t> place(_columns.size(), -1);
  for (std::size_t j = 0; j < _columns.size(); ++j) {
    if (!_columns[j]) continue;
    place[j] = static_cast<std::int32_t>(contents.variables.size());
    contents.variables.push_back(_columns[j]);
    if (!_start.empty()) contents.start.push_back(_start[j]);
  }
  for (RangeConstraintI* row : _rows) {
    contents.rows.push_back({row->getSum(), row->getLB(), row->getUB(), row->getName()});
  }
  contents.objectives.push_back({_objective->getSum(), _objective->isMaximised(), _objective->getName()});
  contents.sets = _sets;
  for (TavFileSuffix suffix : _suffixes) {
    if (suffix.of == TavFileSuffix::Of::Variables) {
      for (TavFileTerm& value : suffix.values) value.variable = place[static_cast<std::size_t>(value.variable)];
      std::erase_if(suffix.values, [](const TavFileTerm& value) { return value.variable < 0; });
    }
    contents.suffixes.push_back(std::move(suffix));
  }
  return contents;
}

void Model::write(const std::string& path) const {
  const bool nl = TavFormatOfName(path) == TavFileFormat::Nl;
  TavWriteModel(TavFileModelOf(contents(), nl ? TavProductsIn::Expressions : TavProductsIn::Products), path);
}

void Model::setObjective(TavExpr sum, bool maximise, const char* name) { _objective->become(sum, maximise, name); }

TavNumVar Model::addColumn(TavNumVar column) {
  _columns.push_back(column);
  noteKind(column);
  _columnIndex.clear();
  if (!_start.empty()) _start.push_back(std::numeric_limits<double>::quiet_NaN());
  return column;
}

RangeConstraintI* Model::addRow(double lb, TavExpr sum, double ub, const char* name) {
  _rowIndex.clear();
  _rows.push_back(new (_env.getImpl()) RangeConstraintI(_env.getImpl(), lb, sum, ub, name));
  return _rows.back();
}

void Model::relax() {
  TavNumVarArray whole(_env);
  for (const TavNumVar column : _columns) {
    if (column && column.isInteger()) whole.add(column);
  }
  _relaxation = TavConversion(_env, whole, TavNumVar::Float, "relaxation").getImpl();
  whole.end();
}

TavNumVar Model::findColumn(const std::string& name) const {
  const std::size_t place = find(_columns, _columnIndex, name, "columns");
  return place == kNowhere ? TavNumVar() : _columns[place];
}

RangeConstraintI* Model::findRow(const std::string& name) const {
  const std::size_t place = find(_rows, _rowIndex, name, "rows");
  return place == kNowhere ? nullptr : _rows[place];
}

bool Model::isSemiContinuous(TavNumVar column) const { return _semiContinuous.contains(column.getId()); }

void Model::setBounds(TavNumVar column, double lb, double ub) {
  const auto semiContinuous = _semiContinuous.find(column.getId());
  if (semiContinuous == _semiContinuous.end()) return column.setBounds(lb, ub);
  semiContinuous->second.setSemiContinuousLb(lb);
  column.setBounds(0.0, ub);
}

void Model::remove(TavNumVar column) {
  _semiContinuous.erase(column.getId());
  // What remains of the index is kept, so that many columns can be removed one after the other.
  const auto named = column.getName() ? _columnIndex.find(column.getName()) : _columnIndex.end();
  if (named != _columnIndex.end() && named->second == kShared) {
    _columnIndex.clear();
  } else if (named != _columnIndex.end()) {
    _columnIndex.erase(named);
  }
  const auto same = [column](TavNumVar other) { return other.getImpl() == column.getImpl(); };
  // Engines read the list until they drop the column.
  struct Emptying {
    TavNumVar& handle;
    ~Emptying() { handle = TavNumVar(); }
  } const emptying{*std::find_if(_columns.begin(), _columns.end(), same)};
  for (TavModelSet& set : _sets) {
    for (std::size_t k = set.members.size(); k-- > 0;) {
      if (!same(set.members[k])) continue;
      set.members.erase(set.members.begin() + static_cast<std::ptrdiff_t>(k));
      set.weights.erase(set.weights.begin() + static_cast<std::ptrdiff_t>(k));
    }
  }
  column.end();
}

}  // namespace tavsolve
