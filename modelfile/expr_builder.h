#pragma once
/// Internal header of tavmodelfile: expressions of model files become nodes of the expression library.

#include <cstdint>
#include <span>
#include <vector>

#include "expression/nodes.h"
#include "modelfile/file_model.h"

/// A value on its way into an expression. Sums grow in place while nobody else holds them.
struct TavBuildItem {
  enum Kind : std::uint8_t {
    Number,  ///< `value`
    Term,    ///< value * node, which is a variable
    Sum,     ///< node, a linear sum of this builder, uncounted
    Node     ///< node
  };
  Kind kind = Number;
  /// The value is known to be 0 or 1, and the node an integer expression.
  bool truth = false;
  /// A common expression: the node is counted and never changed.
  bool shared = false;
  /// The node is a shared linear sum of `cells` terms, which users that are linear copy.
  bool linear = false;
  /// Terms and parts of a sum.
  std::uint32_t cells = 0;
  double value = 0.0;
  TavNumExprI* node = nullptr;

  static TavBuildItem ofNumber(double value) noexcept { return {.value = value}; }
  static TavBuildItem ofNode(TavNumExprI* node) noexcept { return {.kind = Node, .node = node}; }
  static TavBuildItem ofTruth(TavIntExprI* node) noexcept { return {.kind = Node, .truth = true, .node = node}; }
  /// The sum of a Sum.
  TavNumLinTermI* sum() const noexcept { return static_cast<TavNumLinTermI*>(node); }
  /// The variable of a Term.
  TavNumVarI* variable() const noexcept { return static_cast<TavNumVarI*>(node); }
};

/// Builds the expressions of one model in one environment, without recursion. The rules of expr_builder_rules.cpp and
/// expr_builder_logic.cpp use up the items that they are given, unless they say otherwise.
class TavExprBuilder {
 public:
  /// Both must outlive the builder.
  TavExprBuilder(TavEnvI* env, const TavFileModel& model, const std::vector<TavNumVar>& variables);
  TavExprBuilder(const TavExprBuilder&) = delete;
  TavExprBuilder& operator=(const TavExprBuilder&) = delete;
  ~TavExprBuilder();

  ///@{
  /// Add to the sum: terms; value * first * second for every product; the expression.
  void addTerms(TavNumLinTermI* sum, std::span<const TavFileTerm> terms);
  void addProducts(TavNumLinTermI* sum, std::span<const TavFileProduct> products);
  void addExpr(TavNumLinTermI* sum, TavFileExpr expr);
  ///@}
  /// A node whose value is 1 where the expression is not 0, else 0; uncounted.
  TavIntExprI* truthOf(TavFileExpr expr);

 private:
  using Item = TavBuildItem;

  TavExprBuilder(TavEnvI* env, const std::vector<TavNumVar>& variables) : _env(env), _variables(variables) {}
  void makeCommon(const TavFileCommon& common);
  /// Builds the expression; its value is left alone on the stack.
  Item& build(TavFileExpr expr);
  void push(const TavFileToken& token);
  /// Ends what a failed build has left on the stack.
  void discard() noexcept;

  Item apply(const TavFileToken& token, std::span<Item> args);
  Item applyUnary(TavFileOp op, Item& x);
  Item composeUnary(TavFileOp op, Item& x);
  Item applyBinary(TavFileOp op, Item& a, Item& b);
  Item applyList(TavFileOp op, std::span<Item> args);
  Item applyLogical(TavFileOp op, std::span<Item> args);
  /// Conjunction, disjunction, negation, equivalence, implication.
  Item connect(TavFileOp op, std::span<Item> args);

  template <class Node>
  Item unary(Item& x) {
    return {.kind = Item::Node, .node = new (_env) Node(_env, nodeOf(x))};
  }
  Item add(Item& a, Item& b);
  Item subtract(Item& a, Item& b);
  Item scale(Item& x, double factor);
  Item multiply(Item& a, Item& b);
  Item divide(Item& a, Item& b);
  Item power(Item& base, Item& exponent);
  Item minMax(bool least, std::span<Item> args);
  Item piecewise(std::span<Item> args);
  Item round(TavFileOp op, Item& x, Item& digits);
  Item choose(Item& condition, Item& whenTrue, Item& whenFalse);
  /// How many of the arguments equal the first.
  Item numberOf(std::span<Item> args);
  Item allDifferent(std::span<Item> args);
  /// 1 where a > b, else 0.
  Item greater(Item& a, Item& b);
  /// 1 where a is not b, else 0.
  Item different(Item& a, Item& b);
  /// 1 - x for a truth.
  Item negated(Item x);
  /// A sum without parts that is multiplied in place, which is affordable.
  bool multipliesTerms(const Item& x);
  /// A linear sum of the item's own where it is a linear common expression and copying it is affordable.
  void copyLinear(Item& item);
  /// Whether work on so many terms fits into what linear cost allows; takes it from there.
  bool affords(std::uint32_t cells) noexcept;
  /// From now on the item's sum is a node like others, which `addTo` does not use up.
  static void keep(Item& item);
  /// The sign of a + b, which are kept.
  TavSgnI* signOfSum(Item& a, Item& b);

  TavNumVarI* variable(std::int32_t index) const { return _variables[static_cast<std::size_t>(index)].getImpl(); }
  /// Makes the item a node, which it keeps, and returns it.
  TavNumExprI* nodeOf(Item& item);
  /// The same for an integer expression that is 1 where the item is not 0, else 0.
  TavIntExprI* truthOf(Item& item);
  TavIntExprArray truthsOf(std::span<Item> args);
  /// Adds the item to the sum; one that is a sum itself is used up.
  void addTo(TavNumLinTermI* sum, Item& item);

  TavEnvI* _env;
  const std::vector<TavNumVar>& _variables;
  std::span<const TavFileToken> _tokens;
  std::vector<Item> _stack;
  std::vector<Item> _commons;
  /// Terms of linear sums that may still be copied or multiplied one by one. The rest becomes shared nodes and factors,
  /// so that the cost of nested expressions stays linear in the size of the file.
  std::size_t _affordable = 0;
};
