#pragma once
/// An independent model of expressions: immutable values that follow the documented rules of operators and nodes. It
/// says nothing of which nodes the library reuses. Random programs run on the library and on this model. Text and value
/// of a class are in its sample; linear sums and operators are modelled here.

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

struct Node;
using Ref = std::shared_ptr<const Node>;
using Numbers = std::map<char, std::vector<Constant>>;

/// A node of any class. Variables are nodes without operands.
struct Node {
  const NodeSample* sample;
  std::vector<Ref> ops = {};                       // operands, or the parts of a linear node
  Numbers numbers = {};                            // constants by their letters in the sample's texts
  std::vector<std::pair<Ref, double>> terms = {};  // of a linear node
  TavNumVarI* variable = nullptr;
  double value = 0.0;  // of a variable

  bool is(const char* name) const { return std::strcmp(sample->name, name) == 0; }
  bool isLinear() const { return is("TavNumLinTermI") || is("TavIntLinTermI"); }
  bool isInt() const { return variable ? variable->isInteger() : sample->isInt; }
  /// The one number of a linear node or of a node of operand and constant.
  Constant& constant() { return numbers.begin()->second.front(); }
  const Constant& constant() const { return numbers.begin()->second.front(); }
};

/// The library's object for a variable: the program's own or its clone.
using VariableOf = std::function<TavNumVarI*(const Node&)>;

double eval(const Ref& n);
bool isInteger(const Ref& n, const VariableOf& variable);
std::string text(const Ref& n, bool library, const VariableOf& variable);
/// The sub-objects that a visit shows.
std::vector<Ref> children(const Ref& n);
/// The number of nodes in the tree; a shared one counts each time. Stops counting above `limit`.
long weight(const Ref& n, long limit);

Ref make(const char* name, std::vector<Ref> ops, Numbers numbers);
/// The operand as a linear node, which may be changed.
Node linear(const Ref& n, bool isInt);
Ref sum(const Ref& a, const Ref& b, bool isInt);
Ref difference(const Ref& a, const Ref& b, bool isInt);
Ref withTerm(const Ref& e, const Ref& var, double coef, bool isInt, bool termFirst);
Ref plus(const Ref& e, Constant k);
Ref times(const Ref& e, Constant k);
Ref over(const Ref& e, double d);
Ref product(const Ref& a, const Ref& b);
/// Returns the number of merged terms.
long normalize(Node& linear);
/// Returns the old coefficient.
double setCoef(Node& linear, const Ref& var, double coef);

}  // namespace model
