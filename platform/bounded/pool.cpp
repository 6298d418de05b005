#include "platform/bounded/pool.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<std::uint64_t> g_liveBlocks{0};
// Allocations up to and including the one that is to fail; 0 when none is.
std::atomic<std::uint64_t> g_untilFailure{0};
std::atomic<bool> g_failsOn{false};  // those behind it fail too
std::atomic<bool> g_failed{false};

bool IsTheOneToFail() {
  std::uint64_t left = g_untilFailure.load(std::memory_order_relaxed);
  while (left != 0) {
    if (left == 1 && g_failsOn.load(std::memory_order_relaxed)) {
      g_failed.store(true);
      return true;
    }
    if (!g_untilFailure.compare_exchange_weak(left, left - 1)) continue;
    if (left == 1) g_failed.store(true);
    return left == 1;
  }
  return false;
}

}  // namespace

extern "C" void* PoolMalloc(std::size_t sizeBytes) {
  void* block = pool::AllocateForGood(sizeBytes);
  if (block != nullptr) g_liveBlocks.fetch_add(1, std::memory_order_relaxed);
  return block;
}

extern "C" void PoolFree(void* block) {
  if (block == nullptr) return;
  g_liveBlocks.fetch_sub(1, std::memory_order_relaxed);
  std::free(block);
}

namespace pool {

void* AllocateForGood(std::size_t sizeBytes) {
  // Larger than any object: malloc would refuse too, but a sanitizer's malloc would abort.
  if (sizeBytes > PTRDIFF_MAX || IsTheOneToFail()) return nullptr;
  return std::malloc(sizeBytes != 0 ? sizeBytes : 1);
}

std::uint64_t LiveBlocks() { return g_liveBlocks.load(std::memory_order_relaxed); }

void FailNth(std::uint64_t n) {
  g_failsOn.store(false);
  g_failed.store(false);
  g_untilFailure.store(n);
}

void FailFrom(std::uint64_t n) {
  FailNth(n);
  g_failsOn.store(true);
}

bool Failed() { return g_failed.load(); }

}  // namespace pool
