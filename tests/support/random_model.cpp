#include "tests/support/random_model.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace model {

namespace {

template <class T>
std::string printed(const T& value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

std::string arrayText(const std::vector<std::string>& elements) {
  std::string out = "[";
  for (std::size_t i = 0; i < elements.size(); ++i) {
    out += (i == 0 ? "" : i % 10 == 0 ? ",\n" : ", ") + elements[i];
  }
  return out + "]";
}

std::string linearText(const Node* n, bool library, const VariableOf& variable) {
  const bool zero = n->constant().value == 0.0;
  std::string out;
  bool wrote = false, first = true;
  const auto add = [&](const std::string& summand, bool shows) {
    out += (library ? first ? "" : " + " : wrote ? " + " : "") + summand;
    first = false;
    wrote = shows;
  };
  for (const auto& [var, coef] : n->terms) {
    const char* name = variable(var)->getName();
    const std::string label = name ? std::string(name) + " " : text(var, library, variable);
    const std::string term = (coef == 1.0 ? "" : printed(coef) + " * ") + label;
    add(coef != 0.0 ? term : library ? "0 " : "", coef != 0.0);
  }
  for (const Node* part : n->ops) add(text(part, library, variable), true);
  if (library && zero) return "( " + out + ") ";
  if (zero && wrote) return out;
  add(n->constant().text() + " ", true);
  return library ? "( " + out + ") " : out;
}

bool isWhole(double x) { return std::isfinite(x) && std::trunc(x) == x; }

}  // namespace

std::string Constant::text() const { return isInt ? printed(whole) : printed(value); }
Constant operator+(Constant a, Constant b) {
  return a.isInt && b.isInt ? Constant(TavWrapAdd(a.whole, b.whole)) : Constant(a.value + b.value);
}
Constant operator*(Constant a, Constant b) {
  return a.isInt && b.isInt ? Constant(TavWrapMul(a.whole, b.whole)) : Constant(a.value * b.value);
}

const NodeSample* sampleOf(const char* name) {
  const auto& all = nodeSamples();
  return &*std::find_if(all.begin(), all.end(),
                        [name](const auto& sample) { return std::strcmp(sample.facts.name, name) == 0; });
}

double eval(const Node* n) {
  if (n->isVar()) return n->value;
  if (n->linear) {
    double sum = 0.0;
    for (const Node* part : n->ops) sum += eval(part);
    for (const auto& [var, coef] : n->terms) sum += coef * var->value;
    return n->constant().value + sum;
  }
  if (!n->sample->value.of) throw Undefined();
  std::vector<double> values;
  for (const Node* op : n->ops) values.push_back(eval(op));
  for (const auto& [letter, numbers] : n->numbers) {
    for (const Constant& number : numbers) values.push_back(number.value);
  }
  return n->sample->value.of(values);
}

bool isInteger(const Node* n, const VariableOf& variable) {
  if (n->isVar()) return variable(n)->isInteger();
  if (n->isInt()) return true;
  if (!n->sample->follows && !n->linear) return false;
  bool all = true;
  for (const Node* op : n->ops) all = all && isInteger(op, variable);
  for (const auto& [var, coef] : n->terms) all = all && isInteger(var, variable) && isWhole(coef);
  for (const auto& [letter, numbers] : n->numbers) {
    for (const Constant& number : numbers) all = all && isWhole(number.value);
  }
  return all;
}

std::string text(const Node* n, bool library, const VariableOf& variable) {
  if (n->linear) return linearText(n, library, variable);
  std::string out;
  if (n->isVar()) {
    std::ostringstream os;
    variable(n)->display(os);
    return os.str();
  }
  auto op = n->ops.begin();  // operands are read in the order in which the library's text names them
  std::map<char, std::string> operands;
  const auto textOf = [&](char letter) {
    std::vector<std::string> elements;
    const bool all = letter == 'X' || letter == 'I';
    if (const auto found = n->numbers.find(letter); found != n->numbers.end()) {
      for (const Constant& number : found->second) elements.push_back(number.text());
    } else {
      for (bool more = true; more && op != n->ops.end(); more = all) elements.push_back(text(*op++, library, variable));
    }
    return letter < 'a' ? arrayText(elements) : elements.at(0);
  };
  for (const char* c = n->sample->library; *c; ++c) {
    if (*c == '%' && std::isalpha(c[1])) operands[c[1]] = textOf(c[1]);
  }
  for (const char* c = library ? n->sample->library : n->sample->plain; *c; ++c) {
    if (*c == '%' && std::isalpha(c[1])) {
      out += operands[*++c];
    } else {
      out += *c;
    }
  }
  return out;
}

std::vector<const Node*> children(const Node* n) {
  std::vector<const Node*> out(n->ops.begin(), n->ops.end());
  for (const auto& [var, coef] : n->terms) {
    if (coef != 0.0) out.push_back(var);
  }
  return out;
}

TavInt bytesOf(const Node* n) {
  const auto array = [](std::size_t size) {
    TavInt words = size == 0 ? 0 : 4;
    while (words < static_cast<TavInt>(size)) words *= 2;
    return static_cast<TavInt>((sizeof(TavArrayI) + 7) / 8 * 8) + 8 * words;
  };
  if (n->isVar()) return 0;
  TavInt bytes = n->sample->facts.size;
  if (n->linear) return bytes + 16 * static_cast<TavInt>(n->ops.size());
  std::size_t single = 0;
  for (const char* c = n->sample->library; *c; ++c) {
    if (*c != '%') continue;
    single += c[1] == 'x' || c[1] == 'i';
    if (c[1] == 'X' || c[1] == 'I') bytes += array(n->ops.size() - single);
  }
  for (const auto& [letter, numbers] : n->numbers) bytes += letter < 'a' ? array(numbers.size()) : 0;
  return bytes;
}

long weight(const Node* n, long limit) {
  long w = 1 + static_cast<long>(n->terms.size());
  for (const Node* op : n->ops) {
    if (w > limit) break;
    w += weight(op, limit);
  }
  return w;
}

Node* World::make(const NodeSample* sample, std::vector<Node*> ops, std::map<char, std::vector<Constant>> numbers) {
  _nodes.push_back(std::make_unique<Node>(sample));
  Node* n = _nodes.back().get();
  n->ops = std::move(ops);
  n->numbers = std::move(numbers);
  for (Node* op : n->ops) ++op->refs;
  return n;
}

void World::release(Node* n) {
  if (n->isVar() || --n->refs > 0) return;
  n->dead = true;
  for (Node* op : n->ops) release(op);
}

Node* World::copy(const Node* n) {
  Node* fresh = make(n->sample, n->ops, n->numbers);
  fresh->terms = n->terms;
  return fresh;
}

Node* World::toNumeric(Node* n) {
  if (n->is("TavNumLinTermI")) return n->refs < 1 ? n : copy(n);
  Node* fresh = linear(n->linear ? n->constant().value : 0.0);
  if (n->linear) {
    for (Node* part : n->ops) append(fresh, part);
    fresh->terms = n->terms;
  } else {
    append(fresh, n);
  }
  return fresh;
}

void World::append(Node* n, Node* summand) {
  if (summand->isVar()) {
    n->terms.emplace_back(summand, 1.0);
  } else {
    n->ops.push_back(summand);
    ++summand->refs;
  }
}

void World::merge(Node* into, Node* from) {
  into->terms.insert(into->terms.end(), from->terms.begin(), from->terms.end());
  into->ops.insert(into->ops.end(), from->ops.begin(), from->ops.end());
  into->constant() = into->constant() + from->constant();
  from->terms.clear();
  from->ops.clear();
  release(from);
}

/// A linear operand that may be changed, of the side's kind.
Node* World::draft(Node* n, bool isInt, bool shared) {
  if (!isInt && n->isInt()) return toNumeric(n);
  return n->refs <= 0 && !shared ? n : copy(n);
}

void World::scale(Node* n, Constant k, bool divided) {
  for (Node*& part : n->ops) {
    Node* fresh = divided ? over(part, k.value) : times(part, k);
    ++fresh->refs;
    release(part);
    part = fresh;
  }
  for (auto& term : n->terms) term.second = divided ? term.second / k.value : term.second * k.value;
  n->constant() = divided ? Constant(n->constant().value / k.value) : n->constant() * k;
}

long World::normalize(Node* n) {
  long merged = 0;
  std::vector<std::pair<Node*, double>> kept;
  for (std::size_t i = 0; i < n->terms.size(); ++i) {
    std::size_t last = n->terms.size() - 1;
    while (n->terms[last].first != n->terms[i].first) --last;
    if (last != i) {
      n->terms[last].second += n->terms[i].second;
      ++merged;
    } else if (n->terms[i].second != 0.0) {
      kept.push_back(n->terms[i]);
    }
  }
  n->terms = kept;
  return merged;
}

double World::setCoef(Node* n, Node* var, double coef) {
  normalize(n);
  for (auto term = n->terms.begin(); term != n->terms.end(); ++term) {
    if (term->first != var) continue;
    const double old = std::exchange(term->second, coef);
    if (coef == 0.0) n->terms.erase(term);
    return old;
  }
  if (coef != 0.0) n->terms.emplace_back(var, coef);
  return 0.0;
}

void World::addInPlace(Node* into, Node* operand, bool negated) {
  if (operand->isVar()) {
    into->terms.emplace_back(operand, negated ? -1.0 : 1.0);
  } else if (operand->linear) {
    Node* from = draft(operand, false);
    if (negated) scale(from, -1.0, false);
    merge(into, from);
  } else {
    append(into, negated ? times(operand, -1.0) : operand);
  }
}

void World::clear(Node* n) {
  for (Node* part : std::exchange(n->ops, {})) release(part);
  n->terms.clear();
}

Node* World::sum(Node* a, Node* b, bool isInt) {
  if (a->linear && b->linear) {
    Node* left = draft(a, isInt);
    merge(left, draft(b, isInt, a == b));
    return left;
  }
  Node* n = a->linear ? draft(a, isInt) : b->linear ? draft(b, isInt) : linear(isInt ? Constant(TavInt{0}) : 0.0);
  if (b->linear && a->isVar()) {
    n->terms.insert(n->terms.begin(), {a, 1.0});
    return n;
  }
  if (!a->linear) append(n, a);
  if (!b->linear) append(n, b);
  return n;
}

Node* World::difference(Node* a, Node* b, bool isInt) {
  if (a == b && b->linear && b->refs <= 0 && b->isInt() == isInt) b = copy(b);
  ++a->refs;  // a stays while the negation lets go of parts, of which it may be one
  Node* negated = isInt ? times(b, TavInt{-1}) : times(b, -1.0);
  --a->refs;
  return sum(a, negated, isInt);
}

Node* World::sumTerm(Node* a, Node* var, double coef, bool isInt, bool termFirst) {
  Node* n = a->linear ? draft(a, isInt) : linear(isInt ? Constant(TavInt{0}) : 0.0);
  if (!a->linear) append(n, a);
  n->terms.insert(termFirst ? n->terms.begin() : n->terms.end(), {var, coef});
  return n;
}

Node* World::plus(Node* e, Constant k) {
  Node* n = e->linear ? draft(e, k.isInt) : linear(k);
  if (e->linear) {
    n->constant() = n->constant() + k;
  } else {
    append(n, e);
  }
  return n;
}

Node* World::times(Node* e, Constant k) {
  if (e->isVar()) {
    Node* n = linear(k.isInt ? Constant(TavInt{0}) : 0.0);
    n->terms = {{e, k.value}};
    return n;
  }
  if (e->linear) {
    Node* n = draft(e, k.isInt);
    scale(n, k, false);
    return n;
  }
  if (e->is("TavNumTimesCstI") || e->is("TavIntTimesCstI")) return times(e->ops[0], e->constant() * k);
  return make(sampleOf(k.isInt ? "TavIntTimesCstI" : "TavNumTimesCstI"), {e}, {{k.isInt ? 'k' : 'c', {k}}});
}

Node* World::over(Node* e, double d) {
  if (e->isVar()) return times(e, 1.0 / d);
  if (!e->linear) return make(sampleOf("TavNumDivCstI"), {e}, {{'c', {d}}});
  Node* n = draft(e, false);
  scale(n, d, true);
  return n;
}

Node* World::product(Node* a, Node* b) {
  const auto isConstant = [](const Node* n) { return n->linear && n->terms.empty() && n->ops.empty(); };
  if (isConstant(a)) return times(b, a->constant().value);
  if (isConstant(b)) return times(a, b->constant().value);
  return make(sampleOf("TavNumTimesI"), {a, b});
}

}  // namespace model
