#pragma once
/// An independent model of expressions: plain vectors and strings that follow the written rules of the operators and
/// nodes. Random programs are run on the library and on this model side by side.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "expression/nodes.h"

namespace model {

/// The rules leave the evaluation open here (division of integers by zero, an index outside its array).
struct Undefined {};
/// The library throws here.
struct Throws {};

/// A node of any class. Variables are nodes without operands.
struct Node {
  std::string cls;
  bool isInt = false;
  TavNumExprI* real = nullptr;
  long refs = 0;
  bool dead = false;
  std::vector<Node*> ops;                       // operands, or the parts of a linear node
  std::vector<std::pair<Node*, double>> terms;  // of a linear node
  double c = 0.0, c2 = 0.0;                     // constants
  TavInt k = 0;                                 // integer constant, or the form of a piecewise function
  std::vector<double> nums, nums2;              // constant arrays, of an integer one the values as doubles
  std::vector<TavInt> ints;                     // and as they print
  std::string name, label;                      // of a variable: its name, and what it prints in front of its domain
  std::string domain;
  double value = 0.0;
  bool varIsInteger = false;
};

/// How the variables of a text are written and evaluated: those of the program or their clones.
struct Naming {
  virtual ~Naming() = default;
  virtual std::string name(const Node* var) const { return var->name; }
  virtual std::string full(const Node* var) const { return (var->name.empty() ? var->label : var->name) + var->domain; }
  virtual bool isInteger(const Node* var) const { return var->varIsInteger; }
};

bool isVar(const Node* n);
bool isLinear(const Node* n);
bool isConstant(const Node* n);

double eval(const Node* n, const Naming& naming);
bool isInteger(const Node* n, const Naming& naming);
std::string text(const Node* n, bool library, const Naming& naming);
std::vector<const Node*> children(const Node* n);
/// The number of nodes in the tree, shared ones counted each time, up to `limit`.
long weight(const Node* n, long limit);

/// The nodes of one environment and the rules by which operators make, change and destroy them.
class World {
 public:
  Node* make(const std::string& cls, bool isInt, std::vector<Node*> ops);
  Node* variable(const std::string& cls);
  Node* linear(bool isInt, double constant, TavInt k = 0);

  void end(Node* n);
  void release(Node* n);

  Node* copy(const Node* n);
  Node* toNumeric(Node* n);  // what a TavExpr makes of its operand
  void merge(Node* into, Node* from);
  Node* sum(Node* a, Node* b, bool isInt);
  Node* difference(Node* a, Node* b, bool isInt);
  Node* sumTerm(Node* a, Node* var, double coef, bool isInt, bool termFirst);
  Node* plus(Node* e, double d);
  Node* plus(Node* e, TavInt k);
  Node* times(Node* e, double d);
  Node* times(Node* e, TavInt k);
  Node* over(Node* e, double d);
  Node* product(Node* a, Node* b, bool isInt);
  void multiply(Node* linear, double d, TavInt k);
  void divide(Node* linear, double d);
  long normalize(Node* linear);
  /// Adds to a private numeric linear node as TavExpr's += and -= do.
  void addInPlace(Node* into, Node* operand, bool negated);
  double setCoef(Node* linear, Node* var, double coef);

  const std::vector<std::unique_ptr<Node>>& all() const { return _nodes; }
  long liveNodes() const;
  long liveTerms() const;

 private:
  Node* draft(Node* n, bool isInt, bool shared = false);
  void append(Node* linear, Node* summand);
  void destroy(Node* n);

  std::vector<std::unique_ptr<Node>> _nodes;
};

}  // namespace model
