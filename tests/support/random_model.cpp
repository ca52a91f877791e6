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

std::string linearText(const Ref& n, bool library, const VariableOf& variable) {
  const bool zero = n->constant().value == 0.0;
  std::string out;
  bool wrote = false, first = true;
  const auto add = [&](const std::string& summand, bool shows) {
    out += (library ? first ? "" : " + " : wrote ? " + " : "") + summand;
    first = false;
    wrote = shows;
  };
  for (const auto& [var, coef] : n->terms) {
    const char* name = variable(*var)->getName();
    const std::string label = name ? std::string(name) + " " : text(var, library, variable);
    const std::string term = (coef == 1.0 ? "" : printed(coef) + " * ") + label;
    add(coef != 0.0 ? term : library ? "0 " : "", coef != 0.0);
  }
  for (const Ref& part : n->ops) add(text(part, library, variable), true);
  if (library && zero) return "( " + out + ") ";
  if (zero && wrote) return out;
  add(n->constant().text() + " ", true);
  return library ? "( " + out + ") " : out;
}

bool isWhole(double x) { return std::isfinite(x) && std::trunc(x) == x; }

Constant operator+(Constant a, Constant b) {
  return a.isInt && b.isInt ? Constant(TavWrapAdd(a.whole, b.whole)) : Constant(a.value + b.value);
}
Constant operator*(Constant a, Constant b) {
  return a.isInt && b.isInt ? Constant(TavWrapMul(a.whole, b.whole)) : Constant(a.value * b.value);
}

void append(Node& linear, const Ref& summand) {
  if (summand->variable) {
    linear.terms.emplace_back(summand, 1.0);
  } else {
    linear.ops.push_back(summand);
  }
}

/// Multiplies every part, coefficient and constant by k, or divides them.
Ref scaled(Node n, Constant k, bool divided) {
  for (Ref& part : n.ops) part = divided ? over(part, k.value) : times(part, k);
  for (auto& term : n.terms) term.second = divided ? term.second / k.value : term.second * k.value;
  n.constant() = divided ? Constant(n.constant().value / k.value) : n.constant() * k;
  return std::make_shared<Node>(n);
}

}  // namespace

std::string Constant::text() const { return isInt ? printed(whole) : printed(value); }

double eval(const Ref& n) {
  if (n->variable) return n->value;
  if (n->isLinear()) {
    double sum = 0.0;
    for (const Ref& part : n->ops) sum += eval(part);
    for (const auto& [var, coef] : n->terms) sum += coef * var->value;
    return n->constant().value + sum;
  }
  if (!n->sample->value.of) throw Undefined();
  std::vector<double> values;
  for (const Ref& op : n->ops) values.push_back(eval(op));
  for (const auto& [letter, numbers] : n->numbers) {
    for (const Constant& number : numbers) values.push_back(number.value);
  }
  return n->sample->value.of(values);
}

bool isInteger(const Ref& n, const VariableOf& variable) {
  if (n->variable) return variable(*n)->isInteger();
  if (n->isInt()) return true;
  if (!n->sample->follows && !n->isLinear()) return false;
  bool all = true;
  for (const Ref& op : n->ops) all = all && isInteger(op, variable);
  for (const auto& [var, coef] : n->terms) all = all && isInteger(var, variable) && isWhole(coef);
  for (const auto& [letter, numbers] : n->numbers) {
    for (const Constant& number : numbers) all = all && isWhole(number.value);
  }
  return all;
}

std::string text(const Ref& n, bool library, const VariableOf& variable) {
  if (n->isLinear()) return linearText(n, library, variable);
  std::string out;
  if (n->variable) {
    std::ostringstream os;
    variable(*n)->display(os);
    return os.str();
  }
  auto op = n->ops.begin();  // operands stand in the order in which the library text names them
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

std::vector<Ref> children(const Ref& n) {
  std::vector<Ref> out = n->ops;
  for (const auto& [var, coef] : n->terms) {
    if (coef != 0.0) out.push_back(var);
  }
  return out;
}

long weight(const Ref& n, long limit) {
  long w = 1 + static_cast<long>(n->terms.size());
  for (const Ref& op : n->ops) {
    if (w > limit) break;
    w += weight(op, limit);
  }
  return w;
}

Ref make(const char* name, std::vector<Ref> ops, Numbers numbers) {
  const auto& all = nodeSamples();
  const auto sample =
      std::find_if(all.begin(), all.end(), [name](const auto& each) { return std::strcmp(each.name, name) == 0; });
  return std::make_shared<Node>(Node{&*sample, std::move(ops), std::move(numbers)});
}

Node linear(const Ref& n, bool isInt) {
  Node made = *make(isInt ? "TavIntLinTermI" : "TavNumLinTermI", {}, {{'c', {isInt ? Constant(TavInt{0}) : 0.0}}});
  if (!n->isLinear()) return append(made, n), made;
  made.ops = n->ops, made.terms = n->terms;
  made.constant() = isInt ? n->constant() : n->constant().value;
  return made;
}

Ref sum(const Ref& a, const Ref& b, bool isInt) {
  if (!a->isLinear() && b->isLinear()) {
    Node n = linear(b, isInt);
    if (a->variable) {
      n.terms.insert(n.terms.begin(), {a, 1.0});
    } else {
      n.ops.push_back(a);
    }
    return std::make_shared<Node>(n);
  }
  Node n = linear(a, isInt);
  if (b->isLinear()) {
    n.terms.insert(n.terms.end(), b->terms.begin(), b->terms.end());
    n.ops.insert(n.ops.end(), b->ops.begin(), b->ops.end());
    n.constant() = n.constant() + (isInt ? b->constant() : b->constant().value);
  } else {
    append(n, b);
  }
  return std::make_shared<Node>(n);
}

Ref difference(const Ref& a, const Ref& b, bool isInt) {
  return sum(a, times(b, isInt ? Constant(TavInt{-1}) : -1.0), isInt);
}

Ref withTerm(const Ref& e, const Ref& var, double coef, bool isInt, bool termFirst) {
  Node n = linear(e, isInt);
  n.terms.insert(termFirst ? n.terms.begin() : n.terms.end(), {var, coef});
  return std::make_shared<Node>(n);
}

Ref plus(const Ref& e, Constant k) {
  Node n = linear(e, k.isInt);
  n.constant() = e->isLinear() ? n.constant() + k : k;
  return std::make_shared<Node>(n);
}

Ref times(const Ref& e, Constant k) {
  if (e->variable) {
    Node n = linear(e, k.isInt);
    n.terms.front().second = k.value;
    return std::make_shared<Node>(n);
  }
  if (e->isLinear()) return scaled(linear(e, k.isInt), k, false);
  if (e->is("TavNumTimesCstI") || e->is("TavIntTimesCstI")) return times(e->ops[0], e->constant() * k);
  return make(k.isInt ? "TavIntTimesCstI" : "TavNumTimesCstI", {e}, {{k.isInt ? 'k' : 'c', {k}}});
}

Ref over(const Ref& e, double d) {
  if (e->variable) return times(e, 1.0 / d);
  if (e->isLinear()) return scaled(linear(e, false), d, true);
  return make("TavNumDivCstI", {e}, {{'c', {d}}});
}

Ref product(const Ref& a, const Ref& b) {
  const auto isConstant = [](const Ref& n) { return n->isLinear() && n->terms.empty() && n->ops.empty(); };
  if (isConstant(a)) return times(b, a->constant().value);
  if (isConstant(b)) return times(a, b->constant().value);
  return make("TavNumTimesI", {a, b}, {});
}

long normalize(Node& n) {
  long merged = 0;
  std::vector<std::pair<Ref, double>> kept;
  for (std::size_t i = 0; i < n.terms.size(); ++i) {
    std::size_t last = n.terms.size() - 1;
    while (n.terms[last].first != n.terms[i].first) --last;
    if (last != i) {
      n.terms[last].second += n.terms[i].second;
      ++merged;
    } else if (n.terms[i].second != 0.0) {
      kept.push_back(n.terms[i]);
    }
  }
  n.terms = kept;
  return merged;
}

double setCoef(Node& n, const Ref& var, double coef) {
  normalize(n);
  for (auto term = n.terms.begin(); term != n.terms.end(); ++term) {
    if (term->first != var) continue;
    const double old = std::exchange(term->second, coef);
    if (coef == 0.0) n.terms.erase(term);
    return old;
  }
  if (coef != 0.0) n.terms.emplace_back(var, coef);
  return 0.0;
}

}  // namespace model
