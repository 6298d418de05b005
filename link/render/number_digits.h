// Digits straight into wide text, without a string of their own. Each function answers the end of
// what it wrote; the caller has room for kMaxValueChars.
//
// Threads: any; no state.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace SvcKivClass {

inline constexpr std::size_t kMaxValueChars = 11;  // "-2147483648"

// "00" to "99", two characters each.
inline constexpr std::array<wchar_t, 200> kDigitPairs = [] {
  std::array<wchar_t, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<wchar_t>(L'0' + i / 10);
    pairs[2 * i + 1] = static_cast<wchar_t>(L'0' + i % 10);
  }
  return pairs;
}();

// For each count of bits: what, added to a number of so many bits, gives its count of decimal
// digits in the upper 32 bits. A power of ten within the count carries one over.
inline constexpr std::array<std::uint64_t, 33> kDigitCounts = [] {
  std::array<std::uint64_t, 33> counts{};
  for (std::uint32_t bits = 0; bits <= 32; ++bits) {
    const std::uint64_t least = bits == 0 ? 0 : std::uint64_t{1} << (bits - 1);
    std::uint64_t digits = 1;
    std::uint64_t power = 10;  // the least number with one digit more
    for (; power <= least; power *= 10) ++digits;
    // Where the power is beyond this many bits, nothing may carry.
    const bool isWithin = power < std::uint64_t{1} << bits;
    counts[bits] = (digits << 32) + (isWithin ? (std::uint64_t{1} << 32) - power : 0);
  }
  return counts;
}();

inline std::uint32_t DecimalDigits(std::uint32_t value) noexcept {
  return static_cast<std::uint32_t>(
      (value + kDigitCounts[static_cast<std::size_t>(std::bit_width(value))]) >> 32);
}

inline wchar_t* WriteDecimal(wchar_t* to, std::uint32_t value) noexcept {
  wchar_t* const end = to + DecimalDigits(value);
  wchar_t* at = end;
  for (; value >= 100; value /= 100) {
    const wchar_t* const pair = &kDigitPairs[2 * (value % 100)];
    *--at = pair[1];
    *--at = pair[0];
  }
  *--at = kDigitPairs[2 * value + 1];
  if (at != to) *--at = kDigitPairs[2 * value];
  return end;
}
// The eight digits of a number below 10^8, one a byte, the first in the lowest: divisions by
// multiplying, two and then four numbers in one word.
constexpr std::uint64_t EightDigits(std::uint32_t value) noexcept {
  const std::uint64_t fours = value / 10000 | std::uint64_t{value % 10000} << 32;
  const std::uint64_t hundreds = (fours * 10486 >> 20) & 0x0000007F0000007Fu;
  const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16;
  const std::uint64_t tens = (twos * 103 >> 10) & 0x000F000F000F000Fu;
  return tens | (twos - 10 * tens) << 8;
}

inline constexpr std::size_t kDecimalRoomChars = 10;

inline void WriteEightChars(wchar_t* to, std::uint64_t digits) noexcept {
  digits |= 0x3030303030303030u;
  for (std::uint32_t i = 0; i < 8; ++i) to[i] = static_cast<wchar_t>(digits >> 8 * i & 0xFF);
}

// As WriteDecimal, for whoever has kDecimalRoomChars characters to write to, however short the
// number: how many digits there are is counted and not tried, for a processor cannot guess that.
inline wchar_t* WriteDecimalInRoom(wchar_t* to, std::uint32_t value) noexcept {
  constexpr std::uint32_t kBeyondEight = 100000000;
  if (value >= kBeyondEight) {
    to = WriteDecimal(to, value / kBeyondEight);
    WriteEightChars(to, EightDigits(value % kBeyondEight));
    return to + 8;
  }
  const std::uint64_t digits = EightDigits(value);
  // The last digit counts also when it is 0.
  const auto leading =
      static_cast<std::uint32_t>(std::countr_zero(digits | std::uint64_t{1} << 56)) / 8;
  WriteEightChars(to, digits >> 8 * leading);
  return to + 8 - leading;
}

// Lower-case digits, padded with zeros to at least `minDigits`, 8 at most.
wchar_t* WriteHex(wchar_t* to, std::uint32_t value, std::uint32_t minDigits);

// What a single value or an array's element looks like.
struct ValueFormat {
  std::uint32_t widthBytes = 0;
  bool isSigned = false;
  bool hexadecimal = false;
};

// Decimal: 32 bits of the value, with the sign of its own width. Hexadecimal: "0x" and two digits a
// byte for widths 1, 2 and 4, nothing for others; a negative value shows zeros, as hosts know it.
wchar_t* WriteValue(wchar_t* to, std::uint64_t value, const ValueFormat& format);

}  // namespace SvcKivClass
