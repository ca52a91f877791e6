#pragma once
/// The processes that share a run of scenarios under mpirun. The program that has them is linked with MPI.

#include <memory>
#include <string>

#include "solve/scenarios/shared_run.h"

namespace tavsolve {

/// The processes of one MPI job, of which this is one. The leader, rank 0, reports.
class Ranks {
 public:
  virtual ~Ranks() = default;

  virtual int size() const = 0;
  virtual bool isLeader() const = 0;
  /// Replaces the bytes by those of the leader; all call it.
  virtual void broadcast(std::string& bytes) = 0;
  /// The run of `count` scenarios, whose results are written to the file behind its first `size` bytes; all call it.
  virtual std::unique_ptr<SharedRun> sharedRun(std::size_t count, const std::string& path, std::size_t size) = 0;
  /// Ends all processes; the leader first has time to report.
  [[noreturn]] virtual void abort(int code) = 0;
};

/// How many processes mpirun, or another starter of MPI programs, has started, by the environment; 1 without one.
int countStartedRanks();

/// Executes the program with MPI, beside this one, in its place. Throws InputError when there is none.
[[noreturn]] void executeWithRanks(char** argv);

}  // namespace tavsolve
