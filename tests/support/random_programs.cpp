#include "tests/support/random_programs.h"

#include <array>
#include <bit>
#include <cmath>
#include <sstream>
#include <variant>

#include "tests/support/random_model.h"

namespace {

using model::Constant;
using model::Node;
using model::Ref;

/// Thrown for a difference between library and model.
struct Difference {
  std::string what;
};

/// The sign of a not-a-number depends on the processor.
std::string withoutNanSigns(std::string text) {
  for (std::size_t at; (at = text.find("-nan")) != std::string::npos;) text.erase(at, 1);
  return text;
}

bool sameValue(double a, double b) {
  return (a != a && b != b) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

TavNumVarI* ownVariable(const Node& var) { return var.variable; }

void require(bool holds, const std::string& what, const Ref& node = nullptr) {
  if (!holds) throw Difference{what + (node ? " of " + model::text(node, true, ownVariable) : "")};
}

using Expr = ProgramExpression;
TavNumExprArg num(const Expr& e) { return TavNumExprArg(e.object); }
TavIntExprArg whole(const Expr& e) { return TavIntExprArg(static_cast<TavIntExprI*>(e.object)); }

class Program {
 public:
  Program(Choices choices, Shortage* shortage)
      : _choices(choices), _shortage(shortage), _valuation(_env), _cloneValuation(_target) {}
  ~Program() {
    _env.end();
    _target.end();
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void run(const InspectExpressions& inspect) {
    makeVariables();
    const int statements = 4 + pick(10);
    for (int i = 0; i < statements; ++i) {
      if (_shortage && i == statements / 2) _shortage->exhaust(_env.getImpl());
      statement();
    }
    std::vector<Expr> expressions;
    for (const Handle& handle : _handles) check(expressions.emplace_back(handle.expr()));
    if (inspect) {
      const std::string difference = inspect(_env, _vars, expressions);
      require(difference.empty(), difference);
    }
    checkClone();
    while (!_handles.empty()) dropHandle(_handles.size() - 1);
  }

 private:
  /// A counted handle and the model of its expression.
  struct Handle {
    std::variant<TavNumExpr, TavExpr, TavIntExpr> handle;
    Ref model;
    Expr expr() const {
      return {model, std::visit([](const auto& h) { return TavImplCast<TavNumExprI>(h.getImpl()); }, handle)};
    }
  };

  int pick(int n) { return _choices.pick(n); }
  template <class T>
  T& oneOf(std::vector<T>& from) {
    return from[static_cast<std::size_t>(pick(static_cast<int>(from.size())))];
  }

  /// An operation of the library, and the same operation of the model.
  struct Operation {
    std::function<TavNumExprArg()> real;
    std::function<Ref()> model;
  };
  /// Runs one of these operations on the operands.
  Expr run(const std::vector<Expr>& operands, std::vector<Operation> operations) {
    const Operation& operation = oneOf(operations);
    TavNumExprArg made;
    attempt(operands, [&] { made = operation.real(); });
    return bind(operation.model(), made.getImpl());
  }
  /// Calls the library. A call that fails for lack of memory must change nothing, and is repeated.
  void attempt(const std::vector<Expr>& operands, const std::function<void()>& call) {
    if (!_shortage) return call();
    std::vector<std::pair<Expr, TavInt>> watched;
    for (const Expr& e : operands) watched.emplace_back(e, e.object->getRefCount());
    for (const Handle& handle : _handles) watched.emplace_back(handle.expr(), handle.expr().object->getRefCount());
    for (const auto before = balance(); _shortage->refuses(call);) {
      require(balance() == before, "a failed call has left something");
      for (const auto& [e, count] : watched) {
        require(e.object->getRefCount() == count, "count", e.model);
        if (model::weight(e.model, 60) <= 60) check(e);
      }
    }
  }
  /// The number of objects, cells and bytes in use.
  std::array<TavInt, 3> balance() const {
    TavEnvI* env = _env.getImpl();
    return {env->liveObjectCount(), env->liveTermCount(), env->getMemory()->usedBytes()};
  }
  /// A term that an operation consumes; a failed operation must leave it as it is.
  template <class Term>
  static auto loose(Term term) {
    return [term, coef = term.getCoef()] {
      require(sameValue(term.getCoef(), coef), "a failed call has changed a term");
      return term;
    };
  }

  double constant() {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    static const double kSome[] = {0.0, -0.0, 1.0, -1.0, 2.0, 0.5, -2.5, 3.0, 1e9, 0.1, 1e-3, kInf, std::nan("")};
    const int i = pick(26);
    return i < 13 ? kSome[i] : pick(200) / 8.0 - 12.0;
  }
  TavInt smallInteger() { return pick(11) - 5; }
  TavInt integerConstant() { return pick(8) == 0 ? std::numeric_limits<TavInt>::max() - pick(3) : smallInteger(); }

  Expr bind(Ref node, TavNumExprI* real) {
    require(node->is(real->getRttiTypeName()), "class", node);
    return {std::move(node), real};
  }

  void makeVariables() {
    const auto add = [this](TavNumVar var, const char* cls) {
      Node node = *model::make(cls, {}, {});
      node.variable = var.getImpl();
      node.value = var.isInteger() && pick(3) > 0 ? static_cast<double>(pick(9) - 4) : constant();
      _valuation[var] = node.value;
      _vars.push_back({std::make_shared<Node>(node), var.getImpl()});
    };
    add(TavNumVar(_env, -1.0, 8.5, "x"), "TavNumVarI");
    add(TavNumVar(_env), "TavNumVarI");
    add(TavSemiContVar(_env, 2.0, 9.0, TavNumVar::Float, "s"), "TavSemiContVarI");
    add(TavIntVar(_env, -4, 4, "i"), "TavNumVarI");
    add(TavIntVar(_env, 0, 7), "TavNumVarI");
    add(TavBoolVar(_env, "b"), "TavNumVarI");
  }
  const Expr& anyVar(bool wantInt) { return wantInt ? _vars[static_cast<std::size_t>(3 + pick(3))] : oneOf(_vars); }

  Expr leaf(bool wantInt) {
    for (int tries = 0; tries < 3 && !_handles.empty(); ++tries) {
      const Expr e = oneOf(_handles).expr();
      if ((e.model->isInt() || !wantInt) && model::weight(e.model, 60) <= 60) return e;
    }
    return anyVar(wantInt);
  }

  Expr expression(int depth, bool wantInt) {
    if (depth <= 0 || pick(5) == 0) return leaf(wantInt);
    wantInt = wantInt || pick(3) == 0;
    if (pick(2) == 0) return sample(depth, wantInt);
    return wantInt ? operation<TavIntExprArg, TavIntVar, TavInt>(depth)
                   : operation<TavNumExprArg, TavNumVar, double>(depth);
  }

  /// A numeric or integer operator on two operands, sometimes the same one twice. Operands that it does not use stay as
  /// temporaries.
  template <class Arg, class Var, class Number>
  Expr operation(int depth) {
    constexpr bool kInt = std::is_same_v<Number, TavInt>;
    const Expr a = expression(depth - 1, kInt), b = pick(6) == 0 ? a : expression(depth - 1, kInt);
    const Expr v = anyVar(kInt), w = anyVar(true);
    const double d = constant();
    const TavInt small = smallInteger(), any = integerConstant();
    const Number k = kInt ? static_cast<Number>(any) : static_cast<Number>(d),
                 c = kInt ? static_cast<Number>(small) : k;
    const Number minusK = static_cast<Number>(kInt ? static_cast<Number>(TavWrapNegate(any)) : -k);
    const auto coef = static_cast<double>(c), intCoef = static_cast<double>(any);
    const Var x(static_cast<TavNumVarI*>(v.object));
    const TavIntVar i(static_cast<TavNumVarI*>(w.object));
    const Arg p = operand<Arg>(a), q = operand<Arg>(b);
    const Ref &m = a.model, &n = b.model;
    const Number minusOne = -1;
    const auto cx = loose(x * c);
    std::vector<Operation> operations = {
        {[&] { return p + q; }, [&] { return model::sum(m, n, kInt); }},
        {[&] { return p + q; }, [&] { return model::sum(m, n, kInt); }},
        {[&] { return p - q; }, [&] { return model::difference(m, n, kInt); }},
        {[&] { return p + k; }, [&] { return model::plus(m, k); }},
        {[&] { return p - k; }, [&] { return model::plus(m, minusK); }},
        {[&] { return k - p; }, [&] { return model::plus(model::times(m, minusOne), k); }},
        {[&] { return -p; }, [&] { return model::times(m, minusOne); }},
        {[&] { return k * p; }, [&] { return model::times(m, k); }},
        {[&] { return cx() + k; }, [&] { return termPlus(v.model, c, k); }},
        {[&] { return p + cx(); }, [&] { return model::withTerm(m, v.model, coef, kInt, false); }},
        {[&] { return p - cx(); }, [&] { return model::withTerm(m, v.model, -coef, kInt, false); }},
        {[&] { return cx() + p; }, [&] { return model::withTerm(m, v.model, coef, kInt, true); }},
        {[&] { return cx() - p; },
         [&] { return model::withTerm(model::times(m, minusOne), v.model, coef, kInt, true); }}};
    if constexpr (!kInt) {
      const auto ki = loose(i * any);
      const std::vector<Operation> numeric = {
          {[&, ki] { return ki() + cx(); },
           [&] { return model::withTerm(model::times(w.model, intCoef), v.model, d, false, false); }},
          {[&, ki] { return cx() - ki(); },
           [&] { return model::withTerm(model::times(v.model, d), w.model, -intCoef, false, false); }},
          {[&, ki] { return p - ki(); }, [&] { return model::withTerm(m, w.model, -intCoef, false, false); }},
          {[&, ki] { return ki() - p; },
           [&] { return model::withTerm(model::times(m, -1.0), w.model, intCoef, false, true); }},
          {[&] { return p * q; }, [&] { return model::product(m, n); }},
          {[&] { return p / d; }, [&] { return model::over(m, d); }}};
      operations.insert(operations.end(), numeric.begin(), numeric.end());
      return run({a, b}, operations);
    }
    return run({a, b}, operations);
  }
  static Ref termPlus(const Ref& var, Constant coef, Constant k) {
    Node sum = *model::times(var, coef);
    sum.constant() = k;
    return std::make_shared<Node>(sum);
  }
  template <class Arg>
  static Arg operand(const Expr& e) {
    if constexpr (std::is_same_v<Arg, TavIntExprArg>) {
      return whole(e);
    } else {
      return num(e);
    }
  }

  /// The samples that a program composes directly.
  static std::vector<const NodeSample*> composable(bool isInt) {
    std::vector<const NodeSample*> samples;
    for (const NodeSample& sample : nodeSamples()) {
      if (sample.library && !sample.folds && sample.isInt == isInt) samples.push_back(&sample);
    }
    return samples;
  }

  /// A node of a random class, with the operands that its text names.
  Expr sample(int depth, bool wantInt) {
    static std::vector<const NodeSample*> kSamples[] = {composable(false), composable(true)};
    const NodeSample* chosen = oneOf(kSamples[wantInt]);
    Operands o(_env);
    std::vector<Expr> ops;
    model::Numbers numbers;
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
      for (int n = letter != 'D' && letter != 'I'; n <= size; ++n) {  // one more slope than breakpoints
        if (letter == 'X') o.X.add(num(element(n, false)));
        if (letter == 'I') o.I.add(whole(element(n, true)));
        if (letter == 'C') o.C.add(number(constant()).value);
        if (letter == 'D') o.D.add(number(constant()).value);
        if (letter == 'K') o.K.add(number(integerConstant()).whole);
      }
    }
    TavExtractableI* made = nullptr;
    attempt(ops, [&] { made = chosen->make(o); });
    o.X.end(), o.I.end(), o.C.end(), o.D.end(), o.K.end();
    std::vector<Ref> refs;
    for (const Expr& op : ops) refs.push_back(op.model);
    return bind(std::make_shared<Node>(Node{chosen, refs, numbers}), static_cast<TavNumExprI*>(made));
  }

  void statement() {
    const int kind = _handles.size() < 2 ? 0 : pick(5);
    if (kind < 2) return keep(expression(3, pick(3) == 0));
    if (kind < 4) return edit(oneOf(_handles));
    dropHandle(static_cast<std::size_t>(pick(static_cast<int>(_handles.size()))));
  }

  void keep(const Expr& e) {
    check(e);
    if (model::weight(e.model, 300) > 300) return;
    const int kind = pick(3);
    if (kind == 0) {
      TavExpr handle;
      attempt({e}, [&] { handle = TavExpr(num(e)); });
      const Ref linear = std::make_shared<Node>(model::linear(e.model, false));
      _handles.push_back({handle, bind(linear, TavImplCast<TavNumExprI>(handle.getImpl())).model});
    } else if (kind == 1 && e.model->isInt()) {
      _handles.push_back({TavIntExpr(whole(e)), e.model});
    } else {
      _handles.push_back({TavNumExpr(num(e)), e.model});
    }
  }

  void dropHandle(std::size_t i) {
    std::visit([](auto& handle) { handle.end(); }, _handles[i].handle);
    _handles.erase(_handles.begin() + static_cast<std::ptrdiff_t>(i));
  }

  void edit(Handle& handle) {
    if (model::weight(handle.model, 200) > 200) return;
    const Expr operand = expression(2, std::holds_alternative<TavIntExpr>(handle.handle));
    handle.model = std::visit([&](auto& h) { return editing(h, handle.model, operand); }, handle.handle);
    check(handle.expr());
  }

  /// Edits an integer or numeric handle: each compound assignment does what its operator does.
  template <class H>
  Ref editing(H& h, const Ref& old, const Expr& e) {
    constexpr bool kInt = std::is_same_v<H, TavIntExpr>;
    using Number = std::conditional_t<kInt, TavInt, double>;
    using Arg = std::conditional_t<kInt, TavIntExprArg, TavNumExprArg>;
    const double d = constant();
    const TavInt any = integerConstant();
    const Number k = kInt ? static_cast<Number>(any) : static_cast<Number>(d);
    const Number minusK = kInt ? static_cast<Number>(TavWrapNegate(any)) : static_cast<Number>(-d);
    const Arg arg = operand<Arg>(e);
    std::vector<Operation> operations = {
        {[&] { return h += arg; }, [&] { return model::sum(old, e.model, kInt); }},
        {[&] { return h -= arg; }, [&] { return model::difference(old, e.model, kInt); }},
        {[&] { return h += k; }, [&] { return model::plus(old, k); }},
        {[&] { return h -= k; }, [&] { return model::plus(old, minusK); }},
        {[&] { return h *= k; }, [&] { return model::times(old, k); }}};
    if constexpr (!kInt) operations.push_back({[&] { return h /= k; }, [&] { return model::over(old, k); }});
    return run({e}, operations).model;
  }

  Ref editing(TavExpr& e, const Ref& old, const Expr& operand) {
    const double d = constant();
    const TavInt k = smallInteger();
    const Expr v = anyVar(false), w = anyVar(true);
    const TavNumVar x(static_cast<TavNumVarI*>(v.object));
    const TavIntVar i(static_cast<TavNumVarI*>(w.object));
    const auto plus = [&] { return model::sum(old, operand.model, false); };
    const auto minus = [&] {
      return operand.model->variable ? model::withTerm(old, operand.model, -1.0, false, false)
                                     : model::difference(old, operand.model, false);
    };
    const auto term = [&](const Expr& var, double coef) { return model::withTerm(old, var.model, coef, false, false); };
    const auto changed = [&](const std::function<void(Node&)>& change) {
      Node n = *old;
      change(n);
      return std::make_shared<Node>(n);
    };
    const auto same = [](double answer, double wanted) { require(sameValue(answer, wanted), "what an edit answers"); };
    const auto dx = loose(x * d);
    const auto ki = loose(i * k);
    bool none = false;
    double before = 0.0;
    return run({operand},
               {{[&] { return e += num(operand); }, plus},
                {[&] { return e -= num(operand); }, minus},
                {[&] { return e += num(operand); }, plus},
                {[&] { return e -= num(operand); }, minus},
                {[&] { return e += d; }, [&] { return model::plus(old, d); }},
                {[&] { return e -= d; }, [&] { return model::plus(old, -d); }},
                {[&] { return e += x; }, [&] { return term(v, 1.0); }},
                {[&] { return e -= i; }, [&] { return term(w, -1.0); }},
                {[&] { return e += dx(); }, [&] { return term(v, d); }},
                {[&] { return e -= ki(); }, [&] { return term(w, -static_cast<double>(k)); }},
                {[&] { return e *= d; }, [&] { return model::times(old, d); }},
                {[&] { return e /= d; }, [&] { return model::over(old, d); }},
                {[&] { return none = e.normalize(), e; },
                 [&] { return changed([&](Node& n) { same(none, model::normalize(n) == 0); }); }},
                {[&] { return before = e.setLinearCoef(x, d), e; },
                 [&] { return changed([&](Node& n) { same(before, model::setCoef(n, v.model, d)); }); }},
                {[&] { return e.clear(), e.setNumConstant(d), e; },
                 [&] { return changed([&](Node& n) { n.ops.clear(), n.terms.clear(), n.constant() = d; }); }}})
        .model;
  }

  void checkAgainst(const Ref& node, TavNumExprI* real, TavValues& valuation, const model::VariableOf& variable) {
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
      const double wanted = model::eval(node), got = real->eval(valuation);
      require(sameValue(wanted, got), std::to_string(got) + " is not the value " + std::to_string(wanted), node);
    } catch (const Undefined&) {
    }
  }

  void check(const Expr& e) {
    checkAgainst(e.model, e.object, _valuation, ownVariable);
    const std::vector<TavExtractableI*> seen = childrenOf(e.object);
    const std::vector<Ref> wanted = model::children(e.model);
    require(wanted.size() == seen.size(), "number of the sub-objects", e.model);
    for (std::size_t at = 0; at < seen.size(); ++at) {
      require(wanted[at]->variable ? wanted[at]->variable == seen[at] : wanted[at]->is(seen[at]->getRttiTypeName()),
              "order of the sub-objects", e.model);
    }
  }

  void checkClone() {
    if (_handles.empty()) return;
    const Expr e = oneOf(_handles).expr();
    TavClonePass pass(_env.getImpl(), _target.getImpl());
    auto* clone = static_cast<TavNumExprI*>(pass.clone(e.object));
    const auto variable = [this](const Node& var) {
      return static_cast<TavNumVarI*>(_target.getImpl()->getClone(var.variable));
    };
    for (const Expr& var : _vars) {
      if (TavNumVarI* copy = variable(*var.model)) _cloneValuation[TavNumVar(copy)] = var.model->value;
    }
    require(e.model->variable || clone->getRefCount() == 0, "a clone starts uncounted");
    checkAgainst(e.model, clone, _cloneValuation, variable);
  }

  Choices _choices;
  Shortage* _shortage;
  TavEnv _env, _target;
  TavValues _valuation, _cloneValuation;
  std::vector<Expr> _vars;
  std::vector<Handle> _handles;
};

}  // namespace

std::string runRandomProgram(Choices choices, Shortage* shortage, const InspectExpressions& inspect) {
  Program program(choices, shortage);
  try {
    program.run(inspect);
  } catch (const Difference& difference) {
    return difference.what;
  } catch (const std::exception& failure) {
    return std::string("unexpected exception: ") + failure.what();
  }
  return "";
}
