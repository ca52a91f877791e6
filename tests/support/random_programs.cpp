#include "tests/support/random_programs.h"

#include <array>
#include <bit>
#include <cmath>
#include <optional>
#include <sstream>

#include "tests/support/random_model.h"

namespace {

using model::Constant;
using model::Node;

/// What a program found to differ.
struct Difference {
  std::string what;
};

/// Values by variable.
class Valuation : public TavAlgorithmI {
 public:
  using TavAlgorithmI::TavAlgorithmI;
  std::map<const TavNumVarI*, double> values;
  double getValue(const TavNumVarI* variable) const override { return values.at(variable); }
};

/// The sign of a not-a-number is the processor's affair.
std::string withoutNanSigns(std::string text) {
  for (std::size_t at; (at = text.find("-nan")) != std::string::npos;) text.erase(at, 1);
  return text;
}

bool sameValue(double a, double b) {
  return (a != a && b != b) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

TavNumExprArg num(const Node* n) { return TavNumExprArg(n->real); }
TavIntExprArg whole(const Node* n) { return TavIntExprArg(static_cast<TavIntExprI*>(n->real)); }
TavNumVar numVar(const Node* n) { return TavNumVar(static_cast<TavNumVarI*>(n->real)); }
TavIntVar intVar(const Node* n) { return TavIntVar(static_cast<TavNumVarI*>(n->real)); }

class Program {
 public:
  Program(Choices choices, Shortage* shortage)
      : _choices(choices), _shortage(shortage), _valuation(_env.getImpl()), _cloneValuation(_target.getImpl()) {}
  ~Program() {
    _env.end();
    _target.end();
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void run() {
    makeVariables();
    const int statements = 4 + pick(10);
    for (int i = 0; i < statements; ++i) {
      if (_shortage && i == statements / 2) becomeShort();
      statement();
      checkBalance();
    }
    for (const Handle& handle : _handles) check(handle.node);
    checkClone();
    checkBalance();
    while (!_handles.empty()) dropHandle(_handles.size() - 1);
    checkBalance();
  }

 private:
  /// A counted handle: a TavExpr ('l'), a TavIntExpr ('i') or a TavNumExpr ('n').
  struct Handle {
    char kind;
    TavNumExpr num;
    TavExpr linear;
    TavIntExpr integer;
    Node* node;
  };

  int pick(int n) { return _choices.pick(n); }
  template <class T>
  T& oneOf(std::vector<T>& from) {
    return from[static_cast<std::size_t>(pick(static_cast<int>(from.size())))];
  }
  /// What the library makes, and the same by the model.
  struct Operation {
    std::function<TavNumExprArg()> real;
    std::function<Node*()> model;
  };
  /// Runs one of the operations; `begun` is told between what the library and what the model does.
  Node* run(
      std::initializer_list<Operation> operations, const std::function<void()>& begun = [] {}) {
    const Operation& operation = operations.begin()[pick(static_cast<int>(operations.size()))];
    TavNumExprArg made;
    attempt([&] { made = operation.real(); });
    begun();
    return bind(operation.model(), made);
  }
  /// A call of the library. One that fails for want of memory has changed nothing and is made again.
  void attempt(const std::function<void()>& call) {
    for (_before = balance(); _shortage ? _shortage->refuses(call) : (call(), false);) {
      require(balance() == _before, "a failed call has left something");
      for (const auto& node : _world.all()) {
        if (node->dead) continue;
        checkCount(node.get());
        if (node->real && !node->isVar() && model::weight(node.get(), 60) <= 60) check(node.get());
      }
    }
  }
  /// A term that an operation takes; when the operation fails it stays as it is for the next attempt.
  template <class Term>
  struct Loose {
    std::optional<Term> term;
    double coef = 0.0;
  };
  template <class Term, class Make>
  Term take(Loose<Term>& loose, Make make) {
    if (!loose.term) {
      loose.term = make();
      loose.coef = loose.term->getCoef();
      _before = balance();
    }
    require(sameValue(loose.term->getCoef(), loose.coef), "a failed call has changed a term");
    return *loose.term;
  }
  double constant() {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    static const double kSome[] = {0.0, -0.0, 1.0, -1.0, 2.0, 0.5, -2.5, 3.0, 1e9, 0.1, 1e-3, kInf, std::nan("")};
    const int i = pick(26);
    return i < 13 ? kSome[i] : pick(200) / 8.0 - 12.0;
  }
  TavInt smallInteger() { return pick(11) - 5; }
  TavInt integerConstant() { return pick(8) == 0 ? std::numeric_limits<TavInt>::max() - pick(3) : smallInteger(); }

  static void require(bool holds, const std::string& what, const Node* node = nullptr) {
    if (!holds) throw Difference{what + (node ? " of " + model::text(node, true, ownVariable) : "")};
  }

  static void same(double answer, double wanted) { require(sameValue(answer, wanted), "what an edit answers"); }

  /// Ties a model node to the library's; an in-place result must be the very node.
  Node* bind(Node* node, TavNumExprArg real) {
    require(!node->real || node->real == real.getImpl(), "another node than the one that was to be changed in place");
    node->real = real.getImpl();
    require(node->is(node->real->getRttiTypeName()), "class", node);
    return node;
  }

  void makeVariables() {
    const auto add = [this](TavNumVar var, const char* cls) {
      _vars.push_back(_world.make(model::sampleOf(cls), {}));
      _vars.back()->real = var.getImpl();
      _vars.back()->value = var.isInteger() && pick(3) > 0 ? static_cast<double>(pick(9) - 4) : constant();
      _valuation.values[var.getImpl()] = _vars.back()->value;
    };
    add(TavNumVar(_env, -1.0, 8.5, "x"), "TavNumVarI");
    add(TavNumVar(_env), "TavNumVarI");
    add(TavSemiContVar(_env, 2.0, 9.0, TavNumVar::Float, "s"), "TavSemiContVarI");
    add(TavIntVar(_env, -4, 4, "i"), "TavNumVarI");
    add(TavIntVar(_env, 0, 7), "TavNumVarI");
    add(TavBoolVar(_env, "b"), "TavNumVarI");
    _base[2] = balance()[2];
  }
  Node* anyVar() { return oneOf(_vars); }
  Node* anyIntVar() { return _vars[static_cast<std::size_t>(3 + pick(3))]; }

  Node* leaf(bool wantInt) {
    for (int tries = 0; tries < 3 && !_handles.empty(); ++tries) {
      Node* node = oneOf(_handles).node;
      if ((node->isInt() || !wantInt) && model::weight(node, 60) <= 60) return node;
    }
    return wantInt ? anyIntVar() : anyVar();
  }

  Node* expression(int depth, bool wantInt) {
    if (depth <= 0 || pick(5) == 0) return leaf(wantInt);
    wantInt = wantInt || pick(3) == 0;
    if (pick(2) == 0) return sample(depth, wantInt);
    return wantInt ? integerOperation(depth) : numericOperation(depth);
  }

  /// Two operands, now and then the same one twice. What a maker does not use stays as a temporary.
  std::pair<Node*, Node*> operands(int depth, bool wantInt) {
    Node* a = expression(depth - 1, wantInt);
    return {a, pick(6) == 0 ? a : expression(depth - 1, wantInt)};
  }

  Node* numericOperation(int depth) {
    const auto pair = operands(depth, false);
    Node *a = pair.first, *b = pair.second, *v = anyVar(), *w = anyIntVar();
    const double d = constant();
    const TavInt k = integerConstant();
    const auto kd = static_cast<double>(k);
    const TavNumVar x = numVar(v);
    const TavIntVar i = intVar(w);
    model::World& m = _world;
    Loose<TavNumLinExprTerm> xTerm;
    Loose<TavIntLinExprTerm> iTerm;
    const auto dx = [&] { return take(xTerm, [&] { return x * d; }); };
    const auto ki = [&] { return take(iTerm, [&] { return i * k; }); };
    return run({{[&] { return num(a) + num(b); }, [&] { return m.sum(a, b, false); }},
                {[&] { return num(a) + num(b); }, [&] { return m.sum(a, b, false); }},
                {[&] { return num(a) - num(b); }, [&] { return m.difference(a, b, false); }},
                {[&] { return num(a) + d; }, [&] { return m.plus(a, d); }},
                {[&] { return d - num(a); }, [&] { return m.plus(m.times(a, -1.0), d); }},
                {[&] { return -num(a); }, [&] { return m.times(a, -1.0); }},
                {[&] { return ki() + dx(); }, [&] { return m.sumTerm(m.times(w, kd), v, d, false, false); }},
                {[&] { return dx() - ki(); }, [&] { return m.sumTerm(m.times(v, d), w, -kd, false, false); }},
                {[&] { return dx() + k; }, [&] { return m.plus(m.times(v, d), kd); }},
                {[&] { return num(a) + dx(); }, [&] { return m.sumTerm(a, v, d, false, false); }},
                {[&] { return num(a) - ki(); }, [&] { return m.sumTerm(a, w, -kd, false, false); }},
                {[&] { return dx() + num(a); }, [&] { return m.sumTerm(a, v, d, false, true); }},
                {[&] { return ki() - num(a); }, [&] { return m.sumTerm(m.times(a, -1.0), w, kd, false, true); }},
                {[&] { return num(a) * num(b); }, [&] { return m.product(a, b); }},
                {[&] { return d * num(a); }, [&] { return m.times(a, d); }},
                {[&] { return num(a) / d; }, [&] { return m.over(a, d); }}});
  }

  Node* integerOperation(int depth) {
    const auto pair = operands(depth, true);
    Node *a = pair.first, *b = pair.second, *w = anyIntVar();
    const TavInt k = integerConstant(), c = smallInteger();
    const auto cd = static_cast<double>(c);
    const TavIntVar i = intVar(w);
    model::World& m = _world;
    Loose<TavIntLinExprTerm> term;
    const auto ci = [&] { return take(term, [&] { return c * i; }); };
    return run({{[&] { return whole(a) + whole(b); }, [&] { return m.sum(a, b, true); }},
                {[&] { return whole(a) + whole(b); }, [&] { return m.sum(a, b, true); }},
                {[&] { return whole(a) - whole(b); }, [&] { return m.difference(a, b, true); }},
                {[&] { return whole(a) + k; }, [&] { return m.plus(a, k); }},
                {[&] { return whole(a) - k; }, [&] { return m.plus(a, TavWrapNegate(k)); }},
                {[&] { return k - whole(a); }, [&] { return m.plus(m.times(a, TavInt{-1}), k); }},
                {[&] { return -whole(a); }, [&] { return m.times(a, TavInt{-1}); }},
                {[&] { return ci() + 2; }, [&] { return m.plus(m.times(w, c), TavInt{2}); }},
                {[&] { return whole(a) - ci(); }, [&] { return m.sumTerm(a, w, -cd, true, false); }},
                {[&] { return ci() + whole(a); }, [&] { return m.sumTerm(a, w, cd, true, true); }},
                {[&] { return ci() - whole(a); }, [&] { return m.sumTerm(m.times(a, TavInt{-1}), w, cd, true, true); }},
                {[&] { return k * whole(a); }, [&] { return m.times(a, k); }}});
  }

  /// The samples that a program composes directly.
  static std::vector<const NodeSample*> composable(bool isInt) {
    std::vector<const NodeSample*> samples;
    for (const NodeSample& sample : nodeSamples()) {
      if (sample.library && !sample.folds && sample.isInt == isInt) samples.push_back(&sample);
    }
    return samples;
  }

  /// A node of some class, with the operands that its text names.
  Node* sample(int depth, bool wantInt) {
    static std::vector<const NodeSample*> kSamples[] = {composable(false), composable(true)};
    const NodeSample* chosen = oneOf(kSamples[wantInt]);
    Operands o(_env);
    std::vector<Node*> ops;
    std::map<char, std::vector<Constant>> numbers;
    const auto operand = [&](bool isInt) {
      ops.push_back(!ops.empty() && pick(6) == 0 ? ops.back() : expression(depth - 1, isInt));
      return ops.back();
    };
    const auto element = [&](int at, bool isInt) {
      return ops.emplace_back(expression(at > 3 ? 0 : depth - 1, isInt));
    };
    const int size = pick(12);
    for (const char* at = std::strchr(chosen->library, '%'); at; at = std::strchr(at + 1, '%')) {
      const char letter = at[1];
      const auto number = [&](Constant value) { return numbers[letter].emplace_back(value); };
      if (letter == 'x') o.x = num(operand(false));
      if (letter == 'y') o.y = num(operand(false));
      if (letter == 'i') o.i = whole(operand(true));
      if (letter == 'j') o.j = whole(operand(true));
      if (letter == 'c') o.c = number(constant()).value;
      if (letter == 'd') o.d = number(constant()).value;
      if (letter == 'k') o.k = number(smallInteger()).whole;
      if (letter < 'A' || letter > 'Z') continue;
      if (letter < 'I' || letter == 'K') numbers[letter];
      for (int n = letter != 'D' && letter != 'I'; n <= size; ++n) {  // of slopes one more than of breakpoints
        if (letter == 'X') o.X.add(num(element(n, false)));
        if (letter == 'I') o.I.add(whole(element(n, true)));
        if (letter == 'C') o.C.add(number(constant()).value);
        if (letter == 'D') o.D.add(number(constant()).value);
        if (letter == 'K') o.K.add(number(integerConstant()).whole);
      }
    }
    TavExtractableI* made = nullptr;
    attempt([&] { made = chosen->make(o); });
    o.X.end(), o.I.end(), o.C.end(), o.D.end(), o.K.end();
    return bind(_world.make(chosen, ops, numbers), TavNumExprArg(static_cast<TavNumExprI*>(made)));
  }

  void statement() {
    const int kind = _handles.size() < 2 ? 0 : pick(5);
    if (kind < 2) return keep(expression(3, pick(3) == 0));
    if (kind < 4) return edit(oneOf(_handles));
    dropHandle(static_cast<std::size_t>(pick(static_cast<int>(_handles.size()))));
  }

  void keep(Node* node) {
    check(node);
    if (model::weight(node, 300) > 300) return;
    const int kind = pick(3);
    Handle handle{'n', {}, {}, {}, node};
    if (kind == 0) {
      handle.kind = 'l';
      attempt([&] { handle.linear = TavExpr(num(node)); });
      handle.node = bind(_world.toNumeric(node), handle.linear);
    } else if (kind == 1 && node->isInt()) {
      handle.kind = 'i';
      handle.integer = TavIntExpr(whole(node));
    } else {
      handle.num = TavNumExpr(num(node));
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
    if (model::weight(handle.node, 200) > 200) return;
    if (handle.kind == 'l') {
      editLinear(handle);
    } else {
      Node* operand = expression(2, handle.kind == 'i');
      handle.node = handle.kind == 'i' ? editInteger(handle.integer, handle.node, operand)
                                       : editNumeric(handle.num, handle.node, operand);
      ++handle.node->refs;
    }
    check(handle.node);
  }

  Node* editInteger(TavIntExpr& h, Node* old, Node* e) {
    const TavInt k = integerConstant();
    model::World& m = _world;
    return run({{[&] { return h += whole(e); }, [&] { return m.sum(old, e, true); }},
                {[&] { return h -= whole(e); }, [&] { return m.difference(old, e, true); }},
                {[&] { return h += k; }, [&] { return m.plus(old, k); }},
                {[&] { return h -= k; }, [&] { return m.plus(old, TavWrapNegate(k)); }},
                {[&] { return h *= k; }, [&] { return m.times(old, k); }}},
               [old] { --old->refs; });
  }

  Node* editNumeric(TavNumExpr& h, Node* old, Node* e) {
    const double d = constant();
    model::World& m = _world;
    return run({{[&] { return h += num(e); }, [&] { return m.sum(old, e, false); }},
                {[&] { return h -= num(e); }, [&] { return m.difference(old, e, false); }},
                {[&] { return h += d; }, [&] { return m.plus(old, d); }},
                {[&] { return h -= d; }, [&] { return m.plus(old, -d); }},
                {[&] { return h *= d; }, [&] { return m.times(old, d); }},
                {[&] { return h /= d; }, [&] { return m.over(old, d); }}},
               [old] { --old->refs; });
  }

  void editLinear(Handle& handle) {
    const double d = constant();
    const TavInt k = smallInteger();
    Node *v = anyVar(), *w = anyIntVar();
    const TavNumVar x = numVar(v);
    const TavIntVar i = intVar(w);
    TavExpr& e = handle.linear;
    Node *operand = expression(2, false), *n = handle.node;
    const auto constant = [&](double value) { return n->constant() = value, n; };
    const auto term = [&](Node* var, double coef) { return n->terms.emplace_back(var, coef), n; };
    const auto plus = [&] { return _world.addInPlace(n, operand, false), n; };
    const auto minus = [&] { return _world.addInPlace(n, operand, true), n; };
    Loose<TavNumLinExprTerm> xTerm;
    Loose<TavIntLinExprTerm> iTerm;
    const auto dx = [&] { return take(xTerm, [&] { return x * d; }); };
    const auto ki = [&] { return take(iTerm, [&] { return i * k; }); };
    bool none = false;
    double old = 0.0;
    const auto copyOnWrite = [&] {
      if (n->refs <= 1) return;
      --n->refs;
      handle.node = n = _world.copy(n);
      ++n->refs;
    };
    run({{[&] { return e += num(operand); }, plus},
         {[&] { return e -= num(operand); }, minus},
         {[&] { return e += num(operand); }, plus},
         {[&] { return e -= num(operand); }, minus},
         {[&] { return e += d; }, [&] { return constant(n->constant().value + d); }},
         {[&] { return e -= d; }, [&] { return constant(n->constant().value - d); }},
         {[&] { return e += x; }, [&] { return term(v, 1.0); }},
         {[&] { return e -= i; }, [&] { return term(w, -1.0); }},
         {[&] { return e += dx(); }, [&] { return term(v, d); }},
         {[&] { return e -= ki(); }, [&] { return term(w, -static_cast<double>(k)); }},
         {[&] { return e *= d; }, [&] { return _world.scale(n, d, false), n; }},
         {[&] { return e /= d; }, [&] { return _world.scale(n, d, true), n; }},
         {[&] { return none = e.normalize(), e; }, [&] { return same(none, _world.normalize(n) == 0), n; }},
         {[&] { return old = e.setLinearCoef(x, d), e; }, [&] { return same(old, _world.setCoef(n, v, d)), n; }},
         {[&] { return e.clear(), e.setNumConstant(d), e; }, [&] { return _world.clear(n), constant(d); }}},
        copyOnWrite);
  }

  static TavNumVarI* ownVariable(const Node* var) { return static_cast<TavNumVarI*>(var->real); }

  void checkAgainst(const Node* node, TavNumExprI* real, Valuation& valuation, const model::VariableOf& variable) {
    for (const bool library : {true, false}) {
      real->getEnv()->librarySyntaxDisplay = library;
      std::ostringstream os;
      real->display(os);
      const std::string wanted = withoutNanSigns(model::text(node, library, variable));
      const std::string got = withoutNanSigns(os.str());
      require(wanted == got, "text: wanted |" + wanted + "|\ngot |" + got + "|");
    }
    require(model::isInteger(node, variable) == real->isInteger(), "isInteger", node);
    try {
      const double wanted = model::eval(node), got = real->eval(TavAlgorithm(&valuation));
      require(sameValue(wanted, got), std::to_string(got) + " is not the value " + std::to_string(wanted), node);
    } catch (const Undefined&) {
    }
  }

  void check(const Node* node) {
    checkAgainst(node, node->real, _valuation, ownVariable);
    const std::vector<TavExtractableI*> seen = childrenOf(node->real);
    std::vector<TavExtractableI*> wanted;
    for (const Node* child : model::children(node)) wanted.push_back(child->real);
    for (std::size_t at = 0; at < wanted.size() && at < seen.size(); ++at) {
      if (!wanted[at]) wanted[at] = seen[at];  // a product that the library made inside
    }
    require(wanted == seen, "order of the sub-objects", node);
  }

  /// From now on nearly every call needs memory of the system, which is short.
  void becomeShort() {
    TavEnvI* env = _env.getImpl();
    const Balance before = balance();
    _shortage->exhaust(env);
    const Balance after = balance();
    for (std::size_t i = 0; i < after.size(); ++i) _base[i] += after[i] - before[i];
  }

  /// Objects, cells and bytes.
  using Balance = std::array<TavInt, 3>;
  Balance balance() const {
    TavEnvI* env = _env.getImpl();
    return {env->liveObjectCount(), env->liveTermCount(), env->getMemory()->usedBytes()};
  }

  static void checkCount(const Node* node) {
    require(!node->real || node->refs == node->real->getRefCount(), "count", node);
  }

  void checkBalance() {
    auto [nodes, terms, bytes] = _base;
    for (const auto& node : _world.all()) {
      if (node->dead) {
        // The copy of a constant array stays with the environment.
        const bool keeps = node->is("TavNumArrayElementI") || node->is("TavIntArrayElementI");
        if (keeps) bytes += model::bytesOf(node.get()) - node->sample->facts.size;
        continue;
      }
      ++nodes;
      terms += static_cast<TavInt>(node->terms.size());
      checkCount(node.get());
      bytes += model::bytesOf(node.get());
    }
#ifdef TAV_PLAIN_ALLOC
    bytes += static_cast<TavInt>(sizeof(TavNumLinExprTermI)) * (terms - _base[1]);  // no cell pool of their own there
#endif
    const Balance wanted{nodes, terms, bytes}, got = balance();
    for (std::size_t i = 0; i < got.size(); ++i) {
      require(wanted[i] == got[i], "balance: " + std::to_string(wanted[i]) + " wanted, " + std::to_string(got[i]) +
                                       (i == 0   ? " objects there"
                                        : i == 1 ? " cells there"
                                                 : " bytes there"));
    }
  }

  void checkClone() {
    if (_handles.empty()) return;
    const Node* node = oneOf(_handles).node;
    TavClonePass pass(_env.getImpl(), _target.getImpl());
    auto* clone = static_cast<TavNumExprI*>(pass.clone(node->real));
    const auto variable = [this](const Node* var) {
      return static_cast<TavNumVarI*>(_target.getImpl()->getClone(var->real));
    };
    for (const Node* var : _vars) _cloneValuation.values[variable(var)] = var->value;
    require(node->isVar() || clone->getRefCount() == 0, "a clone starts uncounted");
    checkAgainst(node, clone, _cloneValuation, variable);
  }

  Choices _choices;
  Shortage* _shortage;
  TavEnv _env, _target;
  Valuation _valuation, _cloneValuation;
  model::World _world;
  std::vector<Node*> _vars;
  std::vector<Handle> _handles;
  /// What is there beside nodes and their terms.
  Balance _base{};
  Balance _before{};
};

}  // namespace

std::string runRandomProgram(Choices choices, Shortage* shortage) {
  Program program(choices, shortage);
  try {
    program.run();
  } catch (const Difference& difference) {
    return difference.what;
  } catch (const std::exception& failure) {
    return std::string("unexpected exception: ") + failure.what();
  }
  return "";
}
