#include "modelfile/matrix_turner.h"

#include <algorithm>
#include <bit>

void TavMatrixTurner::begin(std::size_t rows) {
  _rows = rows;
  _shift = std::max(kLeastRowBits, static_cast<int>(std::bit_width(rows)) - kMostBucketBits);
  _buckets.assign((rows >> _shift) + 1, {});
}

/// A row of a new column, or one that is not behind those that the column has had.
bool TavMatrixTurner::isNew(std::int32_t row, std::int32_t column) {
  if (column != _column) {
    _column = column;
    _columnRows.clear();
    _largest = -1;
    _marked = 0;
    return true;
  }
  if (_markOf.empty()) _markOf.assign(_rows, -1);
  for (; _marked < _columnRows.size(); ++_marked) _markOf[static_cast<std::size_t>(_columnRows[_marked])] = column;
  return _markOf[static_cast<std::size_t>(row)] != column;
}

void TavMatrixTurner::extend(Bucket& bucket) {
  _bucketOf.push_back(static_cast<std::uint32_t>(&bucket - _buckets.data()));
  bucket.next = _entries.size();
  _entries.append(kChunk);
  bucket.end = bucket.next + kChunk;
}

void TavMatrixTurner::finish(TavFileModel& model) {
  // The chunks of each bucket, in the order in which they were filled.
  std::vector<std::size_t> chunks(_bucketOf.size()), firstChunk(_buckets.size() + 1);
  for (const std::uint32_t bucket : _bucketOf) ++firstChunk[bucket + 1];
  for (std::size_t i = 1; i < firstChunk.size(); ++i) firstChunk[i] += firstChunk[i - 1];
  std::vector<std::size_t> place(firstChunk.begin(), firstChunk.end() - 1);
  for (std::size_t chunk = 0; chunk < chunks.size(); ++chunk) chunks[place[_bucketOf[chunk]]++] = chunk * kChunk;

  const std::size_t rows = model.rows.size();
  std::size_t free = 0;
  for (const Bucket& bucket : _buckets) free += bucket.end - bucket.next;
  std::int32_t* const variables = model.linearVariable.append(_entries.size() - free);
  double* const values = model.linearValue.append(_entries.size() - free);
  TavLargeArray<std::size_t>& begin = model.linearBegin;
  begin.assign(rows + 1, 0);
  std::size_t sum = 0;
  for (std::size_t i = 0; i < _buckets.size(); ++i) {
    const Bucket& bucket = _buckets[i];
    const auto eachEntry = [&](auto visit) {
      for (std::size_t c = firstChunk[i]; c != firstChunk[i + 1]; ++c) {
        const std::size_t end = c + 1 == firstChunk[i + 1] ? bucket.next : chunks[c] + kChunk;
        for (std::size_t k = chunks[c]; k != end; ++k) visit(_entries[k]);
      }
    };
    eachEntry([&](const Entry& entry) { ++begin[static_cast<std::size_t>(entry.row) + 1]; });
    const std::size_t lastRow = std::min((i + 1) << _shift, rows);
    // Where the row goes on, in the end where it ends.
    for (std::size_t row = i << _shift; row < lastRow; ++row) {
      const std::size_t count = begin[row + 1];
      begin[row + 1] = sum;
      sum += count;
    }
    eachEntry([&](const Entry& entry) {
      const std::size_t at = begin[static_cast<std::size_t>(entry.row) + 1]++;
      variables[at] = entry.column;
      values[at] = entry.value;
    });
  }
  *this = {};
}
