#pragma once
/// Optimal power flow with alternating current, in polar coordinates.

#include <vector>

#include "expression/tavexpression.h"
#include "network.h"

/// Least cost of generation, such that power is balanced at each bus and no voltage, angle or branch leaves its limits.
/// Numbers of the variables are those of the network; a branch has two ends, `from` of branch l is end l and `to` is
/// end (number of branches) + l.
struct PowerFlowModel {
  explicit PowerFlowModel(TavEnv env) : constraints(env) {}

  std::vector<TavNumVar> angle, voltage;        ///< of a bus
  std::vector<TavNumVar> active, reactive;      ///< of a generator
  std::vector<TavNumVar> activeIn, reactiveIn;  ///< what flows into an end
  TavNumExpr cost;
  TavNumExprArray constraints;
  std::vector<Range> limits;  ///< of the constraints
  /// Of a branch: its constraints begin here and end where those of the next branch begin; one entry more than
  /// branches.
  std::vector<std::size_t> firstConstraint;

  /// All variables, group by group.
  TavNumVarArray columns() const;
};

PowerFlowModel makeModel(TavEnv env, const Network& network);
