#include "solve/program/program.h"
#include "solve/scenarios/mpi_ranks.h"

/// tavsolve-mpi: tavsolve as mpirun starts it, several times.

int main(int argc, char** argv) {
  tavsolve::MpiRanks ranks(argc, argv);
  return tavsolve::runProgram(argc, argv, &ranks);
}
