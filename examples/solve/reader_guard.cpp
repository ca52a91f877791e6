#include "reader_guard.h"

#include <unistd.h>

#include <csignal>
#include <iterator>

namespace tavsolve {

// ---- CrashGuard

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGABRT};
struct sigaction g_previous[std::size(kSignals)];
std::string g_message;
int g_reportTo;

extern "C" void reportCrash(int) {
  [[maybe_unused]] const ssize_t written = write(g_reportTo, g_message.data(), g_message.size());
  _exit(2);
}

}  // namespace

CrashGuard::CrashGuard(const std::string& message, int reportTo) {
  g_message = message + "\n";
  g_reportTo = reportTo;
  struct sigaction action {};
  action.sa_handler = reportCrash;
  for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &action, &g_previous[i]);
}

CrashGuard::~CrashGuard() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &g_previous[i], nullptr);
}

// ---- ReaderMessages

ReaderMessages::ReaderMessages() {
  setLogLevel(1);
  setPrefix(false);
}

int ReaderMessages::print() {
  if (currentMessage().severity() != 'I') complaints.emplace_back(messageBuffer());
  return 0;
}

}  // namespace tavsolve
