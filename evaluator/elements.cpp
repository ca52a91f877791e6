#include "evaluator/elements.h"

#include <algorithm>

namespace taveval {

namespace {

std::uint64_t hashOf(const std::uint32_t* first, std::size_t count) noexcept {
  std::uint64_t hash = count + 1;
  for (std::size_t i = 0; i < count; ++i) {
    hash = (hash ^ first[i]) * 0x9e3779b97f4a7c15ULL;
    hash ^= hash >> 29;
  }
  return hash;
}

bool isSumOrProduct(Op op) noexcept {
  return op == Op::Add || op == Op::Sub || op == Op::Neg || op == Op::Mul || op == Op::Square || op == Op::Parameter ||
         op == Op::Constant;
}

}  // namespace

// Variables of summands

void Elements::collectVariables(std::uint32_t root, Local& local) {
  ++_stamp;
  local.firstVariable = static_cast<std::uint32_t>(_sets.size());
  local.isCheap = true;
  _stack.push_back(root);
  while (!_stack.empty()) {
    const std::uint32_t at = _stack.back();
    _stack.pop_back();
    if (_recordStamp[at] == _stamp) continue;
    _recordStamp[at] = _stamp;
    const Record& record = _rows.records[at];
    if (record.op == Op::Variable) {
      _sets.push_back(record.a);
      continue;
    }
    local.isCheap = local.isCheap && isSumOrProduct(record.op);
    switch (operandCount(record.op)) {
      case 3:
        _stack.push_back(record.c);
        [[fallthrough]];
      case 2:
        _stack.push_back(record.b);
        [[fallthrough]];
      case 1:
        _stack.push_back(record.a);
        break;
      default:
        break;
    }
  }
  local.variableCount = static_cast<std::uint32_t>(_sets.size()) - local.firstVariable;
  std::sort(_sets.begin() + local.firstVariable, _sets.end());
}

bool Elements::isSubset(const Local& small, const Local& large) const {
  const auto at = [this](std::uint32_t k) { return _sets.begin() + k; };
  return std::includes(at(large.firstVariable), at(large.firstVariable + large.variableCount), at(small.firstVariable),
                       at(small.firstVariable + small.variableCount));
}

void Elements::addToLocal(Local& into, const Local& from) {
  _links[into.lastSummand].next = from.firstSummand;
  into.lastSummand = from.lastSummand;
  into.summandCount += from.summandCount;
}

/// The element of this row that the summands may join, or kNone.
std::uint32_t Elements::homeOf(const Local& local) {
  if (local.variableCount == 0) return _merged.empty() || _merged[0].summandCount >= kMostSummands ? kNone : 0;
  const auto& candidates = _localsOfColumn[_sets[local.firstVariable]];
  std::uint32_t tried = 0;
  for (std::size_t i = candidates.size(); i-- > 0 && tried < kMostCandidates; ++tried) {
    const Local& candidate = _merged[candidates[i]];
    if (candidate.summandCount < kMostSummands && isSubset(local, candidate)) return candidates[i];
  }
  return kNone;
}

Elements::Local Elements::localOf(std::size_t summand) {
  Local local{};
  local.firstSummand = local.lastSummand = static_cast<std::uint32_t>(_links.size());
  local.summandCount = 1;
  _links.push_back({static_cast<std::uint32_t>(summand), kNone});
  collectVariables(_rows.summands[summand].record, local);
  return local;
}

/// Makes one element of a row of few cheap summands: sharing them with other rows would save less than adding the row
/// up from several elements costs.
bool Elements::joinSummands(std::uint32_t number) {
  if (_locals.size() > kMostJoined || number == _objectiveRow) return false;
  const auto first = static_cast<std::uint32_t>(_sets.size());
  for (const Local& local : _locals) {
    if (!local.isCheap) return false;
  }
  for (const Local& local : _locals) {
    for (std::uint32_t i = 0; i < local.variableCount; ++i) _sets.push_back(_sets[local.firstVariable + i]);
  }
  std::sort(_sets.begin() + first, _sets.end());
  _sets.erase(std::unique(_sets.begin() + first, _sets.end()), _sets.end());
  const std::size_t count = _sets.size() - first;
  if (count > kMostJoined) {
    _sets.resize(first);
    return false;
  }
  Local joined = _locals[0];
  for (std::size_t i = 1; i < _locals.size(); ++i) addToLocal(joined, _locals[i]);
  joined.firstVariable = first;
  joined.variableCount = static_cast<std::uint32_t>(count);
  _merged.push_back(joined);
  return true;
}

/// Joins the summands of a row over the same variables, or over some of them.
void Elements::mergeLocals(std::uint32_t number) {
  _merged.clear();
  if (_locals.size() == 1) {
    _merged.push_back(_locals[0]);
    return;
  }
  if (joinSummands(number)) return;
  // Large sets first, so that smaller ones find them.
  std::stable_sort(_locals.begin(), _locals.end(),
                   [](const Local& x, const Local& y) { return x.variableCount > y.variableCount; });
  _localsOfColumn.resize(_columnStamp.size());
  for (const Local& local : _locals) {
    const std::uint32_t home = homeOf(local);
    if (home != kNone) {
      addToLocal(_merged[home], local);
      continue;
    }
    for (std::uint32_t i = 0; i < local.variableCount; ++i) {
      _localsOfColumn[_sets[local.firstVariable + i]].push_back(static_cast<std::uint32_t>(_merged.size()));
    }
    _merged.push_back(local);
  }
  for (const Local& local : _merged) {
    for (std::uint32_t i = 0; i < local.variableCount; ++i) _localsOfColumn[_sets[local.firstVariable + i]].clear();
  }
}

/// How the row's value is made of its elements.
std::uint32_t Elements::valueUses(std::uint32_t number) const {
  const Row& row = _rows.rows[number];
  if (_byObjects || row.byObjects || row.whole != Row::kInOrder) return 0;
  if (_merged.size() > 1) return kEach;
  return number != _objectiveRow && row.termEnd - row.firstTerm <= kMostTerms ? kWhole : kSum;
}

void Elements::splitRow(std::uint32_t number) {
  const Row& row = _rows.rows[number];
  if (row.withoutDerivative) return;
  const std::uint32_t objective = number == _objectiveRow ? std::uint32_t{kOfObjective} : 0;
  if (!_byObjects && row.whole != Row::kInOrder) addOutput(localOf(row.whole), number, objective | kSum);
  _locals.clear();
  for (std::size_t s = row.firstSummand; s < row.summandEnd; ++s) _locals.push_back(localOf(s));
  if (_locals.empty()) return;
  mergeLocals(number);
  for (const Local& local : _merged) addOutput(local, number, objective | kDerivatives | valueUses(number));
}

// Elements

void Elements::growTable() {
  _elementOfHash.assign(std::max<std::size_t>(1024, 4 * _elementOfHash.size()), kNone);
  for (std::uint32_t e = 0; e < _elements.size(); ++e) {
    Element& element = _elements[e];
    auto& head = _elementOfHash[hashOf(_sets.data() + element.firstVariable, element.variableCount) &
                                (_elementOfHash.size() - 1)];
    element.nextOfHash = head;
    head = e;
  }
}

std::uint32_t Elements::elementOf(const Local& local, std::uint32_t row) {
  if (_elements.size() >= _elementOfHash.size()) growTable();
  const auto* set = _sets.data() + local.firstVariable;
  auto& head = _elementOfHash[hashOf(set, local.variableCount) & (_elementOfHash.size() - 1)];
  for (std::uint32_t e = head, tried = 0; e != kNone && tried < kMostCandidates; e = _elements[e].nextOfHash, ++tried) {
    const Element& element = _elements[e];
    if (element.variableCount == local.variableCount && element.outputCount < kMostOutputs &&
        _outputs[element.lastOutput].row != row &&
        std::equal(set, set + local.variableCount, _sets.data() + element.firstVariable)) {
      return e;
    }
  }
  _elements.push_back({local.firstVariable, local.variableCount, kNone, kNone, 0, head});
  head = static_cast<std::uint32_t>(_elements.size() - 1);
  return head;
}

void Elements::addOutput(const Local& local, std::uint32_t number, std::uint32_t uses) {
  Element& element = _elements[elementOf(local, number)];
  const auto output = static_cast<std::uint32_t>(_outputs.size());
  _outputs.push_back({number, local.firstSummand, kNone, uses});
  (element.outputCount == 0 ? element.firstOutput : _outputs[element.lastOutput].next) = output;
  element.lastOutput = output;
  ++element.outputCount;
}

// Shapes

void Elements::writeRecord(std::uint32_t root) {
  _stack.push_back(root);
  while (!_stack.empty()) {
    const std::uint32_t at = _stack.back();
    const Record& record = _rows.records[at];
    if (_recordStamp[at] == _stamp) {
      _stack.pop_back();
      continue;
    }
    const std::uint32_t of[] = {record.a, record.b, record.c};
    const int operands = operandCount(record.op);
    const std::size_t before = _stack.size();
    for (int i = operands; i-- > 0;) {
      if (_recordStamp[of[i]] != _stamp) _stack.push_back(of[i]);
    }
    if (_stack.size() != before) continue;
    _stack.pop_back();
    _recordStamp[at] = _stamp;
    _numberOf[at] = _written++;
    _key.push_back(static_cast<std::uint32_t>(record.op));
    if (record.op == Op::Variable) {
      _variables.push_back(record.a);
      _columnStamp[record.a] = _stamp;
      _numberOfColumn[record.a] = _numberOf[at];
    } else if (record.op == Op::Parameter) {
      _parameters.push_back(record.number());
    } else if (record.op == Op::Constant) {
      _key.insert(_key.end(), {record.a, record.b});
    } else {
      for (int i = 0; i < operands; ++i) _key.push_back(_numberOf[of[i]]);
    }
  }
}

void Elements::writeColumn(std::uint32_t column) {
  if (_columnStamp[column] == _stamp) return;
  _columnStamp[column] = _stamp;
  _numberOfColumn[column] = _written++;
  _key.push_back(static_cast<std::uint32_t>(Op::Variable));
  _variables.push_back(column);
}

void Elements::writeLinearPart(const Row& row) {
  for (std::size_t t = row.firstTerm; t < row.termEnd; ++t) {
    const auto column = static_cast<std::uint32_t>(_rows.terms[t].column);
    const double coefficient = _rows.terms[t].coefficient;
    writeColumn(column);
    const KeyMark mark = coefficient == 1.0    ? KeyMark::LinearPlus
                         : coefficient == -1.0 ? KeyMark::LinearMinus
                                               : KeyMark::LinearScaled;
    _key.insert(_key.end(), {static_cast<std::uint32_t>(mark), _numberOfColumn[column]});
    if (mark == KeyMark::LinearScaled) _parameters.push_back(coefficient);
  }
  if (row.constant != 0.0) {
    _key.push_back(static_cast<std::uint32_t>(KeyMark::LinearNumber));
    _parameters.push_back(row.constant);
  }
}

std::uint32_t Elements::draftOf(std::vector<ShapeDraft>& shapes) {
  if (shapes.size() >= _shapesOfHash.size()) {
    _shapesOfHash.assign(std::max<std::size_t>(256, 4 * _shapesOfHash.size()), {});
    for (std::uint32_t s = 0; s < shapes.size(); ++s) {
      const auto& key = shapes[s].key;
      _shapesOfHash[hashOf(key.data(), key.size()) & (_shapesOfHash.size() - 1)].push_back(s);
    }
  }
  auto& candidates = _shapesOfHash[hashOf(_key.data(), _key.size()) & (_shapesOfHash.size() - 1)];
  for (const std::uint32_t s : candidates) {
    if (shapes[s].key == _key) return s;
  }
  candidates.push_back(static_cast<std::uint32_t>(shapes.size()));
  ShapeDraft& shape = shapes.emplace_back();
  shape.key = _key;
  shape.variableCount = static_cast<std::uint32_t>(_variables.size());
  shape.parameterCount = static_cast<std::uint32_t>(_parameters.size());
  shape.outputCount = static_cast<std::uint32_t>(_rowsOfOutputs.size());
  shape.valueCount = static_cast<std::uint32_t>(_objectiveValues.size() + _values.size());
  return candidates.back();
}

void Elements::writeOutput(const Output& output) {
  // In the order of the expression.
  _summands.clear();
  for (std::uint32_t link = output.firstSummand; link != kNone; link = _links[link].next) {
    _summands.push_back(_links[link].summand);
  }
  std::sort(_summands.begin(), _summands.end());
  for (const std::uint32_t number : _summands) {
    const Summand& summand = _rows.summands[number];
    writeRecord(summand.record);
    const KeyMark mark = summand.isScaled            ? KeyMark::Scaled
                         : summand.coefficient > 0.0 ? KeyMark::Plus
                                                     : KeyMark::Minus;
    _key.push_back(static_cast<std::uint32_t>(mark));
    _key.push_back(_numberOf[summand.record]);
    if (summand.isScaled) _parameters.push_back(summand.coefficient);
  }
  if (output.uses & kWhole) writeLinearPart(_rows.rows[output.row]);
  _key.push_back(static_cast<std::uint32_t>(KeyMark::Output));
  _key.push_back(output.uses);
  _rowsOfOutputs.push_back(output.row);
  auto& values = output.uses & kOfObjective ? _objectiveValues : _values;
  if (output.uses & kSum) values.push_back(_summands[0]);
  if (output.uses & kEach) values.insert(values.end(), _summands.begin(), _summands.end());
}

void Elements::addToShape(const Element& element, std::vector<ShapeDraft>& shapes) {
  for (auto* list : {&_key, &_variables, &_rowsOfOutputs, &_values, &_objectiveValues}) list->clear();
  _parameters.clear();
  _written = 0;
  ++_stamp;
  for (std::uint32_t o = element.firstOutput; o != kNone; o = _outputs[o].next) writeOutput(_outputs[o]);
  ShapeDraft& shape = shapes[draftOf(shapes)];
  ++shape.count;
  const auto append = [](auto& to, const auto& from) { to.insert(to.end(), from.begin(), from.end()); };
  append(shape.variables, _variables);
  append(shape.parameters, _parameters);
  append(shape.rows, _rowsOfOutputs);
  append(shape.values, _objectiveValues);
  append(shape.values, _values);
}

std::vector<ShapeDraft> Elements::collect() {
  for (std::uint32_t row = 0; row < _rows.rows.size(); ++row) splitRow(row);
  _numberOf.resize(_rows.records.size());
  _numberOfColumn.resize(_columnStamp.size());
  std::vector<ShapeDraft> shapes;
  for (const Element& element : _elements) addToShape(element, shapes);
  return shapes;
}

}  // namespace taveval
