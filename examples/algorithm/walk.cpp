// What an algorithm layer handles in a model: node classes, nodes with several parents, and the changes that are
// reported. docs/algorithm_author.md explains it.

#include <iostream>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "expression/nodes.h"

/// One enumerator for each node class of the library.
enum class NodeClass {
#define TAV_NODE(Class, Base) Class,
#define TAV_CHANGE(Class)
#include "expression/classes.inc"
#undef TAV_CHANGE
#undef TAV_NODE
  kOther
};

/// The class of an object; the class of its nearest base in the library for a client's class.
NodeClass classOf(const TavExtractableI* object) {
  static std::unordered_map<TavTypeInfo, NodeClass> classes = {
#define TAV_NODE(Class, Base) {Class::GetTypeInfo(), NodeClass::Class},
#define TAV_CHANGE(Class)
#include "expression/classes.inc"
#undef TAV_CHANGE
#undef TAV_NODE
  };
  const auto found = classes.find(object->getTypeInfo());
  if (found != classes.end()) return found->second;
  const bool isConstraint = object->isType(TavConstraintI::GetTypeInfo());
  return isConstraint ? NodeClass::TavConstraintI : NodeClass::kOther;
}

/// Visits everything below a root once, without recursion: nodes may have several parents, and nests may be deep.
class Walk final : public TavExtractableVisitor {
 public:
  explicit Walk(TavExtractableI* root) { visitChild(nullptr, root); }
  /// The next object; null when there is none left.
  TavExtractableI* next() {
    if (_open.empty()) return nullptr;
    TavExtractableI* object = _open.back();
    _open.pop_back();
    object->visitSubExtractables(this);
    return object;
  }

 private:
  void beginVisit(TavExtractableI*) override {}
  void visitChild(TavExtractableI*, TavExtractableI* child) override {
    if (_seen.insert(child).second) _open.push_back(child);
  }
  void endVisit(TavExtractableI*) override {}

  std::vector<TavExtractableI*> _open;
  std::unordered_set<const TavExtractableI*> _seen;
};

/// Whether the tree below the root has no absolute value, rounding or unknown class.
bool isSmooth(TavExtractableI* root) {
  Walk walk(root);
  while (TavExtractableI* object = walk.next()) {
    switch (classOf(object)) {
      case NodeClass::TavNumAbsI:
      case NodeClass::TavIntAbsI:
      case NodeClass::TavNumFloorI:
      case NodeClass::TavNumCeilI:
      case NodeClass::kOther:
        return false;
      default:
        break;
    }
  }
  return true;
}

/// Prints which records each modification sends.
class Reports {
 public:
  explicit Reports(TavEnv env) {
    env.getImpl()->setChangeListener([this](const TavChange& change) {
      ++_count;
      std::cout << " " << change.getRttiTypeName();
    });
  }
  template <class Work>
  void of(const char* title, Work work) {
    _count = 0;
    std::cout << title << ":";
    work();
    std::cout << (_count ? "\n" : " nothing\n");
  }

 private:
  int _count = 0;
};

int main() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y"), z(env, 0, 10, "z");
  TavNumExpr angle = TavSin(x * y);
  TavNumExpr model = angle * angle + TavAbs(angle - 1);
  int nodes = 0;
  for (Walk walk(model.getImpl()); walk.next();) ++nodes;
  std::cout << nodes << " objects, " << (isSmooth(model.getImpl()) ? "smooth" : "not smooth") << "\n";

  TavExpr e = x + 2 * y;
  TavNumVarArray both(env, 2, x, y);
  TavNumArray coefs(env, 2);
  for (int i = 0; i < 2; ++i) coefs[i] = 5 + i;
  Reports reports(env);
  reports.of("x.setUB(4)", [&] { x.setUB(4); });
  reports.of("x.setName(\"u\")", [&] { x.setName("u"); });
  reports.of("e.setLinearCoef(x, 3)", [&] { e.setLinearCoef(x, 3); });
  reports.of("e.setLinearCoef(z, 1)", [&] { e.setLinearCoef(z, 1); });
  reports.of("e.setLinearCoefs(both, {5, 6})", [&] { e.setLinearCoefs(both, coefs); });
  reports.of("e.setLinearCoefs(both, {0, 6})", [&] { coefs[0] = 0, e.setLinearCoefs(both, coefs); });
  reports.of("e += 3 * y", [&] { e += 3 * y; });
  reports.of("e *= 2", [&] { e *= 2; });
  reports.of("e.normalize()", [&] { e.normalize(); });
  reports.of("e.remove(both)", [&] { e.remove(both); });
  reports.of("z.end()", [&] { z.end(); });
  TavExpr linear = x + 1;
  reports.of("linear.setNumConstant(2)", [&] { linear.setNumConstant(2); });
  reports.of("linear.clear()", [&] { linear.clear(); });
  env.end();
}
