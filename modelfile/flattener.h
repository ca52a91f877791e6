#pragma once
/// Internal header of tavmodelfile: expressions of a model in memory become linear terms, products and tokens.

#include <string>
#include <unordered_map>
#include <vector>

#include "modelfile/build.h"
#include "modelfile/expr_tokens.h"

/// constant + terms + products + rest, the sum that an expression is.
struct TavFlatSum {
  double constant = 0.0;
  /// No variable twice.
  std::vector<TavFileTerm> terms;
  /// No pair twice.
  std::vector<TavFileProduct> products;
  /// factor * node, for what is neither.
  struct Part {
    const TavNumExprI* node;
    double factor;
  };
  std::vector<Part> rest;
};

/// Flattens the expressions of one model into the tokens and common expressions of `out`, without recursion.
class TavFlattener {
 public:
  /// Both must outlive the flattener. `variables` gives the numbers.
  TavFlattener(const std::vector<TavNumVar>& variables, TavProductsIn products, TavFileModel& out);

  /// Notes the nodes of an expression and how often each is used. To be called for all expressions of the model before
  /// the first is flattened. `item` names it in messages.
  void note(const TavNumExprI* root, const std::string& item);
  /// Turns the nodes that are used more than once into common expressions.
  void defineCommons();
  /// The sum that the expression is.
  TavFlatSum flatten(const TavNumExprI* root, const std::string& item);
  /// Writes constant + rest as tokens; empty when both are nothing.
  TavFileExpr write(double constant, const std::vector<TavFlatSum::Part>& rest, const std::string& item);
  /// The number of a variable.
  std::int32_t numberOf(const TavNumExprI* variable, const std::string& item) const;

 private:
  struct Use {
    std::uint32_t uses = 0;
    std::int32_t common = kNone;
    /// The common expression that is the mean of a standard deviation's operands.
    std::int32_t mean = kNone;
    bool seen = false;
  };
  static constexpr std::int32_t kNone = -1;

  Use& useOf(const TavNumExprI* node);
  bool isCommon(const TavNumExprI* node);
  /// Whether the node is a sum or a multiple that is taken apart where it stands in a sum.
  bool opens(const TavNumExprI* node);
  /// Adds what `root` is to the sum. `linearOnly` stops with false at what is not linear, and lets variables repeat.
  bool gather(TavFlatSum& sum, const TavNumExprI* root, bool linearOnly);
  /// Multiplies out a product of two linear sums; false when it is none.
  bool multiplyOut(TavFlatSum& sum, TavFlatSum::Part part);
  void addTerm(TavFlatSum& sum, std::int32_t variable, double value, bool repeats);
  void addProduct(TavFlatSum& sum, std::int32_t a, std::int32_t b, double value);
  void finiteOnly(double value) const;
  /// Appends the operands and operations of one node.
  void expand(const TavNumExprI* node, TavTokenList& list);
  void expandSum(const TavNumExprI* node, TavTokenList& list);
  TavFileExpr emit(const TavTokenList& list);
  void defineMean(const TavNumExprI* node);
  [[noreturn]] void fail(const std::string& what) const;

  TavProductsIn _products;
  TavFileModel& _out;
  /// By identifier: the number of the variable, or kNone.
  std::vector<std::int32_t> _numberOf;
  std::unordered_map<const TavNumExprI*, Use> _uses;
  /// Nodes after their operands.
  std::vector<const TavNumExprI*> _order;
  /// By variable: the sum that it was seen in last, and its place there.
  std::vector<std::pair<std::uint32_t, std::uint32_t>> _place;
  std::unordered_map<std::uint64_t, std::size_t> _productPlace;
  std::uint32_t _sum = 0;
  std::string _item;
};
