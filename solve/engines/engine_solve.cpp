#include <algorithm>
#include <cmath>
#include <cstdio>
#include <system_error>

#include "solve/engines/child.h"
#include "solve/engines/engine.h"
#include "solve/engines/solution_check.h"
#include "solve/model/errors.h"

/// How every engine solves: in a child process, whose answer is received and checked here.

namespace tavsolve {

namespace {

using Clock = std::chrono::steady_clock;

/// What a message of the child begins with.
enum class Content : char { Progress, Solution, Answer };

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

double valueAt(const std::vector<double>& values, int place) {
  return values.empty() ? std::numeric_limits<double>::quiet_NaN() : values[static_cast<std::size_t>(place)];
}

/// Asks the child to end when the time is over or the user wants it, and kills it when it does not.
class Overseer {
 public:
  Overseer(const Controls& controls, Clock::time_point start) : _controls(controls), _start(start) {}

  Order operator()() {
    constexpr double kPatienceWithUser = 1.0;
    if (_controls.interrupt && *_controls.interrupt && !_interrupted) {
      _interrupted = true;
      _end = std::min(_end, secondsSince(_start));
      _patience = kPatienceWithUser;
    }
    const double now = secondsSince(_start);
    if (now >= _controls.seconds) _end = std::min(_end, now);
    if (now < _end) return Order::GoOn;
    return now < _end + _patience ? Order::End : Order::Kill;
  }
  bool isInterrupted() const { return _interrupted; }

 private:
  const Controls& _controls;
  Clock::time_point _start;
  bool _interrupted = false;
  double _patience = 0.1;
  double _end = std::numeric_limits<double>::infinity();
};

}  // namespace

Answer EngineI::solve(const Controls& controls) {
  _start = Clock::now();
  // The solver's own limit comes a little earlier, so that it can tidy up and hand over its solution.
  constexpr double kMargin = 0.2, kPart = 0.05;
  _seconds = controls.seconds - std::min(kMargin, kPart * controls.seconds);
  _tolerance = controls.tolerance;
  Answer answer;
  if (_columnCount == 0) {
    answerWithoutColumns(answer);
  } else {
    prepare(controls);
    bool isRight;
    do {
      answer = Answer();
      if (controls.inPlace) {
        clearSolution();
        run(controls, answer);
      } else {
        solveInChild(controls, answer);
      }
      const double objective = answer.objective;
      completeSolution(answer);
      // CBC's presolve now and then calls a model infeasible that is not, and the solver then has no answer.
      const bool isLost = answer.status == Status::Stopped && !answer.hasSolution && answer.remark.empty();
      isRight =
          !isLost && answer.status != Status::Violated && (!isSolved(answer.status) || answer.objective == objective);
    } while (!isRight && makeCareful());
  }
  constexpr double kNoBound = 1e50;  // solvers have numbers of their own for it
  const bool isKnown = std::abs(answer.bound) < kNoBound && answer.status != Status::Infeasible &&
                       answer.status != Status::LocallyInfeasible && answer.status != Status::Unbounded;
  if (!isKnown) answer.bound = std::numeric_limits<double>::quiet_NaN();
  answer.seconds = secondsSince(_start);
  return answer;
}

void EngineI::solveInChild(const Controls& controls, Answer& answer) {
  std::string failure;
  while (!runOnce(controls, answer, failure)) {
    if (!makeCareful()) throw SolverError("the solver failed: " + failure);
    answer = Answer();
  }
}

void EngineI::clearSolution() {
  for (std::vector<double>* numbers : {&_values, &_activities, &_reducedCosts, &_duals}) numbers->clear();
}

bool EngineI::runOnce(const Controls& controls, Answer& answer, std::string& failure) {
  bool done = false;
  std::vector<double> state = _state;  // what a broken child said of it does not count
  clearSolution();
  Overseer overseer(controls, _start);
  const auto work = [&](const Parent& parent) {
    _parent = &parent;
    run(controls, answer);
    sendAnswer(answer);
  };
  ChildEnd end;
  try {
    end = runInChild(
        work, [&](Message message) { receive(std::move(message), controls, answer, done); }, [&] { return overseer(); },
        controls.log);
  } catch (const std::system_error& error) {
    throw SolverError(std::string("the solver cannot be started: ") + error.what());
  }
  if (!done && !end.killed) {
    _state = std::move(state);
    _values.clear();
    failure = end.failure;
    return false;
  }
  if (!done) answer.status = overseer.isInterrupted() ? Status::Interrupted : Status::TimeLimit;
  return true;
}

template <class Visit>
void EngineI::visitAnswer(Answer& answer, const Visit& visit) {
  visit(answer.status);
  visit(answer.hasSolution);
  visit(answer.objective);
  visit(answer.bound);
  visit(answer.iterations);
  visit(answer.nodes);
  visit(answer.evaluationSeconds);
  visit(answer.remark);
  for (std::vector<double>* numbers : {&_values, &_activities, &_reducedCosts, &_duals, &_state}) visit(*numbers);
}

void EngineI::receive(Message message, const Controls& controls, Answer& answer, bool& done) {
  Content content{};
  message.take(content);
  if (done && content != Content::Answer) return;
  if (content == Content::Progress) {
    SolverProgress progress;
    message.take(progress);
    answer.iterations = progress.iterations;
    answer.nodes = progress.nodes;
    if (progress.bound) answer.bound = *progress.bound;
    if (controls.progress) controls.progress(progress);
  } else if (content == Content::Solution) {
    message.take(answer.objective);
    message.take(_values);
    answer.hasSolution = true;
  } else {
    visitAnswer(answer, [&message](auto& part) { message.take(part); });
    done = true;
  }
}

void EngineI::sendAnswer(Answer& answer) {
  Message message;
  message.put(Content::Answer);
  visitAnswer(answer, [&message](const auto& part) { message.put(part); });
  _parent->send(message);
}

double EngineI::secondsSpent() const { return secondsSince(_start); }

double EngineI::secondsLeft() const { return std::max(0.0, _seconds - secondsSpent()); }

bool EngineI::shouldStop() const { return Parent::wantsEnd() || secondsSince(_start) >= _seconds; }

bool EngineI::tick(const SolverProgress& progress) {
  constexpr double kInterval = 0.1;
  if (_parent && secondsSince(_reported) >= kInterval) {
    _reported = Clock::now();
    Message message;
    message.put(Content::Progress);
    message.put(progress);
    _parent->send(message);
  }
  return shouldStop();
}

void EngineI::foundSolution(double objective, const double* values) const {
  if (!_parent) return;
  Message message;
  message.put(Content::Solution);
  message.put(objective);
  message.put(std::vector<double>(values, values + _columnCount));
  _parent->send(message);
}

void EngineI::startFrom(const WarmStart& start) {
  _last = start.point;
  _state = start.state;
}

std::vector<double> EngineI::startValues(const Controls& controls) const {
  if (controls.start.empty() && !_last.empty()) return _last;
  std::vector<double> values(_columnCount, std::numeric_limits<double>::quiet_NaN());
  const std::vector<double>& given = controls.start.empty() ? _model.start() : controls.start;
  for (std::size_t j = 0; j < given.size(); ++j) {
    const TavNumVar column = _model.columns()[j];
    if (column) values[static_cast<std::size_t>(placeOf(column.getImpl()))] = given[j];
  }
  return values;
}

/// A solver refuses a model without columns: its rows hold as they stand, or not.
void EngineI::answerWithoutColumns(Answer& answer) {
  _activities.clear();
  for (const Row& row : rows()) _activities.push_back(row.sum()->eval(TavAlgorithm(this)));
  answer.hasSolution = true;
  answer.status = Status::Optimal;
  answer.objective = objectiveSum()->eval(TavAlgorithm(this));
  answer.bound = answer.objective;
  answer.violation = greatestViolation(_model, *this);
  if (answer.violation.amount <= _tolerance) return;
  answer.hasSolution = false;
  answer.status = Status::Infeasible;
}

void EngineI::completeSolution(Answer& answer) {
  if (!answer.hasSolution) {
    _values.clear();
    return;
  }
  _last = _values;
  answer.objective += 0.0;  // never -0
  if (_activities.empty()) {
    for (const Row& row : rows()) _activities.push_back(row.sum()->eval(TavAlgorithm(this)));
  }
  answer.violation = greatestViolation(_model, *this);
  if (isSolved(answer.status) && answer.violation.amount > _tolerance) answer.status = Status::Violated;
  const double objective = objectiveSum()->eval(TavAlgorithm(this));
  constexpr double kClose = 1e-6;
  if (std::abs(objective - answer.objective) <= kClose * std::max(1.0, std::abs(objective))) return;
  if (answer.remark.empty()) {
    char remark[64];
    std::snprintf(remark, sizeof remark, "the solver's own objective was %.12g", answer.objective);
    answer.remark = remark;
  }
  if (isSolved(answer.status)) answer.bound = std::numeric_limits<double>::quiet_NaN();
  answer.objective = objective;
}

double EngineI::getValue(const TavNumVarI* variable) const {
  const int column = placeOf(variable);
  if (column < 0) throw TavAlgorithm::Exception("the variable is not extracted", 0);
  if (_values.empty()) throw TavAlgorithm::Exception("there is no solution", 0);
  return _values[static_cast<std::size_t>(column)];
}

double EngineI::getValue(const TavIntExprI* constraint) const {
  const int row = placeOf(constraint);
  if (row < 0 || _activities.empty()) throw TavAlgorithm::Exception("the constraint has no value", 0);
  const Row bounds = rows()[static_cast<std::size_t>(row)];
  return violationOf(bounds.lb(), _activities[static_cast<std::size_t>(row)], bounds.ub()) <= _tolerance ? 1.0 : 0.0;
}

double EngineI::activityOf(const RangeConstraintI* row) const {
  return _activities[static_cast<std::size_t>(placeOf(row))];
}

double EngineI::reducedCostOf(const TavNumVarI* column) const { return valueAt(_reducedCosts, placeOf(column)); }

double EngineI::dualOf(const RangeConstraintI* row) const { return valueAt(_duals, placeOf(row)); }

}  // namespace tavsolve
