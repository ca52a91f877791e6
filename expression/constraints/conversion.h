#pragma once
/// Class header for authors of algorithms: the conversion of variables and the record of a variable that leaves it.

#include "expression/core/node.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// Variables and the type that an algorithm is to give them. It has no value and leaves the variables as they are.
class TavConversionI final : public TavNode<TavConversionI, TavExtractableI> {
 public:
  static constexpr const char* kTypeName = "TavConversionI";

  /// Takes over a new array, to which no other handle refers.
  TavConversionI(TavEnvI* env, TavNumVarArray vars, TavNumVar::Type type, TavNameArg name)
      : TavNode(env, name), _vars(vars), _type(type) {}
  TavConversionI(TavEnvI* env, TavNumVar var, TavNumVar::Type type, TavNameArg name);
  ~TavConversionI() override { _vars.end(); }

  /// The variables, some of which may occur more than once. The array is the conversion's own.
  TavNumVarArray getVars() const noexcept { return _vars; }
  /// The type that they are to have.
  TavNumVar::Type getType() const noexcept { return _type; }

  /// Takes every occurrence of the variable out, last first, and reports each. A listener that throws stops neither:
  /// the first exception is rethrown at the end.
  void removeVar(TavNumVar var);

  /// The same for all variables that are being removed.
  void atRemove(TavExtractableI* removed, void* data) override;
  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// An unnamed conversion of the variables' clones, as `target` has them registered.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  void display(std::ostream& os) const override;

 private:
  template <class IsDropped>
  void removeVars(IsDropped isDropped);

  TavNumVarArray _vars;
  TavNumVar::Type _type;
};

/// A variable has left a conversion.
class TavConversionRemoveVar final : public TavChangeRecord<TavConversionRemoveVar> {
 public:
  static constexpr const char* kTypeName = "TavConversionRemoveVar";

  TavConversionRemoveVar(TavNumVarI* var, TavConversionI* conversion)
      : TavChangeRecord(conversion), _var(var), _conversion(conversion) {}

  TavNumVarI* getVar() const noexcept { return _var; }
  /// The conversion that it has left.
  TavConversionI* getConversion() const noexcept { return _conversion; }
  void visitChange(TavEnvI* env, TavExtractableI* object, TavChangeVisitor* visitor) const override;

 private:
  TavNumVarI* _var;
  TavConversionI* _conversion;
};

#pragma GCC visibility pop
