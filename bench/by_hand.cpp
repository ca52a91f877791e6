#include "bench/by_hand.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <new>
#include <ostream>
#include <stdexcept>

namespace hand {

Pool::~Pool() {
  for (void* chunk : _chunks) std::free(chunk);
}

void Pool::grow() {
  constexpr std::size_t kLargest = std::size_t{1} << 20;
  void* chunk = std::malloc(_chunkSize);
  if (!chunk) throw std::bad_alloc();
  _chunks.push_back(chunk);
  _bump = static_cast<char*>(chunk);
  _end = _bump + _chunkSize / _blockSize * _blockSize;
  if (_chunkSize < kLargest) _chunkSize *= 2;
}

Node::Node(Env* owner, const char* label) : env(owner), name(label ? strdup(label) : nullptr) {
  if (env->freeIds.empty()) {
    id = static_cast<long>(env->nodes.size());
    env->nodes.push_back(this);
  } else {
    id = env->freeIds.back();
    env->freeIds.pop_back();
    env->nodes[static_cast<std::size_t>(id)] = this;
  }
}

Env::~Env() {
  for (Node* node : nodes) {
    if (node) std::free(const_cast<char*>(node->name));
  }
}

Pool& Var::pool() const { return env->vars; }
Pool& Sum::pool() const { return env->sums; }
Pool& Product::pool() const { return env->pairs; }
Pool& Square::pool() const { return env->squares; }
Pool& Scaled::pool() const { return env->pairs; }

double Sum::eval(const Values& values) const {
  double sum = 0.0;
  for (const Part* part = firstPart; part; part = part->next) sum += part->expr->eval(values);
  for (const Cell* cell = first; cell; cell = cell->next) sum += cell->coef * values.getValue(cell->var);
  return constant + sum;
}

void Sum::drop() { clear(this); }

double Square::eval(const Values& values) const {
  const double value = operand->eval(values);
  return value * value;
}

void Square::drop() { release(operand); }

double Scaled::eval(const Values& values) const { return operand->eval(values) * factor; }

void Scaled::drop() { release(operand); }

double Product::eval(const Values& values) const {
  const double a = left->eval(values);
  return a * right->eval(values);
}

void Product::drop() {
  release(left);
  release(right);
}

Domain* newDomain(Env* env, double lb, double ub) { return new (env->domains.take()) Domain{lb, ub}; }

Var* newVar(Env* env, Domain* domain, const char* name) { return new (env->vars.take()) Var(env, domain, name); }

Sum* newSum(Env* env, double constant) { return new (env->sums.take()) Sum(env, constant); }

Cell* times(Var* var, double coef) {
  if (!var) throw std::invalid_argument("no variable");
  return var->env->newCell(var, coef);
}

void add(Sum* sum, Cell* cell) {
  if (sum->env != cell->var->env) throw std::invalid_argument("two environments");
  (sum->last ? sum->last->next : sum->first) = cell;
  sum->last = cell;
  sum->normalized = false;
}

Product* times(Node* a, Node* b) {
  if (a->env != b->env) throw std::invalid_argument("two environments");
  auto* product = new (a->env->pairs.take()) Product(a->env, a, b);
  ++a->count;
  ++b->count;
  return product;
}

void add(Sum* sum, Node* part) {
  if (sum->env != part->env) throw std::invalid_argument("two environments");
  Part* link = new (sum->env->parts.take()) Part{part, nullptr};
  (sum->lastPart ? sum->lastPart->next : sum->firstPart) = link;
  sum->lastPart = link;
  ++part->count;
}

Scaled* scale(Node* node, double factor) {
  if (!node) throw std::invalid_argument("no operand");
  ++node->count;
  return new (node->env->pairs.take()) Scaled(node->env, node, factor);
}

Square* square(Node* node) {
  if (!node) throw std::invalid_argument("no operand");
  ++node->count;
  return new (node->env->squares.take()) Square(node->env, node);
}

Sum* copy(const Sum* sum) {
  Env* env = sum->env;
  Sum* fresh = newSum(env, sum->constant);
  Cell** link = &fresh->first;
  for (const Cell* cell = sum->first; cell; cell = cell->next) {
    *link = fresh->last = env->newCell(cell->var, cell->coef);
    link = &fresh->last->next;
  }
  return fresh;
}

void clear(Sum* sum) {
  while (Part* part = sum->firstPart) {
    sum->firstPart = part->next;
    release(part->expr);
    sum->env->parts.give(part);
  }
  sum->lastPart = nullptr;
  if (sum->first) sum->env->giveCells(sum->first, sum->last);
  sum->first = sum->last = nullptr;
  sum->constant = 0.0;
}

void release(Node* node) {
  if (--node->count > 0) return;
  node->drop();
  node->env->freeIds.push_back(node->id);
  node->env->nodes[static_cast<std::size_t>(node->id)] = nullptr;
  node->pool().give(node);
}

long normalize(Sum* sum) {
  if (sum->normalized) return 0;
  Env* env = sum->env;
  env->marks.resize(env->nodes.size());
  Cell** marks = env->marks.data();
  for (Cell* cell = sum->first; cell; cell = cell->next) marks[cell->var->id] = cell;
  long merged = 0;
  sum->last = nullptr;
  for (Cell** link = &sum->first; *link;) {
    Cell* cell = *link;
    Cell* representative = marks[cell->var->id];
    if (cell != representative) {
      representative->coef += cell->coef;
      ++merged;
    } else if (cell->coef != 0.0) {
      sum->last = cell;
      link = &cell->next;
      continue;
    }
    *link = cell->next;
    env->giveCells(cell, cell);
  }
  sum->normalized = true;
  return merged;
}

void setCoefs(Sum* sum, const std::vector<Var*>& vars, const std::vector<double>& coefs) {
  for (Var* var : vars) {
    if (var->env != sum->env) throw std::invalid_argument("two environments");
    var->mark = nullptr;
  }
  normalize(sum);
  for (Cell* cell = sum->first; cell; cell = cell->next) cell->var->mark = cell;
  for (std::size_t i = 0; i < vars.size(); ++i) {
    if (vars[i]->mark) {
      vars[i]->mark->coef = coefs[i];
    } else if (coefs[i] != 0.0) {
      add(sum, times(vars[i], coefs[i]));
    }
  }
  sum->normalized = true;
}

void remove(Sum* sum, const std::vector<Var*>& vars) {
  Env* env = sum->env;
  Cell gone{};
  for (Var* var : vars) {
    if (var->env != env) throw std::invalid_argument("two environments");
    var->mark = &gone;
  }
  sum->last = nullptr;
  for (Cell** link = &sum->first; *link;) {
    Cell* cell = *link;
    if (cell->var->mark != &gone) {
      sum->last = cell;
      link = &cell->next;
      continue;
    }
    *link = cell->next;
    env->giveCells(cell, cell);
  }
  for (Var* var : vars) var->mark = nullptr;
}

void print(std::ostream& os, const Sum* sum) {
  for (const Cell* cell = sum->first; cell; cell = cell->next) {
    if (cell != sum->first) os << " + ";
    if (cell->coef != 1.0) os << cell->coef << " * ";
    os << cell->var->name << " ";
  }
  if (sum->constant != 0.0) os << " + " << sum->constant << " ";
}

char* print(char* out, const Sum* sum) {
  constexpr std::size_t kLongestNumber = 32;
  const auto text = [&out](const char* piece) {
    const std::size_t length = std::strlen(piece);
    std::memcpy(out, piece, length);
    out += length;
  };
  const auto number = [&out](double value) {
    out = std::to_chars(out, out + kLongestNumber, value, std::chars_format::general, 6).ptr;
  };
  for (const Cell* cell = sum->first; cell; cell = cell->next) {
    if (cell != sum->first) text(" + ");
    if (cell->coef != 1.0) {
      number(cell->coef);
      text(" * ");
    }
    text(cell->var->name);
    text(" ");
  }
  if (sum->constant != 0.0) {
    text(" + ");
    number(sum->constant);
    text(" ");
  }
  return out;
}

Sum* clone(const Sum* sum, Env* target, CloneMap& map) {
  Sum* copy = newSum(target, sum->constant);
  for (const Cell* cell = sum->first; cell; cell = cell->next) {
    Node*& var = map[cell->var];
    if (!var) var = newVar(target, newDomain(target, cell->var->domain->lb, cell->var->domain->ub), cell->var->name);
    add(copy, times(static_cast<Var*>(var), cell->coef));
  }
  return copy;
}

}  // namespace hand
