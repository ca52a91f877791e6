#include "evaluator/elements.h"

#include <algorithm>
#include <utility>

namespace taveval {

// Variables of summands

void Elements::collectVariables(std::uint32_t root, Local& local) {
  ++_stamp;
  local.firstVariable = static_cast<std::uint32_t>(_sets.size());
  _stack.push_back(root);
  while (!_stack.empty()) {
    const std::uint32_t at = _stack.back();
    _stack.pop_back();
    if (std::exchange(_written[at].stamp, _stamp) == _stamp) continue;
    const Record& record = _rows.records[at];
    if (record.op == Op::Variable) _sets.push_back(record.a);
    record.forEachOperand([this](std::uint32_t operand) { _stack.push_back(operand); });
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
  std::uint32_t link = _lastLocal.get(_sets[local.firstVariable]);
  for (std::uint32_t tried = 0; link != kNone && tried < kMostCandidates; link = _sharing[link].next, ++tried) {
    const std::uint32_t number = _sharing[link].summand;
    if (_merged[number].summandCount < kMostSummands && isSubset(local, _merged[number])) return number;
  }
  return kNone;
}

Elements::Local Elements::localOf(std::size_t summand) {
  Local local{};
  local.firstSummand = local.lastSummand = static_cast<std::uint32_t>(_links.size());
  local.summandCount = 1;
  _links.push_back({static_cast<std::uint32_t>(summand), kNone});
  const Summand& its = _rows.summands[summand];
  local.isCheap = !(_rows.records[its.record].flags & Record::kCostly);
  if (its.firstRecord == kNone) {
    collectVariables(its.record, local);
  } else {
    local.firstVariable = its.firstColumn;
    local.variableCount = its.columnCount;
  }
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
  _sets.resize(static_cast<std::size_t>(std::unique(_sets.begin() + first, _sets.end()) - _sets.begin()));
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
  const auto isLarger = [](const Local& x, const Local& y) { return x.variableCount > y.variableCount; };
  if (!std::is_sorted(_locals.begin(), _locals.end(), isLarger)) {
    std::stable_sort(_locals.begin(), _locals.end(), isLarger);
  }
  _sharing.clear();
  for (const Local& local : _locals) {
    const std::uint32_t home = homeOf(local);
    if (home != kNone) {
      addToLocal(_merged[home], local);
      continue;
    }
    for (std::uint32_t i = 0; i < local.variableCount; ++i) {
      std::uint32_t& last = _lastLocal[_sets[local.firstVariable + i]];
      _sharing.push_back({static_cast<std::uint32_t>(_merged.size()), last});
      last = static_cast<std::uint32_t>(_sharing.size() - 1);
    }
    _merged.push_back(local);
  }
  for (const Local& local : _merged) {
    for (std::uint32_t i = 0; i < local.variableCount; ++i) _lastLocal[_sets[local.firstVariable + i]] = kNone;
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
    auto& head = _elementOfHash[hashOfBytes(_sets.data() + element.firstVariable, 4 * element.variableCount) &
                                (_elementOfHash.size() - 1)];
    element.nextOfHash = head;
    head = e;
  }
}

std::uint32_t Elements::elementOf(const Local& local, std::uint32_t row) {
  if (_elements.size() >= _elementOfHash.size()) growTable();
  const auto* set = _sets.data() + local.firstVariable;
  auto& head = _elementOfHash[hashOfBytes(set, 4 * local.variableCount) & (_elementOfHash.size() - 1)];
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
  if (_wanted && !(*_wanted)(number, std::span(_sets).subspan(local.firstVariable, local.variableCount))) return;
  if (uses & kWhole) _drafts.isWhole[number] = true;
  Element& element = _elements[elementOf(local, number)];
  const auto output = static_cast<std::uint32_t>(_outputs.size());
  _outputs.push_back({number, local.firstSummand, kNone, uses});
  (element.outputCount == 0 ? element.firstOutput : _outputs[element.lastOutput].next) = output;
  element.lastOutput = output;
  ++element.outputCount;
}

// Shapes

void Elements::writeLeaf(const Record& record) {
  if (record.op == Op::Constant) return _key.constant(record.number());
  _key.op(record.op);
  if (record.op == Op::Variable) {
    _drafts.variables.push_back(record.a);
    _writtenColumn[record.a] = {_stamp, _nodeCount};
  } else {
    _drafts.parameters.push_back(record.number());
  }
}

/// Writes an operation whose operands are written.
void Elements::writeNode(std::uint32_t at, const Record& record) {
  const auto distance = [this](std::uint32_t operand) { return _nodeCount - _written[operand].number; };
  switch (operandCount(record.op)) {
    case 1:
      _key.op(record.op, distance(record.a));
      break;
    case 2:
      _key.op(record.op, distance(record.a), distance(record.b));
      break;
    case 3:
      _key.op(record.op, distance(record.a), distance(record.b), distance(record.c));
      break;
    default:
      writeLeaf(record);
  }
  _written[at] = {_stamp, _nodeCount++};
}

/// Writes a record behind its operands.
void Elements::writeRecord(std::uint32_t root) {
  _stack.push_back(root);
  while (!_stack.empty()) {
    const std::uint32_t at = _stack.back();
    const Record& record = _rows.records[at];
    if (_written[at].stamp == _stamp) {
      _stack.pop_back();
      continue;
    }
    const std::uint32_t of[] = {record.a, record.b, record.c};
    const std::size_t before = _stack.size();
    for (int i = operandCount(record.op); i-- > 0;) {
      if (_written[of[i]].stamp != _stamp) _stack.push_back(of[i]);
    }
    if (_stack.size() != before) continue;
    _stack.pop_back();
    writeNode(at, record);
  }
}

/// Writes the records of a summand that are not written yet.
void Elements::writeSummand(const Summand& summand) {
  if (summand.firstRecord == kNone) return writeRecord(summand.record);
  // In the order in which they were read, variables where they are used first.
  for (std::uint32_t at = summand.firstRecord; at <= summand.record; ++at) {
    const Record& record = _rows.records[at];
    if (record.op == Op::Variable || _written[at].stamp == _stamp) continue;
    record.forEachOperand([this](std::uint32_t variable) {
      if (_written[variable].stamp != _stamp) writeNode(variable, _rows.records[variable]);
    });
    writeNode(at, record);
  }
}

void Elements::writeColumn(std::uint32_t column) {
  if (_writtenColumn[column].stamp == _stamp) return;
  _writtenColumn[column] = {_stamp, _nodeCount++};
  _key.op(Op::Variable);
  _drafts.variables.push_back(column);
}

void Elements::writeMark(KeyMark mark, std::uint32_t node) { _key.mark(mark, _nodeCount - node); }

void Elements::writeLinearPart(const Row& row) {
  for (std::size_t t = row.firstTerm; t < row.termEnd; ++t) {
    const auto column = static_cast<std::uint32_t>(_rows.terms[t].column);
    const double coefficient = _rows.terms[t].coefficient;
    writeColumn(column);
    const KeyMark mark = coefficient == 1.0    ? KeyMark::LinearPlus
                         : coefficient == -1.0 ? KeyMark::LinearMinus
                                               : KeyMark::LinearScaled;
    writeMark(mark, _writtenColumn[column].number);
    if (mark == KeyMark::LinearScaled) _drafts.parameters.push_back(coefficient);
  }
  if (row.constant != 0.0) {
    _key.mark(KeyMark::LinearNumber);
    _drafts.parameters.push_back(row.constant);
  }
}

void Elements::growShapeTable() {
  _shapeOfHash.assign(std::max<std::size_t>(256, 4 * _shapeOfHash.size()), kNone);
  for (std::uint32_t s = 0; s < _drafts.shapes.size(); ++s) {
    auto& head = _shapeOfHash[_drafts.shapes[s].hash & (_shapeOfHash.size() - 1)];
    _drafts.shapes[s].nextOfHash = head;
    head = s;
  }
}

/// The shape of the key, which lies at the end of the drafts as the element's data does; a new one if there is none.
std::uint32_t Elements::shapeOfKey(const Drafts::Element& from, std::size_t firstByte) {
  auto& shapes = _drafts.shapes;
  auto& keys = _drafts.keys;
  if (shapes.size() >= _shapeOfHash.size()) growShapeTable();
  const std::uint8_t* key = keys.data() + firstByte;
  const std::size_t size = keys.size() - firstByte;
  const std::uint64_t hash = hashOfBytes(key, size);
  auto& head = _shapeOfHash[hash & (_shapeOfHash.size() - 1)];
  for (std::uint32_t s = head; s != kNone; s = shapes[s].nextOfHash) {
    if (shapes[s].hash == hash && shapes[s].byteCount == size &&
        std::equal(key, key + size, keys.data() + shapes[s].firstByte)) {
      keys.resize(firstByte);
      return s;
    }
  }
  const auto number = [](std::size_t count) { return static_cast<std::uint32_t>(count); };
  shapes.push_back({firstByte, number(size), number(_drafts.variables.size() - from.variables),
                    number(_drafts.parameters.size() - from.parameters), number(_drafts.rows.size() - from.rows),
                    number(_drafts.values.size() - from.values), _nodeCount, number(_objectiveValues.size()), 0, 0,
                    head, hash});
  head = number(shapes.size() - 1);
  return head;
}

void Elements::writeOutput(const Output& output) {
  _key.mark(KeyMark::Output, output.uses);
  // In the order of the expression.
  _summands.clear();
  for (std::uint32_t link = output.firstSummand; link != kNone; link = _links[link].next) {
    _summands.push_back(_links[link].summand);
  }
  std::sort(_summands.begin(), _summands.end());
  for (const std::uint32_t number : _summands) {
    const Summand& summand = _rows.summands[number];
    writeSummand(summand);
    const KeyMark mark = summand.isScaled            ? KeyMark::Scaled
                         : summand.coefficient > 0.0 ? KeyMark::Plus
                                                     : KeyMark::Minus;
    writeMark(mark, _written[summand.record].number);
    if (summand.isScaled) _drafts.parameters.push_back(summand.coefficient);
  }
  if (output.uses & kWhole) writeLinearPart(_rows.rows[output.row]);
  _drafts.rows.push_back(output.row);
  auto& values = output.uses & kOfObjective ? _objectiveValues : _values;
  if (output.uses & kSum) values.push_back(_summands[0]);
  if (output.uses & kEach) std::copy(_summands.begin(), _summands.end(), values.append(_summands.size()));
}

void Elements::addToShape(const Element& element) {
  const std::size_t firstByte = _drafts.keys.size();
  for (auto* list : {&_values, &_objectiveValues}) list->clear();
  _nodeCount = 0;
  ++_stamp;
  const auto number = [](std::size_t count) { return static_cast<std::uint32_t>(count); };
  Drafts::Element draft{0, number(_drafts.variables.size()), number(_drafts.rows.size()), number(_drafts.values.size()),
                        _drafts.parameters.size()};
  for (std::uint32_t o = element.firstOutput; o != kNone; o = _outputs[o].next) writeOutput(_outputs[o]);
  for (const auto* values : {&_objectiveValues, &_values}) {
    std::copy(values->begin(), values->end(), _drafts.values.append(values->size()));
  }
  draft.shape = shapeOfKey(draft, firstByte);
  ++_drafts.shapes[draft.shape].count;
  _drafts.elements.push_back(draft);
}

void Elements::sortByShape() {
  std::uint32_t next = 0;
  for (Drafts::Shape& shape : _drafts.shapes) {
    shape.firstInOrder = next;
    next += shape.count;
    shape.count = 0;
  }
  _drafts.order.resize(next);
  for (std::uint32_t e = 0; e < next; ++e) {
    Drafts::Shape& shape = _drafts.shapes[_drafts.elements[e].shape];
    _drafts.order[shape.firstInOrder + shape.count++] = e;
  }
}

Drafts Elements::collect(const Filter& wanted) {
  if (wanted) _wanted = &wanted;
  _drafts.isWhole.resize(_rows.rows.size());
  _links.reserve(_rows.summands.size());
  _outputs.reserve(_rows.summands.size());
  _elements.reserve(_rows.summands.size());
  for (std::uint32_t row = 0; row < _rows.rows.size(); ++row) splitRow(row);
  _drafts.elements.reserve(_elements.size());
  _drafts.rows.reserve(_outputs.size());
  for (const Element& element : _elements) addToShape(element);
  sortByShape();
  return std::move(_drafts);
}

}  // namespace taveval
