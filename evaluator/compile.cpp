// From expressions to a compiled program: rows, elements, shapes, structures.

#include <algorithm>
#include <array>
#include <numeric>

#include "evaluator/code.h"
#include "evaluator/compile_shape.h"

namespace taveval {

Code::RowFacts factsOf(const Row& row, std::size_t firstTerm) noexcept {
  constexpr std::uint32_t kMostTerms = (1U << 30) - 1;
  using Kind = TavEvaluator::Kind;
  const Kind kind = row.withoutDerivative || row.degree > 2 ? Kind::NonLinear
                    : row.firstSummand == row.summandEnd    ? Kind::Linear
                                                            : Kind::Quadratic;
  return {row.constant, row.withoutDerivative, static_cast<std::uint32_t>(firstTerm),
          static_cast<std::uint32_t>(row.termEnd - row.firstTerm) & kMostTerms, static_cast<std::uint32_t>(kind) & 3};
}

LooseRow looseRowOf(const Row& row, std::size_t firstTerm, std::uint32_t number) noexcept {
  if (row.whole != Row::kInOrder) return {0.0, firstTerm, 0, 0, 0, number};  // the whole expression is a summand
  return {row.constant, firstTerm, 0, static_cast<std::uint32_t>(row.termEnd - row.firstTerm), 0, number};
}

namespace {

class Compilation {
 public:
  Compilation(Columns& columns, const TavEvaluator::Options& options) : _columns(columns), _options(options) {}

  Code run(const std::vector<TavNumExprI*>& constraints, TavNumExprI* objective, Watch& watch) {
    readRows(constraints, objective, watch);
    _drafts =
        Elements(_rows, static_cast<std::uint32_t>(constraints.size()), _options.mode == TavEvaluator::Mode::Exact)
            .collect();
    _rows.records = {};  // its memory serves for what follows
    keepRowFacts();
    compileShapes();
    keepLooseRows();
    layOutJacobian();
    layOutHessian();
    _code.tables = std::move(_rows.tables);
    watch.byObject.shrink();
    watch.byRow.shrink();
    _code.tape.shrink();
    _code.shapes.shrink_to_fit();
    return std::move(_code);
  }

 private:
  void readRows(const std::vector<TavNumExprI*>& constraints, TavNumExprI* objective, Watch& watch) {
    Reader reader(_rows, _columns, watch);
    const auto count = static_cast<std::uint32_t>(constraints.size());
    reader.expectRows(std::size_t{count} + 1);
    reader.readRow(objective, count);  // first, for the order of the columns
    for (std::uint32_t r = 0; r < count; ++r) reader.readRow(constraints[r], r);
    std::rotate(_rows.rows.begin(), _rows.rows.begin() + 1, _rows.rows.end());
  }

  void keepRowFacts() {
    _code.rows.reserve(_rows.rows.size());
    for (std::uint32_t r = 0; r < _rows.rows.size(); ++r) {
      const Row& row = _rows.rows[r];
      _code.rows.push_back(factsOf(row, row.firstTerm));
      if (row.byObjects || _options.mode == TavEvaluator::Mode::Exact) _code.byObjects.push_back(r);
      const bool isObjective = r + 1 == _rows.rows.size();
      if (row.withoutDerivative) (isObjective ? _code.withoutGradient : _code.withoutJacobian) = row.withoutDerivative;
    }
    _code.terms = std::move(_rows.terms);
    _code.terms.shrink_to_fit();
    std::vector<double>& start = _code.gradientStart.values;
    start.assign(_columns.size(), 0.0);
    const Code::RowFacts& objective = _code.rows.back();
    for (std::size_t t = objective.firstTerm; t < objective.termEnd(); ++t) {
      start[static_cast<std::size_t>(_code.terms[t].column)] = _code.terms[t].coefficient;
    }
  }

  void compileShapes() {
    std::size_t rare = 0;
    for (std::size_t s = 0; s < _drafts.shapes.size(); ++s) rare += TapeCompiler::canTake(ShapeDraft(_drafts, s));
    ShapeCompiler compiler;
    for (std::uint32_t s = 0; s < _drafts.shapes.size(); ++s) {
      const ShapeDraft draft(_drafts, s);
      if (TapeCompiler::takes(draft, rare)) {
        _tapeShapes.push_back(s);
        continue;
      }
      Shape& shape = _code.shapes.emplace_back();
      _shapeDrafts.push_back(draft);
      compiler.compile(draft, _options.derivatives, _code.runner.lanes, shape, _plans.emplace_back());
      for (const Program& program : shape.programs) {
        _code.registers = std::max(_code.registers, (std::size_t{program.registers} + 1) * shape.lanes);
      }
    }
    writeTape();
  }

  void writeTape() {
    Tape& tape = _code.tape;
    std::size_t bytes = 0, variables = 0, rows = 0, parameters = 0;
    for (const std::uint32_t s : _tapeShapes) {
      const ShapeDraft draft(_drafts, s);
      bytes += draft.byteCount;
      variables += std::size_t{draft.count} * draft.variableCount;
      rows += std::size_t{draft.count} * draft.outputCount;
      parameters += std::size_t{draft.count} * draft.parameterCount;
    }
    tape.shapes.reserve(_tapeShapes.size()), tape.code.reserve(bytes), tape.variables.reserve(variables);
    tape.rows.reserve(rows), tape.parameters.reserve(parameters);
    TapeCompiler compiler;
    std::array<std::uint32_t, TapeCompiler::kFewest> numbers;
    std::iota(numbers.begin(), numbers.end(), 0U);
    for (const std::uint32_t s : _tapeShapes) {
      const ShapeDraft draft(_drafts, s);
      compiler.add(draft, std::span(numbers).first(draft.count), _options.derivatives, tape);
    }
  }

  /// Where the shapes put each summand; kNone for those that are part of a whole output.
  TavLargeArray<std::uint32_t> placeSummands() {
    TavLargeArray<std::uint32_t> placeOf;
    placeOf.assign(_rows.summands.size(), kNone);
    for (std::size_t s = 0; s < _code.shapes.size(); ++s) {
      const ShapeDraft& draft = _shapeDrafts[s];
      Shape& shape = _code.shapes[s];
      shape.firstValue = static_cast<std::uint32_t>(_code.valueCount);
      for (std::uint32_t e = 0; e < draft.count; ++e) {
        for (std::uint32_t k = 0; k < draft.valueCount; ++k) placeOf[draft.values(e)[k]] = shape.placeOfValue(e, k);
      }
      _code.valueCount += std::size_t{shape.blockCount()} * shape.lanes * draft.valueCount;
    }
    for (std::size_t s = 0; s < _code.tape.shapes.size(); ++s) {
      const ShapeDraft draft(_drafts, _tapeShapes[s]);
      _code.tape.shapes[s].firstValue = static_cast<std::uint32_t>(_code.valueCount);
      for (std::uint32_t e = 0; e < draft.count; ++e) {
        for (std::uint32_t k = 0; k < draft.valueCount; ++k) {
          placeOf[draft.values(e)[k]] = static_cast<std::uint32_t>(_code.valueCount++);
        }
      }
    }
    return placeOf;
  }

  void keepLooseRows() {
    const TavLargeArray<std::uint32_t> placeOf = placeSummands();
    for (std::uint32_t r = 0; r < _rows.rows.size(); ++r) {
      const Row& row = _rows.rows[r];
      if (_drafts.isWhole[r]) continue;
      LooseRow loose = looseRowOf(row, row.firstTerm, r);
      loose.firstSummand = _code.sums.summands.size();
      for (std::size_t s = row.firstValue(); s < row.valueEnd(); ++s) {
        if (placeOf[s] != kNone) _code.sums.summands.push_back(placeOf[s]);
      }
      loose.summandCount = static_cast<std::uint32_t>(_code.sums.summands.size() - loose.firstSummand);
      _code.sums.rows.push_back(loose);
    }
    findAdding();
    _code.sums.makeShapes(_code.terms);
  }

  /// See Code::adding.
  void findAdding() {
    const LooseRow& objective = _code.sums.rows.back();
    for (std::uint32_t s = 0; s < _code.shapes.size(); ++s) {
      const Shape& shape = _code.shapes[s];
      if (std::size_t{shape.count} * shape.objectiveValueCount != objective.summandCount) continue;
      const std::uint32_t* summand = _code.sums.summands.data() + objective.firstSummand;
      bool isInOrder = objective.summandCount > 0;
      for (std::uint32_t e = 0; e < shape.count; ++e) {
        for (std::uint32_t k = 0; k < shape.objectiveValueCount; ++k) {
          isInOrder = isInOrder && *summand++ == shape.placeOfValue(e, k);
        }
      }
      if (isInOrder) _code.adding = s;
    }
  }

  void layOutJacobian() {
    if (_options.derivatives < 1) return;
    Entries entries{{}, {}, {}, 0, _code.rows.size(), _columns.size()};
    for (const bool isLinear : {false, true}) {  // the linear rows' terms share their positions with nothing
      for (std::size_t r = 0; r + 1 < _code.rows.size(); ++r) {
        const Code::RowFacts& row = _code.rows[r];
        if ((row.kind() == TavEvaluator::Kind::Linear) != isLinear) continue;
        for (std::size_t t = row.firstTerm; t < row.termEnd(); ++t) {
          entries.fixed.push_back({{static_cast<std::int32_t>(r), _code.terms[t].column}, _code.terms[t].coefficient});
        }
      }
      if (!isLinear) entries.sharedCount = entries.fixed.size();
    }
    for (std::size_t s = 0; s < _code.shapes.size(); ++s) {
      const std::vector<Derivative>& derivatives = _plans[s].jacobian;
      addShape(entries, s, derivatives.size(), _code.shapes[s].jacobian);
      const ShapeDraft& draft = _shapeDrafts[s];
      for (std::uint32_t e = 0; e < draft.count; ++e) {
        for (const Derivative& d : derivatives) {
          entries.positions.push_back({static_cast<std::int32_t>(draft.rows(e)[d.row]),
                                       static_cast<std::int32_t>(draft.variables(e)[d.column])});
        }
      }
    }
    Tape& tape = _code.tape;
    const std::size_t firstSingle = entries.positions.size();
    for (TapeShape& shape : tape.shapes) {
      shape.jacobian = static_cast<std::uint32_t>(entries.positions.size() - firstSingle);
      for (std::uint32_t e = 0; e < shape.count; ++e) tape.appendJacobian(shape, e, entries.positions);
    }
    OtherPlaces places;
    _code.jacobian = layOut(entries, places);
    tape.jacobian = std::move(places.singles);
    keepTermPlaces(places.fixed, entries.sharedCount);
    layOutGradient(_code.shapes, _code.gradientStart);
  }

  void addShape(Entries& entries, std::size_t s, std::size_t width, Indices& indices) {
    entries.shapes.push_back({&_code.shapes[s], static_cast<std::uint32_t>(width), &indices});
  }

  void keepTermPlaces(const std::vector<std::uint32_t>& places, std::size_t nextAlone) {
    _code.termPlaces.assign(_code.terms.size(), kNone);
    std::size_t nextShared = 0;
    for (std::size_t r = 0; r + 1 < _code.rows.size(); ++r) {
      const Code::RowFacts& row = _code.rows[r];
      std::size_t& next = row.kind() == TavEvaluator::Kind::Linear ? nextAlone : nextShared;
      for (std::size_t t = row.firstTerm; t < row.termEnd(); ++t) _code.termPlaces[t] = places[next++];
    }
  }

  void layOutHessian() {
    if (_options.derivatives < 2) return;
    Entries entries{{}, {}, {}, 0, _columns.size(), _columns.size()};
    for (std::size_t s = 0; s < _code.shapes.size(); ++s) {
      const std::vector<Derivative>& derivatives = _plans[s].hessian;
      addShape(entries, s, derivatives.size(), _code.shapes[s].hessian);
      const ShapeDraft& draft = _shapeDrafts[s];
      for (std::uint32_t e = 0; e < draft.count; ++e) {
        const std::uint32_t* variables = draft.variables(e);
        for (const Derivative& d : derivatives) {
          entries.positions.push_back(lowerTriangle(variables[d.row], variables[d.column]));
        }
      }
    }
    Tape& tape = _code.tape;
    const std::size_t firstSingle = entries.positions.size();
    for (TapeShape& shape : tape.shapes) {
      shape.hessian = static_cast<std::uint32_t>(entries.positions.size() - firstSingle);
      for (std::uint32_t e = 0; e < shape.count; ++e) tape.appendHessian(shape, e, entries.positions);
    }
    OtherPlaces places;
    _code.hessian = layOut(entries, places);
    tape.hessian = std::move(places.singles);
  }

  Columns& _columns;
  const TavEvaluator::Options& _options;
  Rows _rows;
  Drafts _drafts;
  std::vector<ShapeDraft> _shapeDrafts;    // of the shapes of the program
  std::vector<ShapePlan> _plans;           // of the same
  std::vector<std::uint32_t> _tapeShapes;  // those of the drafts that the tape takes
  Code _code;
};

}  // namespace

Code compile(const std::vector<TavNumExprI*>& constraints, TavNumExprI* objective, Columns& columns,
             const TavEvaluator::Options& options, Watch& watch) {
  return Compilation(columns, options).run(constraints, objective, watch);
}

std::size_t Code::bytes() const noexcept {
  std::size_t sum = rows.capacity() * sizeof(RowFacts) + sums.bytes() + termPlaces.capacity() * sizeof(std::uint32_t) +
                    terms.capacity() * sizeof(TavEvaluator::LinearTerm) + byObjects.capacity() * sizeof(std::uint32_t) +
                    shapes.capacity() * sizeof(Shape) + gradientStart.bytes() + jacobian.bytes() + hessian.bytes() +
                    tape.bytes();
  for (const Shape& shape : shapes) {
    sum += (shape.parameters.capacity() + shape.uniforms.capacity()) * sizeof(double) + shape.variables.bytes() +
           shape.rows.bytes() + shape.jacobian.bytes() + shape.hessian.bytes() + shape.key.capacity() +
           (shape.parameterPlace.capacity() + shape.dead.capacity()) * sizeof(std::uint32_t) +
           shape.recipe.nodes.capacity() * sizeof(Graph::Node);
    for (const Program& program : shape.programs) {
      sum += program.code.capacity() * sizeof(Instruction) +
             (program.variables.capacity() + program.weights.capacity()) * sizeof(Load);
      for (const auto& section : program.sections) sum += section.capacity() * sizeof(Operand);
    }
  }
  return sum;
}

}  // namespace taveval
