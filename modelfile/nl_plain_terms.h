#pragma once
/// Internal header of tavmodelfile: the lines that most of a text .nl file consists of, many bytes at a time.

#include <cstdint>

// Exported for the tests of shared builds.
#pragma GCC visibility push(default)

/// Takes lines from `at`, which moves, up to `end`, at most `count` of them: an index below `size`, a blank and a
/// number, both of 1 to 8 digits; the number perhaps with a minus in front and a point among its digits, all of which
/// are then 8 bytes at most. Returns how many; other lines, and all mistakes, are left where they are. 64 bytes behind
/// `end` may be read. Takes none on processors without the instructions that it needs, SSE4.1.
std::int64_t TavTakePlainTerms(const char*& at, const char* end, std::int64_t count, std::int32_t size,
                               std::int32_t* indices, double* values) noexcept;

#pragma GCC visibility pop
