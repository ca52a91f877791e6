#include "host/memory.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <new>

#include "host/large_block.h"

TavInt TavFixedSizeAllocatorI::liveBlocks() const noexcept {
  TavInt live = _carved;
  for (const FreeBlock* block = _free; block; block = TavPeek(&block->next)) --live;
  return live;
}

void* TavFixedSizeAllocatorI::grow(TavMemory* memory) {
  assert(_blockSize >= sizeof(FreeBlock));
  TavChunk* chunk = nullptr;
  if (_runLeft > 0) {
    char* next = reinterpret_cast<char*>(TavMemory::chunkOf(_end - 1)) + TavMemory::kChunkSize;
    chunk = new (next) TavChunk{memory, _blockSize, nullptr, nullptr};
  } else {
    std::size_t length = _nextRun;
    chunk = memory->takeRun(_blockSize, length);
    _runLeft = length;
    if (_nextRun < kLongestRun) _nextRun *= 2;
  }
  --_runLeft;
  _bump = reinterpret_cast<char*>(chunk + 1);
  _end = _bump + (TavMemory::kChunkSize - sizeof(TavChunk)) / _blockSize * _blockSize;
  TavPoison(_bump, static_cast<std::size_t>(_end - _bump));
  return carve();
}

TavMemory::TavMemory(TavEnvI* env) noexcept : _env(env) {
  for (TavInt i = 0; i < kPools; ++i) _pools[i] = TavFixedSizeAllocatorI(static_cast<std::size_t>(8 * i));
}

TavMemory::~TavMemory() {
  endManagedObjects();
  while (_chunks) freeChunk(_chunks);
}

void TavMemory::endManagedObjects() noexcept {
  while (_managed) _managed->end();
}

void* TavMemory::allocAlone(std::size_t bytes) {
  TavChunk* chunk = makeChunk(sizeof(TavChunk) + bytes, bytes);
  _unpooledBytes += static_cast<TavInt>(bytes);
  return chunk + 1;
}

void TavMemory::deallocAlone(void* block) noexcept {
  _unpooledBytes -= static_cast<TavInt>(chunkOf(block)->blockSize);
  freeChunk(chunkOf(block));
}

void* TavMemory::resizeStorage(void* storage, std::size_t oldBytes, std::size_t newBytes) {
  void* resized = nullptr;
  if (newBytes == 0) {
    std::free(storage);
  } else {
    resized = std::realloc(storage, newBytes);
    if (!resized) throw std::bad_alloc();
  }
  _unpooledBytes += static_cast<TavInt>(newBytes) - static_cast<TavInt>(oldBytes);
  return resized;
}

TavInt TavMemory::usedBytes() const noexcept {
  TavInt bytes = _unpooledBytes;
  for (const TavFixedSizeAllocatorI& pool : _pools) bytes += pool.liveBlocks() * static_cast<TavInt>(pool.blockSize());
  return bytes;
}

TavChunk* TavMemory::makeChunk(std::size_t bytes, std::size_t blockSize) {
#ifdef TAV_PLAIN_ALLOC
  void* raw = std::malloc(bytes);
#else
  void* raw = TavAllocAligned(kChunkSize, (bytes + kChunkSize - 1) / kChunkSize * kChunkSize);
#endif
  if (!raw) throw std::bad_alloc();
  auto* chunk = new (raw) TavChunk{this, blockSize, _chunks, nullptr};
  if (_chunks) _chunks->previous = chunk;
  _chunks = chunk;
  return chunk;
}

TavChunk* TavMemory::takeRun(std::size_t blockSize, std::size_t& length) {
  constexpr std::size_t kMostChunks = 64;
  TavChunk* first = nullptr;
  if (_slabLeft == 0) {
    first = makeChunk(_slabSize * kChunkSize, blockSize);
    _slab = reinterpret_cast<char*>(first);
    _slabLeft = _slabSize;
    if (_slabSize < kMostChunks) _slabSize *= 2;
  } else {
    first = new (_slab) TavChunk{this, blockSize, nullptr, nullptr};
  }
  length = std::min(length, _slabLeft);
  _slab += length * kChunkSize;
  _slabLeft -= length;
  return first;
}

void TavMemory::freeChunk(TavChunk* chunk) noexcept {
  (chunk->previous ? chunk->previous->next : _chunks) = chunk->next;
  if (chunk->next) chunk->next->previous = chunk->previous;
  std::free(chunk);
}

struct alignas(16) TavAllocationList::Piece {
  Piece* next;
};

void* TavAllocationList::alloc(TavInt bytes) {
  constexpr std::size_t kPieceSize = 4096;
  const std::size_t wanted = (static_cast<std::size_t>(bytes) + 15) / 16 * 16;
  if (static_cast<std::size_t>(_end - _bump) < wanted) {
    const std::size_t room = wanted > kPieceSize ? wanted : kPieceSize;
    void* raw = std::malloc(sizeof(Piece) + room);
    if (!raw) throw std::bad_alloc();
    _pieces = new (raw) Piece{_pieces};
    _bump = reinterpret_cast<char*>(_pieces + 1);
    _end = _bump + room;
  }
  char* block = _bump;
  _bump += wanted;
  return block;
}

void TavAllocationList::reset() noexcept {
  while (_pieces) {
    Piece* next = _pieces->next;
    std::free(_pieces);
    _pieces = next;
  }
  _bump = _end = nullptr;
}

TavMemoryManagerObjectI::TavMemoryManagerObjectI(TavGenAlloc* memory) noexcept
    : _memory(memory), _next(memory->_managed) {
  if (_next) _next->_previous = this;
  memory->_managed = this;
}

TavMemoryManagerObjectI::~TavMemoryManagerObjectI() {
  (_previous ? _previous->_next : _memory->_managed) = _next;
  if (_next) _next->_previous = _previous;
}
