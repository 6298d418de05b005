// Bytes without meaning.
//
// Threads: pure function.
#pragma once

#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

// `countBytes` bytes that look like noise, the same for the same seed.
Bytes Noise(std::size_t countBytes, std::uint32_t seed = 1);

}  // namespace linktest
