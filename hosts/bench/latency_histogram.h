// LatencyHistogram: how often a duration of each length was seen, in a fixed amount of memory
// however many there are (8 KiB). A power of two is cut into 32 equal steps, so a quantile is
// answered at most a 32nd too long, and never too short.
//
// Threads: one object for one thread. Errors: none; negative durations count as 0.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace hostbench {

class LatencyHistogram {
 public:
  using Duration = std::chrono::nanoseconds;

  void Add(Duration duration) noexcept;
  std::uint64_t Count() const noexcept { return count_; }
  // So long at most were `perMille` thousandths of all; 0 of none at all.
  Duration Quantile(std::uint32_t perMille) const noexcept;

 private:
  static constexpr int kStepBits = 5;
  static constexpr std::size_t kSteps = std::size_t{1} << kStepBits;
  static constexpr std::size_t kBuckets = (64 - kStepBits) * kSteps;

  static std::size_t BucketOf(std::uint64_t ns) noexcept;
  static std::uint64_t LongestIn(std::size_t bucket) noexcept;

  std::array<std::uint32_t, kBuckets> buckets_{};
  std::uint64_t count_ = 0;
};

}  // namespace hostbench
