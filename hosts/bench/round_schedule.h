// RoundSchedule: when something that is repeated is due, on a grid of equal steps from its
// beginning. A round that takes longer than a step costs the rounds that it stood in the way of:
// they are skipped and counted, never made up for, so that two rounds never overlap and a slow
// device is not asked more often than it answers.
//
// Threads: one object for one thread. Times are given. Errors: none.
#pragma once

#include <chrono>
#include <cstdint>

namespace hostbench {

class RoundSchedule {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  // The first round begins at `start`. `step` is positive.
  RoundSchedule(Time start, Duration step) : due_(start), step_(step) {}

  // A round has ended: when the next one begins.
  Time After(Time end) {
    due_ += step_;
    if (due_ < end) {
      const std::int64_t late = (end - due_ + step_ - Duration(1)) / step_;
      skipped_ += static_cast<std::uint64_t>(late);
      due_ += late * step_;
    }
    return due_;
  }
  std::uint64_t Skipped() const { return skipped_; }

 private:
  Time due_;
  const Duration step_;
  std::uint64_t skipped_ = 0;
};

}  // namespace hostbench
