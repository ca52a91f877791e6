#include "solve/engines/child.h"

#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavsolve {

namespace {

constexpr int kFailed = 1;
volatile std::sig_atomic_t endWanted = 0;

extern "C" void wantEnd(int) { endWanted = 1; }

void writeAll(int file, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(file, data, size);
    if (written < 0 && errno != EINTR) _exit(kFailed);  // nobody listens any more
    if (written < 0) continue;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
}

/// Signals wait while it lives: until the child has handlers of its own, those of the program would end it.
class SignalPause {
 public:
  SignalPause() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGALRM}) sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, &_before);
  }
  SignalPause(const SignalPause&) = delete;
  SignalPause& operator=(const SignalPause&) = delete;
  ~SignalPause() { end(); }

  void end() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }

 private:
  sigset_t _before{};
};

/// The child's own life: no output of its own, no core file, an end with the parent.
[[noreturn]] void live(const std::function<void(const Parent&)>& work, int pipe, int errors, const std::string& log,
                       pid_t parent, SignalPause& pause) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(kFailed);  // it ended before the line above
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  for (const int number : {SIGABRT, SIGSEGV, SIGFPE, SIGILL, SIGBUS, SIGALRM}) std::signal(number, SIG_DFL);
  std::signal(SIGINT, SIG_IGN);  // a key of the terminal reaches the parent too, which decides
  std::signal(SIGTERM, wantEnd);
  pause.end();
  dup2(errors, STDERR_FILENO);
  try {
    const char* name = log.empty() ? "/dev/null" : log.c_str();
    const int output = open(name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (output < 0) throw std::system_error(errno, std::generic_category(), name);
    dup2(output, STDOUT_FILENO);
    work(Parent(pipe));
    std::fflush(nullptr);
    _exit(0);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  } catch (...) {
    std::fprintf(stderr, "an exception of an unknown class\n");
  }
  std::fflush(nullptr);
  _exit(kFailed);
}

/// The last line of what the child has written to its standard error.
std::string lastLine(int file) {
  std::string text(4096, '\0');
  const off_t size = lseek(file, 0, SEEK_END);
  const off_t from = size > 4096 ? size - 4096 : 0;
  const ssize_t count = pread(file, text.data(), text.size(), from);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
  return text.substr(text.rfind('\n') + 1);
}

std::string failureOf(int status, int errors) {
  std::string line = lastLine(errors);
  if (WIFSIGNALED(status) && WTERMSIG(status) != SIGABRT) line = strsignal(WTERMSIG(status));
  return line.empty() ? "it broke down on this model" : line;
}

/// Cuts whole messages, each behind its length, off the front.
void deliver(std::string& buffer, const std::function<void(Message)>& receive) {
  std::size_t at = 0, size = 0;
  while (buffer.size() - at >= sizeof size) {
    std::memcpy(&size, buffer.data() + at, sizeof size);
    if (buffer.size() - at - sizeof size < size) break;
    Message message;
    message.bytes = buffer.substr(at + sizeof size, size);
    at += sizeof size + size;
    receive(std::move(message));
  }
  buffer.erase(0, at);
}

}  // namespace

void Message::extract(void* data, std::size_t size) {
  if (bytes.size() - _taken < size) throw std::length_error(kTooShort);
  _taken += bytes.copy(static_cast<char*>(data), size, _taken);  // an empty array may have no address
}

void Parent::send(const Message& message) const {
  const std::size_t size = message.bytes.size();
  std::string whole(reinterpret_cast<const char*>(&size), sizeof size);
  whole += message.bytes;
  static std::mutex sending;  // threads of the solver report too
  const std::lock_guard lock(sending);
  writeAll(_pipe, whole.data(), whole.size());
}

bool Parent::wantsEnd() { return endWanted != 0; }

Descriptor::Descriptor(int number) : _number(number) {
  if (number < 0) throw std::system_error(errno, std::generic_category());
}

void Descriptor::close() {
  if (_number >= 0) ::close(_number);
  _number = -1;
}

namespace {

std::array<int, 2> pipeEnds() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) < 0) throw std::system_error(errno, std::generic_category());
  return ends;
}

}  // namespace

Pipe::Pipe() : Pipe(pipeEnds()) {}

Child::Child(const std::function<void(const Parent&)>& work, const std::string& log)
    : _errors(std::tmpfile(), std::fclose) {
  if (!_errors) throw std::system_error(errno, std::generic_category());
  std::cout.flush();
  std::fflush(nullptr);
  SignalPause pause;
  const pid_t self = getpid();
  _id = fork();
  if (_id < 0) throw std::system_error(errno, std::generic_category());
  if (_id == 0) {
    _pipe.reading.close();
    live(work, _pipe.writing.number(), fileno(_errors.get()), log, self, pause);
  }
  _pipe.writing.close();
}

Child::~Child() {
  if (_id <= 0) return;
  signal(SIGKILL);
  wait();
}

void Child::signal(int number) const { kill(_id, number); }

int Child::wait() {
  int status = 0;
  while (waitpid(_id, &status, 0) < 0 && errno == EINTR) {
  }
  _id = 0;
  return status;
}

bool Child::receive(const std::function<void(Message)>& take) {
  std::array<char, 1 << 16> chunk;
  const ssize_t count = read(pipe(), chunk.data(), chunk.size());
  if (count == 0) return false;
  if (count < 0) return true;
  _buffer.append(chunk.data(), static_cast<std::size_t>(count));
  deliver(_buffer, take);
  return true;
}

std::string Child::failure() { return failureOf(wait(), fileno(_errors.get())); }

ChildEnd runInChild(const std::function<void(const Parent&)>& work, const std::function<void(Message)>& receive,
                    const std::function<Order()>& decide, const std::string& log) {
  constexpr int kMilliseconds = 20;
  Child child(work, log);
  ChildEnd end;
  bool asked = false, lives = true;
  while (lives) {
    const Order order = decide();
    if (order == Order::End && !asked) child.signal(SIGTERM);
    asked = asked || order == Order::End;
    if (order == Order::Kill && !end.killed) child.signal(SIGKILL);
    end.killed = end.killed || order == Order::Kill;
    pollfd ready{child.pipe(), POLLIN, 0};
    if (poll(&ready, 1, kMilliseconds) > 0) lives = child.receive(receive);
  }
  const std::string failure = child.failure();
  if (!end.killed) end.failure = failure;
  return end;
}

}  // namespace tavsolve
