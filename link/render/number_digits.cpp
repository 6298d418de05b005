#include "link/render/number_digits.h"

#include <algorithm>
#include <bit>

namespace SvcKivClass {
namespace {

// The node's own bits as a signed number of 32.
std::uint32_t SignExtended(std::uint32_t value, std::uint32_t widthBytes) {
  if (widthBytes == 0 || widthBytes >= 4) return value;
  const std::uint32_t signBit = 1u << (8 * widthBytes - 1);
  const std::uint32_t own = value & (2 * signBit - 1);
  return (own ^ signBit) - signBit;
}

bool IsNegative(std::uint32_t value) { return (value & 0x80000000u) != 0; }

}  // namespace

wchar_t* WriteHex(wchar_t* to, std::uint32_t value, std::uint32_t minDigits) {
  const auto valueDigits = static_cast<std::uint32_t>(std::bit_width(value) + 3) / 4;
  const std::uint32_t digits = std::max(valueDigits, minDigits);
  wchar_t* const end = to + digits;
  for (wchar_t* at = end; at != to; value >>= 4) *--at = L"0123456789abcdef"[value & 15];
  return end;
}

wchar_t* WriteValue(wchar_t* to, std::uint64_t value, const ValueFormat& format) {
  auto bits = static_cast<std::uint32_t>(value);
  if (format.isSigned) bits = SignExtended(bits, format.widthBytes);
  const bool negative = format.isSigned && IsNegative(bits);
  if (!format.hexadecimal) {
    if (negative) *to++ = L'-';
    return WriteDecimal(to, negative ? 0u - bits : bits);
  }
  if (format.widthBytes != 1 && format.widthBytes != 2 && format.widthBytes != 4) return to;
  *to++ = L'0';
  *to++ = L'x';
  return WriteHex(to, negative ? 0 : bits, 2 * format.widthBytes);
}

}  // namespace SvcKivClass
