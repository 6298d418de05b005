#include "hosts/bench/latency_histogram.h"

#include <algorithm>
#include <bit>

namespace hostbench {

// The first kSteps are single nanoseconds, each run of kSteps behind them a power of two.
std::size_t LatencyHistogram::BucketOf(std::uint64_t ns) noexcept {
  if (ns < kSteps) return static_cast<std::size_t>(ns);
  const int shift = static_cast<int>(std::bit_width(ns)) - kStepBits - 1;
  return static_cast<std::size_t>(shift) * kSteps + static_cast<std::size_t>(ns >> shift);
}

std::uint64_t LatencyHistogram::LongestIn(std::size_t bucket) noexcept {
  if (bucket < 2 * kSteps) return bucket;
  const std::size_t shift = bucket / kSteps - 1;
  const std::uint64_t first = (bucket % kSteps) + kSteps;
  return ((first + 1) << shift) - 1;
}

void LatencyHistogram::Add(Duration duration) noexcept {
  const std::int64_t ns = std::max<std::int64_t>(duration.count(), 0);
  std::uint32_t& bucket = buckets_[BucketOf(static_cast<std::uint64_t>(ns))];
  if (bucket != UINT32_MAX) ++bucket;
  ++count_;
}

LatencyHistogram::Duration LatencyHistogram::Quantile(std::uint32_t perMille) const noexcept {
  if (count_ == 0) return Duration(0);
  // The place of the one that is asked for, from 1.
  const std::uint64_t rank =
      std::max<std::uint64_t>((count_ * std::min(perMille, 1000u) + 999) / 1000, 1);
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < kBuckets; ++i) {
    seen += buckets_[i];
    if (seen >= rank) return Duration(static_cast<std::int64_t>(LongestIn(i)));
  }
  return Duration(INT64_MAX);
}

}  // namespace hostbench
