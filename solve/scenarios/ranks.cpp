#include "solve/scenarios/ranks.h"

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "solve/model/errors.h"

namespace tavsolve {

int countStartedRanks() {
  for (const char* name : {"OMPI_COMM_WORLD_SIZE", "PMI_SIZE"}) {
    if (const char* count = std::getenv(name)) return std::atoi(count);
  }
  return 1;
}

void executeWithRanks(char** argv) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::string path = self.parent_path() / "tavsolve-mpi";
  execv(path.c_str(), argv);
  throw InputError("mpirun has started " + std::to_string(countStartedRanks()) +
                   " processes, and the program for it, tavsolve-mpi, is not installed beside this one; "
                   "without mpirun, --jobs uses several processors of one machine");
}

}  // namespace tavsolve
