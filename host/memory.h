#pragma once
/// The memory of an environment: pools, each of one block size, over chunks that are aligned to their size. Masking the
/// address of a block gives its owner, so objects need no header.
///
/// With TAV_PLAIN_ALLOC every block is a separate allocation with the same header in front, so that sanitizers see each
/// object.

#include <cstddef>

#include "host/numbers.h"
#include "host/poison.h"

#pragma GCC visibility push(default)

class TavEnvI;
class TavMemory;
class TavMemoryManagerObjectI;

/// The header of a chunk (in plain allocation: of a block). `owner` is the memory that it belongs to; the links join
/// the pieces that came from the system.
struct alignas(16) TavChunk {
  /// The memory that the blocks belong to.
  TavMemory* owner;
  /// The size of each block in bytes; in plain allocation that of the one block.
  std::size_t blockSize;
  ///@{
  /// The neighbours in the list of pieces from the system.
  TavChunk* next;
  TavChunk* previous;
  ///@}
};

/// Blocks of one size: a free list over chunks that are filled upwards. Chunks come in contiguous runs, each longer
/// than the last, so that objects built in order are contiguous and walks over them fast. Free blocks are poisoned.
class TavFixedSizeAllocatorI {
 public:
  TavFixedSizeAllocatorI() = default;
  /// A pool of blocks of `blockSize` bytes, without a chunk yet.
  explicit TavFixedSizeAllocatorI(std::size_t blockSize) noexcept : _blockSize(blockSize) {}

  /// A block, from the free list if there is one. Throws std::bad_alloc and is then unchanged.
  void* allocateBlock(TavMemory* memory) {
    if (_free) return takeFree();
    if (_bump == _end) return grow(memory);
    return carve();
  }
  /// Puts a block on the free list.
  void deallocate(void* block) noexcept {
    auto* free = static_cast<FreeBlock*>(block);
    free->next = _free;
    _free = free;
    TavPoison(block, _blockSize);
  }
  /// Number of blocks in use. Walks the free list: for tests and diagnosis.
  TavInt liveBlocks() const noexcept;
  /// The size of each block in bytes.
  std::size_t blockSize() const noexcept { return _blockSize; }

 private:
  struct FreeBlock {
    FreeBlock* next;
  };
  void* takeFree() noexcept {
    FreeBlock* block = _free;
    TavUnpoison(block, _blockSize);
    _free = block->next;
    return block;
  }
  void* carve() noexcept {
    char* block = _bump;
    TavUnpoison(block, _blockSize);
    _bump += _blockSize;
    ++_carved;
    return block;
  }
  void* grow(TavMemory* memory);

  static constexpr std::size_t kLongestRun = 4;
  std::size_t _blockSize = 0;
  FreeBlock* _free = nullptr;
  char* _bump = nullptr;
  char* _end = nullptr;
  TavInt _carved = 0;
  /// Chunks left in the run, and the length of the next run.
  std::size_t _runLeft = 0;
  std::size_t _nextRun = 1;
};

/// The memory of one environment (or a separate one for its nodes). Its destructor frees everything in it.
class TavMemory {
 public:
  /// An empty memory for the objects of `env`.
  explicit TavMemory(TavEnvI* env) noexcept;
  TavMemory(const TavMemory&) = delete;
  TavMemory& operator=(const TavMemory&) = delete;
  /// Ends every array, domain, range and column that lives here, then frees all blocks.
  ~TavMemory();

  /// The size class of a byte count; -1 when it is beyond the pooled sizes.
  static TavInt getIndex(TavInt bytes) noexcept { return bytes <= kMaxPooled ? (bytes + 7) / 8 : -1; }
  /// The memory that a block came from.
  static TavMemory* of(const void* block) noexcept { return chunkOf(block)->owner; }
  /// The size that a block was allocated with, rounded up to its size class.
  static std::size_t sizeOf(const void* block) noexcept { return chunkOf(block)->blockSize; }

  /// `bytes` raw bytes, aligned to 8, to 16 where `bytes` is a multiple of 16. Throws std::bad_alloc.
  void* alloc(std::size_t bytes) {
    const TavInt index = getIndex(static_cast<TavInt>(bytes));
    return index > 0 ? _pools[index].allocateBlock(this) : allocAlone(bytes);
  }
  /// Frees a block that `alloc` returned for the same byte count.
  void dealloc(void* block, std::size_t bytes) noexcept {
    const TavInt index = getIndex(static_cast<TavInt>(bytes));
    index > 0 ? _pools[index].deallocate(block) : deallocAlone(block);
  }
  /// Resizes storage from `oldBytes` to `newBytes`, keeping the leading content; null for 0 bytes, before and after.
  /// For the blocks of arrays, which know their memory and their size. Throws std::bad_alloc and is then unchanged.
  void* resizeStorage(void* storage, std::size_t oldBytes, std::size_t newBytes);
  TavEnvI* getEnv() const noexcept { return _env; }
  /// Bytes in blocks in use. Walks all free lists: for tests and diagnosis.
  TavInt usedBytes() const noexcept;
  /// Ends every array, domain, range and column that lives here, newest first.
  void endManagedObjects() noexcept;

 private:
  friend class TavFixedSizeAllocatorI;
  friend class TavMemoryManagerObjectI;
#ifdef TAV_PLAIN_ALLOC
  static constexpr TavInt kMaxPooled = -1;
  static TavChunk* chunkOf(const void* block) noexcept { return static_cast<TavChunk*>(const_cast<void*>(block)) - 1; }
#else
  static constexpr TavInt kMaxPooled = 256;
  static TavChunk* chunkOf(const void* block) noexcept {
    return reinterpret_cast<TavChunk*>(reinterpret_cast<std::uintptr_t>(block) & ~(kChunkSize - 1));
  }
#endif
  static constexpr std::uintptr_t kChunkSize = std::uintptr_t{1} << 16;
  static constexpr TavInt kPools = kMaxPooled > 0 ? kMaxPooled / 8 + 1 : 1;

  /// A block that is a chunk of its own.
  void* allocAlone(std::size_t bytes);
  void deallocAlone(void* block) noexcept;
  /// A piece from the system with a chunk's header at its start.
  TavChunk* makeChunk(std::size_t bytes, std::size_t blockSize);
  void freeChunk(TavChunk* chunk) noexcept;
  /// A run of `length` contiguous chunks for a pool, or of all that the slab has left; sets `length` to their number.
  /// The first slab has four chunks, 256 KiB, the largest have 64. The first chunk has its header.
  TavChunk* takeRun(std::size_t blockSize, std::size_t& length);

  TavEnvI* _env;
  TavChunk* _chunks = nullptr;
  TavMemoryManagerObjectI* _managed = nullptr;
  TavInt _unpooledBytes = 0;
  char* _slab = nullptr;
  std::size_t _slabLeft = 0;
  std::size_t _slabSize = 4;
  TavFixedSizeAllocatorI _pools[kPools];
};

/// The allocator that arrays and other managed objects name.
using TavGenAlloc = TavMemory;

/// Raw bytes that are freed all at once.
class TavAllocationList {
 public:
  TavAllocationList() = default;
  TavAllocationList(const TavAllocationList&) = delete;
  TavAllocationList& operator=(const TavAllocationList&) = delete;
  ~TavAllocationList() { reset(); }

  /// `bytes` bytes, aligned to 16; they live until reset() or the list's end. Throws std::bad_alloc.
  void* alloc(TavInt bytes);
  /// Frees all bytes; the list may be used again.
  void reset() noexcept;

 private:
  struct Piece;
  Piece* _pieces = nullptr;
  char* _bump = nullptr;
  char* _end = nullptr;
};

/// Base of objects in a memory that are no model objects: arrays, domains, ranges, columns. The memory lists them and
/// destroys the remaining ones when it is destroyed.
class TavMemoryManagerObjectI {
 public:
  TavMemoryManagerObjectI(const TavMemoryManagerObjectI&) = delete;
  TavMemoryManagerObjectI& operator=(const TavMemoryManagerObjectI&) = delete;

  TavEnvI* getEnv() const noexcept { return _memory->getEnv(); }
  /// The memory that the object lives in.
  TavGenAlloc* getMemory() const noexcept { return _memory; }
  /// Destroys the object and frees its memory.
  virtual void end() { delete this; }

  static void* operator new(std::size_t bytes, TavGenAlloc* memory) { return memory->alloc(bytes); }
  static void operator delete(void* block, std::size_t bytes) noexcept { TavMemory::of(block)->dealloc(block, bytes); }
  static void operator delete(void* block, TavGenAlloc* memory) noexcept {
    memory->dealloc(block, TavMemory::sizeOf(block));
  }

 protected:
  /// Adds the object to the list of its memory.
  explicit TavMemoryManagerObjectI(TavGenAlloc* memory) noexcept;
  /// For objects from the class's own operator new: finds the memory by the address.
  TavMemoryManagerObjectI() noexcept : TavMemoryManagerObjectI(TavMemory::of(this)) {}
  virtual ~TavMemoryManagerObjectI();

 private:
  friend class TavMemory;
  TavGenAlloc* _memory;
  TavMemoryManagerObjectI* _next;
  TavMemoryManagerObjectI* _previous = nullptr;
};

#pragma GCC visibility pop
