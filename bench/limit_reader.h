// Frames by hand, for the limit and the peer: a reader of one connection that finds frames, checks
// them and hands over the bodies of one kind of message, with nothing that only a general link
// needs.
//
// Threads: one. Borrows the descriptor. Errors: a frame that is not sound is dropped, as a link
// does.
#pragma once

#include <libdeflate.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "bench/bench_device.h"

namespace limit {

// Reads, checks and hands over.
class FrameReader {
 public:
  explicit FrameReader(int descriptor) : descriptor_(descriptor), buffer_(kRoomBytes) {}

  // One read, then `take(body)` for each message that it completes. False at the end.
  template <typename Take>
  bool ReadOnce(Take take) {
    const std::size_t got =
        bench_device::ReadSome(descriptor_, buffer_.data() + kept_, buffer_.size() - kept_);
    if (got == 0) return false;
    std::uint8_t* at = buffer_.data();
    std::uint8_t* const end = at + kept_ + got;
    while (auto* const flag = static_cast<std::uint8_t*>(
               std::memchr(at, kFlag, static_cast<std::size_t>(end - at)))) {
      const std::span<const std::uint8_t> body = Check(at, flag);
      if (!body.empty()) take(body);
      at = flag + 1;
    }
    kept_ = static_cast<std::size_t>(end - at);
    std::memmove(buffer_.data(), at, kept_);
    return true;
  }

 private:
  static constexpr std::size_t kRoomBytes = 131072;
  static constexpr std::size_t kHeadBytes = 32;
  static constexpr std::uint8_t kFlag = 0x7E;
  static constexpr std::uint8_t kEscape = 0x7D;

  static std::uint32_t Load(const std::uint8_t* from) {
    return from[0] | std::uint32_t{from[1]} << 8 | std::uint32_t{from[2]} << 16 |
           std::uint32_t{from[3]} << 24;
  }

  // Takes escapes out in place; answers the end.
  static std::uint8_t* Unescape(std::uint8_t* at, std::uint8_t* end) {
    auto* from =
        static_cast<std::uint8_t*>(std::memchr(at, kEscape, static_cast<std::size_t>(end - at)));
    if (from == nullptr) return end;
    std::uint8_t* to = from;
    while (from != end) {
      if (*from == kEscape && ++from == end) return at;  // cut off: no frame
      const bool wasEscaped = from[-1] == kEscape;
      *to++ = static_cast<std::uint8_t>(wasEscaped ? *from ^ 0x20 : *from);
      ++from;
      auto* const next = static_cast<std::uint8_t*>(
          std::memchr(from, kEscape, static_cast<std::size_t>(end - from)));
      std::uint8_t* const stop = next != nullptr ? next : end;
      std::memmove(to, from, static_cast<std::size_t>(stop - from));
      to += stop - from;
      from = stop;
    }
    return to;
  }

  // The body of a sound indication or confirmation that follows the one before; empty for others.
  std::span<const std::uint8_t> Check(std::uint8_t* at, std::uint8_t* end) {
    end = Unescape(at, end);
    const auto lengthBytes = static_cast<std::size_t>(end - at);
    if (lengthBytes < kHeadBytes + 4) return {};
    if (libdeflate_crc32(0, at, lengthBytes - 4) != Load(end - 4)) return {};
    const std::uint32_t bodyBytes = Load(at + 24);
    const bool isWhole =
        at[0] == 1 && at[2] == 0 && Load(at + 28) == 0 && bodyBytes == lengthBytes - kHeadBytes - 4;
    if (!isWhole || (at[1] != 3 && at[1] != 4)) return {};
    if (isFirst_) expected_ = Load(at + 20);
    isFirst_ = false;
    if (Load(at + 20) != expected_) return {};
    ++expected_;
    return {at + kHeadBytes, bodyBytes};
  }

  const int descriptor_;
  std::vector<std::uint8_t> buffer_;
  std::size_t kept_ = 0;
  bool isFirst_ = true;
  std::uint32_t expected_ = 0;
};

}  // namespace limit
