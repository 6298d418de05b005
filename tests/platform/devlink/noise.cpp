#include "tests/platform/devlink/noise.h"

#include <random>

namespace linktest {

Bytes Noise(std::size_t countBytes, std::uint32_t seed) {
  std::minstd_rand random(seed);
  Bytes bytes(countBytes);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
  return bytes;
}

}  // namespace linktest
