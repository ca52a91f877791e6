#pragma once
/// tavsolve: reads a model, builds it with the expression library, solves it, modifies it in place and solves it again.

#include "solve/scenarios/ranks.h"

namespace tavsolve {

/// The program from its command line to its exit code. `ranks`, which may be null, are the processes that share a run
/// of scenarios.
int runProgram(int argc, char** argv, Ranks* ranks);

}  // namespace tavsolve
