// PoolBuffer: a growing run of bytes from the pool, for what a device makes us store.
//
// Threads: one buffer for one thread. Owns its block.
// Errors: Append and Reserve answer false when the pool has none; the content is then as it was.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

#include "platform/bounded/pool.h"

namespace devlink {

// A block of the pool that is released with its owner.
class PoolBuffer {
 public:
  PoolBuffer() = default;
  ~PoolBuffer() { PoolFree(bytes_); }
  PoolBuffer(PoolBuffer&& other) noexcept
      : bytes_(std::exchange(other.bytes_, nullptr)),
        sizeBytes_(std::exchange(other.sizeBytes_, 0)),
        capacityBytes_(std::exchange(other.capacityBytes_, 0)) {}
  PoolBuffer& operator=(PoolBuffer&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(sizeBytes_, other.sizeBytes_);
    std::swap(capacityBytes_, other.capacityBytes_);
    return *this;
  }

  std::uint8_t* Data() noexcept { return bytes_; }
  std::span<const std::uint8_t> View() const noexcept { return {bytes_, sizeBytes_}; }
  std::size_t SizeBytes() const noexcept { return sizeBytes_; }

  [[nodiscard]] bool Reserve(std::size_t capacityBytes) {
    if (capacityBytes <= capacityBytes_) return true;
    auto* const grown = static_cast<std::uint8_t*>(PoolMalloc(capacityBytes));
    if (grown == nullptr) return false;
    if (sizeBytes_ != 0) std::memcpy(grown, bytes_, sizeBytes_);
    PoolFree(bytes_);
    bytes_ = grown;
    capacityBytes_ = capacityBytes;
    return true;
  }
  // Doubles as it grows, but never reserves more than `limitBytes`.
  [[nodiscard]] bool Append(std::span<const std::uint8_t> more, std::size_t limitBytes) {
    const std::size_t needed = sizeBytes_ + more.size();
    if (needed > limitBytes) return false;
    if (needed > capacityBytes_ &&
        !Reserve(std::min(limitBytes, std::max(needed, 2 * capacityBytes_)))) {
      return false;
    }
    if (!more.empty()) std::memcpy(bytes_ + sizeBytes_, more.data(), more.size());
    sizeBytes_ = needed;
    return true;
  }
  void Release() noexcept {
    PoolFree(std::exchange(bytes_, nullptr));
    sizeBytes_ = capacityBytes_ = 0;
  }

 private:
  std::uint8_t* bytes_ = nullptr;
  std::size_t sizeBytes_ = 0;
  std::size_t capacityBytes_ = 0;
};

}  // namespace devlink
