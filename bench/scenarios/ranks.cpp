// What the ranks of a run of scenarios share, alone: the counter of scenarios and the file of results.
// usage: mpirun -n R ranks COUNT FILE

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "by_hand.h"
#include "solve/scenarios/mpi_ranks.h"

int main(int argc, char** argv) {
  tavsolve::MpiRanks ranks(argc, argv);
  if (argc != 3) return 2;
  const auto count = static_cast<std::size_t>(std::atoll(argv[1]));
  if (ranks.isLeader()) std::ofstream(argv[2], std::ios::trunc).close();
  std::string none;
  ranks.broadcast(none);
  const std::unique_ptr<tavsolve::SharedRun> shared = ranks.sharedRun(count, argv[2], 0);
  auto begin = by_hand::Clock::now();
  std::size_t taken = 0;
  for (tavsolve::SharedRun::Block block{}; (block = shared->take(1)).first < block.last;) ++taken;
  const double counting = by_hand::secondsSince(begin) / static_cast<double>(taken + 1);
  const std::string line(110, 'x');
  begin = by_hand::Clock::now();
  for (std::size_t i = 0; i < count; ++i) shared->append(line, {1, 0});
  const double writing = by_hand::secondsSince(begin) / static_cast<double>(count);
  shared->finish();
  if (ranks.isLeader()) std::printf("counter %g\nfile %g\n", counting, writing);
}
