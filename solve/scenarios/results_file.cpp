#include "solve/scenarios/results_file.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "solve/edits/words.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

[[noreturn]] void refuse(const std::string& path) {
  throw InputError(path + ": cannot be written: " + std::strerror(errno));
}

Descriptor openFile(const std::string& path, int flags) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | flags, 0666);
  if (file < 0) refuse(path);
  return Descriptor(file);
}

/// Workers of a run that was killed a moment ago may still have the file.
bool lock(int file) {
  constexpr int kTries = 40;
  for (int i = 0; i < kTries; ++i) {
    if (flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

}  // namespace

ResultsFile::ResultsFile(const std::string& path, const ResultFormat& format) : _path(path), _file(openFile(path, 0)) {
  if (!lock(_file.number())) fail("another run is writing it");
  recover(contentsOf(path), format);
}

void ResultsFile::recover(const std::string& contents, const ResultFormat& format) {
  const std::string header = format.header();
  if (!contents.starts_with(header) && !header.starts_with(contents)) {
    fail("it is no file of results of this command; name another file, or remove it");
  }
  std::string good = header;
  std::size_t bad = 0;
  for (std::string_view rest = std::string_view(contents).substr(std::min(header.size(), contents.size()));
       !rest.empty();) {
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    // A rank that is killed may leave a gap of zeros before the line of another one.
    line.remove_prefix(line.rfind('\0') + 1);
    const auto finished = end == rest.npos ? std::nullopt : format.read(line);
    if (finished && _finished.emplace(finished->name, finished->failed).second) {
      good.append(line).append("\n");
    } else if (!line.empty() && !finished && (end != rest.npos || !format.canBegin(line))) {
      ++bad;
    }
  }
  if (_finished.empty() && bad > 0) {
    fail("its results are of another model, scenario file or option; name another file, or remove it");
  }
  if (good == contents) {
    _size = good.size();
  } else if (good.starts_with(contents)) {
    write(good.substr(contents.size()));
  } else if (contents.starts_with(good)) {
    if (ftruncate(_file.number(), static_cast<off_t>(good.size())) != 0) refuse(_path);
  } else {
    replace(good);
  }
  _size = good.size();
}

/// The new file takes the place of the old one when it is complete.
void ResultsFile::replace(const std::string& contents) {
  const std::string part = _path + ".part";
  _file = openFile(part, O_TRUNC);
  if (!lock(_file.number())) fail("another run is writing it");
  write(contents);
  flush();
  if (std::rename(part.c_str(), _path.c_str()) != 0) refuse(_path);
}

void ResultsFile::write(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(_file.number(), text.data() + done, text.size() - done);
    if (count < 0 && errno != EINTR) refuse(_path);
    done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
}

void ResultsFile::append(const std::string& line) { write(line); }

void ResultsFile::flush() {
  // Some files cannot be synchronised: pipes, for instance.
  if (fsync(_file.number()) != 0 && errno != EINVAL && errno != EROFS) refuse(_path);
}

void ResultsFile::fail(const std::string& what) const { throw InputError(_path + ": " + what); }

}  // namespace tavsolve
