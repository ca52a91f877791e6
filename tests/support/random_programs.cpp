#include "tests/support/random_programs.h"

#include <bit>
#include <map>
#include <random>
#include <sstream>

#include "tests/support/random_model.h"

namespace {

using model::Node;

/// What a program found to differ.
struct Difference {
  std::string what;
};

/// Values by variable.
class Values : public TavAlgorithmI {
 public:
  explicit Values(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  std::map<const TavNumVarI*, double> values;
  double getValue(const TavNumVarI* variable) const override { return values.at(variable); }
};

/// The variables of a clone: new identifiers for the nameless ones, semi-continuous ones bare.
struct CloneNaming : model::Naming {
  std::map<const Node*, const TavNumVarI*> clones;
  static bool bare(const Node* var) { return var->cls == "TavSemiContVarI"; }
  std::string name(const Node* var) const override { return bare(var) ? "" : var->name; }
  std::string full(const Node* var) const override {
    const std::string id = std::to_string(clones.at(var)->getId());
    if (bare(var)) {
      return "TavSemiContI (" + id + ")\nTavNumVar(" + id + ")[0 .. inf]   _threshold 2\n";
    }
    const std::string kind = var->varIsInteger ? "TavIntVar(" : "TavNumVar(";
    return (var->name.empty() ? kind + id + ")" : var->name) + var->domain;
  }
};

/// The program's own variables; a semi-continuous one writes three lines.
struct OwnNaming : model::Naming {
  std::string full(const Node* var) const override {
    if (var->cls != "TavSemiContVarI") return Naming::full(var);
    return "TavSemiContI (" + var->name + ")\n" + var->name + var->domain + "  _threshold 2\n";
  }
};

std::string textOf(const TavExtractableI* object) {
  std::ostringstream os;
  object->display(os);
  return os.str();
}

/// The sign of a not-a-number is the processor's affair.
std::string withoutNanSigns(std::string text) {
  for (std::size_t at; (at = text.find("-nan")) != std::string::npos;) text.erase(at, 1);
  return text;
}

bool sameValue(double a, double b) {
  return (a != a && b != b) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// An expression in both worlds; `in` is empty for one that is not an integer expression.
struct Val {
  TavNumExprArg num;
  TavIntExprArg in;
  Node* node = nullptr;
  bool isInt() const { return static_cast<bool>(in); }
};

class Program {
 public:
  explicit Program(unsigned seed) : _random(seed), _values(_env), _cloneValues(_target) {}
  ~Program() {
    _env.end();
    _target.end();
    _foreign.end();
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void run() {
    makeVariables();
    const int statements = 4 + pick(10);
    for (int i = 0; i < statements; ++i) {
      statement();
      if (pick(4) == 0) checkMismatch();
      checkBalance();
    }
    for (const Handle& handle : _handles) check(handle.node);
    checkClone();
    checkBalance();
    while (!_handles.empty()) dropHandle(_handles.size() - 1);
    checkBalance();
  }

 private:
  /// A counted handle: a TavExpr, a TavIntExpr or a TavNumExpr.
  struct Handle {
    char kind;
    TavNumExpr num;
    TavExpr linear;
    TavIntExpr integer;
    Node* node;
    TavNumExprArg arg() const { return TavNumExprArg(node->real); }
  };

  int pick(int n) { return static_cast<int>(_random() % static_cast<unsigned>(n)); }
  double constant() {
    static const double kSome[] = {0.0, -0.0, 1.0, -1.0, 2.0, 0.5, -2.5, 3.0, 1e9, 0.1, 1e-3, kInf, kNaN};
    const int i = pick(26);
    return i < 13 ? kSome[i] : pick(200) / 8.0 - 12.0;
  }
  TavInt whole() { return pick(8) == 0 ? std::numeric_limits<TavInt>::max() - pick(3) : pick(11) - 5; }
  static constexpr double kInf = std::numeric_limits<double>::infinity();
  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

  static void require(bool holds, const std::string& what) {
    if (!holds) throw Difference{what};
  }

  /// Ties a model node to the library's; an in-place result must be the very node.
  void bind(Node* node, TavNumExprI* real) {
    require(!node->real || node->real == real, "another node than the one that was to be changed in place");
    node->real = real;
    require(node->cls == real->getRttiTypeName(), "a " + std::string(real->getRttiTypeName()) + " for a " + node->cls);
  }
  Val numeric(TavNumExprArg arg, Node* node) {
    bind(node, arg.getImpl());
    return {arg, TavIntExprArg(), node};
  }
  Val integer(TavIntExprArg arg, Node* node) {
    bind(node, static_cast<TavNumExprArg>(arg).getImpl());
    return {arg, arg, node};
  }

  // ---- variables

  void makeVariables() {
    const auto add = [this](TavNumVar var, const char* cls, const char* name, const std::string& label,
                            const std::string& domain, bool isInteger) {
      Node* node = _world.variable(cls);
      node->real = var.getImpl();
      node->name = name;
      node->label = label + "(" + std::to_string(var.getId()) + ")";
      node->domain = domain;
      node->varIsInteger = isInteger;
      node->value = isInteger && pick(3) > 0 ? static_cast<double>(pick(9) - 4) : constant();
      _values.values[var.getImpl()] = node->value;
      _vars.push_back(node);
    };
    add(TavNumVar(_env, -1.0, 8.5, "x"), "TavNumVarI", "x", "", "[-1 .. 8.5] ", false);
    add(TavNumVar(_env), "TavNumVarI", "", "TavNumVar", "[0 .. inf] ", false);
    add(TavSemiContVar(_env, 2.0, 9.0, TavNumVar::Float, "s"), "TavSemiContVarI", "s", "", "[0 .. 9] ", false);
    add(TavIntVar(_env, -4, 4, "i"), "TavNumVarI", "i", "", "[-4 .. 4] ", true);
    add(TavIntVar(_env, 0, 7), "TavNumVarI", "", "TavIntVar", "[0 .. 7] ", true);
    add(TavBoolVar(_env, "b"), "TavNumVarI", "b", "", "[0 .. 1] ", true);
    _firstInt = 3;
    _baseBytes = _env.getImpl()->getMemory()->usedBytes();
  }
  Node* anyVar() { return _vars[static_cast<std::size_t>(pick(static_cast<int>(_vars.size())))]; }
  Node* intVar() { return _vars[static_cast<std::size_t>(_firstInt + pick(3))]; }
  static TavNumVar numVarOf(const Node* n) { return TavNumVar(static_cast<TavNumVarI*>(n->real)); }
  static TavIntVar intVarOf(const Node* n) { return TavIntVar(static_cast<TavNumVarI*>(n->real)); }

  // ---- expressions

  Val leaf(bool wantInt) {
    for (int tries = 0; tries < 3 && !_handles.empty(); ++tries) {
      const Handle& h = _handles[static_cast<std::size_t>(pick(static_cast<int>(_handles.size())))];
      if ((wantInt && !h.node->isInt) || model::weight(h.node, 60) > 60) continue;
      if (h.node->isInt) {
        const TavIntExprArg arg(static_cast<TavIntExprI*>(h.node->real));
        return {arg, arg, h.node};
      }
      return {h.arg(), TavIntExprArg(), h.node};
    }
    Node* var = wantInt ? intVar() : anyVar();
    if (var->varIsInteger) return {intVarOf(var), intVarOf(var), var};
    return {numVarOf(var), TavIntExprArg(), var};
  }

  Val expression(int depth, bool wantInt) {
    if (depth <= 0 || pick(5) == 0) return leaf(wantInt);
    const Val made = wantInt || pick(3) == 0 ? integerExpression(depth) : numericExpression(depth);
    return made;
  }

  /// Two operands, now and then the same one twice.
  std::pair<Val, Val> operands(int depth, bool wantInt) {
    const Val a = expression(depth - 1, wantInt);
    if (pick(6) == 0) return {a, a};
    return {a, expression(depth - 1, wantInt)};
  }

  Val numericExpression(int depth) {
    switch (pick(12)) {
      case 0:
      case 1:
      case 2:
        return numericSum(depth);
      case 3:
        return numericTermSum(depth);
      case 4:
      case 5:
        return numericProduct(depth);
      case 6:
      case 7:
        return numericUnary(depth);
      case 8:
        return numericExtremum(depth);
      case 9:
        return numericPower(depth);
      case 10:
        return numericArray(depth);
      default:
        return numericSpecial(depth);
    }
  }

  Val numericSum(int depth) {
    const double d = constant();
    switch (pick(7)) {
      case 0: {
        const auto [a, b] = operands(depth, false);
        Node* node = _world.difference(a.node, b.node, false);
        return numeric(a.num - b.num, node);
      }
      case 1: {
        const Val e = expression(depth - 1, false);
        return numeric(e.num + d, _world.plus(e.node, d));
      }
      case 2: {
        const Val e = expression(depth - 1, false);
        return numeric(e.num - d, _world.plus(e.node, -d));
      }
      case 3: {
        const Val e = expression(depth - 1, false);
        return numeric(d - e.num, _world.plus(_world.times(e.node, -1.0), d));
      }
      case 4: {
        const Val e = expression(depth - 1, false);
        return numeric(-e.num, _world.times(e.node, -1.0));
      }
      default: {
        const auto [a, b] = operands(depth, false);
        return numeric(a.num + b.num, _world.sum(a.node, b.node, false));
      }
    }
  }

  Val numericTermSum(int depth) {
    const double d = constant();
    const TavInt k = whole();
    Node* var = anyVar();
    Node* ivar = intVar();
    switch (pick(8)) {
      case 0:
        return numeric(numVarOf(var) * d, _world.times(var, d));
      case 1:
        return numeric(intVarOf(ivar) * k + numVarOf(var) * d,
                       _world.sumTerm(_world.times(ivar, static_cast<double>(k)), var, d, false, false));
      case 2:
        return numeric(numVarOf(var) * d - k * intVarOf(ivar),
                       _world.sumTerm(_world.times(var, d), ivar, -static_cast<double>(k), false, false));
      case 3:
        return numeric(d * numVarOf(var) + k, _world.plus(_world.times(var, d), static_cast<double>(k)));
      default:
        break;
    }
    const Val e = expression(depth - 1, false);
    switch (pick(4)) {
      case 0:
        return numeric(e.num + d * numVarOf(var), _world.sumTerm(e.node, var, d, false, false));
      case 1:
        return numeric(e.num - intVarOf(ivar) * k, _world.sumTerm(e.node, ivar, -static_cast<double>(k), false, false));
      case 2:
        return numeric(d * numVarOf(var) + e.num, _world.sumTerm(e.node, var, d, false, true));
      default:
        return numeric(intVarOf(ivar) * k - e.num,
                       _world.sumTerm(_world.times(e.node, -1.0), ivar, static_cast<double>(k), false, true));
    }
  }

  Val numericProduct(int depth) {
    const double d = constant();
    switch (pick(5)) {
      case 0: {
        const auto [a, b] = operands(depth, false);
        return numeric(a.num * b.num, _world.product(a.node, b.node, false));
      }
      case 1: {
        const auto [a, b] = operands(depth, false);
        return numeric(a.num / b.num, _world.make("TavNumDivI", false, {a.node, b.node}));
      }
      case 2: {
        const Val e = expression(depth - 1, false);
        return numeric(e.num / d, _world.over(e.node, d));
      }
      case 3: {
        const Val e = expression(depth - 1, false);
        return numeric(d / e.num, withConstant(_world.make("TavNumRecDivCstI", false, {e.node}), d));
      }
      default: {
        const Val e = expression(depth - 1, false);
        return numeric(d * e.num, _world.times(e.node, d));
      }
    }
  }

  static Node* withConstant(Node* node, double d) {
    node->c = d;
    return node;
  }
  static Node* withConstant(Node* node, TavInt k) {
    node->k = k;
    return node;
  }

  Val numericUnary(int depth) {
    struct Function {
      const char* cls;
      TavNumExprArg (*build)(TavNumExprArg);
    };
    static const Function kFunctions[] = {{"TavNumSquareI", TavSquare}, {"TavNumAbsI", TavAbs},
                                          {"TavSinI", TavSin},          {"TavCosI", TavCos},
                                          {"TavTanI", TavTan},          {"TavArcSinI", TavArcSin},
                                          {"TavArcCosI", TavArcCos},    {"TavArcTanI", TavArcTan},
                                          {"TavLogI", TavLog},          {"TavExponentI", TavExponent},
                                          {"TavNumCeilI", TavCeil},     {"TavNumFloorI", TavFloor},
                                          {"TavNumTruncI", TavTrunc},   {"TavDistToIntI", TavDistToInt},
                                          {"TavNumFractI", TavFract},   {"TavNumRoundI", TavVurRound}};
    const Val e = expression(depth - 1, false);
    const int i = pick(18);
    if (i >= 16) {
      Node* log = _world.make("TavLogI", false, {e.node});
      if (i == 16) return numeric(TavLog2(e.num), _world.over(log, std::log(2.0)));
      return numeric(TavLog10(e.num), _world.over(log, std::log(10.0)));
    }
    return numeric(kFunctions[i].build(e.num), _world.make(kFunctions[i].cls, false, {e.node}));
  }

  Val numericExtremum(int depth) {
    const double d = constant();
    if (pick(2) == 0) {
      const auto [a, b] = operands(depth, false);
      if (pick(2) == 0) return numeric(TavMin(a.num, b.num), _world.make("TavNumMinI", false, {a.node, b.node}));
      return numeric(TavMax(a.num, b.num), _world.make("TavNumMaxI", false, {a.node, b.node}));
    }
    const Val e = expression(depth - 1, false);
    if (pick(2) == 0) return numeric(TavMin(e.num, d), withConstant(_world.make("TavNumMinCstI", false, {e.node}), d));
    return numeric(TavMax(d, e.num), withConstant(_world.make("TavNumMaxCstI", false, {e.node}), d));
  }

  Val numericPower(int depth) {
    const double d = constant();
    const auto [a, b] = operands(depth, false);
    switch (pick(3)) {
      case 0:
        return numeric(TavPower(a.num, b.num), _world.make("TavNumPowerI", false, {a.node, b.node}));
      case 1:
        return numeric(TavPower(a.num, d), withConstant(_world.make("TavNumPowerCstI", false, {a.node}), d));
      default:
        return numeric(TavPower(d, a.num), withConstant(_world.make("TavNumRecPowerCstI", false, {a.node}), d));
    }
  }

  /// An array of up to twelve operands, ended by the caller.
  template <class Array>
  std::pair<Array, std::vector<Node*>> arrayOf(int depth, int least, int most) {
    constexpr bool kInt = std::is_same_v<Array, TavIntExprArray>;
    Array array(_env, 0);
    std::vector<Node*> nodes;
    const int size = least + pick(most - least + 1);
    for (int i = 0; i < size; ++i) {
      const Val e = i > 3 ? leaf(kInt) : expression(depth - 1, kInt);
      if constexpr (kInt) {
        array.add(e.in);
      } else {
        array.add(e.num);
      }
      nodes.push_back(e.node);
    }
    return {array, nodes};
  }
  template <class Array>
  std::pair<Array, std::vector<Node*>> varArray() {
    Array array(_env, 0);
    std::vector<Node*> nodes;
    for (int i = pick(5); i > 0; --i) {
      if constexpr (std::is_same_v<Array, TavIntVarArray>) {
        nodes.push_back(intVar());
        array.add(intVarOf(nodes.back()));
      } else {
        nodes.push_back(anyVar());
        array.add(numVarOf(nodes.back()));
      }
    }
    return {array, nodes};
  }

  Val numericArray(int depth) {
    const auto kind = pick(7);
    if (kind == 0) {
      auto [array, nodes] = varArray<TavNumVarArray>();
      const Val made = pick(2) == 0 ? numeric(TavMax(array), _world.make("TavNumMaxArrayI", false, nodes))
                                    : numeric(TavSum(array), sumOf(nodes, false));
      array.end();
      return made;
    }
    if (kind == 1) {
      auto [array, nodes] = varArray<TavNumVarArray>();
      TavNumArray coefs(_env, 0);
      Node* node = _world.linear(false, 0.0);
      for (Node* var : nodes) {
        coefs.add(constant());
        node->terms.emplace_back(var, std::as_const(coefs)[coefs.getSize() - 1]);
      }
      const Val made = numeric(TavScalProd(coefs, array), node);
      coefs.end();
      array.end();
      return made;
    }
    if (kind == 2) {
      const auto [a, b] = operands(depth, false);
      TavNumExprArray left(_env, 0), right(_env, 0);
      left.add(a.num);
      right.add(b.num);
      Node* node = _world.linear(false, 0.0);
      ++a.node->refs;  // the elements of the arrays stay as they are
      ++b.node->refs;
      Node* product = _world.product(a.node, b.node, false);
      --a.node->refs;
      --b.node->refs;
      node->ops.push_back(product);
      ++product->refs;
      const Val made = numeric(TavScalProd(left, right), node);
      left.end();
      right.end();
      return made;
    }
    auto [array, nodes] = arrayOf<TavNumExprArray>(depth, 0, 12);
    const Val made = kind == 3   ? numeric(TavMin(array), _world.make("TavNumMinArrayI", false, nodes))
                     : kind == 4 ? numeric(TavMax(array), _world.make("TavNumMaxArrayI", false, nodes))
                                 : numeric(TavSum(array), sumOf(nodes, false));
    array.end();
    return made;
  }

  /// The sum of elements that stay as they are.
  Node* sumOf(const std::vector<Node*>& nodes, bool isInt) {
    Node* sum = _world.linear(isInt, 0.0);
    for (Node* n : nodes) {
      ++n->refs;
      if (isInt) {
        sum = _world.sum(sum, n, true);
      } else {
        _world.addInPlace(sum, n, false);
      }
      --n->refs;
    }
    return sum;
  }

  Val numericSpecial(int depth) {
    switch (pick(5)) {
      case 0: {
        auto [array, nodes] = arrayOf<TavNumExprArray>(depth, 1, 4);
        const Val index = expression(depth - 1, true);
        nodes.insert(nodes.begin(), index.node);
        const Val made = numeric(array[index.in], _world.make("TavNumExprArrayElementI", false, nodes));
        array.end();
        return made;
      }
      case 1: {
        TavNumArray array(_env, 0);
        for (int i = pick(5); i > 0; --i) array.add(constant());
        const Val index = expression(depth - 1, true);
        Node* node = _world.make("TavNumArrayElementI", false, {index.node});
        for (TavInt i = 0; i < array.getSize(); ++i) node->nums.push_back(array[i]);
        const Val made = numeric(TavElement(array, index.in), node);
        array.end();
        return made;
      }
      case 2:
        return piecewise(depth);
      case 3: {
        const Val e = expression(depth - 1, false);
        Node* node = _world.make("TavMonotonicNumExprI", false, {e.node});
        node->k = pick(2);
        const auto function = [](double v) { return v * v; };
        return numeric(node->k ? TavMonotonicDecreasingNumExpr(e.num, function, function)
                               : TavMonotonicIncreasingNumExpr(e.num, function, function),
                       node);
      }
      default: {
        auto [array, nodes] = arrayOf<TavIntExprArray>(depth, 1, 4);
        const Val made = numeric(TavStandardDeviation(array), _world.make("TavStandardDeviationI", false, nodes));
        array.end();
        return made;
      }
    }
  }

  Val piecewise(int depth) {
    const Val e = expression(depth - 1, false);
    Node* node = _world.make("TavExprPiecewiseLinearI", false, {e.node});
    TavNumArray points(_env, 0), second(_env, 0);
    node->k = pick(3) > 0;
    const int n = 2 + pick(3);
    double at = pick(10) - 5;
    for (int i = 0; i < n; ++i, at += pick(3)) points.add(at);
    for (int i = 0; i < n + static_cast<int>(node->k); ++i) second.add(pick(9) - 4);
    for (TavInt i = 0; i < points.getSize(); ++i) node->nums.push_back(points[i]);
    for (TavInt i = 0; i < second.getSize(); ++i) node->nums2.push_back(second[i]);
    node->c = pick(9) - 4;
    node->c2 = pick(9) - 4;
    const Val made = numeric(node->k ? TavPiecewiseLinear(e.num, points, second, node->c, node->c2)
                                     : TavPiecewiseLinear(e.num, node->c, points, second, node->c2),
                             node);
    points.end();
    second.end();
    return made;
  }

  Val integerExpression(int depth) {
    const TavInt k = whole();
    switch (pick(10)) {
      case 0:
      case 1:
        return integerSum(depth);
      case 2: {
        const auto [a, b] = operands(depth, true);
        return integer(a.in * b.in, _world.product(a.node, b.node, true));
      }
      case 3: {
        const Val e = expression(depth - 1, true);
        return integer(k * e.in, _world.times(e.node, k));
      }
      case 4:
        return integerQuotient(depth);
      case 5: {
        const Val e = expression(depth - 1, true);
        if (pick(2) == 0) return integer(TavSquare(e.in), _world.make("TavIntSquareI", true, {e.node}));
        return integer(TavAbs(e.in), _world.make("TavIntAbsI", true, {e.node}));
      }
      case 6: {
        const Val e = expression(depth - 1, false);
        if (pick(2) == 0) return integer(TavSgn(e.num), _world.make("TavSgnI", true, {e.node}));
        return integer(TavNumToInt(e.num), _world.make("TavNumToIntI", true, {e.node}));
      }
      case 7: {
        const auto [a, b] = operands(depth, true);
        switch (pick(4)) {
          case 0:
            return integer(TavMin(a.in, b.in), _world.make("TavIntMinI", true, {a.node, b.node}));
          case 1:
            return integer(TavMax(a.in, b.in), _world.make("TavIntMaxI", true, {a.node, b.node}));
          case 2:
            return integer(TavMin(k, a.in), withConstant(_world.make("TavIntMinCstI", true, {a.node}), k));
          default:
            return integer(TavMax(a.in, k), withConstant(_world.make("TavIntMaxCstI", true, {a.node}), k));
        }
      }
      case 8:
        return integerTermSum(depth);
      default:
        return integerArray(depth);
    }
  }

  Val integerSum(int depth) {
    const TavInt k = whole();
    if (pick(3) == 0) {
      const Val e = expression(depth - 1, true);
      switch (pick(4)) {
        case 0:
          return integer(e.in + k, _world.plus(e.node, k));
        case 1:
          return integer(e.in - k, _world.plus(e.node, TavWrapNegate(k)));
        case 2:
          return integer(k - e.in, _world.plus(_world.times(e.node, TavInt{-1}), k));
        default:
          return integer(-e.in, _world.times(e.node, TavInt{-1}));
      }
    }
    const auto [a, b] = operands(depth, true);
    if (pick(2) == 0) return integer(a.in - b.in, _world.difference(a.node, b.node, true));
    return integer(a.in + b.in, _world.sum(a.node, b.node, true));
  }

  Val integerTermSum(int depth) {
    const TavInt k = pick(11) - 5;
    const auto coef = static_cast<double>(k);
    Node* var = intVar();
    switch (pick(5)) {
      case 0:
        return integer(k * intVarOf(var), _world.times(var, k));
      case 1:
        return integer(intVarOf(var) * k + 2, _world.plus(_world.times(var, k), TavInt{2}));
      default:
        break;
    }
    const Val e = expression(depth - 1, true);
    switch (pick(3)) {
      case 0:
        return integer(e.in - intVarOf(var) * k, _world.sumTerm(e.node, var, -coef, true, false));
      case 1:
        return integer(k * intVarOf(var) + e.in, _world.sumTerm(e.node, var, coef, true, true));
      default:
        return integer(k * intVarOf(var) - e.in,
                       _world.sumTerm(_world.times(e.node, TavInt{-1}), var, coef, true, true));
    }
  }

  Val integerQuotient(int depth) {
    const TavInt k = whole();
    const auto [a, b] = operands(depth, true);
    switch (pick(6)) {
      case 0:
        return integer(TavDiv(a.in, b.in), _world.make("TavIntDivI", true, {a.node, b.node}));
      case 1:
        return integer(TavDiv(a.in, k), withConstant(_world.make("TavIntDivCstI", true, {a.node}), k));
      case 2:
        return integer(TavDiv(k, a.in), withConstant(_world.make("TavIntRecDivCstI", true, {a.node}), k));
      case 3:
        return integer(a.in % b.in, _world.make("TavIntModuloI", true, {a.node, b.node}));
      case 4:
        return integer(a.in % k, withConstant(_world.make("TavIntModuloCstI", true, {a.node}), k));
      default:
        return integer(k % a.in, withConstant(_world.make("TavIntRecModuloCstI", true, {a.node}), k));
    }
  }

  Val integerArray(int depth) {
    const int kind = pick(7);
    if (kind == 0) {
      auto [array, nodes] = varArray<TavIntVarArray>();
      const Val made = pick(2) == 0 ? integer(TavMin(array), _world.make("TavIntMinArrayI", true, nodes))
                                    : integer(TavSum(array), sumOf(nodes, true));
      array.end();
      return made;
    }
    if (kind == 1) {
      TavIntArray array(_env, 0);
      for (int i = pick(5); i > 0; --i) array.add(whole());
      const Val index = expression(depth - 1, true);
      Node* node = _world.make("TavIntArrayElementI", true, {index.node});
      for (TavInt i = 0; i < array.getSize(); ++i) {
        node->ints.push_back(array[i]);
        node->nums.push_back(static_cast<double>(array[i]));
      }
      const Val made = integer(array[index.in], node);
      array.end();
      return made;
    }
    auto [array, nodes] = arrayOf<TavIntExprArray>(depth, kind == 2 ? 1 : 0, 11);
    Val made;
    if (kind == 2) {
      const TavInt k = pick(5) - 2;
      made = integer(TavCount(array, k), withConstant(_world.make("TavCountI", true, nodes), k));
    } else if (kind == 3) {
      const Val index = expression(depth - 1, true);
      nodes.insert(nodes.begin(), index.node);
      made = integer(array[index.in], _world.make("TavIntExprArrayElementI", true, nodes));
    } else if (kind == 4) {
      made = integer(TavMax(array), _world.make("TavIntMaxArrayI", true, nodes));
    } else {
      made = integer(TavSum(array), sumOf(nodes, true));
    }
    array.end();
    return made;
  }

  // ---- statements

  void statement() {
    switch (_handles.size() < 2 ? 0 : pick(5)) {
      case 0:
      case 1:
        keep(expression(3, pick(3) == 0));
        break;
      case 2:
      case 3:
        edit(_handles[static_cast<std::size_t>(pick(static_cast<int>(_handles.size())))]);
        break;
      default:
        dropHandle(static_cast<std::size_t>(pick(static_cast<int>(_handles.size()))));
    }
  }

  void keep(const Val& value) {
    check(value.node);
    if (model::weight(value.node, 300) > 300) return;
    const int kind = pick(3);
    Handle handle{'n', {}, {}, {}, value.node};
    if (kind == 0) {
      handle.kind = 'l';
      handle.linear = TavExpr(value.num);
      handle.node = _world.toNumeric(value.node);
      bind(handle.node, handle.linear.getImpl());
    } else if (kind == 1 && value.isInt()) {
      handle.kind = 'i';
      handle.integer = TavIntExpr(value.in);
    } else {
      handle.num = TavNumExpr(value.num);
    }
    ++handle.node->refs;
    _handles.push_back(handle);
  }

  void dropHandle(std::size_t i) {
    Handle handle = _handles[i];
    _handles.erase(_handles.begin() + static_cast<std::ptrdiff_t>(i));
    _world.release(handle.node);
    if (handle.kind == 'l') handle.linear.end();
    if (handle.kind == 'i') handle.integer.end();
    if (handle.kind == 'n') handle.num.end();
  }

  void edit(Handle& handle) {
    if (handle.kind == 'l') return editLinear(handle);
    if (model::weight(handle.node, 200) > 200) return;
    const Val e = expression(2, handle.kind == 'i');
    Node* old = handle.node;
    --old->refs;
    if (handle.kind == 'i') {
      editInteger(handle, e);
    } else {
      editNumeric(handle, e);
    }
    ++handle.node->refs;
    check(handle.node);
  }

  void editInteger(Handle& handle, const Val& e) {
    const TavInt k = whole();
    Node* old = handle.node;
    switch (pick(5)) {
      case 0:
        handle.node = _world.sum(old, e.node, true);
        handle.integer += e.in;
        break;
      case 1:
        handle.node = _world.difference(old, e.node, true);
        handle.integer -= e.in;
        break;
      case 2:
        handle.node = _world.plus(old, k);
        handle.integer += k;
        break;
      case 3:
        handle.node = _world.plus(old, TavWrapNegate(k));
        handle.integer -= k;
        break;
      default:
        handle.node = _world.times(old, k);
        handle.integer *= k;
    }
    bind(handle.node, handle.integer.getImpl());
  }

  void editNumeric(Handle& handle, const Val& e) {
    const double d = constant();
    Node* old = handle.node;
    switch (pick(6)) {
      case 0:
        handle.node = _world.sum(old, e.node, false);
        handle.num += e.num;
        break;
      case 1:
        handle.node = _world.difference(old, e.node, false);
        handle.num -= e.num;
        break;
      case 2:
        handle.node = _world.plus(old, d);
        handle.num += d;
        break;
      case 3:
        handle.node = _world.plus(old, -d);
        handle.num -= d;
        break;
      case 4:
        handle.node = _world.times(old, d);
        handle.num *= d;
        break;
      default:
        handle.node = _world.over(old, d);
        handle.num /= d;
    }
    bind(handle.node, handle.num.getImpl());
  }

  /// The model's copy on write.
  Node* privateNode(Handle& handle) {
    if (handle.node->refs > 1) {
      --handle.node->refs;
      handle.node = _world.copy(handle.node);
      ++handle.node->refs;
    }
    return handle.node;
  }

  void editLinear(Handle& handle) {
    const double d = constant();
    const TavInt k = pick(9) - 4;
    Node* var = anyVar();
    Node* ivar = intVar();
    TavExpr& e = handle.linear;
    const int what = pick(13);
    Val operand;
    if (what >= 11) operand = expression(2, false);
    if (what == 10 && !handle.node->ops.empty()) return checkNonLinear(handle);
    Node* n = privateNode(handle);
    switch (what) {
      case 0:
        n->c += d;
        e += d;
        break;
      case 1:
        n->c -= d;
        e -= d;
        break;
      case 2:
        n->terms.emplace_back(var, 1.0);
        e += numVarOf(var);
        break;
      case 3:
        n->terms.emplace_back(ivar, -1.0);
        e -= intVarOf(ivar);
        break;
      case 4:
        n->terms.emplace_back(var, d);
        e += d * numVarOf(var);
        break;
      case 5:
        n->terms.emplace_back(ivar, -static_cast<double>(k));
        e -= intVarOf(ivar) * k;
        break;
      case 6:
        _world.multiply(n, d, 0);
        e *= d;
        break;
      case 7:
        _world.divide(n, d);
        e /= d;
        break;
      case 8:
        require(e.normalize() == (_world.normalize(n) == 0), "normalize() answers wrongly");
        break;
      case 9:
        require(sameValue(e.setLinearCoef(numVarOf(var), d), _world.setCoef(n, var, d)), "setLinearCoef");
        break;
      case 10:
        n->c = d;
        e.setNumConstant(d);
        break;
      case 11:
        _world.addInPlace(n, operand.node, false);
        e += operand.num;
        break;
      default:
        _world.addInPlace(n, operand.node, true);
        e -= operand.num;
    }
    bind(handle.node, e.getImpl());
    check(handle.node);
  }

  void checkNonLinear(const Handle& handle) {
    try {
      TavExpr(handle.linear).setNumConstant(1.0);
    } catch (const TavNumExpr::NonLinearExpression&) {
      return;
    }
    throw Difference{"the constant of a sum with parts could be set"};
  }

  /// An operation over two environments is refused and changes nothing.
  void checkMismatch() {
    TavNumVar stranger(_foreign, 0.0, 1.0, "stranger");
    const Val e = leaf(false);
    bool refused = false;
    try {
      static_cast<void>(pick(2) == 0 ? e.num + stranger : stranger - e.num);
    } catch (const TavWrongUsage&) {
      refused = true;
    }
    require(refused, "operands of two environments were accepted");
  }

  // ---- checks

  void checkAgainst(const Node* node, TavNumExprI* real, Values& values, const model::Naming& naming) {
    for (const bool library : {false, true}) {
      real->getEnv()->librarySyntaxDisplay = library;
      const std::string wanted = withoutNanSigns(model::text(node, library, naming));
      const std::string got = withoutNanSigns(textOf(real));
      require(wanted == got, "text of " + node->cls + ":\n  wanted |" + wanted + "|\n  got    |" + got + "|");
    }
    real->getEnv()->librarySyntaxDisplay = false;
    require(model::isInteger(node, naming) == real->isInteger(), "isInteger of " + node->cls + " " + textOf(real));
    double wanted = 0.0;
    bool throws = false;
    try {
      wanted = model::eval(node, naming);
    } catch (const model::Undefined&) {
      return;
    } catch (const model::Throws&) {
      throws = true;
    }
    try {
      const double got = real->eval(TavAlgorithm(&values));
      std::ostringstream what;
      what << "value of " << model::text(node, true, naming) << ": wanted " << wanted << ", got " << got;
      require(!throws && sameValue(wanted, got), what.str());
    } catch (const TavException& failure) {
      require(throws, std::string("evaluation throws ") + failure.what());
    }
  }

  void check(const Node* node) {
    checkAgainst(node, node->real, _values, _naming);
    struct Visitor final : TavExtractableVisitor {
      std::vector<TavExtractableI*> seen;
      void beginVisit(TavExtractableI*) override {}
      void visitChild(TavExtractableI*, TavExtractableI* child) override { seen.push_back(child); }
      void endVisit(TavExtractableI*) override {}
    } visitor;
    node->real->visitSubExtractables(&visitor);
    const auto wanted = model::children(node);
    require(wanted.size() == visitor.seen.size(), "number of sub-objects of " + node->cls);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      require(!wanted[i]->real || wanted[i]->real == visitor.seen[i], "order of sub-objects of " + node->cls);
    }
  }

  void checkBalance() {
    require(_world.liveNodes() == _env.getImpl()->liveObjectCount(),
            "objects alive: wanted " + std::to_string(_world.liveNodes()) + ", got " +
                std::to_string(_env.getImpl()->liveObjectCount()));
    require(_world.liveTerms() == _env.getImpl()->liveTermCount(), "cells alive");
    TavInt bytes = _baseBytes;
    for (const auto& node : _world.all()) {
      if (node->dead) {
        // The copy of a constant array stays with the environment.
        if (node->cls == "TavNumArrayElementI" || node->cls == "TavIntArrayElementI") bytes += bytesOf(*node) - 56;
        continue;
      }
      if (node->real) require(node->refs == node->real->getRefCount(), "count of " + node->cls);
      bytes += bytesOf(*node);
    }
#ifdef TAV_PLAIN_ALLOC
    bytes += static_cast<TavInt>(sizeof(TavNumLinExprTermI)) * _world.liveTerms();  // no cell pool of their own there
#endif
    const TavInt used = _env.getImpl()->getMemory()->usedBytes();
    require(bytes == used, "bytes in use: wanted " + std::to_string(bytes) + ", got " + std::to_string(used));
  }

  /// Object, parts and private arrays.
  static TavInt bytesOf(const Node& n) {
    const auto array = [](std::size_t size) {
      TavInt words = size == 0 ? 0 : 4;
      while (words < static_cast<TavInt>(size)) words *= 2;
      return static_cast<TavInt>((sizeof(TavArrayI) + 7) / 8 * 8) + 8 * words;
    };
    if (model::isVar(&n)) return 0;
    if (model::isLinear(&n)) return (n.isInt ? 80 : 88) + 16 * static_cast<TavInt>(n.ops.size());
    if (n.cls.find("ArrayElement") != std::string::npos) {
      return 56 + array(n.cls.find("ExprArray") != std::string::npos ? n.ops.size() - 1 : n.nums.size());
    }
    if (n.cls == "TavCountI") return 56 + array(n.ops.size());
    if (n.cls == "TavStandardDeviationI") return 64 + array(n.ops.size());
    if (n.cls.find("Array") != std::string::npos) return 48 + array(n.ops.size());
    if (n.cls == "TavExprPiecewiseLinearI") return 88 + array(n.nums.size()) + array(n.nums2.size());
    if (n.cls == "TavMonotonicNumExprI") return 72;
    const bool pair = n.ops.size() == 2 || n.cls.find("Cst") != std::string::npos;
    return pair ? 56 : 48;
  }

  void checkClone() {
    if (_handles.empty()) return;
    const Node* node = _handles[static_cast<std::size_t>(pick(static_cast<int>(_handles.size())))].node;
    TavClonePass pass(_env.getImpl(), _target.getImpl());
    auto* clone = static_cast<TavNumExprI*>(pass.clone(node->real));
    CloneNaming naming;
    for (const Node* var : _vars) {
      const auto* copy = static_cast<const TavNumVarI*>(_target.getImpl()->getClone(var->real));
      naming.clones[var] = copy;
      if (copy) _cloneValues.values[copy] = var->value;
    }
    require(clone->getRefCount() == (model::isVar(node) ? clone->getRefCount() : 0), "a clone starts uncounted");
    checkAgainst(node, clone, _cloneValues, naming);
  }

  std::mt19937 _random;
  TavEnv _env, _target, _foreign;
  Values _values, _cloneValues;
  model::World _world;
  OwnNaming _naming;
  std::vector<Node*> _vars;
  int _firstInt = 0;
  std::vector<Handle> _handles;
  TavInt _baseBytes = 0;
};

}  // namespace

std::string runRandomProgram(unsigned seed) {
  Program program(seed);
  try {
    program.run();
  } catch (const Difference& difference) {
    return difference.what;
  } catch (const std::exception& failure) {
    return std::string("unexpected exception: ") + failure.what();
  }
  return "";
}
