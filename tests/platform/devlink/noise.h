// Bytes without meaning, and how many rounds a sweep takes.
//
// Threads: pure functions.
#pragma once

#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

// `countBytes` bytes that look like noise, the same for the same seed.
Bytes Noise(std::size_t countBytes, std::uint32_t seed = 1);

// KIV_SWEEP: "full" 1, "short" (and unset) 0.1, "torture" 10, or a number.
double SweepFactor();

}  // namespace linktest
