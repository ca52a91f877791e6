#include "solve/program/program.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/pages.h"
#include "solve/program/session.h"
#include "solve/program/signals.h"

namespace tavsolve {

namespace {

int run(int argc, char** argv, Ranks* ranks) {
  const Options options = parseOptions(argc, argv);
  if (options.help) printHelp(std::cout);
  if (options.version) printVersion(std::cout);
  if (options.listKeywords) printKeywords(std::cout);
  int code = kSolved;
  if (!options.help && !options.version && !options.listKeywords) {
    if (!options.scenarios.empty() && !ranks && countStartedRanks() > 1) executeWithRanks(argv);
    if (options.scenarios.empty()) limitTime(options.controls.seconds);
    // Never destroyed: the end of the process frees a great model at once, and the time limit holds for it too.
    static Session* const session = new Session(options, ranks);
    code = session->run();
  }
  if (!std::cout.flush()) throw InputError("standard output cannot be written");
  return code;
}

/// A standard stream that is closed stays useless: the first file to be opened would take its number and its contents.
void reserveStandardStreams() {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(number, F_GETFD) < 0) open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int complain(const char* what, int code, Ranks* ranks) {
  // What fails everywhere is said by the leader, who ends all.
  if (ranks && !ranks->isLeader()) std::this_thread::sleep_for(std::chrono::seconds(5));
  std::cerr << "tavsolve: " << what << "\n";
  if (ranks && ranks->size() > 1) ranks->abort(code);
  return code;
}

}  // namespace

int runProgram(int argc, char** argv, Ranks* ranks) {
  reserveStandardStreams();
  watchSignals();
  try {
    return run(argc, argv, ranks);
  } catch (const InputError& error) {
    return complain(error.what(), kBadInput, ranks);
  } catch (const TavFileError& error) {
    return complain(error.what(), kBadInput, ranks);
  } catch (const std::bad_alloc&) {
    return complain("out of memory", kSolverFailed, ranks);
  } catch (const std::exception& error) {
    return complain(error.what(), kSolverFailed, ranks);
  }
}

}  // namespace tavsolve
