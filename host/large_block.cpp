#include "host/large_block.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

/// Size and alignment of a huge page. Clearing and addressing one costs a fraction of what it costs for small pages.
constexpr std::size_t kPiece = std::size_t{1} << 21;

#ifdef __linux__

/// Whether the block is mapped; smaller ones come from the heap.
bool isMapped(std::size_t bytes) noexcept { return bytes >= kPiece; }

std::size_t wholePieces(std::size_t bytes) noexcept { return (bytes + kPiece - 1) & ~(kPiece - 1); }

/// Aligned so that its pages can be huge ones. The system sets memory aside when it is written to.
void* map(std::size_t bytes) {
  const std::size_t size = wholePieces(bytes);
  void* const raw =
      ::mmap(nullptr, size + kPiece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  char* const begin = static_cast<char*>(raw);
  const std::size_t front = -reinterpret_cast<std::uintptr_t>(raw) & (kPiece - 1);
  if (front != 0) ::munmap(begin, front);
  ::munmap(begin + front + size, kPiece - front);
  TavWantHugePages(begin + front, size);
  return begin + front;
}

/// The block moves and grows in one step and stays one mapping: Linux before 6.17 does not move several at once. A step
/// that fails may have removed the new mapping, and another thread may have its addresses: nothing is unmapped then.
void* growMapped(void* block, std::size_t before, std::size_t bytes) {
  const std::size_t size = wholePieces(before), larger = wholePieces(bytes);
  if (larger == size) return block;
  void* const moved = ::mremap(block, size, larger, MREMAP_MAYMOVE | MREMAP_FIXED, map(bytes));
  if (moved == MAP_FAILED) throw std::bad_alloc();
  return moved;
}

#else

bool isMapped(std::size_t) noexcept { return false; }
void* map(std::size_t) { throw std::bad_alloc(); }
void* growMapped(void*, std::size_t, std::size_t) { throw std::bad_alloc(); }

#endif

}  // namespace

void TavWantHugePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept {
#ifdef __linux__
  const std::size_t front = -reinterpret_cast<std::uintptr_t>(block) & (kPiece - 1);
  if (bytes < front + kPiece) return;
  // Where it is refused, pages are small ones.
  ::madvise(static_cast<char*>(block) + front, (bytes - front) & ~(kPiece - 1), MADV_HUGEPAGE);
#endif
}
void* TavGrowBlock(void* block, std::size_t before, std::size_t bytes) {
  assert(before <= bytes);
  if (isMapped(before)) return growMapped(block, before, bytes);
  if (!isMapped(bytes)) {
    void* const larger = std::realloc(block, bytes);
    if (!larger) throw std::bad_alloc();
    return larger;
  }
  void* const mapped = map(bytes);
  if (before != 0) std::memcpy(mapped, block, before);
  std::free(block);
  return mapped;
}

void TavFreeBlock(void* block, std::size_t bytes) noexcept {
#ifdef __linux__
  if (isMapped(bytes)) {
    ::munmap(block, wholePieces(bytes));
    return;
  }
#else
  static_cast<void>(bytes);
#endif
  std::free(block);
}

void TavDiscardFront([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes,
                     [[maybe_unused]] std::size_t unused) noexcept {
#ifdef __linux__
  if (isMapped(bytes) && unused >= kPiece) ::madvise(block, unused & ~(kPiece - 1), MADV_DONTNEED);
#endif
}

void* TavAllocAligned(std::size_t alignment, std::size_t bytes) noexcept {
  void* block = nullptr;
  if (::posix_memalign(&block, bytes < kPiece ? alignment : kPiece, bytes) != 0) return nullptr;
  TavWantHugePages(block, bytes);
  return block;
}
