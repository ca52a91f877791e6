#pragma once
/// The memory of an environment: pools of one block size each over chunks that are aligned to their size. A block finds
/// its owner by masking its address, so objects carry no header.
///
/// With TAV_PLAIN_ALLOC every block is an allocation of its own with the same header in front, so that the sanitizers
/// see each object by itself.

#include <cstddef>

#include "host/numbers.h"
#include "host/poison.h"

#pragma GCC visibility push(default)

class TavEnvI;
class TavMemory;
class TavMemoryManagerObjectI;

/// What stands at the start of a chunk (in plain allocation: of a block). `owner` is the memory that it belongs to; the
/// links hold together what was had from the system in one piece.
struct alignas(16) TavChunk {
  /// The memory that the blocks belong to.
  TavMemory* owner;
  /// The size of each block in bytes; in plain allocation that of the one block.
  std::size_t blockSize;
  ///@{
  /// The neighbours in the list of what was had from the system.
  TavChunk* next;
  TavChunk* previous;
  ///@}
};

/// Blocks of one size: a free list over chunks that are filled upwards. Chunks come in runs of neighbours, each run
/// longer than the last, so that walks over what was built in order find long stretches of memory. What is not handed
/// out is poisoned.
class TavFixedSizeAllocatorI {
 public:
  TavFixedSizeAllocatorI() = default;
  /// A pool of blocks of `blockSize` bytes, without a chunk yet.
  explicit TavFixedSizeAllocatorI(std::size_t blockSize) noexcept : _blockSize(blockSize) {}

  /// A block, recycled if there is one. Throws std::bad_alloc and is then unchanged.
  void* allocateBlock(TavMemory* memory) {
    if (_free) return takeFree();
    if (_bump == _end) return grow(memory);
    return carve();
  }
  /// Takes a block back for the next allocateBlock.
  void deallocate(void* block) noexcept {
    auto* free = static_cast<FreeBlock*>(block);
    free->next = _free;
    _free = free;
    TavPoison(block, _blockSize);
  }
  /// Blocks handed out and not yet taken back. Walks the free list: for tests and diagnosis.
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

  static constexpr std::size_t kLongestRun = 16;
  std::size_t _blockSize = 0;
  FreeBlock* _free = nullptr;
  char* _bump = nullptr;
  char* _end = nullptr;
  TavInt _carved = 0;
  /// What is left of the run, in chunks, and the length of the next one.
  std::size_t _runLeft = 0;
  std::size_t _nextRun = 1;
};

/// The memory of one environment (or a separate one that takes its nodes). Freed whole with everything in it.
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
  /// Takes back a block that `alloc` gave for the same byte count.
  void dealloc(void* block, std::size_t bytes) noexcept {
    const TavInt index = getIndex(static_cast<TavInt>(bytes));
    index > 0 ? _pools[index].deallocate(block) : deallocAlone(block);
  }
  /// Makes storage of `oldBytes` one of `newBytes` with the same leading content; null for 0 bytes, on either side.
  /// For the blocks of arrays, which know their memory and their size. Throws std::bad_alloc and is then unchanged.
  void* resizeStorage(void* storage, std::size_t oldBytes, std::size_t newBytes);
  TavEnvI* getEnv() const noexcept { return _env; }
  /// Bytes in blocks that are handed out. Walks all free lists: for tests and diagnosis.
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
  /// Neighbouring chunks for a pool, `length` or as many as the slab has left; `length` is then what they are. The
  /// first slab has four chunks, 256 KiB, the largest have 64. The first chunk has its header.
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

/// Raw bytes that are given back all at once.
class TavAllocationList {
 public:
  TavAllocationList() = default;
  TavAllocationList(const TavAllocationList&) = delete;
  TavAllocationList& operator=(const TavAllocationList&) = delete;
  ~TavAllocationList() { reset(); }

  /// `bytes` bytes, aligned to 16; they live until reset() or the list's end. Throws std::bad_alloc.
  void* alloc(TavInt bytes);
  /// Gives all bytes back; the list may be used again.
  void reset() noexcept;

 private:
  struct Piece;
  Piece* _pieces = nullptr;
  char* _bump = nullptr;
  char* _end = nullptr;
};

/// Base of what lives in a memory without being a model object: arrays, domains, ranges, columns. The memory knows each
/// of them and ends those that are left when it goes.
class TavMemoryManagerObjectI {
 public:
  TavMemoryManagerObjectI(const TavMemoryManagerObjectI&) = delete;
  TavMemoryManagerObjectI& operator=(const TavMemoryManagerObjectI&) = delete;

  TavEnvI* getEnv() const noexcept { return _memory->getEnv(); }
  /// The memory that the object lives in.
  TavGenAlloc* getMemory() const noexcept { return _memory; }
  /// Destroys the object and gives its memory back.
  virtual void end() { delete this; }

  static void* operator new(std::size_t bytes, TavGenAlloc* memory) { return memory->alloc(bytes); }
  static void operator delete(void* block, std::size_t bytes) noexcept { TavMemory::of(block)->dealloc(block, bytes); }
  static void operator delete(void* block, TavGenAlloc* memory) noexcept {
    memory->dealloc(block, TavMemory::sizeOf(block));
  }

 protected:
  /// Enters the object into the list of what its memory ends.
  explicit TavMemoryManagerObjectI(TavGenAlloc* memory) noexcept;
  /// For objects made by the class's own operator new: they find their memory by their address.
  TavMemoryManagerObjectI() noexcept : TavMemoryManagerObjectI(TavMemory::of(this)) {}
  virtual ~TavMemoryManagerObjectI();

 private:
  friend class TavMemory;
  TavGenAlloc* _memory;
  TavMemoryManagerObjectI* _next;
  TavMemoryManagerObjectI* _previous = nullptr;
};

#pragma GCC visibility pop
