// Greeting: the body of a hello in both directions (docs/wire-format.md 6).
//
// Threads: pure functions. Errors: ReadDeviceGreeting answers nothing for a body that is no
// greeting.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/devlink/link_observer.h"

namespace devlink {

inline constexpr std::uint16_t kProtocolVersion = 1;
inline constexpr std::size_t kMaxFingerprintBytes = 32;
inline constexpr std::size_t kMaxNameBytes = 64;
inline constexpr std::size_t kMaxTokenBytes = 64;

// What this side says of itself.
struct HostGreeting {
  std::uint16_t variant = 0;  // 0: not set to one
  std::uint16_t product = 0;
  std::uint64_t catalogueFingerprint = 0;  // 0: not known
  std::string name;                        // UTF-8; cut at kMaxNameBytes, never inside a character
  std::string token;                       // for a transport that asks for one
};

std::vector<std::uint8_t> HostGreetingBody(const HostGreeting& greeting);

// `ownFingerprint` decides PeerInfo::fingerprintDiffers; a fingerprint that one side does not know
// differs from nothing.
std::optional<PeerInfo> ReadDeviceGreeting(std::span<const std::uint8_t> body,
                                           std::uint64_t ownFingerprint);

}  // namespace devlink
