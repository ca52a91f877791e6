#pragma once
/// An independent model of expressions: plain vectors and strings that follow the written rules of the operators and
/// nodes. Random programs are run on the library and on this model side by side. What a class prints and evaluates to
/// stands in its sample; linear sums and operators are modelled here.

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/samples.h"

namespace model {

/// A number of a node, numeric or integer.
struct Constant {
  Constant(double number) : value(number) {}
  Constant(TavInt number) : value(static_cast<double>(number)), whole(number), isInt(true) {}
  std::string text() const;
  double value;
  TavInt whole = 0;
  bool isInt = false;
};
Constant operator+(Constant a, Constant b);
Constant operator*(Constant a, Constant b);

/// A node of any class. Variables are nodes without operands.
struct Node {
  explicit Node(const NodeSample* its) : sample(its), linear(is("TavNumLinTermI") || is("TavIntLinTermI")) {}
  const NodeSample* sample;
  bool linear;
  TavNumExprI* real = nullptr;
  long refs = 0;
  bool dead = false;
  std::vector<Node*> ops;                         // operands, or the parts of a linear node
  std::vector<std::pair<Node*, double>> terms;    // of a linear node
  std::map<char, std::vector<Constant>> numbers;  // constants by their letters in the sample's texts
  double value = 0.0;                             // of a variable

  bool is(const char* name) const { return std::strcmp(sample->facts.name, name) == 0; }
  bool isVar() const { return !sample->library && !linear; }
  bool isInt() const { return isVar() ? real->isInteger() : sample->isInt; }
  /// The one number of a linear node or of a node of operand and constant.
  Constant& constant() { return numbers.begin()->second.front(); }
  const Constant& constant() const { return numbers.begin()->second.front(); }
};

const NodeSample* sampleOf(const char* name);

/// The library's object for a variable: the program's own or its clone.
using VariableOf = std::function<TavNumVarI*(const Node*)>;

double eval(const Node* n);
bool isInteger(const Node* n, const VariableOf& variable);
std::string text(const Node* n, bool library, const VariableOf& variable);
std::vector<const Node*> children(const Node* n);
/// The bytes that the library takes for the node and what it owns.
TavInt bytesOf(const Node* n);
/// The number of nodes in the tree, shared ones counted each time, up to `limit`.
long weight(const Node* n, long limit);

/// The nodes of one environment and the rules by which operators make, change and destroy them.
class World {
 public:
  Node* make(const NodeSample* sample, std::vector<Node*> ops, std::map<char, std::vector<Constant>> numbers = {});
  void release(Node* n);

  Node* copy(const Node* n);
  Node* toNumeric(Node* n);  // what a TavExpr makes of its operand
  Node* sum(Node* a, Node* b, bool isInt);
  Node* difference(Node* a, Node* b, bool isInt);
  Node* sumTerm(Node* a, Node* var, double coef, bool isInt, bool termFirst);
  Node* plus(Node* e, Constant k);
  Node* times(Node* e, Constant k);
  Node* over(Node* e, double d);
  Node* product(Node* a, Node* b);
  /// Multiplies or divides a private linear node.
  void scale(Node* linear, Constant k, bool divided);
  long normalize(Node* linear);
  /// Adds to a private numeric linear node as TavExpr's += and -= do.
  void addInPlace(Node* into, Node* operand, bool negated);
  double setCoef(Node* linear, Node* var, double coef);
  void clear(Node* linear);

  const std::vector<std::unique_ptr<Node>>& all() const { return _nodes; }

 private:
  Node* linear(Constant constant) { return make(constant.isInt ? _intLinear : _numLinear, {}, {{'c', {constant}}}); }
  Node* draft(Node* n, bool isInt, bool shared = false);
  void append(Node* linear, Node* summand);
  void merge(Node* into, Node* from);

  const NodeSample* _numLinear = sampleOf("TavNumLinTermI");
  const NodeSample* _intLinear = sampleOf("TavIntLinTermI");
  std::vector<std::unique_ptr<Node>> _nodes;
};

}  // namespace model
