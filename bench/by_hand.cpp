#include "bench/by_hand.h"

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

// ---- nodes

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
Pool& Product::pool() const { return env->products; }

double Sum::eval(const Values& values) const {
  double sum = 0.0;
  for (const Cell* cell = first; cell; cell = cell->next) sum += cell->coef * values.getValue(cell->var);
  return constant + sum;
}

void Sum::drop() { clear(this); }

double Product::eval(const Values& values) const {
  const double a = left->eval(values);
  return a * right->eval(values);
}

void Product::drop() {
  release(left);
  release(right);
}

// ---- making

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
  auto* product = new (a->env->products.take()) Product(a->env, a, b);
  ++a->count;
  ++b->count;
  return product;
}

// ---- giving back

void clear(Sum* sum) {
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

// ---- walks

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

void print(std::ostream& os, const Sum* sum) {
  for (const Cell* cell = sum->first; cell; cell = cell->next) {
    if (cell != sum->first) os << " + ";
    if (cell->coef != 1.0) os << cell->coef << " * ";
    os << cell->var->name << " ";
  }
  if (sum->constant != 0.0) os << " + " << sum->constant << " ";
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
