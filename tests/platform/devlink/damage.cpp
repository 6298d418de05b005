#include "tests/platform/devlink/damage.h"

#include <algorithm>

#include "tests/platform/devlink/noise.h"

namespace linktest {

namespace {

constexpr const char* kDamageNames[] = {"one bit flipped", "bits flipped",    "bytes dropped",
                                        "bytes doubled",   "truncated",       "two frames joined",
                                        "bytes inserted",  "text in between", "bytes swapped"};
static_assert(std::size(kDamageNames) == static_cast<std::size_t>(Damage::kCount));

}  // namespace

const char* DamageName(Damage damage) { return kDamageNames[static_cast<std::size_t>(damage)]; }

void Damager::Apply(Damage damage, Bytes& line) {
  const std::size_t at = Below(line.size());
  const auto here = line.begin() + static_cast<long>(at);
  switch (damage) {
    case Damage::kFlip:
      line[at] ^= static_cast<std::uint8_t>(1u << Below(8));
      break;
    case Damage::kFlips:
      for (std::size_t i = 2 + Below(6); i > 0; --i) {
        line[Below(line.size())] ^= static_cast<std::uint8_t>(1u << Below(8));
      }
      break;
    case Damage::kDrop:
      line.erase(here, here + static_cast<long>(std::min(line.size() - at, 1 + Below(4))));
      break;
    case Damage::kDouble: {
      const Bytes again(here, here + static_cast<long>(std::min(line.size() - at, 1 + Below(4))));
      line.insert(here, again.begin(), again.end());
      break;
    }
    case Damage::kTruncate:
      line.resize(at);
      break;
    case Damage::kJoin:  // the flags between two frames are lost
      line.erase(line.begin());
      line.pop_back();
      break;
    case Damage::kInsert: {
      const Bytes noise = Noise(1 + Below(4), random_());
      line.insert(here, noise.begin(), noise.end());
      break;
    }
    case Damage::kText: {
      const std::string text = "kernel: link is up\r\n";
      line.insert(here, text.begin(), text.end());
      break;
    }
    case Damage::kSwap:
      std::swap(line[at], line[Below(line.size())]);
      break;
    case Damage::kCount:
      break;
  }
}

}  // namespace linktest
