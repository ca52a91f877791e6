#include <map>
#include <optional>

#include "tests/failures/allocation_gate.h"
#include "tests/support/fixture.h"
#include "tests/support/samples.h"

namespace {

/// Named operands; the leaves are held.
struct World {
  explicit World(TavEnv env)
      : x(env, 0.0, 10.0, "x"),
        y(env, -5.0, 5.0, "y"),
        i(env, 0, 9, "i"),
        j(env, -3, 3, "j"),
        p(leaf<LeafI, TavNumExprArg>(env, "p")),
        q(leaf<LeafI, TavNumExprArg>(env, "q")),
        m(leaf<IntLeafI, TavIntExprArg>(env, "m")),
        n(leaf<IntLeafI, TavIntExprArg>(env, "n")) {}
  template <class Leaf, class Arg>
  static Arg leaf(TavEnv env, const char* name) {
    auto* node = new (env.getImpl()) Leaf(env.getImpl(), 1.0, name);
    node->retain();
    return Arg(node);
  }
  TavNumVar x, y;
  TavIntVar i, j;
  TavNumExprArg p, q;
  TavIntExprArg m, n;
};

struct Ones final : TavAlgorithmI {
  explicit Ones(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  double getValue(const TavNumVarI*) const override { return 1.0; }
};

/// An environment with an operand of every kind, all of which a failed operation must leave as they are.
struct State {
  static constexpr std::size_t kNums = 9, kInts = 5;

  State() : algorithm(env) {
    home()->setChangeListener([this](const TavChange& change) {
      GateOpen open;
      records += std::string(change.getRttiTypeName()) + " ";
    });
    for (auto& side : num) side = numOperands();
    for (auto& side : whole) side = intOperands();
    for (std::size_t k = 0; k < kNums; ++k) own[k] = TavNumExpr(numOperands()[k]);
    for (std::size_t k = 0; k < kNums; ++k)
      holder[k] = shared[k] = TavNumExpr(numOperands()[k]), shared[k].getImpl()->retain();
    for (std::size_t k = 0; k < kInts; ++k) intOwn[k] = TavIntExpr(intOperands()[k]);
    sum = TavExpr(numOperands()[5]);
    sharedSum = TavExpr(numOperands()[5]);
    sharedSum.getImpl()->retain();
    for (int k = 0; k < 3; ++k) {
      nums.add(numOperands()[static_cast<std::size_t>(3 + k)]);
      ints.add(intOperands()[static_cast<std::size_t>(2 + k)]);
      numbers.set(k, k + 1.0);
      wholes.set(k, k + 2);
      columns.set(k, TavAddNumVar(&column));
    }
    for (TavInt k = 0; k < doomed.getSize(); ++k) {
      doomed[k].setName("doomed");
      sum += doomed[k];
    }
    constraint.setName("constraint");
    indicator.setName("indicator");
    conversion.setName("conversion");
    semi.setName("semi");
    bare.setName("bare");
    listed.setName("listed");
    intListed.setName("intListed");
    flag.setName("flag");
  }
  ~State() {
    pass.reset();
    env.end();
    other.end();
  }

  TavEnvI* home() const { return env.getImpl(); }
  /// x, i, a held leaf, a node, a held sum, a sum, a held integer sum, an integer sum, a constant.
  std::array<TavNumExprArg, kNums> numOperands() {
    return {w.x,
            w.i,
            w.p,
            TavSin(w.p),
            held(linear()),
            linear(),
            held(intLinear()),
            intLinear(),
            TavNumExprArg(new (home()) TavNumLinTermI(home(), 3.0))};
  }
  std::array<TavIntExprArg, kInts> intOperands() {
    return {w.i, w.m, TavAbs(w.m), TavIntExprArg(held(intLinear()).getImpl()), intLinear()};
  }
  TavNumExprArg linear() { return 2 * w.x + 3 * w.y + w.x * 4 + TavCos(w.q) + 1.5; }
  TavIntExprArg intLinear() { return 2 * w.i + 3 * w.j + TavAbs(w.n) + 4; }
  template <class Arg>
  static Arg held(Arg e) {
    e.getImpl()->retain();
    return e;
  }

  /// What samples are made of.
  Operands operands() const {
    Operands o(env);
    o.x = w.p, o.y = w.q, o.i = w.m, o.j = w.n, o.X = nums, o.I = ints, o.C = o.D = numbers, o.K = wholes;
    o.v = w.x, o.w = w.i, o.truth = constraint, o.c = 3, o.d = 4, o.k = 2;
    return o;
  }
  void keep(TavExtractable object) {
    GateOpen open;
    results.push_back(object.getImpl());
  }
  template <class Array>
  void keepArray(Array array) {
    GateOpen open;
    resultArrays.emplace_back(array.getImpl(), std::is_base_of_v<TavExtractableArray, Array>);
  }

  TavEnv env, other;
  World w{env};
  Ones algorithm;
  std::string records;
  std::array<std::array<TavNumExprArg, kNums>, 2> num;
  std::array<std::array<TavIntExprArg, kInts>, 2> whole;
  std::array<TavNumExpr, kNums> own, shared, holder;
  std::array<TavIntExpr, kInts> intOwn;
  TavExpr sum, sharedSum;
  TavNumLinExprTerm t = w.x * 2.5, u = w.y * 3.5;
  TavIntLinExprTerm it = w.i * 4, iu = w.j * 5;
  TavNumExprArray nums{env};
  TavIntExprArray ints{env};
  TavNumArray numbers{env, 3};
  TavIntArray wholes{env, 3};
  TavNumVarArray vars{env, 3, w.x, w.y, TavNumVar(w.i)};
  TavIntVarArray intVars{env, 3, w.i, w.j, w.i};
  TestColumn column{env};
  TavNumColumnArray columns{env, 3};
  TavConstraint constraint{new (home()) TavConstConstraintI(home(), nullptr, 0)};
  TavNumVar indicator{constraint};
  TavConversion conversion{env, vars, TavNumVar::Int};
  TavSemiContVar semi{env, 1.0, 5.0};
  TavNumVar bare{new (home()) TavNumVarI(home(), nullptr)};
  TavNumVar listed{env, numbers};
  TavIntVar intListed{env, wholes};
  TavBoolVar flag{TavAddNumVar(&column)};
  TavNumVar bareToo{new (home()) TavNumVarI(home(), "bare too")};
  TavNumVarArray mixed{env, 4, w.x, bare, bareToo, bare};
  TavNumArray longArray{env, 3000};
  TavNumRange range{env, 0.0, 10.0};
  TavNumVarArray doomed{env, 40, 0.0, 1.0};
  std::optional<TavClonePass> pass;
  std::vector<TavExtractableI*> watched, results;
  std::vector<std::pair<TavArrayI*, bool>> resultArrays;
};

/// Writes down all that a client can see. Objects are numbered as they are met; `identity` adds addresses and
/// identifiers, for two looks at one state.
class Observer {
 public:
  Observer(State& state, bool identity) : _identity(identity) {
    for (TavExtractable each :
         {TavExtractable(state.w.x), TavExtractable(state.w.y), TavExtractable(state.w.i), TavExtractable(state.w.j),
          TavExtractable(state.w.p), TavExtractable(state.w.q), TavExtractable(state.w.m), TavExtractable(state.w.n)}) {
      meet(each.getImpl());
    }
    for (const auto* handles : {&state.own, &state.shared}) {
      for (const TavNumExpr& each : *handles) meet(static_cast<TavExtractable>(each).getImpl());
    }
    for (const TavIntExpr& each : state.intOwn) meet(static_cast<TavExtractable>(each).getImpl());
    meet(static_cast<TavExtractable>(state.sum).getImpl());
    meet(static_cast<TavExtractable>(state.sharedSum).getImpl());
    for (TavArrayI* array : {state.numbers.getImpl(), state.wholes.getImpl()}) words(array);
    if (identity) fragile(state);
    for (TavExtractableI* each : state.watched) meet(each);
    for (TavExtractableI* each : state.results) meet(each);
    for (const auto& [array, objects] : state.resultArrays) words(array, objects);
    drain();
    _os << "records " << state.records << "\n";
    if (identity && state.pass) return;  // a pass that failed keeps the clones that it has made
    count(state.home());
    count(state.other.getImpl());
  }
  std::string text() const { return _os.str(); }

 private:
  /// What a successful operation may end or take over.
  void fragile(State& state) {
    for (const auto& side : state.num) {
      for (TavNumExprArg each : side) meet(static_cast<TavExtractable>(each).getImpl());
    }
    for (const auto& side : state.whole) {
      for (TavIntExprArg each : side) meet(static_cast<TavExtractable>(each).getImpl());
    }
    for (const TavNumLinExprTermI* cell :
         {state.t.getImpl(), state.u.getImpl(), state.it.getImpl(), state.iu.getImpl()}) {
      write(cell);
    }
    for (TavExtractable each :
         {TavExtractable(state.constraint), TavExtractable(state.indicator), TavExtractable(state.conversion),
          TavExtractable(state.semi), TavExtractable(state.bare), TavExtractable(state.listed),
          TavExtractable(state.intListed), TavExtractable(state.flag)}) {
      meet(each.getImpl());
    }
    for (const TavExtractableArray& each :
         std::initializer_list<TavExtractableArray>{state.nums, state.ints, state.vars, state.intVars})
      words(each.getImpl(), true);
    words(state.columns.getImpl());
  }
  void count(TavEnvI* env) {
    _os << "objects " << env->liveObjectCount() << " cells " << env->liveTermCount() << " marked " << env->markedCount()
        << " flags " << env->oneByOneRemoval << env->ending << "\n";
    env->releaseMarkArray(env->getMarkArray());
  }
  void meet(TavExtractableI* object) {
    if (!object) {
      _os << "null ";
      return;
    }
    const auto [at, fresh] = _numbers.emplace(object, _numbers.size());
    _os << "#" << at->second << " ";
    if (fresh) _queue.push_back(object);
  }
  void words(TavArrayI* array, bool objects = false) {
    _os << "array";
    if (_identity) _os << array;
    for (TavInt k = 0; k < array->getSize(); ++k) {
      _os << " ";
      objects ? meet(array->get<TavExtractableI*>(k)) : void(_os << array->get<TavInt>(k));
    }
    _os << "\n";
  }
  void write(const TavNumLinExprTermI* cell) {
    if (_identity) _os << cell;
    _os << " " << cell->coef << "*";
    meet(cell->var);
  }
  template <class Linear>
  void write(const Linear* linear) {
    for (const auto* cell = linear->getFirstTerm(); cell; cell = cell->next) write(cell);
    for (const auto* part = linear->getFirstPart(); part; part = part->next) meet(part->expr);
    _os << linear->getConstant();
  }
  void write(const TavNumVarI* variable) {
    const TavVarDomainI* domain = variable->getDomain();
    if (!domain) return;
    if (_identity) _os << domain;
    _os << " type " << domain->getType() << " shared " << domain->isShared() << " [" << domain->getLB() << " "
        << domain->getUB() << "] ";
    if (domain->getNumValues().getImpl()) words(domain->getNumValues().getImpl());
    if (domain->getIntValues().getImpl()) words(domain->getIntValues().getImpl());
  }
  void drain() {
    for (std::size_t k = 0; k < _queue.size(); ++k) {
      TavExtractableI* object = _queue[k];
      _os << "\n" << k << " " << object->getRttiTypeName() << " ";
      if (_identity) _os << object << " " << object->getId() << " ";
      if (!object->getName() && !object->isRefCountedExpr()) object->setName("fresh");
      if (object->getName()) _os << object->getName() << " ";
      if (object->isType(TavNumExprI::GetTypeInfo())) _os << static_cast<TavNumExprI*>(object)->getRefCount() << " ";
      if (object->isType(TavNumLinTermI::GetTypeInfo())) write(static_cast<TavNumLinTermI*>(object));
      if (object->isType(TavIntLinTermI::GetTypeInfo())) write(static_cast<TavIntLinTermI*>(object));
      if (object->isType(TavNumVarI::GetTypeInfo())) write(static_cast<TavNumVarI*>(object));
      for (const bool syntax : {false, true}) {
        object->getEnv()->librarySyntaxDisplay = syntax;
        _os << "| ";
        object->display(_os);
      }
      object->getEnv()->librarySyntaxDisplay = false;
      struct Visitor final : TavExtractableVisitor {
        explicit Visitor(Observer* o) : observer(o) {}
        void beginVisit(TavExtractableI*) override {}
        void visitChild(TavExtractableI*, TavExtractableI* child) override { observer->meet(child); }
        void endVisit(TavExtractableI*) override {}
        Observer* observer;
      } visitor(this);
      object->visitSubExtractables(&visitor);
    }
    _os << "\n";
  }

  bool _identity;
  std::ostringstream _os;
  std::map<const TavExtractableI*, std::size_t> _numbers;
  std::vector<TavExtractableI*> _queue;
};

struct Operation {
  std::string name;
  std::function<void(State&)> run;
  std::function<void(State&)> prepare = nullptr;
};
using Operations = std::vector<Operation>;

/// name applied to every pair of operands.
template <class Apply>
void addNumPairs(Operations& table, const std::string& name, Apply apply) {
  for (std::size_t a = 0; a < State::kNums; ++a) {
    for (std::size_t b = 0; b < State::kNums; ++b) {
      table.push_back({name + " of " + std::to_string(a) + " and " + std::to_string(b),
                       [=](State& s) { s.keep(apply(s.num[0][a], s.num[1][b])); }});
    }
    table.push_back({name + " of one operand twice, " + std::to_string(a),
                     [=](State& s) { s.keep(apply(s.num[0][a], s.num[0][a])); }});
  }
}
template <class Apply>
void addIntPairs(Operations& table, const std::string& name, Apply apply) {
  for (std::size_t a = 0; a < State::kInts; ++a) {
    for (std::size_t b = 0; b < State::kInts; ++b) {
      table.push_back({name + " of integers " + std::to_string(a) + " and " + std::to_string(b),
                       [=](State& s) { s.keep(apply(s.whole[0][a], s.whole[1][b])); }});
    }
  }
}
/// The operation with each operand.
template <class Apply>
void addNums(Operations& table, const std::string& name, Apply apply) {
  for (std::size_t a = 0; a < State::kNums; ++a) {
    table.push_back({name + " with " + std::to_string(a), [=](State& s) { apply(s, s.num[1][a], a); }});
  }
}
template <class Apply>
void addInts(Operations& table, const std::string& name, Apply apply) {
  for (std::size_t a = 0; a < State::kInts; ++a) {
    table.push_back({name + " with integer " + std::to_string(a), [=](State& s) { apply(s, s.whole[1][a], a); }});
  }
}

Operations operators() {
  using Num = TavNumExprArg;
  using Int = TavIntExprArg;
  Operations table;
  addNumPairs(table, "+", [](Num a, Num b) { return a + b; });
  addNumPairs(table, "-", [](Num a, Num b) { return a - b; });
  addNumPairs(table, "*", [](Num a, Num b) { return a * b; });
  addNumPairs(table, "/", [](Num a, Num b) { return a / b; });
  addIntPairs(table, "+", [](Int a, Int b) { return a + b; });
  addIntPairs(table, "-", [](Int a, Int b) { return a - b; });
  addIntPairs(table, "*", [](Int a, Int b) { return a * b; });
  addIntPairs(table, "%", [](Int a, Int b) { return a % b; });
  addNums(table, "e + t", [](State& s, Num e, std::size_t) { s.keep(e + s.t); });
  addNums(table, "e - t", [](State& s, Num e, std::size_t) { s.keep(e - s.t); });
  addNums(table, "t + e", [](State& s, Num e, std::size_t) { s.keep(s.t + e); });
  addNums(table, "t - e", [](State& s, Num e, std::size_t) { s.keep(s.t - e); });
  addNums(table, "e - it", [](State& s, Num e, std::size_t) { s.keep(e - s.it); });
  addNums(table, "it - e", [](State& s, Num e, std::size_t) { s.keep(s.it - e); });
  addNums(table, "e + 1", [](State& s, Num e, std::size_t) { s.keep(e + 1); });
  addNums(table, "1 - e", [](State& s, Num e, std::size_t) { s.keep(1 - e); });
  addNums(table, "-e", [](State& s, Num e, std::size_t) { s.keep(-e); });
  addNums(table, "e * 2", [](State& s, Num e, std::size_t) { s.keep(e * 2); });
  addNums(table, "e / 2", [](State& s, Num e, std::size_t) { s.keep(e / 2); });
  addNums(table, "2 / e", [](State& s, Num e, std::size_t) { s.keep(2 / e); });
  addNums(table, "TavExpr(e)", [](State& s, Num e, std::size_t) { s.keep(TavExpr(e)); });
  addInts(table, "e + it", [](State& s, Int e, std::size_t) { s.keep(e + s.it); });
  addInts(table, "e - it", [](State& s, Int e, std::size_t) { s.keep(e - s.it); });
  addInts(table, "it + e", [](State& s, Int e, std::size_t) { s.keep(s.it + e); });
  addInts(table, "it - e", [](State& s, Int e, std::size_t) { s.keep(s.it - e); });
  addInts(table, "e - 1", [](State& s, Int e, std::size_t) { s.keep(e - 1); });
  addInts(table, "1 - e", [](State& s, Int e, std::size_t) { s.keep(1 - e); });
  addInts(table, "e * 3", [](State& s, Int e, std::size_t) { s.keep(e * 3); });
  for (const auto handles : {&State::own, &State::shared}) {
    for (std::size_t h = 0; h < State::kNums; ++h) {
      const auto add = [&](const char* name, auto change) {
        table.push_back({name + std::string(handles == &State::own ? " own " : " shared ") + std::to_string(h),
                         [=](State& s) { change((s.*handles)[h]); }});
      };
      add("+= 1", [](TavNumExpr& e) { e += 1.0; });
      add("-= 1", [](TavNumExpr& e) { e -= 1.0; });
      add("*= 2", [](TavNumExpr& e) { e *= 2.0; });
      add("/= 2", [](TavNumExpr& e) { e /= 2.0; });
      add("+= itself", [](TavNumExpr& e) { e += e; });
      add("-= itself", [](TavNumExpr& e) { e -= e; });
      if (handles == &State::shared) continue;
      addNums(table, std::to_string(h) + " +=", [=](State& s, Num e, std::size_t) { (s.*handles)[h] += e; });
      addNums(table, std::to_string(h) + " -=", [=](State& s, Num e, std::size_t) { (s.*handles)[h] -= e; });
    }
  }
  for (std::size_t h = 0; h < State::kInts; ++h) {
    addInts(table, std::to_string(h) + " +=", [=](State& s, Int e, std::size_t) { s.intOwn[h] += e; });
    addInts(table, std::to_string(h) + " -=", [=](State& s, Int e, std::size_t) { s.intOwn[h] -= e; });
    table.push_back({"integer += 1", [=](State& s) { s.intOwn[h] += 1; }});
    table.push_back({"integer -= 1", [=](State& s) { s.intOwn[h] -= 1; }});
    table.push_back({"integer *= 3", [=](State& s) { s.intOwn[h] *= 3; }});
  }
  const Operations terms = {
      {"x * 2", [](State& s) { s.t = s.w.x * 2; }},
      {"i * 2", [](State& s) { s.it = s.w.i * 2; }},
      {"-x", [](State& s) { s.t = -s.w.x; }},
      {"t + u", [](State& s) { s.keep(s.t + s.u); }},
      {"t - u", [](State& s) { s.keep(s.t - s.u); }},
      {"it - u", [](State& s) { s.keep(s.it - s.u); }},
      {"t - iu", [](State& s) { s.keep(s.t - s.iu); }},
      {"it + iu", [](State& s) { s.keep(s.it + s.iu); }},
      {"it - iu", [](State& s) { s.keep(s.it - s.iu); }},
      {"t + 1", [](State& s) { s.keep(s.t + 1); }},
      {"1 - t", [](State& s) { s.keep(1 - s.t); }},
      {"1.5 - it", [](State& s) { s.keep(1.5 - s.it); }},
      {"1 - it", [](State& s) { s.keep(1 - s.it); }},
      {"TavNumExpr(t)", [](State& s) { s.keep(TavNumExpr(s.t)); }},
      {"TavNumExpr(it)", [](State& s) { s.keep(TavNumExpr(s.it)); }},
      {"TavIntExpr(it)", [](State& s) { s.keep(TavIntExpr(s.it)); }},
      {"TavNumExpr(env, 1)", [](State& s) { s.keep(TavNumExpr(s.env, 1.0)); }},
      {"TavIntExpr(env, 1)", [](State& s) { s.keep(TavIntExpr(s.env, 1)); }},
  };
  table.insert(table.end(), terms.begin(), terms.end());
  return table;
}

Operations editsOfSums() {
  Operations table;
  for (const bool isShared : {false, true}) {
    const auto of = [isShared](State& s) -> TavExpr& { return isShared ? s.sharedSum : s.sum; };
    const auto add = [&](const char* name, auto edit) {
      table.push_back({name + std::string(isShared ? " of a shared sum" : ""), [=](State& s) { edit(s, of(s)); }});
    };
    const std::string whose = isShared ? "shared" : "own";
    addNums(table, whose + " +=", [=](State& s, TavNumExprArg e, std::size_t) { of(s) += e; });
    addNums(table, whose + " -=", [=](State& s, TavNumExprArg e, std::size_t) { of(s) -= e; });
    add("+= 1", [](State&, TavExpr& e) { e += 1.0; });
    add("+= x", [](State& s, TavExpr& e) { e += s.w.x; });
    add("-= i", [](State& s, TavExpr& e) { e -= s.w.i; });
    add("+= t", [](State& s, TavExpr& e) { e += s.t; });
    add("-= it", [](State& s, TavExpr& e) { e -= s.it; });
    add("+= itself", [](State&, TavExpr& e) { e += TavNumExprArg(e); });
    add("-= itself", [](State&, TavExpr& e) { e -= TavNumExprArg(e); });
    add("*= 2", [](State&, TavExpr& e) { e *= 2.0; });
    add("/= 2", [](State&, TavExpr& e) { e /= 2.0; });
    add("clear", [](State&, TavExpr& e) { e.clear(); });
    add("a constant", [](State&, TavExpr& e) { e.clear(), e.setNumConstant(2.0); });
    add("a coefficient that is there", [](State& s, TavExpr& e) { e.setLinearCoef(s.w.x, 9.0); });
    add("a coefficient that is absent", [](State& s, TavExpr& e) { e.setLinearCoef(s.w.i, 9.0); });
    add("a coefficient of zero", [](State& s, TavExpr& e) { e.setLinearCoef(s.w.x, 0.0); });
    add("coefficients", [](State& s, TavExpr& e) { e.setLinearCoefs(s.vars, s.numbers); });
    add("remove", [](State& s, TavExpr& e) { e.remove(s.vars); });
    add("normalize", [](State&, TavExpr& e) { e.normalize(); });
    add("normalize without mark arrays", [](State& s, TavExpr& e) {
      s.home()->markArraysAvailable = false;
      e.normalize();
    });
    add("copy", [](State& s, TavExpr& e) { s.keep(e.copy()); });
  }
  table.push_back({"coefficients with the old ones",
                   [](State& s) { TavExpr(s.sum).getImpl()->setCoef(s.vars, s.numbers, s.numbers); }});
  return table;
}

Operations buildersOverArrays() {
  return {
      {"minimum of expressions", [](State& s) { s.keep(TavMin(s.nums)); }},
      {"maximum of integers", [](State& s) { s.keep(TavMax(s.ints)); }},
      {"minimum of variables", [](State& s) { s.keep(TavMin(s.vars)); }},
      {"maximum of integer variables", [](State& s) { s.keep(TavMax(s.intVars)); }},
      {"sum of expressions", [](State& s) { s.keep(TavSum(s.nums)); }},
      {"sum of integers", [](State& s) { s.keep(TavSum(s.ints)); }},
      {"sum of variables", [](State& s) { s.keep(TavSum(s.vars)); }},
      {"sum of integer variables", [](State& s) { s.keep(TavSum(s.intVars)); }},
      {"scalar product of numbers", [](State& s) { s.keep(TavScalProd(s.numbers, s.vars)); }},
      {"scalar product of integers", [](State& s) { s.keep(TavScalProd(s.wholes, s.intVars)); }},
      {"scalar product of expressions", [](State& s) { s.keep(TavScalProd(s.nums, s.nums)); }},
      {"scalar product of integer expressions", [](State& s) { s.keep(TavScalProd(s.ints, s.ints)); }},
      {"element of expressions", [](State& s) { s.keep(s.nums[s.w.n]); }},
      {"element of integers", [](State& s) { s.keep(s.ints[s.w.n]); }},
      {"element of variables", [](State& s) { s.keep(TavElement(s.vars, s.w.n)); }},
      {"element of integer variables", [](State& s) { s.keep(TavElement(s.intVars, s.w.n)); }},
      {"element of numbers", [](State& s) { s.keep(TavElement(s.numbers, s.w.n)); }},
      {"element of whole numbers", [](State& s) { s.keep(TavElement(s.wholes, s.w.n)); }},
      {"piecewise by slopes", [](State& s) { s.keep(TavPiecewiseLinear(s.w.p, s.numbers, s.numbers, 0.0, 1.0)); }},
      {"piecewise by values", [](State& s) { s.keep(TavPiecewiseLinear(s.w.p, 1.0, s.numbers, s.numbers, 1.0)); }},
      {"count", [](State& s) { s.keep(TavCount(s.ints, 7)); }},
      {"deviation", [](State& s) { s.keep(TavStandardDeviation(s.ints)); }},
      {"conversion of an array", [](State& s) { s.keep(TavConversion(s.env, s.vars, TavNumVar::Int, "array")); }},
      {"conversion of a variable", [](State& s) { s.keep(TavConversion(s.env, s.w.x, TavNumVar::Int, "one")); }},
      {"array", [](State& s) { s.keepArray(TavNumArray(s.env, 3000)); }},
      {"array grows", [](State& s) { s.numbers.getImpl()->addArray(s.longArray.getImpl()); }},
      {"array takes itself in", [](State& s) { s.vars.add(s.vars); }},
      {"array of numbers", [](State& s) { s.keepArray(s.wholes.toNumArray()); }},
      {"array of elements", [](State& s) { s.keepArray(TavNumVarArray(s.env, 5, s.w.x, s.w.x, s.w.y, s.w.x, s.w.y)); }},
      {"array as expressions", [](State& s) { s.keepArray(s.vars.toNumExprArray()); }},
      {"array as integers", [](State& s) { s.keepArray(TavNumVarArray(s.intVars.getImpl()).toIntExprArray()); }},
      {"array as variables", [](State& s) { s.keepArray(s.intVars.toNumVarArray()); }},
      {"clones of an array", [](State& s) { s.keepArray(s.vars.getClone(s.other.getImpl())); }},
      {"array replaced by clones",
       [](State& s) {
         TavNumExprArray array = s.nums;
         array.replaceByClone(s.other.getImpl());
         s.keepArray(array);
       }},
  };
}

Operations variables() {
  using Num = TavNumVar;
  return {
      {"variable", [](State& s) { s.keep(Num(s.env, 3.25, 4.5, Num::Float, "a name that is longer than a word")); }},
      {"variable like another", [](State& s) { s.keep(Num(s.env, 0.0, 10.0)); }},
      {"Boolean variable", [](State& s) { s.keep(Num(s.env, 0.0, 1.0, Num::Bool)); }},
      {"integer variable", [](State& s) { s.keep(TavIntVar(s.env, 3, 77, "n")); }},
      {"0-1 variable", [](State& s) { s.keep(TavBoolVar(s.env, "b")); }},
      {"0-1 variable by column", [](State& s) { s.keep(TavBoolVar(TavAddNumVar(&s.column), "b")); }},
      {"variable by column", [](State& s) { s.keep(Num(TavAddNumVar(&s.column), 1.0, 7.0)); }},
      {"variable over values", [](State& s) { s.keep(Num(s.env, s.numbers)); }},
      {"integer variable over values", [](State& s) { s.keep(TavIntVar(s.env, s.wholes)); }},
      {"variable over objects",
       [](State& s) { s.keep(Num(new (s.home()) TavNumVarI(s.home(), TavAnyArray(s.wholes.getImpl()), "any"))); }},
      {"variable over a range", [](State& s) { s.keep(Num(s.range, "r")); }},
      {"range", [](State& s) { TavNumRange(s.env, 0.0, 10.0); }},
      {"semi-continuous variable", [](State& s) { s.keep(TavSemiContVar(s.env, 1.0, 8.0)); }},
      {"indicator", [](State& s) { s.keep(Num(s.constraint)); }},
      {"variables", [](State& s) { s.keepArray(TavNumVarArray(s.env, 50, 0.0, 4.0)); }},
      {"variables of bounds", [](State& s) { s.keepArray(TavNumVarArray(s.env, s.numbers, s.numbers)); }},
      {"variables by columns", [](State& s) { s.keepArray(TavNumVarArray(s.env, s.columns)); }},
      {"integer variables by columns",
       [](State& s) { s.keepArray(TavIntVarArray(s.env, s.columns, s.numbers, s.numbers)); }},
      {"0-1 variables by columns", [](State& s) { s.keepArray(TavBoolVarArray(s.env, s.columns)); }},
      {"semi-continuous variables", [](State& s) { s.keepArray(TavSemiContVarArray(s.env, s.numbers, s.numbers)); }},
      {"lower bound of a shared domain", [](State& s) { s.w.x.setLB(1.0); }},
      {"upper bound of a value list", [](State& s) { s.listed.setUB(1.5); }},
      {"bounds without a domain", [](State& s) { s.bare.setBounds(1.0, 2.0); }},
      {"bounds of a 0-1 variable", [](State& s) { s.flag.setBounds(0, 0); }},
      {"values of a shared domain", [](State& s) { s.w.x.setPossibleValues(s.numbers); }},
      {"values of a value list", [](State& s) { s.listed.setPossibleValues(s.numbers); }},
      {"values without a domain", [](State& s) { s.bare.setPossibleValues(s.numbers); }},
      {"whole values", [](State& s) { s.w.i.setPossibleValues(s.wholes); }},
      {"whole values of a real variable", [](State& s) { s.w.x.getImpl()->setPossibleValues(s.wholes); }},
      {"values read", [](State& s) { s.listed.getPossibleValues(s.numbers); }},
      {"threshold", [](State& s) { s.semi.setSemiContinuousLb(2.0); }},
      {"a new domain", [](State& s) { s.w.x.getImpl()->makeDomain(1.0, 2.0); }},
      {"name", [](State& s) { s.w.x.setName("a name that is longer than the one before"); }},
      {"bounds of an array", [](State& s) { s.mixed.setBounds(s.longArray, s.longArray); }},
  };
}

Operations endings() {
  const auto removal = [](State& s) { s.home()->removeFromAllOnDestroy = true; };
  const auto extracted = [](State& s) { s.home()->oneByOneRemoval = true; };
  return {
      {"a variable of no sum", [](State& s) { s.bareToo.end(); }},
      {"a variable of a sum", [](State& s) { s.doomed[3].end(); }},
      {"a variable of a sum, one by one", [](State& s) { s.doomed[3].end(); }, extracted},
      {"an array of variables", [](State& s) { s.doomed.TavExtractableArray::endElements(); }},
      {"a constraint", [](State& s) { s.constraint.end(); }},
      {"a conversion", [](State& s) { s.conversion.end(); }},
      {"a handle's node", [](State& s) { s.own[3].end(); }, removal},
      {"a handle's sum", [](State& s) { s.own[5].end(); }, removal},
      {"an element's array", [](State& s) { s.nums.endElements(); }, removal},
      {"a removed variable of a conversion", [](State& s) { s.conversion.removeVar(s.w.x); }},
  };
}

Operations hostOperations() {
  return {
      {"an environment", [](State&) { TavEnv().end(); }},
      {"an algorithm", [](State& s) { Ones values(s.env); }},
      {"a listener",
       [](State& s) {
         s.home()->setChangeListener([a = std::array<int, 16>()](const TavChange&) { static_cast<void>(a); });
       }},
      {"an evaluator",
       [](State& s) {
         s.home()->getModelEvaluator().activate([a = std::array<int, 16>()](TavIntExprI*) { return a[0]; });
       }},
      {"a registered clone", [](State& s) { s.own[0].setClone(s.own[1], s.other); }},
      {"a mark array", [](State& s) { s.home()->releaseMarkArray(s.home()->getMarkArray()); }},
      {"a value", [](State& s) { s.own[5].eval(&s.algorithm); }},
  };
}

Operations clones() {
  Operations table;
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    const auto prepare = [&sample](State& s) {
      s.watched.push_back(sample.make(s.operands()));
      s.watched[0]->setName("sample");
      s.pass.emplace(s.home(), s.other.getImpl());
    };
    table.push_back({std::string("clone of ") + sample.facts.name,
                     [](State& s) { s.keep(TavExtractable(s.pass->clone(s.watched[0]))); }, prepare});
  }
  return table;
}

/// Leaves every pool, the list of cells and the identifier table so that the next request needs the system.
void exhaust(State& state) {
  TavEnvI* env = state.home();
  const auto drain = [](auto take) {
    AllocationGate gate(0, true);
    try {
      for (int k = 0; k < 20000; ++k) take();
    } catch (const std::bad_alloc&) {
    }
  };
  TavInt id = 0;
  do {  // a table that has just been doubled as often as this is full
    id = (new (env) LeafI(env, 0.0, nullptr))->getId();
  } while (!std::has_single_bit(static_cast<std::uint64_t>(id + 1)));
  drain([env] { env->newTerm(nullptr, 0.0); });
  for (std::size_t bytes = 256; bytes > 0; bytes -= 8) {
    drain([&] { env->getMemory()->alloc(bytes); });
  }
}

/// The lines in which two observations differ.
std::string difference(const std::string& seen, const std::string& wanted) {
  std::istringstream a(seen), b(wanted);
  std::string left, right, lines;
  while (std::getline(a, left), std::getline(b, right), a || b) {
    if (left != right) lines += "\n  " + left + "\n  instead of\n  " + right;
    left = right = "";
  }
  return lines;
}

class FailedAllocations : public ::testing::Test {
 protected:
  static TavInt usedBytes(const State& s) {
    return s.home()->getMemory()->usedBytes() + s.other.getImpl()->getMemory()->usedBytes();
  }
  static void runAll(const Operations& table) {
    for (const Operation& operation : table) run(operation);
  }
  static void run(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    const auto prepared = [&operation](State& s) {
      if (operation.prepare) operation.prepare(s);
      exhaust(s);
      return usedBytes(s);
    };
    State undisturbed;
    TavInt bytes = prepared(undisturbed);
    operation.run(undisturbed);
    bytes = usedBytes(undisturbed) - bytes;
    const std::string wanted = Observer(undisturbed, false).text();
    for (int n = 0;; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      State s;
      const TavInt bytesBefore = prepared(s);
      const std::string before = Observer(s, true).text();
      bool thrown = false, failed = false;
      {
        AllocationGate gate(n);
        try {
          operation.run(s);
        } catch (const std::bad_alloc&) {
          thrown = true;
        }
        failed = gate.hasFailed();
      }
      if (!failed) break;
      ASSERT_LT(n, 1000);
      if (thrown) {
        ASSERT_EQ(difference(Observer(s, true).text(), before), "");
        operation.run(s);
      }
      ASSERT_EQ(usedBytes(s) - bytesBefore, bytes);
      ASSERT_EQ(difference(Observer(s, false).text(), wanted), "");
    }
  }
};

TEST_F(FailedAllocations, OfOperators) { runAll(operators()); }
TEST_F(FailedAllocations, OfEditsOfSums) { runAll(editsOfSums()); }
TEST_F(FailedAllocations, OfBuildersOverArrays) { runAll(buildersOverArrays()); }
TEST_F(FailedAllocations, OfVariables) { runAll(variables()); }
TEST_F(FailedAllocations, OfEndings) { runAll(endings()); }
TEST_F(FailedAllocations, OfTheHost) { runAll(hostOperations()); }
TEST_F(FailedAllocations, OfClones) { runAll(clones()); }

}  // namespace
