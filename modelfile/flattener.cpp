#include "modelfile/flattener.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "expression/core/sum_builder.h"
#include "modelfile/file_error.h"

namespace {

template <class Node>
const Node* nodeAs(const TavNumExprI* node) {
  return node->getTypeInfo() == Node::GetTypeInfo() ? static_cast<const Node*>(node) : nullptr;
}

bool isLinear(TavKind kind) { return kind == TavKind::NumLinear || kind == TavKind::IntLinear; }

/// Calls use(first term, first part, constant) for a linear node of either kind.
template <class Use>
void withLinear(const TavNumExprI* node, Use use) {
  if (const auto* sum = nodeAs<TavNumLinTermI>(node)) {
    use(sum->getFirstTerm(), sum->getFirstPart(), sum->getConstant());
  } else {
    const auto* whole = static_cast<const TavIntLinTermI*>(node);
    use(whole->getFirstTerm(), whole->getFirstPart(), static_cast<double>(whole->getConstant()));
  }
}

/// operand * factor, for the products by a constant; an empty operand for every other node.
TavFlatSum::Part multipleOf(const TavNumExprI* node) {
  if (const auto* product = nodeAs<TavNumTimesCstI>(node)) return {product->getOperand(), product->getConstant()};
  if (const auto* whole = nodeAs<TavIntTimesCstI>(node)) {
    return {whole->getOperand(), static_cast<double>(whole->getConstant())};
  }
  return {nullptr, 1.0};
}

/// The two factors of a product, a square or a second power; empty for every other node.
std::pair<const TavNumExprI*, const TavNumExprI*> factorsOf(const TavNumExprI* node) {
  if (const auto* product = nodeAs<TavNumTimesI>(node)) return {product->getLeft(), product->getRight()};
  if (const auto* product = nodeAs<TavIntTimesI>(node)) return {product->getLeft(), product->getRight()};
  if (const auto* square = nodeAs<TavNumSquareI>(node)) return {square->getOperand(), square->getOperand()};
  if (const auto* square = nodeAs<TavIntSquareI>(node)) return {square->getOperand(), square->getOperand()};
  const auto* power = nodeAs<TavNumPowerCstI>(node);
  if (power && power->getConstant() == 2.0) return {power->getOperand(), power->getOperand()};
  return {nullptr, nullptr};
}

}  // namespace

TavFlattener::TavFlattener(const std::vector<TavNumVar>& variables, TavProductsIn products, TavFileModel& out)
    : _products(products), _out(out), _place(variables.size()) {
  for (std::size_t j = 0; j < variables.size(); ++j) {
    const auto id = static_cast<std::size_t>(variables[j].getId());
    if (id >= _numberOf.size()) _numberOf.resize(std::max(id + 1, 2 * _numberOf.size()), kNone);
    _numberOf[id] = static_cast<std::int32_t>(j);
  }
}

std::int32_t TavFlattener::numberOf(const TavNumExprI* variable, const std::string& item) const {
  const auto id = static_cast<std::size_t>(variable->getId());
  if (id < _numberOf.size() && _numberOf[id] != kNone) return _numberOf[id];
  const char* name = variable->getName();
  throw TavFileError(_out.name, {}, item + ": variable " + (name ? name : "without a name") + " is not in the model");
}

void TavFlattener::fail(const std::string& what) const { throw TavFileError(_out.name, {}, _item + ": " + what); }

void TavFlattener::finiteOnly(double value) const {
  if (!std::isfinite(value)) fail("a coefficient that is not finite");
}

TavFlattener::Use& TavFlattener::useOf(const TavNumExprI* node) { return _uses[node]; }

bool TavFlattener::isCommon(const TavNumExprI* node) {
  const auto use = _uses.find(node);
  return use != _uses.end() && use->second.common != kNone;
}

void TavFlattener::note(const TavNumExprI* root, const std::string& item) {
  if (_products == TavProductsIn::Products) return;
  _item = item;
  // A node is pushed again, as done, below its operands.
  struct Frame {
    const TavNumExprI* node;
    bool done;
  };
  std::vector<Frame> stack{{root, false}};
  TavTokenList list;
  while (!stack.empty()) {
    const Frame frame = stack.back();
    stack.pop_back();
    if (frame.done) {
      _order.push_back(frame.node);
      continue;
    }
    const TavKind kind = frame.node->kind();
    if (kind == TavKind::Variable) continue;
    if (frame.node != root || !isLinear(kind)) {
      Use& use = useOf(frame.node);
      if (frame.node != root) ++use.uses;
      if (std::exchange(use.seen, true)) continue;
      stack.push_back({frame.node, true});
    }
    if (isLinear(kind)) {
      withLinear(frame.node, [&stack](const TavNumLinExprTermI*, const TavPart* part, double) {
        for (; part; part = part->next) stack.push_back({part->expr, false});
      });
      continue;
    }
    list.clear();
    expand(frame.node, list);
    for (const TavTokenOrNode& entry : list.items()) {
      if (entry.node) stack.push_back({entry.node, false});
    }
  }
}

void TavFlattener::defineCommons() {
  for (const TavNumExprI* node : _order) {
    if (nodeAs<TavStandardDeviationI>(node)) defineMean(node);
    Use& use = useOf(node);
    const bool linear = isLinear(node->kind());
    if (use.uses < 2 || (linear && TavIsConstant(node))) continue;
    TavFileCommon common;
    if (linear) {
      TavFlatSum sum = flatten(node, "a shared expression");
      common.linear = std::move(sum.terms);
      common.expr = write(sum.constant, sum.rest, _item);
    } else {
      TavTokenList list;
      expand(node, list);
      common.expr = emit(list);
    }
    use.common = static_cast<std::int32_t>(_out.commons.size());
    _out.commons.push_back(std::move(common));
  }
}

void TavFlattener::defineMean(const TavNumExprI* node) {
  const TavIntExprArray exprs = nodeAs<TavStandardDeviationI>(node)->getExprs();
  TavTokenList list;
  list.op(TavFileOp::Divide);
  list.op(TavFileOp::Sum, static_cast<std::size_t>(exprs.getSize()));
  for (TavInt i = 0; i < exprs.getSize(); ++i) list.node(exprs[i].getImpl());
  list.number(static_cast<double>(exprs.getSize()));
  useOf(node).mean = static_cast<std::int32_t>(_out.commons.size());
  _out.commons.push_back({{}, {}, emit(list)});
}

TavFlatSum TavFlattener::flatten(const TavNumExprI* root, const std::string& item) {
  _item = item;
  ++_sum;
  _productPlace.clear();
  TavFlatSum sum;
  gather(sum, root, false);
  finiteOnly(sum.constant);
  return sum;
}

bool TavFlattener::opens(const TavNumExprI* node) {
  const TavKind kind = node->kind();
  if (kind == TavKind::Variable) return true;
  if (isCommon(node)) return false;
  if (isLinear(kind)) return true;
  const TavFlatSum::Part multiple = multipleOf(node);
  if (!multiple.node) return false;
  const TavKind below = multiple.node->kind();
  return _products == TavProductsIn::Products || below == TavKind::Variable ||
         (isLinear(below) && !isCommon(multiple.node));
}

bool TavFlattener::gather(TavFlatSum& sum, const TavNumExprI* root, bool linearOnly) {
  std::vector<TavFlatSum::Part> stack{{root, 1.0}};  // the part that comes next is on top
  while (!stack.empty()) {
    const TavFlatSum::Part part = stack.back();
    stack.pop_back();
    if (!opens(part.node)) {
      if (linearOnly) return false;
      if (!multiplyOut(sum, part)) sum.rest.push_back(part);
      continue;
    }
    const TavKind kind = part.node->kind();
    if (kind == TavKind::Variable) {
      addTerm(sum, numberOf(part.node, _item), part.factor, linearOnly);
    } else if (isLinear(kind)) {
      withLinear(part.node, [&](const TavNumLinExprTermI* term, const TavPart* below, double constant) {
        sum.constant += part.factor * constant;
        for (; term; term = term->next) addTerm(sum, numberOf(term->var, _item), part.factor * term->coef, linearOnly);
        const auto top = std::ssize(stack);
        for (; below; below = below->next) stack.push_back({below->expr, part.factor});
        std::reverse(stack.begin() + top, stack.end());
      });
    } else {
      const TavFlatSum::Part multiple = multipleOf(part.node);
      stack.push_back({multiple.node, part.factor * multiple.factor});
    }
  }
  return true;
}

void TavFlattener::addTerm(TavFlatSum& sum, std::int32_t variable, double value, bool repeats) {
  finiteOnly(value);
  auto& [last, place] = _place[static_cast<std::size_t>(variable)];
  if (!repeats && last == _sum) {
    sum.terms[place].value += value;
    return;
  }
  if (!repeats) {
    last = _sum;
    place = static_cast<std::uint32_t>(sum.terms.size());
  }
  sum.terms.push_back({variable, value});
}

bool TavFlattener::multiplyOut(TavFlatSum& sum, TavFlatSum::Part part) {
  if (_products == TavProductsIn::Expressions) return false;
  const auto [left, right] = factorsOf(part.node);
  TavFlatSum a, b;
  if (!left || !gather(a, left, true) || !gather(b, right, true)) return false;
  sum.constant += part.factor * a.constant * b.constant;
  const auto addMultiple = [&](const TavFlatSum& linear, double factor) {
    if (factor == 0.0) return;
    for (const TavFileTerm& term : linear.terms) addTerm(sum, term.variable, factor * term.value, false);
  };
  addMultiple(a, part.factor * b.constant);
  addMultiple(b, part.factor * a.constant);
  for (const TavFileTerm& x : a.terms) {
    for (const TavFileTerm& y : b.terms) addProduct(sum, x.variable, y.variable, part.factor * (x.value * y.value));
  }
  return true;
}

void TavFlattener::addProduct(TavFlatSum& sum, std::int32_t a, std::int32_t b, double value) {
  finiteOnly(value);
  const auto [first, second] = std::minmax(a, b);
  const std::uint64_t pair = static_cast<std::uint64_t>(first) << 32 | static_cast<std::uint32_t>(second);
  const auto [place, isNew] = _productPlace.emplace(pair, sum.products.size());
  if (isNew) {
    sum.products.push_back({first, second, value});
  } else {
    sum.products[place->second].value += value;
  }
}

void TavFlattener::expand(const TavNumExprI* node, TavTokenList& list) {
  const TavFileToken mean{TavFileOp::Common, useOf(node).mean, 0.0};
  if (const char* why = TavTokensOf(node, mean, list)) fail(std::string(node->getRttiTypeName()) + ": " + why);
}

void TavFlattener::expandSum(const TavNumExprI* node, TavTokenList& list) {
  withLinear(node, [&](const TavNumLinExprTermI* term, const TavPart* part, double constant) {
    const bool isEmpty = !term && !part;
    std::size_t count = constant != 0.0 ? 1 : 0;
    for (const auto* t = term; t; t = t->next) ++count;
    for (const auto* p = part; p; p = p->next) ++count;
    if (count > 1) list.op(TavFileOp::Sum, count);
    for (; term; term = term->next) {
      finiteOnly(term->coef);
      if (term->coef != 1.0) {
        list.op(TavFileOp::Multiply);
        list.number(term->coef);
      }
      list.node(term->var);
    }
    for (; part; part = part->next) list.node(part->expr);
    if (constant != 0.0 || isEmpty) list.number(constant);
  });
}

TavFileExpr TavFlattener::write(double constant, const std::vector<TavFlatSum::Part>& rest, const std::string& item) {
  _item = item;
  TavTokenList list;
  const std::size_t count = rest.size() + (constant != 0.0 ? 1 : 0);
  if (count > 1) list.op(TavFileOp::Sum, count);
  for (const TavFlatSum::Part& part : rest) {
    if (part.factor != 1.0) {
      finiteOnly(part.factor);
      list.op(TavFileOp::Multiply);
      list.number(part.factor);
    }
    list.node(part.node);
  }
  if (constant != 0.0) list.number(constant);
  return emit(list);
}

TavFileExpr TavFlattener::emit(const TavTokenList& list) {
  const std::size_t begin = _out.tokens.size();
  std::vector<TavTokenOrNode> stack(list.items().rbegin(), list.items().rend());
  TavTokenList below;
  while (!stack.empty()) {
    const TavTokenOrNode entry = stack.back();
    stack.pop_back();
    if (!entry.node) {
      if (entry.token.op == TavFileOp::Number) finiteOnly(entry.token.value);
      _out.tokens.push_back(entry.token);
      continue;
    }
    const TavKind kind = entry.node->kind();
    if (kind == TavKind::Variable) {
      _out.tokens.push_back({TavFileOp::Variable, numberOf(entry.node, _item), 0.0});
      continue;
    }
    if (isCommon(entry.node)) {
      _out.tokens.push_back({TavFileOp::Common, useOf(entry.node).common, 0.0});
      continue;
    }
    below.clear();
    if (isLinear(kind)) {
      expandSum(entry.node, below);
    } else {
      expand(entry.node, below);
    }
    stack.insert(stack.end(), below.items().rbegin(), below.items().rend());
  }
  return {begin, _out.tokens.size()};
}
