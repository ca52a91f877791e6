#include "solve/program/program.h"

int main(int argc, char** argv) { return tavsolve::runProgram(argc, argv, nullptr); }
