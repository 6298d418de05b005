#include "tests/platform/devlink/noise.h"

#include <cstdlib>
#include <random>

namespace linktest {

Bytes Noise(std::size_t countBytes, std::uint32_t seed) {
  std::minstd_rand random(seed);
  Bytes bytes(countBytes);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
  return bytes;
}

double SweepFactor() {
  const char* const set = std::getenv("KIV_SWEEP");
  const std::string sweep = set != nullptr ? set : "short";
  if (sweep == "full") return 1;
  if (sweep == "short" || sweep.empty()) return 0.1;
  if (sweep == "torture") return 10;
  return std::stod(sweep);
}

}  // namespace linktest
