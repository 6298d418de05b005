#include "platform/devlink/framer.h"

#include <libdeflate.h>

#include <cstring>

#include "platform/devlink/byte_reader.h"
#include "platform/devlink/line_bytes.h"

namespace devlink {

namespace {

// The first flag or escape at or behind `from`, else `end`.
const std::uint8_t* FindSpecial(const std::uint8_t* from, const std::uint8_t* end) noexcept {
  const auto left = static_cast<std::size_t>(end - from);
  const void* const flag = left != 0 ? std::memchr(from, kFlag, left) : nullptr;
  const std::uint8_t* const limit = flag != nullptr ? static_cast<const std::uint8_t*>(flag) : end;
  const auto before = static_cast<std::size_t>(limit - from);
  const void* const escape = before != 0 ? std::memchr(from, kEscape, before) : nullptr;
  return escape != nullptr ? static_cast<const std::uint8_t*>(escape) : limit;
}

// Heads and most bodies are too short for two searches per run to pay; they go byte by byte.
constexpr std::size_t kShortBytes = 64;

std::uint8_t* EscapeShort(const std::uint8_t* from, const std::uint8_t* end,
                          std::uint8_t* to) noexcept {
  for (; from != end; ++from) {
    if (*from == kFlag || *from == kEscape) {
      *to++ = kEscape;
      *to++ = *from ^ kEscapeXor;
    } else {
      *to++ = *from;
    }
  }
  return to;
}

std::uint8_t* Escape(std::span<const std::uint8_t> bytes, std::uint8_t* to) noexcept {
  const std::uint8_t* from = bytes.data();
  const std::uint8_t* const end = from + bytes.size();
  while (static_cast<std::size_t>(end - from) > kShortBytes) {
    // A run that ends soon shows bytes that need many escapes: they go byte by byte for a while.
    const std::uint8_t* const special = FindSpecial(from, end);
    const auto run = static_cast<std::size_t>(special - from);
    std::memcpy(to, from, run);
    to += run;
    from = special;
    if (run<kShortBytes&& static_cast<std::size_t>(end - from)> kShortBytes) {
      to = EscapeShort(from, from + kShortBytes, to);
      from += kShortBytes;
    }
  }
  return EscapeShort(from, end, to);
}

}  // namespace

std::size_t EncodeFrame(const FrameHead& head, std::span<const std::uint8_t> payload,
                        std::uint8_t* to) noexcept {
  std::uint8_t headBytes[kHeadBytes];
  WriteHead(head, headBytes);
  std::uint32_t crc = libdeflate_crc32(0, headBytes, kHeadBytes);
  if (!payload.empty()) crc = libdeflate_crc32(crc, payload.data(), payload.size());
  std::uint8_t fcs[kFcsBytes];
  PutLittleEndian(fcs, crc, kFcsBytes);

  std::uint8_t* const begin = to;
  *to++ = kFlag;
  to = EscapeShort(headBytes, headBytes + kHeadBytes, to);
  if (!payload.empty()) to = Escape(payload, to);
  to = EscapeShort(fcs, fcs + kFcsBytes, to);
  *to++ = kFlag;
  return static_cast<std::size_t>(to - begin);
}

}  // namespace devlink
