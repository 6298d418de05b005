#include "platform/devlink/greeting.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/devlink/byte_reader.h"

namespace devlink {

namespace {

constexpr std::string_view kHostText = "KIV-HOST";
constexpr std::string_view kDeviceText = "KIV-UNIT";
constexpr std::size_t kOwnFingerprintBytes = 8;

using OwnFingerprint = std::array<std::uint8_t, kOwnFingerprintBytes>;

// In the order of its hexadecimal digits.
OwnFingerprint FingerprintBytes(std::uint64_t fingerprint) {
  OwnFingerprint bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(fingerprint >> (8 * (bytes.size() - 1 - i)));
  }
  return bytes;
}

void AppendNumber(std::vector<std::uint8_t>& body, std::uint32_t value, int lengthBytes) {
  body.resize(body.size() + static_cast<std::size_t>(lengthBytes));
  PutLittleEndian(body.data() + body.size() - lengthBytes, value, lengthBytes);
}

template <typename Bytes>
void AppendCounted(std::vector<std::uint8_t>& body, const Bytes& bytes) {
  body.push_back(static_cast<std::uint8_t>(bytes.size()));
  body.insert(body.end(), bytes.begin(), bytes.end());
}

std::string_view CutUtf8(std::string_view text, std::size_t limitBytes) {
  if (text.size() <= limitBytes) return text;
  std::size_t end = limitBytes;
  while (end > 0 && (static_cast<std::uint8_t>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

// The leading bytes of a device's fingerprint as a number.
std::uint64_t FingerprintNumber(std::span<const std::uint8_t> bytes) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), kOwnFingerprintBytes))) {
    number = number << 8 | byte;
  }
  return number;
}

bool Differs(std::span<const std::uint8_t> device, std::uint64_t own) {
  if (device.empty() || own == 0) return false;
  const OwnFingerprint bytes = FingerprintBytes(own);
  return !std::equal(device.begin(), device.end(), bytes.begin(), bytes.end());
}

}  // namespace

std::vector<std::uint8_t> HostGreetingBody(const HostGreeting& greeting) {
  std::vector<std::uint8_t> body(kHostText.begin(), kHostText.end());
  AppendNumber(body, kProtocolVersion, 2);
  AppendNumber(body, greeting.variant, 2);
  AppendNumber(body, greeting.product, 2);
  AppendNumber(body, 0, 2);
  AppendNumber(body, 0, 4);  // abilities: a device's matter
  if (greeting.catalogueFingerprint != 0) {
    AppendCounted(body, FingerprintBytes(greeting.catalogueFingerprint));
  } else {
    AppendCounted(body, std::string_view());
  }
  AppendCounted(body, CutUtf8(greeting.name, kMaxNameBytes));
  AppendCounted(body, std::string_view(greeting.token).substr(0, kMaxTokenBytes));
  return body;
}

std::optional<PeerInfo> ReadDeviceGreeting(std::span<const std::uint8_t> body,
                                           std::uint64_t ownFingerprint) {
  ByteReader reader(body);
  PeerInfo peer;
  if (reader.Text(kDeviceText.size()) != kDeviceText) return std::nullopt;
  peer.protocolVersion = reader.U16();
  peer.variant = reader.U16();
  peer.product = reader.U16();
  reader.U16();
  peer.abilities = reader.U32();
  const std::size_t fingerprintBytes = reader.U8();
  const auto fingerprint = reader.Bytes(fingerprintBytes);
  const std::size_t nameBytes = reader.U8();
  peer.agentName = reader.Text(nameBytes);
  const std::size_t tokenBytes = reader.U8();
  reader.Bytes(tokenBytes);
  if (!reader.Ok() || fingerprintBytes > kMaxFingerprintBytes || nameBytes > kMaxNameBytes ||
      tokenBytes > kMaxTokenBytes) {
    return std::nullopt;
  }
  peer.catalogueFingerprint = FingerprintNumber(fingerprint);
  peer.fingerprintDiffers = Differs(fingerprint, ownFingerprint);
  return peer;
}

}  // namespace devlink
