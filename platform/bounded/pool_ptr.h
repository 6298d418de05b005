// PoolPtr: a block of the pool that is released with its owner; Release() hands it on to whoever
// must call PoolFree then.
//
// Threads: one owner at a time. Errors: null when the pool has no memory.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/bounded/pool.h"

// Releases what PoolMalloc gave.
struct PoolRelease {
  void operator()(void* block) const noexcept { PoolFree(block); }
};

template <typename T>
using PoolPtr = std::unique_ptr<T, PoolRelease>;

// Room for `count` values, not initialised.
template <typename T>
PoolPtr<T> PoolAllocate(std::size_t count) {
  return PoolPtr<T>(static_cast<T*>(PoolMalloc(count * sizeof(T))));
}
