#pragma once
/// Class header for authors of algorithms: nodes with operands.

#include <iosfwd>

#include "expression/core/num_expr.h"
#include "host/prefetch.h"

#pragma GCC visibility push(default)

/// A node with operands, which may nest a million deep. Self states `double value(TavAlgorithm) const` and
/// `void write(std::ostream&) const`, the bodies of eval and display.
template <class Self, class Base>
class TavNested : public TavNode<Self, Base> {
 public:
  using TavNode<Self, Base>::TavNode;

  double eval(TavAlgorithm algorithm) const override {
    TavPrefetchPageAhead(this);
    return TavDeep([this, algorithm] { return static_cast<const Self*>(this)->value(algorithm); });
  }
  void display(std::ostream& os) const override {
    TavDeep([this, &os] { static_cast<const Self*>(this)->write(os); });
  }
};

#pragma GCC visibility pop
