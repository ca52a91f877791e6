#include "tests/support/random_programs.h"

#include <bit>
#include <functional>
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
  TavInt integerConstant() { return pick(8) == 0 ? std::numeric_limits<TavInt>::max() - pick(3) : pick(11) - 5; }
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

  /// Runs one of the makers.
  template <class... Maker>
  auto oneOf(Maker... maker) {
    using Result = std::common_type_t<decltype(maker())...>;
    const std::function<Result()> makers[] = {maker...};
    return makers[pick(sizeof...(maker))]();
  }
  Node* num(const char* cls, std::vector<Node*> ops, double c = 0.0) {
    Node* node = _world.make(cls, false, std::move(ops));
    node->c = c;
    return node;
  }
  Node* whole(const char* cls, std::vector<Node*> ops, TavInt k = 0) {
    Node* node = _world.make(cls, true, std::move(ops));
    node->k = k;
    return node;
  }

  Val leaf(bool wantInt) {
    for (int tries = 0; tries < 3 && !_handles.empty(); ++tries) {
      const Handle& h = _handles[static_cast<std::size_t>(pick(static_cast<int>(_handles.size())))];
      if ((wantInt && !h.node->isInt) || model::weight(h.node, 60) > 60) continue;
      if (!h.node->isInt) return {TavNumExprArg(h.node->real), TavIntExprArg(), h.node};
      const TavIntExprArg arg(static_cast<TavIntExprI*>(h.node->real));
      return {arg, arg, h.node};
    }
    Node* var = wantInt ? intVar() : anyVar();
    if (var->varIsInteger) return {intVarOf(var), intVarOf(var), var};
    return {numVarOf(var), TavIntExprArg(), var};
  }

  Val expression(int depth, bool wantInt) {
    if (depth <= 0 || pick(5) == 0) return leaf(wantInt);
    if (pick(6) == 0) return wantInt ? integerArray(depth) : numericArray(depth);
    if (wantInt || pick(3) == 0) return integerExpression(depth);
    return pick(3) == 0 ? numericFunction(depth) : numericExpression(depth);
  }

  /// Two operands, now and then the same one twice. What a maker does not use stays as a temporary.
  std::pair<Val, Val> operands(int depth, bool wantInt) {
    const Val a = expression(depth - 1, wantInt);
    if (pick(6) == 0) return {a, a};
    return {a, expression(depth - 1, wantInt)};
  }

  Val numericExpression(int depth) {
    const auto operandPair = operands(depth, false);
    const Val &a = operandPair.first, &b = operandPair.second;
    const double d = constant();
    const TavInt k = integerConstant();
    const auto kd = static_cast<double>(k);
    Node *v = anyVar(), *w = intVar();
    const TavNumVar x = numVarOf(v);
    const TavIntVar i = intVarOf(w);
    model::World& m = _world;
    return oneOf([&] { return numeric(a.num + b.num, m.sum(a.node, b.node, false)); },
                 [&] { return numeric(a.num + b.num, m.sum(a.node, b.node, false)); },
                 [&] { return numeric(a.num - b.num, m.difference(a.node, b.node, false)); },
                 [&] { return numeric(a.num + d, m.plus(a.node, d)); },
                 [&] { return numeric(a.num - d, m.plus(a.node, -d)); },
                 [&] { return numeric(d - a.num, m.plus(m.times(a.node, -1.0), d)); },
                 [&] { return numeric(-a.num, m.times(a.node, -1.0)); }, [&] { return numeric(x * d, m.times(v, d)); },
                 [&] { return numeric(i * k + x * d, m.sumTerm(m.times(w, kd), v, d, false, false)); },
                 [&] { return numeric(x * d - k * i, m.sumTerm(m.times(v, d), w, -kd, false, false)); },
                 [&] { return numeric(d * x + k, m.plus(m.times(v, d), kd)); },
                 [&] { return numeric(a.num + d * x, m.sumTerm(a.node, v, d, false, false)); },
                 [&] { return numeric(a.num - i * k, m.sumTerm(a.node, w, -kd, false, false)); },
                 [&] { return numeric(d * x + a.num, m.sumTerm(a.node, v, d, false, true)); },
                 [&] { return numeric(i * k - a.num, m.sumTerm(m.times(a.node, -1.0), w, kd, false, true)); },
                 [&] { return numeric(a.num * b.num, m.product(a.node, b.node, false)); },
                 [&] { return numeric(d * a.num, m.times(a.node, d)); },
                 [&] {
                   return numeric(a.num / b.num, num("TavNumDivI", {a.node, b.node}));
                 },
                 [&] { return numeric(a.num / d, m.over(a.node, d)); },
                 [&] { return numeric(d / a.num, num("TavNumRecDivCstI", {a.node}, d)); },
                 [&] {
                   return numeric(TavPower(a.num, b.num), num("TavNumPowerI", {a.node, b.node}));
                 },
                 [&] { return numeric(TavPower(a.num, d), num("TavNumPowerCstI", {a.node}, d)); },
                 [&] { return numeric(TavPower(d, a.num), num("TavNumRecPowerCstI", {a.node}, d)); },
                 [&] {
                   return numeric(TavMin(a.num, b.num), num("TavNumMinI", {a.node, b.node}));
                 },
                 [&] {
                   return numeric(TavMax(a.num, b.num), num("TavNumMaxI", {a.node, b.node}));
                 },
                 [&] { return numeric(TavMin(a.num, d), num("TavNumMinCstI", {a.node}, d)); },
                 [&] { return numeric(TavMax(d, a.num), num("TavNumMaxCstI", {a.node}, d)); });
  }

  Val numericFunction(int depth) {
    using Build = TavNumExprArg (*)(TavNumExprArg);
    static const std::pair<const char*, Build> kFunctions[] = {
        {"TavNumSquareI", TavSquare}, {"TavNumAbsI", TavAbs},
        {"TavSinI", TavSin},          {"TavCosI", TavCos},
        {"TavTanI", TavTan},          {"TavArcSinI", TavArcSin},
        {"TavArcCosI", TavArcCos},    {"TavArcTanI", TavArcTan},
        {"TavLogI", TavLog},          {"TavExponentI", TavExponent},
        {"TavNumCeilI", TavCeil},     {"TavNumFloorI", TavFloor},
        {"TavNumTruncI", TavTrunc},   {"TavDistToIntI", TavDistToInt},
        {"TavNumFractI", TavFract},   {"TavNumRoundI", TavVurRound}};
    const Val e = expression(depth - 1, false);
    const int i = pick(20);
    if (i < 16) return numeric(kFunctions[i].second(e.num), num(kFunctions[i].first, {e.node}));
    if (i == 16) return numeric(TavLog2(e.num), _world.over(num("TavLogI", {e.node}), std::log(2.0)));
    if (i == 17) return numeric(TavLog10(e.num), _world.over(num("TavLogI", {e.node}), std::log(10.0)));
    if (i == 18) return piecewise(e);
    Node* node = num("TavMonotonicNumExprI", {e.node});
    node->k = pick(2);
    const auto square = [](double v) { return v * v; };
    return numeric(node->k ? TavMonotonicDecreasingNumExpr(e.num, square, square)
                           : TavMonotonicIncreasingNumExpr(e.num, square, square),
                   node);
  }

  Val piecewise(const Val& e) {
    Node* node = num("TavExprPiecewiseLinearI", {e.node}, pick(9) - 4);
    node->c2 = pick(9) - 4;
    node->k = pick(3) > 0;
    TavNumArray points(_env, 0), second(_env, 0);
    const int n = 2 + pick(3);
    double at = pick(10) - 5;
    for (int i = 0; i < n; ++i, at += pick(3)) node->nums.push_back(at);
    for (int i = 0; i < n + static_cast<int>(node->k); ++i) node->nums2.push_back(pick(9) - 4);
    for (double value : node->nums) points.add(value);
    for (double value : node->nums2) second.add(value);
    const Val made = numeric(node->k ? TavPiecewiseLinear(e.num, points, second, node->c, node->c2)
                                     : TavPiecewiseLinear(e.num, node->c, points, second, node->c2),
                             node);
    points.end();
    second.end();
    return made;
  }

  Val integerExpression(int depth) {
    const auto operandPair = operands(depth, true);
    const Val &a = operandPair.first, &b = operandPair.second;
    const Val e = leaf(false);
    const TavInt k = integerConstant(), c = pick(11) - 5;
    const auto cd = static_cast<double>(c);
    Node* w = intVar();
    const TavIntVar i = intVarOf(w);
    model::World& m = _world;
    return oneOf([&] { return integer(a.in + b.in, m.sum(a.node, b.node, true)); },
                 [&] { return integer(a.in + b.in, m.sum(a.node, b.node, true)); },
                 [&] { return integer(a.in - b.in, m.difference(a.node, b.node, true)); },
                 [&] { return integer(a.in + k, m.plus(a.node, k)); },
                 [&] { return integer(a.in - k, m.plus(a.node, TavWrapNegate(k))); },
                 [&] { return integer(k - a.in, m.plus(m.times(a.node, TavInt{-1}), k)); },
                 [&] { return integer(-a.in, m.times(a.node, TavInt{-1})); },
                 [&] { return integer(c * i, m.times(w, c)); },
                 [&] { return integer(i * c + 2, m.plus(m.times(w, c), TavInt{2})); },
                 [&] { return integer(a.in - i * c, m.sumTerm(a.node, w, -cd, true, false)); },
                 [&] { return integer(c * i + a.in, m.sumTerm(a.node, w, cd, true, true)); },
                 [&] { return integer(c * i - a.in, m.sumTerm(m.times(a.node, TavInt{-1}), w, cd, true, true)); },
                 [&] { return integer(a.in * b.in, m.product(a.node, b.node, true)); },
                 [&] { return integer(k * a.in, m.times(a.node, k)); },
                 [&] {
                   return integer(TavDiv(a.in, b.in), whole("TavIntDivI", {a.node, b.node}));
                 },
                 [&] { return integer(TavDiv(a.in, k), whole("TavIntDivCstI", {a.node}, k)); },
                 [&] { return integer(TavDiv(k, a.in), whole("TavIntRecDivCstI", {a.node}, k)); },
                 [&] {
                   return integer(a.in % b.in, whole("TavIntModuloI", {a.node, b.node}));
                 },
                 [&] { return integer(a.in % k, whole("TavIntModuloCstI", {a.node}, k)); },
                 [&] { return integer(k % a.in, whole("TavIntRecModuloCstI", {a.node}, k)); },
                 [&] { return integer(TavSquare(a.in), whole("TavIntSquareI", {a.node})); },
                 [&] { return integer(TavAbs(a.in), whole("TavIntAbsI", {a.node})); },
                 [&] { return integer(TavSgn(e.num), whole("TavSgnI", {e.node})); },
                 [&] { return integer(TavNumToInt(e.num), whole("TavNumToIntI", {e.node})); },
                 [&] {
                   return integer(TavMin(a.in, b.in), whole("TavIntMinI", {a.node, b.node}));
                 },
                 [&] {
                   return integer(TavMax(a.in, b.in), whole("TavIntMaxI", {a.node, b.node}));
                 },
                 [&] { return integer(TavMin(k, a.in), whole("TavIntMinCstI", {a.node}, k)); },
                 [&] { return integer(TavMax(a.in, k), whole("TavIntMaxCstI", {a.node}, k)); });
  }

  /// An array of elements that element(i) gives; their nodes are appended to `nodes`.
  template <class Array, class Element>
  Array arrayOf(int size, std::vector<Node*>& nodes, Element element) {
    Array made(_env, 0);
    for (int i = 0; i < size; ++i) {
      const Val e = element(i);
      TavExtractableI* impl = e.node->real;
      made.getImpl()->add(&impl);
      nodes.push_back(e.node);
    }
    return made;
  }
  static std::vector<Node*> indexed(const Val& index, std::vector<Node*> nodes) {
    nodes.insert(nodes.begin(), index.node);
    return nodes;
  }

  Val numericArray(int depth) {
    std::vector<Node*> nodes, rightNodes, varNodes, intNodes;
    const auto element = [&](int i) { return i > 3 ? leaf(false) : expression(depth - 1, false); };
    auto exprs = arrayOf<TavNumExprArray>(pick(13), nodes, element);
    const int size = static_cast<int>(nodes.size());
    auto right = arrayOf<TavNumExprArray>(size, rightNodes, [&](int) { return leaf(false); });
    auto vars = arrayOf<TavNumVarArray>(pick(5), varNodes, [&](int) { return Val{{}, {}, anyVar()}; });
    auto ints = arrayOf<TavIntExprArray>(1 + pick(3), intNodes, [&](int) { return leaf(true); });
    const Val index = expression(depth - 1, true);
    TavNumArray numbers(_env, 0);
    for (std::size_t i = 0; i < varNodes.size(); ++i) numbers.add(constant());
    const Val made =
        oneOf([&] { return numeric(TavMin(exprs), num("TavNumMinArrayI", nodes)); },
              [&] { return numeric(TavMax(exprs), num("TavNumMaxArrayI", nodes)); },
              [&] { return numeric(TavMax(vars), num("TavNumMaxArrayI", varNodes)); },
              [&] { return numeric(TavSum(exprs), sumOf(nodes, false)); },
              [&] { return numeric(TavSum(vars), sumOf(varNodes, false)); },
              [&] { return numeric(TavScalProd(exprs, right), products(nodes, rightNodes)); },
              [&] { return numeric(TavScalProd(numbers, vars), scalarProduct(varNodes, numbers)); },
              [&] { return numeric(TavStandardDeviation(ints), num("TavStandardDeviationI", intNodes)); },
              [&] { return numeric(exprs[index.in], num("TavNumExprArrayElementI", indexed(index, nodes))); },
              [&] {
                Node* node = num("TavNumArrayElementI", {index.node});
                for (TavInt i = 0; i < numbers.getSize(); ++i) node->nums.push_back(numbers[i]);
                return numeric(TavElement(numbers, index.in), node);
              });
    exprs.end();
    right.end();
    vars.end();
    ints.end();
    numbers.end();
    return made;
  }

  Val integerArray(int depth) {
    std::vector<Node*> nodes, varNodes;
    const auto element = [&](int i) { return i > 3 ? leaf(true) : expression(depth - 1, true); };
    auto exprs = arrayOf<TavIntExprArray>(1 + pick(11), nodes, element);
    auto vars = arrayOf<TavIntVarArray>(pick(5), varNodes, [&](int) { return Val{{}, {}, intVar()}; });
    const Val index = expression(depth - 1, true);
    const TavInt k = pick(5) - 2;
    TavIntArray numbers(_env, 0);
    for (std::size_t i = 0; i < varNodes.size(); ++i) numbers.add(integerConstant());
    const Val made =
        oneOf([&] { return integer(TavMin(vars), whole("TavIntMinArrayI", varNodes)); },
              [&] { return integer(TavMax(exprs), whole("TavIntMaxArrayI", nodes)); },
              [&] { return integer(TavSum(exprs), sumOf(nodes, true)); },
              [&] { return integer(TavSum(vars), sumOf(varNodes, true)); },
              [&] { return integer(TavCount(exprs, k), whole("TavCountI", nodes, k)); },
              [&] { return integer(exprs[index.in], whole("TavIntExprArrayElementI", indexed(index, nodes))); },
              [&] {
                Node* node = whole("TavIntArrayElementI", {index.node});
                for (TavInt i = 0; i < numbers.getSize(); ++i) {
                  node->ints.push_back(numbers[i]);
                  node->nums.push_back(static_cast<double>(numbers[i]));
                }
                return integer(numbers[index.in], node);
              });
    exprs.end();
    vars.end();
    numbers.end();
    return made;
  }

  /// Sums and products of elements that stay as they are.
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
  Node* products(const std::vector<Node*>& left, const std::vector<Node*>& right) {
    Node* sum = _world.linear(false, 0.0);
    for (std::size_t i = 0; i < left.size(); ++i) {
      ++left[i]->refs;
      ++right[i]->refs;
      sum->ops.push_back(_world.product(left[i], right[i], false));
      ++sum->ops.back()->refs;
      --left[i]->refs;
      --right[i]->refs;
    }
    return sum;
  }
  Node* scalarProduct(const std::vector<Node*>& vars, TavNumArray coefs) {
    Node* sum = _world.linear(false, 0.0);
    for (std::size_t i = 0; i < vars.size(); ++i) sum->terms.emplace_back(vars[i], coefs[static_cast<TavInt>(i)]);
    return sum;
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
    const TavInt k = integerConstant();
    Node* old = handle.node;
    TavIntExpr& h = handle.integer;
    model::World& m = _world;
    handle.node =
        oneOf([&] { return h += e.in, m.sum(old, e.node, true); },
              [&] { return h -= e.in, m.difference(old, e.node, true); }, [&] { return h += k, m.plus(old, k); },
              [&] { return h -= k, m.plus(old, TavWrapNegate(k)); }, [&] { return h *= k, m.times(old, k); });
    bind(handle.node, h.getImpl());
  }

  void editNumeric(Handle& handle, const Val& e) {
    const double d = constant();
    Node* old = handle.node;
    TavNumExpr& h = handle.num;
    model::World& m = _world;
    handle.node = oneOf([&] { return h += e.num, m.sum(old, e.node, false); },
                        [&] { return h -= e.num, m.difference(old, e.node, false); },
                        [&] { return h += d, m.plus(old, d); }, [&] { return h -= d, m.plus(old, -d); },
                        [&] { return h *= d, m.times(old, d); }, [&] { return h /= d, m.over(old, d); });
    bind(handle.node, h.getImpl());
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
    Node *v = anyVar(), *w = intVar();
    const TavNumVar x = numVarOf(v);
    const TavIntVar i = intVarOf(w);
    TavExpr& e = handle.linear;
    const Val operand = pick(3) == 0 ? expression(2, false) : Val{};
    if (!operand.node && pick(10) == 0 && !handle.node->ops.empty()) return checkNonLinear(handle);
    Node* n = privateNode(handle);
    const auto clear = [&](Node* linear) {
      for (Node* part : std::exchange(linear->ops, {})) _world.release(part);
      linear->terms.clear();
    };
    const auto constantOf = [&](double value) { n->c = value; };
    const auto term = [&](Node* var, double coef) { n->terms.emplace_back(var, coef); };
    if (operand.node) {
      oneOf([&] { e += operand.num, _world.addInPlace(n, operand.node, false); },
            [&] { e -= operand.num, _world.addInPlace(n, operand.node, true); });
    } else {
      oneOf([&] { e += d, constantOf(n->c + d); }, [&] { e -= d, constantOf(n->c - d); }, [&] { e += x, term(v, 1.0); },
            [&] { e -= i, term(w, -1.0); }, [&] { e += d * x, term(v, d); },
            [&] { e -= i * k, term(w, -static_cast<double>(k)); }, [&] { e *= d, _world.multiply(n, d, 0); },
            [&] { e /= d, _world.divide(n, d); },
            [&] { require(e.normalize() == (_world.normalize(n) == 0), "normalize() answers wrongly"); },
            [&] { require(sameValue(e.setLinearCoef(x, d), _world.setCoef(n, v, d)), "setLinearCoef"); },
            [&] {
              if (!n->ops.empty()) e.clear(), clear(n);
              e.setNumConstant(d), constantOf(d);
            });
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
