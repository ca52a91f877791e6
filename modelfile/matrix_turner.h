#pragma once
/// Class header of the MPS reader: a matrix that comes column by column becomes one row by row.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "modelfile/file_model.h"

/// Takes entries column by column and gives them row by row.
///
/// Neighbouring rows share a bucket. Entries are appended to the bucket of their row, and at the end each bucket is
/// sorted by itself. A bucket is small enough for the caches, so that memory is walked through in order, twice.
class TavMatrixTurner {
 public:
  /// Begins a matrix of so many rows.
  void begin(std::size_t rows);
  /// Takes an entry of a row. Columns come in ascending order. False, and nothing is taken, where the column has had an
  /// entry in this row. An entry of 0 is not stored.
  bool add(std::int32_t row, std::int32_t column, double value) {
    if (column != _column || row <= _largest) {
      if (!isNew(row, column)) return false;
    }
    _largest = std::max(_largest, row);
    _columnRows.push_back(row);
    if (value == 0.0) return true;
    Bucket& bucket = _buckets[static_cast<std::size_t>(row) >> _shift];
    if (bucket.next == bucket.end) extend(bucket);
    _entries[bucket.next++] = {row, column, value};
    return true;
  }
  /// Fills the linear parts of the model's rows.
  void finish(TavFileModel& model);

 private:
  struct Entry {
    std::int32_t row;
    std::int32_t column;
    double value;
  };
  /// Where the next entry goes in the chunk at hand, and the end of that chunk.
  struct Bucket {
    std::size_t next = 0;
    std::size_t end = 0;
  };
  static constexpr std::size_t kChunk = 512;
  static constexpr int kMostBucketBits = 8;
  /// Rows of a bucket, at least.
  static constexpr int kLeastRowBits = 10;

  bool isNew(std::int32_t row, std::int32_t column);
  void extend(Bucket& bucket);

  std::size_t _rows = 0;
  int _shift = 0;
  std::vector<Bucket> _buckets;
  TavLargeArray<Entry> _entries;
  /// The bucket of each chunk of _entries.
  std::vector<std::uint32_t> _bucketOf;

  /// The column at hand, its rows so far and their largest, which is -1 without rows. Only where rows do not ascend are
  /// they marked: the first _marked of _columnRows have the column in _markOf.
  std::int32_t _column = -1;
  std::int32_t _largest = -1;
  TavLargeArray<std::int32_t> _columnRows;
  std::size_t _marked = 0;
  TavLargeArray<std::int32_t> _markOf;
};
