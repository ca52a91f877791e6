#pragma once
/// Ranks over MPI; linked into tavsolve-mpi alone.

#include "solve/scenarios/ranks.h"

namespace tavsolve {

/// From MPI_Init to MPI_Finalize.
class MpiRanks final : public Ranks {
 public:
  MpiRanks(int& argc, char**& argv);
  MpiRanks(const MpiRanks&) = delete;
  MpiRanks& operator=(const MpiRanks&) = delete;
  ~MpiRanks() override;

  int size() const override { return _size; }
  bool isLeader() const override { return _rank == 0; }
  void broadcast(std::string& bytes) override;
  std::unique_ptr<SharedRun> sharedRun(std::size_t count, const std::string& path, std::size_t size) override;
  [[noreturn]] void abort(int code) override;

 private:
  int _rank = 0, _size = 1;
};

}  // namespace tavsolve
