#pragma once
/// The second public header of tavmodelfile: model files become expressions of the library, and any model in memory
/// becomes a model file again.
///
/// ```
/// TavEnv env;
/// TavModelContents model = TavBuildModel(env, TavReadModel("plan.lp"));
/// model.variables[0].setUB(5);
/// TavWriteModel(TavFileModelOf(model), "plan.mps");
/// ```

#include <memory>
#include <string>
#include <vector>

#include "expression/tavexpression.h"
#include "modelfile/tavmodelfile.h"

#pragma GCC visibility push(default)

/// lower <= expression <= upper. An infinite bound is none.
struct TavModelRow {
  TavNumExprArg expression;  ///< Not empty.
  double lower;              ///< At most `upper`, or the row cannot be met.
  double upper;              ///< See `lower`.
  /// Null for no name; whoever fills the row keeps it alive.
  const char* name = nullptr;
};

/// What is minimised or maximised; an empty expression is 0.
struct TavModelObjective {
  TavNumExprArg expression;    ///< What is optimised.
  bool maximise = false;       ///< Otherwise minimised.
  const char* name = nullptr;  ///< Null for no name; whoever fills the objective keeps it alive.
};

/// A special ordered set over variables: see TavFileSet.
struct TavModelSet {
  std::string name;                ///< May be empty.
  int type;                        ///< 1 or 2.
  std::vector<TavNumVar> members;  ///< In the order of the file.
  /// One a member.
  std::vector<double> weights;
};

/// A model in memory: handles on objects of one environment, which whoever fills it keeps alive.
struct TavModelContents {
  std::string name;                  ///< May be empty.
  std::vector<TavNumVar> variables;  ///< In the order of the columns.
  std::vector<TavModelRow> rows;     ///< In the order of the file.
  /// The first is the one to solve for; none: find a feasible point.
  std::vector<TavModelObjective> objectives;
  std::vector<TavModelSet> sets;  ///< In the order of the file.
  /// Start values: empty, or one a variable, NaN where there is none.
  std::vector<double> start;
  /// Indices are positions in `variables`, `rows` and `objectives`.
  std::vector<TavFileSuffix> suffixes;
};

/// Builds the parts of a model from a file, each when it is asked for, so that callers can give them objects of their
/// own. Rows: linear terms, products and non-linear parts stand in one sum. Common expressions are nodes that all
/// their users share. An indicator row is a condition in an expression: see `row`.
class TavModelBuilder {
 public:
  /// Makes the variables, by kind, bounds and name, and the common expressions. `model` must outlive the builder.
  /// `known` is empty or has one element a variable of the file: one that is not empty is used in its place.
  /// Throws TavFileError, naming the variable, for a semi-continuous one whose range lies below 0, and std::bad_alloc.
  /// Cost: linear.
  TavModelBuilder(TavEnv env, const TavFileModel& model, std::vector<TavNumVar> known = {});
  TavModelBuilder(const TavModelBuilder&) = delete;
  TavModelBuilder& operator=(const TavModelBuilder&) = delete;
  ~TavModelBuilder();

  /// The variables in the order of the file. They live until their end() or the environment's.
  const std::vector<TavNumVar>& variables() const noexcept;
  /// Rows of the file and then its logical constraints.
  std::int32_t rowCount() const noexcept;
  /// A new sum for row i, counted once for the caller. Terms keep the order of the file. A logical constraint is an
  /// expression of value 1 or 0. An indicator row is a conditional: the row's sum while the variable has its value,
  /// else a number within the bounds.   Cost: linear in the size of the row; no search, no normalisation.
  TavExpr row(std::int32_t i);
  ///@{
  /// The bounds of row i; 1 and 1 for a logical constraint.
  double rowLower(std::int32_t i) const noexcept;
  double rowUpper(std::int32_t i) const noexcept;
  ///@}
  /// A new sum for objective i, counted once for the caller.
  TavExpr objective(std::int32_t i);
  /// The special ordered sets over the variables.
  std::vector<TavModelSet> sets() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> _parts;
};

/// Builds the whole model. Each row's sum carries the row's name and is counted once for the caller, as are those of
/// the objectives. Throws as TavModelBuilder does.   Cost: linear.
TavModelContents TavBuildModel(TavEnv env, const TavFileModel& model);

/// How TavFileModelOf treats expressions that are not linear.
enum class TavProductsIn : std::uint8_t {
  Expressions,  ///< as they are: for .nl files, where common expressions stay shared
  Products      ///< products and squares of linear sums are multiplied out into products of variables: for MPS and LP
};

/// Returns the model as a file says it, for TavWriteModel. A constant in a row that is otherwise linear moves into the
/// row's bounds. Rows whose expression is a conditional as TavModelBuilder::row makes it become indicator rows.
/// Throws TavFileError, naming the row and what it is, for what no format can say: client functions and constraints,
/// parameters, remainders and the like have no operation there; variables that are not in `variables`, or that take
/// values from a list.   Cost: linear in the size of the model.
TavFileModel TavFileModelOf(const TavModelContents& model, TavProductsIn products = TavProductsIn::Expressions);

/// Returns an expression that is at most `limit` exactly where the set holds: for type 1 the number of members that are
/// not zero, for type 2 the distance between the first and the last of them; uncounted. `limit` is 1.
TavNumExprArg TavExprOf(const TavModelSet& set);

#pragma GCC visibility pop
