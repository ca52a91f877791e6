#include <cstring>
#include <exception>
#include <iostream>
#include <new>

#include <fcntl.h>
#include <unistd.h>

#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/pages.h"
#include "solve/program/session.h"
#include "solve/program/signals.h"

/// tavsolve: reads a model, builds it with the expression library, solves it, modifies it in place and solves it again.

namespace {

using namespace tavsolve;

int run(int argc, char** argv) {
  const Options options = parseOptions(argc, argv);
  if (options.help) printHelp(std::cout);
  if (options.version) printVersion(std::cout);
  if (options.listKeywords) printKeywords(std::cout);
  int code = kSolved;
  if (!options.help && !options.version && !options.listKeywords) {
    if (options.scenarios.empty()) limitTime(options.controls.seconds);
    // Never destroyed: the end of the process frees a great model at once, and the time limit holds for it too.
    static Session* const session = new Session(options);
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

int complain(const char* what, int code) {
  std::cerr << "tavsolve: " << what << "\n";
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  reserveStandardStreams();
  watchSignals();
  try {
    return run(argc, argv);
  } catch (const InputError& error) {
    return complain(error.what(), kBadInput);
  } catch (const TavFileError& error) {
    return complain(error.what(), kBadInput);
  } catch (const std::bad_alloc&) {
    return complain("out of memory", kSolverFailed);
  } catch (const std::exception& error) {
    return complain(error.what(), kSolverFailed);
  }
}
