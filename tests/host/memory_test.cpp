#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/large_array.h"
#include "tests/host/objects.h"

namespace {

TEST(Memory, BlocksOfEverySizeAreAlignedAndDisjointAndCanBeFreed) {
  TavMemory memory(nullptr);
  std::vector<std::pair<unsigned char*, std::size_t>> blocks;
  const auto take = [&](std::size_t bytes) {
    auto* at = static_cast<unsigned char*>(memory.alloc(bytes));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(at) % (bytes % 16 == 0 ? 16 : 8), 0u) << bytes;
    ASSERT_EQ(TavMemory::of(at), &memory);
    ASSERT_GE(TavMemory::sizeOf(at), bytes);
    std::memset(at, static_cast<int>(bytes % 251), bytes);
    blocks.emplace_back(at, bytes);
  };
  for (int round = 0; round < 40; ++round) {  // enough of the middle sizes to fill more than one chunk
    for (std::size_t bytes = 1; bytes <= 300; ++bytes) take(bytes);
  }
  for (const std::size_t bytes : {std::size_t{65536}, std::size_t{1} << 22}) take(bytes);
  EXPECT_GT(memory.usedBytes(), TavInt{1} << 22);
  for (const auto& [at, bytes] : blocks) {
    ASSERT_EQ(std::count(at, at + bytes, static_cast<unsigned char>(bytes % 251)), static_cast<std::ptrdiff_t>(bytes));
    memory.dealloc(at, bytes);
  }
  EXPECT_EQ(memory.usedBytes(), 0);
}

TEST(Memory, LargeArraysKeepTheirValuesAndStayOneMapping) {
  constexpr std::size_t kCount = std::size_t{1} << 22;
  TavLargeArray<int> values;
  for (std::size_t i = 0; i < kCount; ++i) values.push_back(static_cast<int>(i));
  for (std::size_t i = 0; i < kCount; ++i) ASSERT_EQ(values[i], static_cast<int>(i));
#ifdef __linux__
  std::ifstream maps("/proc/self/maps");
  std::uintptr_t begin = 0, end = 0;
  const auto address = reinterpret_cast<std::uintptr_t>(values.data());
  for (std::string line; end <= address && std::getline(maps, line);) {
    char dash = 0;
    std::istringstream(line) >> std::hex >> begin >> dash >> end;
  }
  EXPECT_LE(begin, address);
  EXPECT_GE(end, address + kCount * sizeof(int));  // Linux before 6.17 cannot move several mappings at once
#endif
}

#ifdef TAV_ADDRESS_SANITIZER
TEST(Memory, AUseAfterTheEndIsReportedOfPooledBlocksToo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  constexpr const char* kReport = "AddressSanitizer: (use-after-poison|heap-use-after-free)";
  TavEnv env;
  auto* block = static_cast<volatile char*>(env.getImpl()->allocate(48));
  auto* object = new (env.getImpl()) TestObject(env.getImpl(), "object");
  TavNumLinExprTermI* cells[] = {env.getImpl()->newTerm(nullptr, 1.0), env.getImpl()->newTerm(nullptr, 2.0)};
  cells[0]->next = cells[1];
  env.getImpl()->getMemory()->dealloc(const_cast<char*>(block), 48);
  env.getImpl()->destroy(object, 0);
  env.getImpl()->recycleTerms(cells[0], cells[1]);
  EXPECT_DEATH(block[0] = 1, kReport);
  EXPECT_DEATH(block[47] = 1, kReport);
  EXPECT_DEATH(static_cast<void>(object->getName()), kReport);
  for (volatile TavNumLinExprTermI* cell : cells) EXPECT_DEATH(cell->coef = 3.0, kReport);
  env.end();
}
#endif

TEST(Memory, AllocationListsGiveAlignedBytesAndStartAfresh) {
  TavAllocationList list;
  for (int round = 0; round < 2; ++round) {
    for (const TavInt bytes : {1, 16, 100, 4096, 5000, 100000, 3}) {
      void* at = list.alloc(bytes);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(at) % 16, 0u);
      std::memset(at, 7, static_cast<std::size_t>(bytes));
    }
    list.reset();
  }
}

TEST(Memory, NodesComeFromTheSeparateAllocatorAndReturnToIt) {
  TavEnv env;
  TavMemory nodes(env.getImpl());
  env.getImpl()->nodeAllocator = &nodes;
  auto* apart = new (env.getImpl()) TestObject(env.getImpl(), nullptr);
  EXPECT_EQ(TavMemory::of(apart), &nodes);
  TavIntArray array(env, 3);
  EXPECT_EQ(TavMemory::of(array.getImpl()), env.getImpl()->getMemory());
  env.getImpl()->nodeAllocator = nullptr;  // a block is freed by the allocator that it came from
  auto* inside = new (env.getImpl()) TestObject(env.getImpl(), nullptr);
  EXPECT_EQ(TavMemory::of(inside), env.getImpl()->getMemory());
  env.getImpl()->destroy(apart, 0);
  EXPECT_EQ(nodes.usedBytes(), 0);
  env.end();
}

}  // namespace
