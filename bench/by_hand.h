#pragma once
/// The work of the library as somebody would write it by hand for one purpose: objects of the same fields, cells of 24
/// bytes from bump pools, lists, and calls that check whom their operands belong to. It has no handles, no change
/// records and no removal. Its bodies are compiled apart, as the library's are.

#include <cstddef>
#include <iosfwd>
#include <unordered_map>
#include <vector>

namespace hand {

class Env;
struct Var;

/// Where values of variables come from.
class Values {
 public:
  virtual ~Values() = default;
  virtual double getValue(const Var* var) const = 0;
};

/// Blocks of one size: a free list over chunks that grow from 4 KiB to 1 MiB.
class Pool {
 public:
  explicit Pool(std::size_t blockSize) : _blockSize(blockSize) {}
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool();

  void* take() {
    if (_free) {
      void* block = _free;
      _free = *static_cast<void**>(block);
      return block;
    }
    if (_bump == _end) grow();
    void* block = _bump;
    _bump += _blockSize;
    return block;
  }
  void give(void* block) {
    *static_cast<void**>(block) = _free;
    _free = block;
  }

 private:
  void grow();

  std::size_t _blockSize;
  std::size_t _chunkSize = 4096;
  void* _free = nullptr;
  char* _bump = nullptr;
  char* _end = nullptr;
  std::vector<void*> _chunks;
};

struct Node {
  Node(Env* owner, const char* label);
  virtual ~Node() = default;
  virtual double eval(const Values& values) const = 0;
  /// Gives operands back; the node itself goes to its pool afterwards.
  virtual void drop() = 0;
  /// The pool that the node came from.
  virtual Pool& pool() const = 0;

  Env* env;
  long id;
  const char* name;
  long count = 0;
};

struct Domain {
  double lb, ub;
};

struct Var final : Node {
  /// Its own first reference keeps it.
  Var(Env* owner, Domain* bounds, const char* label) : Node(owner, label), domain(bounds) { count = 1; }
  double eval(const Values& values) const override { return values.getValue(this); }
  void drop() override {}
  Pool& pool() const override;

  Domain* domain;
  void* mark = nullptr;
};

struct Cell {
  Var* var;
  Cell* next;
  double coef;
};

struct Sum final : Node {
  Sum(Env* owner, double value) : Node(owner, nullptr), constant(value) {}
  double eval(const Values& values) const override;
  void drop() override;
  Pool& pool() const override;

  Cell* first = nullptr;
  Cell* last = nullptr;
  double constant;
  void* parts[2] = {};
  bool normalized = false;
};

struct Product final : Node {
  Product(Env* owner, Node* a, Node* b) : Node(owner, nullptr), left(a), right(b) {}
  double eval(const Values& values) const override;
  void drop() override;
  Pool& pool() const override;

  Node* left;
  Node* right;
};

/// Owner of nodes and cells; `nodes` is the table by identifier.
class Env {
 public:
  Env()
      : cells(sizeof(Cell)), vars(sizeof(Var)), sums(sizeof(Sum)), products(sizeof(Product)), domains(sizeof(Domain)) {}
  ~Env();

  Cell* newCell(Var* var, double coef) {
    Cell* cell = freeCells;
    if (cell) {
      freeCells = cell->next;
    } else {
      cell = static_cast<Cell*>(cells.take());
    }
    *cell = Cell{var, nullptr, coef};
    return cell;
  }
  /// Takes back a whole list.
  void giveCells(Cell* first, Cell* last) {
    last->next = freeCells;
    freeCells = first;
  }

  Pool cells, vars, sums, products, domains;
  Cell* freeCells = nullptr;
  std::vector<Node*> nodes;
  std::vector<long> freeIds;
  std::vector<Cell*> marks;
};

Domain* newDomain(Env* env, double lb, double ub);
Var* newVar(Env* env, Domain* domain, const char* name = nullptr);
Sum* newSum(Env* env, double constant);
/// A loose cell. Throws std::invalid_argument without a variable.
Cell* times(Var* var, double coef);
/// Links the cell at the tail. Throws std::invalid_argument for a variable of another environment.
void add(Sum* sum, Cell* cell);
/// A product; throws as `add`.
Product* times(Node* a, Node* b);
void clear(Sum* sum);
/// Drops one reference; the node goes when none is left.
void release(Node* node);
/// Merges the cells of each variable into its last one and drops zeros.
long normalize(Sum* sum);
void print(std::ostream& os, const Sum* sum);

using CloneMap = std::unordered_map<const Node*, Node*>;
/// A copy in `target`; its variables are copied on first sight and found in `map` afterwards.
Sum* clone(const Sum* sum, Env* target, CloneMap& map);

}  // namespace hand
