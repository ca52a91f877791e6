#pragma once
/// Class header for authors of algorithms: the semi-continuous variable and the record of its new threshold.

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// A variable that is 0, or between its threshold and its upper bound. The domain keeps the bounds [0, ub].
class TavSemiContVarI final : public TavNode<TavSemiContVarI, TavNumVarI> {
 public:
  static constexpr const char* kTypeName = "TavSemiContVarI";

  /// Without a domain: bounds [0, infinity], type Float.
  TavSemiContVarI(TavEnvI* env, double threshold, TavNameArg name) : TavNode(env, name), _threshold(threshold) {}
  /// Takes the domain over unless it is shared.
  TavSemiContVarI(TavEnvI* env, TavVarDomainI* domain, double threshold, TavNameArg name)
      : TavNode(env, domain, name), _threshold(threshold) {}
  /// Shared domain, Boolean bounds truncated first.
  TavSemiContVarI(TavEnvI* env, Type type, double lb, double ub, double threshold, TavNameArg name)
      : TavNode(env, type, lb, ub, name), _threshold(threshold) {}

  /// The threshold.
  double getThreshold() const noexcept { return _threshold; }
  /// Stores and reports a new threshold. Does nothing for an equal one; a not-a-number is always new.
  void setBd(double threshold);

  /// A variable with this threshold, without domain and name.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  void display(std::ostream& os) const override;

 private:
  double _threshold;
};

/// A new threshold of one variable, with the old one.
class TavSetSemiContBound final : public TavChangeRecord<TavSetSemiContBound> {
 public:
  static constexpr const char* kTypeName = "TavSetSemiContBound";

  TavSetSemiContBound(TavSemiContVarI* var, double oldThreshold, double newThreshold)
      : TavChangeRecord(var), _var(var), _oldThreshold(oldThreshold), _newThreshold(newThreshold) {}

  /// The variable concerned.
  TavSemiContVarI* getVar() const noexcept { return _var; }
  /// The threshold before.
  double getOldThreshold() const noexcept { return _oldThreshold; }
  /// The new threshold.
  double getNewThreshold() const noexcept { return _newThreshold; }

 private:
  TavSemiContVarI* _var;
  double _oldThreshold, _newThreshold;
};

static_assert(sizeof(TavSemiContVarI) == 64);

#pragma GCC visibility pop
