#include "platform/bounded/pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/bounded/pool_ptr.h"

namespace {

TEST(Pool, CountsLiveBlocks) {
  const std::uint64_t before = pool::LiveBlocks();
  void* first = PoolMalloc(10);
  void* second = PoolMalloc(20);
  EXPECT_EQ(before + 2, pool::LiveBlocks());
  PoolFree(first);
  EXPECT_EQ(before + 1, pool::LiveBlocks());
  PoolFree(second);
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(Pool, GivesAlignedMemoryThatCanBeWrittenWhole) {
  for (const std::size_t size : {1u, 7u, 100u, 4096u, 1u << 20}) {
    void* block = PoolMalloc(size);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t));
    std::memset(block, 0xA5, size);
    PoolFree(block);
  }
}

TEST(Pool, GivesAValidBlockForSizeZero) {
  void* first = PoolMalloc(0);
  void* second = PoolMalloc(0);
  EXPECT_NE(nullptr, first);
  EXPECT_NE(first, second);
  PoolFree(first);
  PoolFree(second);
}

TEST(Pool, AnswersNullForASizeThatNoObjectHas) {
  const std::uint64_t before = pool::LiveBlocks();
  EXPECT_EQ(nullptr, PoolMalloc(SIZE_MAX));
  EXPECT_EQ(nullptr, PoolMalloc(std::size_t{PTRDIFF_MAX} + 1));
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(Pool, IgnoresTheReleaseOfNull) {
  const std::uint64_t before = pool::LiveBlocks();
  PoolFree(nullptr);
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(Pool, FailsTheNthAllocationAndThatOneOnly) {
  for (std::uint64_t n = 1; n <= 5; ++n) {
    const std::uint64_t before = pool::LiveBlocks();
    pool::FailNth(n);
    for (std::uint64_t i = 1; i <= 5; ++i) {
      EXPECT_EQ(i > n, pool::Failed());
      void* block = PoolMalloc(8);
      EXPECT_EQ(i == n, block == nullptr);
      EXPECT_EQ(before + (i == n ? 0 : 1), pool::LiveBlocks());
      PoolFree(block);
    }
    EXPECT_TRUE(pool::Failed());
  }
  pool::FailNth(0);
}

TEST(Pool, FailsNothingOnceSwitchedOff) {
  pool::FailNth(1);
  pool::FailNth(0);
  void* block = PoolMalloc(8);
  EXPECT_NE(nullptr, block);
  EXPECT_FALSE(pool::Failed());
  PoolFree(block);
}

TEST(Pool, FailsFromTheNthAllocationOnUntilItIsSwitchedOff) {
  pool::FailFrom(2);
  void* const first = PoolMalloc(1);
  EXPECT_NE(first, nullptr);
  EXPECT_FALSE(pool::Failed());
  for (int i = 0; i < 3; ++i) EXPECT_EQ(PoolMalloc(1), nullptr);
  EXPECT_TRUE(pool::Failed());
  pool::FailNth(0);
  void* const later = PoolMalloc(1);
  EXPECT_NE(later, nullptr);
  PoolFree(first);
  PoolFree(later);
}

TEST(Pool, KeepsItsCountWithTwoThreads) {
  const std::uint64_t before = pool::LiveBlocks();
  const auto work = [] {
    for (int i = 0; i < 20000; ++i) PoolFree(PoolMalloc(static_cast<std::size_t>(i % 97)));
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(PoolPtr, ReleasesItsBlockUnlessItWasHandedOn) {
  const std::uint64_t before = pool::LiveBlocks();
  {
    const PoolPtr<wchar_t> text = PoolAllocate<wchar_t>(8);
    ASSERT_NE(nullptr, text);
    text.get()[7] = L'x';
    EXPECT_EQ(before + 1, pool::LiveBlocks());
  }
  EXPECT_EQ(before, pool::LiveBlocks());
  wchar_t* const kept = PoolAllocate<wchar_t>(1).release();
  EXPECT_EQ(before + 1, pool::LiveBlocks());
  PoolFree(kept);
  pool::FailNth(1);
  EXPECT_EQ(nullptr, PoolAllocate<char>(1));
  pool::FailNth(0);
}

TEST(Pool, ReleasesInOneThreadWhatAnotherAllocated) {
  const std::uint64_t before = pool::LiveBlocks();
  std::vector<void*> blocks(1000);
  std::thread([&blocks] {
    for (void*& block : blocks) block = PoolMalloc(16);
  }).join();
  for (void* block : blocks) PoolFree(block);
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(Pool, FailsExactlyOneAllocationOfTwoThreads) {
  std::atomic<int> failures{0};
  pool::FailNth(1000);
  const auto work = [&failures] {
    for (int i = 0; i < 5000; ++i) {
      void* block = PoolMalloc(8);
      if (block == nullptr) ++failures;
      PoolFree(block);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(1, failures.load());
  EXPECT_TRUE(pool::Failed());
  pool::FailNth(0);
}

}  // namespace
