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

}  // namespace

// Variables of summands

void Elements::collectVariables(std::uint32_t root, Local& local) {
  ++_stamp;
  local.firstVariable = static_cast<std::uint32_t>(_sets.size());
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

void Elements::splitRow(std::uint32_t number) {
  const Row& row = _rows.rows[number];
  if (row.withoutDerivative || row.firstSummand == row.summandEnd) return;
  _locals.clear();
  for (std::size_t s = row.firstSummand; s < row.summandEnd; ++s) {
    Local local{};
    local.firstSummand = local.lastSummand = static_cast<std::uint32_t>(_links.size());
    local.summandCount = 1;
    _links.push_back({static_cast<std::uint32_t>(s), kNone});
    collectVariables(_rows.summands[s].record, local);
    _locals.push_back(local);
  }
  if (_locals.size() == 1) return addOutput(_locals[0], number, true);
  // Large sets first, so that smaller ones find them.
  std::stable_sort(_locals.begin(), _locals.end(),
                   [](const Local& x, const Local& y) { return x.variableCount > y.variableCount; });
  _merged.clear();
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
    addOutput(local, number, _merged.size() == 1);
  }
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

void Elements::addOutput(const Local& local, std::uint32_t number, bool isOnly) {
  const Row& row = _rows.rows[number];
  Element& element = _elements[elementOf(local, number)];
  const auto output = static_cast<std::uint32_t>(_outputs.size());
  const bool isWhole = isOnly && number != _objectiveRow && row.termEnd - row.firstTerm <= kMostTerms;
  _outputs.push_back({number, local.firstSummand, kNone, isWhole});
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
  return candidates.back();
}

void Elements::addToShape(const Element& element, std::vector<ShapeDraft>& shapes) {
  _key.clear();
  _variables.clear();
  _parameters.clear();
  _rowsOfOutputs.clear();
  _written = 0;
  ++_stamp;
  for (std::uint32_t o = element.firstOutput; o != kNone; o = _outputs[o].next) {
    const Output& output = _outputs[o];
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
    if (output.isWhole) writeLinearPart(_rows.rows[output.row]);
    _key.push_back(static_cast<std::uint32_t>(output.row == _objectiveRow ? KeyMark::Objective
                                              : output.isWhole            ? KeyMark::WholeOutput
                                                                          : KeyMark::Output));
    _rowsOfOutputs.push_back(output.row);
  }
  ShapeDraft& shape = shapes[draftOf(shapes)];
  ++shape.count;
  shape.variables.insert(shape.variables.end(), _variables.begin(), _variables.end());
  shape.parameters.insert(shape.parameters.end(), _parameters.begin(), _parameters.end());
  shape.rows.insert(shape.rows.end(), _rowsOfOutputs.begin(), _rowsOfOutputs.end());
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
