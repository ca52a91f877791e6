#pragma once
/// Internal header of tavmodelfile: nodes of the expression library as tokens of model files, one step at a time.

#include <span>
#include <string>
#include <vector>

#include "expression/nodes.h"
#include "modelfile/file_model.h"

/// A token, or a node whose tokens stand here.
struct TavTokenOrNode {
  TavFileToken token{TavFileOp::Number, 0, 0.0};
  const TavNumExprI* node = nullptr;
};

/// The steps in prefix order; nodes are its operands.
class TavTokenList {
 public:
  void op(TavFileOp op, std::size_t arguments = 0) { token({op, static_cast<std::int32_t>(arguments), 0.0}); }
  void token(TavFileToken token) { _items.push_back({token}); }
  void number(double value) { token({TavFileOp::Number, 0, value}); }
  void node(const TavNumExprI* node) { _items.push_back({{}, node}); }
  /// The operand as a whole number, cut toward zero unless it is whole.
  void whole(const TavNumExprI* node);
  std::span<const TavTokenOrNode> items() const noexcept { return _items; }
  void clear() noexcept { _items.clear(); }

 private:
  std::vector<TavTokenOrNode> _items;
};

/// Writes one node, which is neither a variable nor a numeric or integer linear sum, as an operation over its operands.
/// An operand that a composition uses several times comes several times. `mean` stands for the mean of the operands
/// of a standard deviation. Returns what cannot be said, or null.
const char* TavTokensOf(const TavNumExprI* node, TavFileToken mean, TavTokenList& out);
