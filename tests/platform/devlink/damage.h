// What can happen to a frame on its way, in classes.
//
// Threads: one Damager for one thread.
#pragma once

#include <random>

#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

enum class Damage {
  kFlip,
  kFlips,
  kDrop,
  kDouble,
  kTruncate,
  kJoin,
  kInsert,
  kText,
  kSwap,
  kCount
};

inline constexpr int kDamages = static_cast<int>(Damage::kCount);
const char* DamageName(Damage damage);

// The same damages for the same seed.
class Damager {
 public:
  explicit Damager(std::uint32_t seed) : random_(seed) {}

  void Apply(Damage damage, Bytes& line);
  std::size_t Below(std::size_t limit) { return random_() % limit; }

 private:
  std::mt19937 random_;
};

}  // namespace linktest
