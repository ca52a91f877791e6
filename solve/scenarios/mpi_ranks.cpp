#define OMPI_SKIP_MPICXX 1  // the interface of C is enough
#define MPICH_SKIP_MPICXX 1
#include "solve/scenarios/mpi_ranks.h"

#include <mpi.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>

#include "solve/model/errors.h"

namespace tavsolve {

namespace {

void rest(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

/// Waits for all without keeping a processor busy, which a worker may need.
void waitForAll() {
  MPI_Request request;
  MPI_Ibarrier(MPI_COMM_WORLD, &request);
  for (int done = 0; !done;) {
    MPI_Test(&request, &done, MPI_STATUS_IGNORE);
    if (!done) rest(1);
  }
}

bool isOneMachine(int size) {
  MPI_Comm machine;
  MPI_Comm_split_type(MPI_COMM_WORLD, MPI_COMM_TYPE_SHARED, 0, MPI_INFO_NULL, &machine);
  int near = 0;
  MPI_Comm_size(machine, &near);
  MPI_Comm_free(&machine);
  return near == size;
}

/// Dynamic scheduling: counters in the memory of rank 0, which all ranks change by one-sided fetch-and-add, and a file
/// to which all write.
class MpiRun final : public SharedRun {
 public:
  MpiRun(std::size_t count, const std::string& path, std::size_t size, int rank, int ranks)
      : _count(static_cast<std::int64_t>(count)),
        _batchInterval(std::max<Duration>(SharedRun::batchInterval(), ranks * kShortest)),
        _pollInterval(isOneMachine(ranks) || rank > 0 ? SharedRun::pollInterval() : std::chrono::milliseconds(1)) {
    if (MPI_File_open(MPI_COMM_WORLD, path.c_str(), MPI_MODE_WRONLY, MPI_INFO_NULL, &_file) != MPI_SUCCESS) {
      throw InputError(path + ": cannot be written by all ranks");
    }
    constexpr MPI_Aint kCounters = kFailed + 1;
    MPI_Win_allocate(rank == 0 ? kCounters * static_cast<MPI_Aint>(sizeof(std::int64_t)) : 0, sizeof(std::int64_t),
                     MPI_INFO_NULL, MPI_COMM_WORLD, &_counters, &_window);
    MPI_Win_lock_all(MPI_MODE_NOCHECK, _window);
    if (rank == 0) {
      for (int k = 0; k < kCounters; ++k) _counters[k] = k == kBytes ? static_cast<std::int64_t>(size) : 0;
      MPI_Win_sync(_window);
    }
    MPI_Barrier(MPI_COMM_WORLD);
  }

  Block take(std::size_t most) override {
    const auto added = static_cast<std::int64_t>(most);
    std::int64_t place = 0;
    MPI_Fetch_and_op(&added, &place, MPI_INT64_T, 0, kNext, MPI_SUM, _window);
    MPI_Win_flush(0, _window);
    return {static_cast<std::size_t>(std::min(place, _count)),
            static_cast<std::size_t>(std::min(place + added, _count))};
  }

  /// Takes a part of the file for the lines: all write at the same time.
  void append(const std::string& lines, const Counts& added) override {
    const std::int64_t sums[] = {static_cast<std::int64_t>(lines.size()), static_cast<std::int64_t>(added.done),
                                 static_cast<std::int64_t>(added.failed)};
    std::int64_t before[3];
    MPI_Get_accumulate(sums, 3, MPI_INT64_T, before, 3, MPI_INT64_T, 0, kBytes, 3, MPI_INT64_T, MPI_SUM, _window);
    MPI_Win_flush(0, _window);
    if (MPI_File_write_at(_file, before[0], lines.data(), static_cast<int>(lines.size()), MPI_CHAR,
                          MPI_STATUS_IGNORE) != MPI_SUCCESS) {
      throw InputError("the results cannot be written");
    }
  }

  Counts counts() override {
    std::int64_t counts[2];
    MPI_Get(counts, 2, MPI_INT64_T, 0, kDone, 2, MPI_INT64_T, _window);
    MPI_Win_flush(0, _window);
    return {static_cast<std::size_t>(counts[0]), static_cast<std::size_t>(counts[1])};
  }

  Duration batchInterval() const override { return _batchInterval; }
  /// Networks without one-sided operations of their own need rank 0 to take part.
  Duration pollInterval() const override { return _pollInterval; }
  void makeProgress() override {
    int flag = 0;
    MPI_Iprobe(MPI_ANY_SOURCE, MPI_ANY_TAG, MPI_COMM_WORLD, &flag, MPI_STATUS_IGNORE);
  }

  Counts finish() override {
    waitForAll();
    const Counts result = counts();
    waitForAll();
    MPI_Win_unlock_all(_window);
    MPI_Win_free(&_window);
    MPI_File_close(&_file);
    return result;
  }

 private:
  enum Counter : int { kNext, kBytes, kDone, kFailed };
  /// Between two operations on the counters, whatever the number of ranks.
  static constexpr Duration kShortest{10};

  std::int64_t _count;
  Duration _batchInterval, _pollInterval;
  MPI_File _file{};
  MPI_Win _window{};
  std::int64_t* _counters = nullptr;
};

}  // namespace

MpiRanks::MpiRanks(int& argc, char**& argv) {
  MPI_Init(&argc, &argv);
  MPI_Comm_rank(MPI_COMM_WORLD, &_rank);
  MPI_Comm_size(MPI_COMM_WORLD, &_size);
}

MpiRanks::~MpiRanks() { MPI_Finalize(); }

void MpiRanks::broadcast(std::string& bytes) {
  std::uint64_t size = bytes.size();
  // The leader may take long to solve the base model.
  waitForAll();
  MPI_Bcast(&size, 1, MPI_UINT64_T, 0, MPI_COMM_WORLD);
  bytes.resize(size);
  constexpr std::uint64_t kMost = 1 << 30;
  for (std::uint64_t at = 0; at < size; at += kMost) {
    MPI_Bcast(bytes.data() + at, static_cast<int>(std::min(kMost, size - at)), MPI_CHAR, 0, MPI_COMM_WORLD);
  }
}

std::unique_ptr<SharedRun> MpiRanks::sharedRun(std::size_t count, const std::string& path, std::size_t size) {
  return std::make_unique<MpiRun>(count, path, size, _rank, _size);
}

void MpiRanks::abort(int code) {
  if (!isLeader()) rest(500);
  MPI_Abort(MPI_COMM_WORLD, code);
  std::_Exit(code);
}

}  // namespace tavsolve
