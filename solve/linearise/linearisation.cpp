#include "solve/linearise/linearisation.h"

#include <algorithm>
#include <bit>
#include <unordered_set>
#include <utility>

#include "solve/linearise/builder.h"
#include "solve/linearise/rules.h"

namespace tavlinear {

std::size_t Linearisation::KeyHash::operator()(const Key& key) const noexcept {
  const std::size_t use = static_cast<std::size_t>(key.kind) * 4 + static_cast<std::size_t>(key.sense);
  const std::size_t hash = std::hash<const void*>()(key.node) * 31 + use;
  return hash * 31 + std::hash<double>()(key.cap);
}

int Linearisation::columnOf(const TavNumVarI* variable) {
  const auto [found, isNew] = _columnOf.try_emplace(variable, -1);
  if (isNew) found->second = _columns.add({.variable = variable});
  return found->second;
}

/// What differs for nobody becomes the same key, and what needs no item becomes a form.
Linearisation::Resolved Linearisation::resolve(const Operand& operand, Demand demand) {
  if (!operand.node) return {true, LinearForm(operand.constant), {}};
  const Interval range = _ranges.of(operand.node);
  const bool isSure = _ranges.isSure(operand.node);  // otherwise its rule must be asked: it may refuse
  Demand own = demand.through(operand.factor, operand.constant);
  if (std::isnan(own.cap)) own = own.everywhere();
  LinearForm form;
  const bool isMet = own.sense == Sense::Over ? range.hi <= own.cap : own.sense == Sense::Under && range.lo >= own.cap;
  if (operand.factor == 0.0 && isSure) {
    form.constant = 0.0;
  } else if (range.isPoint() && isSure) {
    form.constant = range.lo;
  } else if (isMet && isSure) {  // whatever the value
    form.constant = own.cap;
  } else if (operand.node->isType(TavNumVarI::GetTypeInfo()) && !isIndicator(operand.node)) {
    form = LinearForm::column(columnOf(static_cast<const TavNumVarI*>(operand.node)));
  } else {
    if (own.sense == Sense::Over && own.cap <= range.lo) own = Demand::over();
    if (own.sense == Sense::Under && own.cap >= range.hi) own = Demand::under();
    return {false, {}, {operand.node, Kind::Value, own.sense, own.cap}};
  }
  LinearForm result(operand.constant);
  result.add(operand.factor, form);
  return {true, std::move(result), {}};
}

/// Builds the item of the key unless operands are missing, which it then lists.
bool Linearisation::make(const Key& key, const Root& root, std::vector<Key>& missing) {
  Reading reading;
  reading.node = key.node;
  reading.row = findClass(key.node->getTypeInfo());
  Builder builder(*this, reading, root.name);
  try {
    if (!reading.row) builder.refuse("no linear form is known for its class");
    reading.row->read(key.node, reading);
    LinearForm form = key.kind == Kind::Value ? reading.row->give(builder, reading, {key.sense, key.cap})
                                              : makeSelector(builder, key.node);
    if (builder.isWaiting()) {
      missing = std::move(builder._missing);
      drop(builder._made);
      return false;
    }
    builder._made.key = key;
    builder._made.form = std::move(form);
    for (const int used : builder._made.uses) ++_items[used].users;
    _itemOf[key] = _items.add(std::move(builder._made));
    return true;
  } catch (...) {
    drop(builder._made);
    throw;
  }
}

/// Makes the item of the key and all that it needs, operands first; nested expressions do not recurse.
void Linearisation::require(const Key& key, const Root& root, std::vector<int>& created) {
  std::vector<Key> open = {key};
  std::vector<Key> missing;
  while (!open.empty()) {
    const Key current = open.back();
    if (_itemOf.contains(current)) {
      open.pop_back();
    } else if (make(current, root, missing)) {
      created.push_back(_itemOf[current]);
      open.pop_back();
    } else {
      open.insert(open.end(), missing.begin(), missing.end());
    }
  }
}

LinearForm Linearisation::formOf(Root& root, Demand demand) {
  Resolved resolved = resolve({root.expression}, demand);
  if (resolved.isForm) return std::move(resolved.form);
  std::vector<int> created;
  const auto sweep = [&] {  // what is asked for but not used; users come after what they use
    for (auto item = created.rbegin(); item != created.rend(); ++item) {
      if (_items.isUsed(*item) && _items[*item].users == 0) release(*item);
    }
  };
  try {
    require(resolved.key, root, created);
  } catch (...) {
    sweep();
    throw;
  }
  const int item = _itemOf[resolved.key];
  ++_items[item].users;
  root.uses.push_back(item);
  sweep();
  return _items[item].form;
}

void Linearisation::drop(Item& item) {
  for (const int column : item.columns) _columns.remove(column);
  for (const int row : item.rows) _rows.remove(row);
  for (const int set : item.sets) _sets.remove(set);
}

/// Removes an item without users, and those that it alone uses.
void Linearisation::release(int item) {
  std::vector<int> open = {item};
  while (!open.empty()) {
    const int current = open.back();
    open.pop_back();
    for (const int used : _items[current].uses) {
      if (--_items[used].users == 0) open.push_back(used);
    }
    const auto known = _itemOf.find(_items[current].key);
    if (known != _itemOf.end() && known->second == current) _itemOf.erase(known);
    drop(_items[current]);
    _items.remove(current);
  }
}

void Linearisation::collectObjects(Root& root, int number) {
  std::unordered_set<const TavExtractableI*> seen = {root.expression};
  std::vector<const TavNumExprI*> open = {root.expression};
  while (!open.empty()) {
    Reading reading;
    reading.node = open.back();
    reading.row = findClass(reading.node->getTypeInfo());
    open.pop_back();
    if (!reading.row) continue;
    reading.row->read(reading.node, reading);
    for (const auto* term = reading.terms; term; term = term->next) {
      if (!isIndicator(term->var)) seen.insert(term->var);  // those are operands, whose constraints follow
    }
    if (statementOf && isIndicator(reading.node)) {
      const auto* indicator = static_cast<const TavConstraintIndVarI*>(static_cast<const TavNumVarI*>(reading.node));
      seen.insert(indicator->getConstraint());
      reading.operands = {{statementOf(indicator->getConstraint()).expression}};
    }
    for (const Operand& operand : reading.operands) {
      if (operand.node && seen.insert(operand.node).second) open.push_back(operand.node);
    }
  }
  root.objects.assign(seen.begin(), seen.end());
  for (const TavExtractableI* object : root.objects) _rootsOf[object].push_back(number);
}

/// Makes everything of a root that has nothing yet.
void Linearisation::build(Root& root, int number) {
  Demand demand = Demand::both();
  if (number == kObjective) {
    demand = _maximise ? Demand::under() : Demand::over();
  } else if (root.lb == -kInfinity) {
    demand = Demand::over(root.ub);
  } else if (root.ub == kInfinity) {
    demand = Demand::under(root.lb);
  }
  const bool isFree = number != kObjective && root.lb == -kInfinity && root.ub == kInfinity;
  LinearForm form = isFree ? LinearForm() : formOf(root, demand);
  form.merge();
  root.isDirty = false;
  if (number == kObjective) {
    _objective = std::move(form);
  } else {
    root.row = _rows.add({root.lb - form.constant, root.ub - form.constant, std::move(form.terms)});
  }
}

/// Removes what was made for a root.
void Linearisation::discard(Root& root, int number) {
  if (root.row >= 0) _rows.remove(std::exchange(root.row, -1));
  if (number == kObjective) _objective = LinearForm();
  for (const int item : root.uses) {
    if (--_items[item].users == 0) release(item);
  }
  root.uses.clear();
  for (const TavExtractableI* object : root.objects) {
    const auto found = _rootsOf.find(object);
    std::erase(found->second, number);
    if (found->second.empty()) _rootsOf.erase(found);
  }
  root.objects.clear();
}

int Linearisation::addRow(const TavNumExprI* expression, double lb, double ub, const std::string& name) {
  discardDirty();
  Root root;
  root.expression = expression;
  root.lb = lb;
  root.ub = ub;
  root.name = name;
  const int number = _roots.add(std::move(root));
  try {
    build(_roots[number], number);
  } catch (...) {
    _roots.remove(number);
    throw;
  }
  collectObjects(_roots[number], number);
  return number;
}

void Linearisation::setObjective(const TavNumExprI* expression, bool maximise, const std::string& name) {
  discardDirty();
  if (_objectiveRoot.expression) discard(_objectiveRoot, kObjective);
  _objectiveRoot = Root();
  _objectiveRoot.name = name;
  _maximise = maximise;
  _objectiveRoot.expression = expression;
  try {
    build(_objectiveRoot, kObjective);
  } catch (...) {
    _objectiveRoot.expression = nullptr;
    throw;
  }
  collectObjects(_objectiveRoot, kObjective);
}

void Linearisation::removeRow(int row) {
  discard(_roots[row], row);
  std::erase(_dirty, row);
  _roots.remove(row);
}

void Linearisation::changed(const TavExtractableI* object) {
  const auto found = _rootsOf.find(object);
  if (found == _rootsOf.end()) return;
  for (const int number : found->second) affect(number);
}

void Linearisation::affect(int number) {
  if (!std::exchange(rootAt(number).isDirty, true)) _dirty.push_back(number);
}

void Linearisation::setBounds(int row, double lb, double ub) {
  _roots[row].lb = lb;
  _roots[row].ub = ub;
  affect(row);
}

void Linearisation::imply(Implied ranges) {
  const auto compare = [this](const Implied& some, const Implied& others) {
    for (const auto& [variable, range] : some) {
      const auto other = others.find(variable);
      if (other == others.end() || other->second != range) changed(variable);
    }
  };
  compare(ranges, _ranges.implied);
  compare(_ranges.implied, ranges);
  _ranges.implied = std::move(ranges);
}

/// Every use of an expression with a changed object belongs to an affected root, so that nothing old stays shared.
void Linearisation::discardDirty() {
  if (_dirty.empty()) return;
  for (const int number : _dirty) discard(rootAt(number), number);
  _ranges.forget();
}

void Linearisation::forget(const TavExtractableI* object) {
  changed(object);
  discardDirty();
  const auto* variable = static_cast<const TavNumVarI*>(object);
  _ranges.implied.erase(variable);
  const auto found = _columnOf.find(variable);
  if (found == _columnOf.end()) return;
  _columns.remove(found->second);
  _columnOf.erase(found);
}

void Linearisation::update() {
  discardDirty();
  while (!_dirty.empty()) {
    const int number = _dirty.back();
    build(rootAt(number), number);
    collectObjects(rootAt(number), number);
    _dirty.pop_back();
  }
}

std::vector<Linearisation::Made> Linearisation::made() const {
  std::vector<Made> all;
  for (int i = 0; i < _items.size(); ++i) {
    if (!_items.isUsed(i) || _items[i].key.kind != Kind::Value || _items[i].columns.empty()) continue;
    const Key& key = _items[i].key;
    all.push_back({key.node, {key.sense, key.cap}, &_items[i].form});
  }
  return all;
}

}  // namespace tavlinear
