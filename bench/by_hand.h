#pragma once
/// The work of the library as one would write it by hand for this purpose alone: objects with the same fields, cells of
/// 24 bytes from bump pools, lists, and calls that check the environment of their operands. It has no handles, no
/// change records and no removal. Its function bodies are in a separate source file, as the library's are.

#include <cstddef>
#include <iosfwd>
#include <unordered_map>
#include <vector>

namespace hand {

class Env;
struct Var;
struct Cell;

/// Supplies the values of variables.
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
  /// Releases the operands; the node itself is returned to its pool afterwards.
  virtual void drop() = 0;
  /// The pool from which the node was allocated.
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
  /// Its initial reference keeps it alive.
  Var(Env* owner, Domain* bounds, const char* label) : Node(owner, label), domain(bounds) { count = 1; }
  double eval(const Values& values) const override { return values.getValue(this); }
  void drop() override {}
  Pool& pool() const override;

  Domain* domain;
  Cell* mark = nullptr;
};

struct Cell {
  Var* var;
  Cell* next;
  double coef;
};

/// A summand that is not a term; it has one reference to its node.
struct Part {
  Node* expr;
  Part* next;
};

struct Sum final : Node {
  Sum(Env* owner, double value) : Node(owner, nullptr), constant(value) {}
  double eval(const Values& values) const override;
  void drop() override;
  Pool& pool() const override;

  Cell* first = nullptr;
  Cell* last = nullptr;
  double constant;
  Part* firstPart = nullptr;
  Part* lastPart = nullptr;
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

struct Square final : Node {
  Square(Env* owner, Node* node) : Node(owner, nullptr), operand(node) {}
  double eval(const Values& values) const override;
  void drop() override;
  Pool& pool() const override;

  Node* operand;
};

struct Scaled final : Node {
  Scaled(Env* owner, Node* node, double by) : Node(owner, nullptr), operand(node), factor(by) {}
  double eval(const Values& values) const override;
  void drop() override;
  Pool& pool() const override;

  Node* operand;
  double factor;
};

static_assert(sizeof(Cell) == 24 && sizeof(Part) == 16 && sizeof(Var) == 56 && sizeof(Sum) == 88);
static_assert(sizeof(Square) == 48 && sizeof(Scaled) == 56 && sizeof(Product) == 56);

/// Owner of nodes and cells; `nodes` is the table by identifier.
class Env {
 public:
  Env() = default;
  Env(const Env&) = delete;
  Env& operator=(const Env&) = delete;
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

  Pool cells{sizeof(Cell)}, parts{sizeof(Part)}, vars{sizeof(Var)}, sums{sizeof(Sum)}, squares{sizeof(Square)};
  /// Products and multiples by a constant.
  Pool pairs{sizeof(Product)};
  Pool domains{sizeof(Domain)};
  Cell* freeCells = nullptr;
  std::vector<Node*> nodes;
  std::vector<long> freeIds;
  std::vector<Cell*> marks;
};

Domain* newDomain(Env* env, double lb, double ub);
Var* newVar(Env* env, Domain* domain, const char* name = nullptr);
Sum* newSum(Env* env, double constant);
/// A cell that is in no list. Throws std::invalid_argument without a variable.
Cell* times(Var* var, double coef);
/// Links the cell at the tail. Throws std::invalid_argument for a variable of another environment.
void add(Sum* sum, Cell* cell);
/// Links the node as a part. Throws as `add` of a cell.
void add(Sum* sum, Node* part);
/// A product; throws as `add`.
Product* times(Node* a, Node* b);
Scaled* scale(Node* node, double factor);
Square* square(Node* node);
void clear(Sum* sum);
/// Releases one reference; destroys the node when none is left.
void release(Node* node);
/// A copy of its terms and constant, without references.
Sum* copy(const Sum* sum);
/// Merges the cells of each variable into its last one and drops zeros.
long normalize(Sum* sum);
/// Sets the coefficients of these variables in a sum that has each variable once; appends absent ones. Throws
/// std::invalid_argument for a variable of another environment.
void setCoefs(Sum* sum, const std::vector<Var*>& vars, const std::vector<double>& coefs);
/// Drops the cells of these variables. Throws as `setCoefs`.
void remove(Sum* sum, const std::vector<Var*>& vars);
void print(std::ostream& os, const Sum* sum);
/// Writes the text that a stream with default formatting produces into memory that is large enough; returns its end.
char* print(char* out, const Sum* sum);

using CloneMap = std::unordered_map<const Node*, Node*>;
/// A copy in `target`; its variables are copied at their first occurrence and found in `map` afterwards.
Sum* clone(const Sum* sum, Env* target, CloneMap& map);

}  // namespace hand
