// ByteReader: reads little-endian numbers and runs of bytes from memory that came from outside.
//
// Reading beyond the end gives zeros or an empty run and makes Ok() false for good, so a whole
// structure can be read first and checked once. Nothing is cast: the order of bytes and their
// alignment on the host do not matter.
//
// Threads: one reader for one thread. Borrows the bytes. Errors: Ok().
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace devlink {

// Reads numbers out of received bytes and never past their end.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}

  bool Ok() const noexcept { return ok_; }
  std::size_t Left() const noexcept { return bytes_.size() - position_; }

  std::uint8_t U8() noexcept { return static_cast<std::uint8_t>(Number(1)); }
  std::uint16_t U16() noexcept { return static_cast<std::uint16_t>(Number(2)); }
  std::uint32_t U32() noexcept { return Number(4); }

  std::span<const std::uint8_t> Bytes(std::size_t lengthBytes) noexcept {
    if (!Take(lengthBytes)) return {};
    return bytes_.subspan(position_ - lengthBytes, lengthBytes);
  }
  std::string_view Text(std::size_t lengthBytes) noexcept {
    const auto run = Bytes(lengthBytes);
    return {reinterpret_cast<const char*>(run.data()), run.size()};
  }

 private:
  bool Take(std::size_t lengthBytes) noexcept {
    if (!ok_ || lengthBytes > Left()) return ok_ = false;
    position_ += lengthBytes;
    return true;
  }
  std::uint32_t Number(std::size_t lengthBytes) noexcept {
    if (!Take(lengthBytes)) return 0;
    std::uint32_t value = 0;
    for (std::size_t i = 1; i <= lengthBytes; ++i) value = value << 8 | bytes_[position_ - i];
    return value;
  }

  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
  bool ok_ = true;
};

// The other direction: little-endian numbers into memory that has room for them.
inline std::uint8_t* PutLittleEndian(std::uint8_t* to, std::uint32_t value,
                                     int lengthBytes) noexcept {
  for (int i = 0; i < lengthBytes; ++i) *to++ = static_cast<std::uint8_t>(value >> (8 * i));
  return to;
}

}  // namespace devlink
