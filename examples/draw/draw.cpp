#include "draw.h"

#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "expression/nodes.h"

namespace {

/// What a visit reports of one object.
class Operands final : public TavExtractableVisitor {
 public:
  explicit Operands(TavExtractableI* object) { object->visitSubExtractables(this); }
  void beginVisit(TavExtractableI*) override {}
  void visitChild(TavExtractableI*, TavExtractableI* child) override { all.push_back(child); }
  void endVisit(TavExtractableI*) override {}

  std::vector<TavExtractableI*> all;
};

template <class Node>
const Node* as(const TavExtractableI* object) {
  return object->isType(Node::GetTypeInfo()) ? static_cast<const Node*>(object) : nullptr;
}

/// Writes the constant of a node of one of these classes.
template <class... Nodes>
void writeConstant(std::ostream& os, const TavExtractableI* object) {
  const auto write = [&os](const auto* node) {
    if (node) os << '\n' << node->getConstant();
  };
  (write(as<Nodes>(object)), ...);
}

/// Writes the numbers of a node that has an array of them.
template <class... Nodes>
void writeArray(std::ostream& os, const TavExtractableI* object) {
  const auto write = [&os](const auto* node) {
    if (node) os << '\n' << node->getArray();
  };
  (write(as<Nodes>(object)), ...);
}

template <class... Nodes>
void writeMissingBranches(std::ostream& os, const TavExtractableI* object) {
  const auto write = [&os](const auto* node) {
    if (node && !node->getThen()) os << "\nthen " << node->getThenConstant();
    if (node && !node->getElse()) os << "\nelse " << node->getElseConstant();
  };
  (write(as<Nodes>(object)), ...);
}

/// Class name and constants; for a variable its name and bounds.
std::string labelOf(const TavExtractableI* object) {
  std::ostringstream os;
  if (const auto* variable = as<TavNumVarI>(object)) {
    os << (variable->getName() ? variable->getName() : variable->getRttiTypeName()) << '\n';
    os << variable->getLB() << " .. " << variable->getUB();
    return os.str();
  }
  os << object->getRttiTypeName();
  writeConstant<TavNumLinTermI, TavIntLinTermI, TavNumTimesCstI, TavIntTimesCstI, TavNumDivCstI, TavIntDivCstI,
                TavNumRecDivCstI, TavIntRecDivCstI, TavIntModuloCstI, TavIntRecModuloCstI, TavNumMinCstI, TavNumMaxCstI,
                TavIntMinCstI, TavIntMaxCstI, TavNumPowerCstI, TavNumRecPowerCstI>(os, object);
  writeArray<TavNumArrayElementI, TavIntArrayElementI>(os, object);
  writeMissingBranches<TavConditionalIntExprI, TavConditionalNumExprI>(os, object);
  if (const auto* count = as<TavCountI>(object)) os << '\n' << count->getValue();
  if (const auto* curve = as<TavExprPiecewiseLinearI>(object)) {
    os << '\n' << curve->getBreakpoints() << '\n' << curve->getSlopesOrValues();
    os << '\n' << curve->getFirstNumber() << ", " << curve->getSecondNumber();
  }
  return os.str();
}

/// The labels of the edges of a linear node, in the order in which a visit reports its operands.
template <class Linear>
void addCoefficients(const TavExtractableI* object, std::vector<std::string>& labels) {
  const auto* linear = as<Linear>(object);
  if (!linear) return;
  for (const TavPart* part = linear->getFirstPart(); part; part = part->next) labels.emplace_back();
  for (const TavNumLinExprTermI* term = linear->getFirstTerm(); term; term = term->next) {
    if (term->coef == 0.0) continue;  // a visit skips it
    std::ostringstream os;
    os << term->coef;
    labels.push_back(os.str());
  }
}

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c == '\n' ? std::string("\\n") : std::string(1, c);
  }
  return out + '"';
}

}  // namespace

void drawGraph(std::ostream& os, TavExtractable expression) {
  std::vector<TavExtractableI*> met{expression.getImpl()};
  std::unordered_map<const TavExtractableI*, std::size_t> number{{expression.getImpl(), 0}};
  os << "digraph expression {\n  graph [ordering=out];\n"
     << "  node [shape=box, style=rounded, fontname=\"Helvetica\", fontsize=11];\n"
     << "  edge [fontname=\"Helvetica\", fontsize=11];\n";
  for (std::size_t i = 0; i < met.size(); ++i) {
    TavExtractableI* object = met[i];
    os << "  n" << i << " [label=" << quoted(labelOf(object)) << (as<TavNumVarI>(object) ? ", shape=ellipse" : "")
       << "];\n";
    std::vector<std::string> labels;
    addCoefficients<TavNumLinTermI>(object, labels);
    addCoefficients<TavIntLinTermI>(object, labels);
    const Operands operands(object);
    labels.resize(operands.all.size());
    for (std::size_t k = 0; k < operands.all.size(); ++k) {
      const auto [found, isNew] = number.try_emplace(operands.all[k], met.size());
      if (isNew) met.push_back(operands.all[k]);
      os << "  n" << i << " -> n" << found->second;
      if (!labels[k].empty()) os << " [label=" << quoted(labels[k]) << "]";
      os << ";\n";
    }
  }
  os << "}\n";
}
